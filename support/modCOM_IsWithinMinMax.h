// The range test.
#pragma once

#include "support/variant.h"

namespace qmzentrel::modCOM_IsWithinMinMax {

/// True when `value` is at least `minimum` and at most `maximum`, compared as automation compares
/// variants: numbers as numbers, texts without case, a number below every text, Empty as 0 or "".
/// An array is error 13.
bool IsWithinMinMax(const Variant& value, const Variant& minimum, const Variant& maximum);

}  // namespace qmzentrel::modCOM_IsWithinMinMax
