// Conversions of what a client hands over.
#pragma once

#include <windows.h>

// After it, which it needs.
#include <oleauto.h>

namespace qmzentrel::com {

/// As VariantChangeTypeEx. An object is asked for its value: what it does at that is its own, while
/// a text or a reference that leads nowhere is a fault like any other.
HRESULT ConvertVariant(VARIANT* to, VARIANT* from, LCID lcid, VARTYPE type);

}  // namespace qmzentrel::com
