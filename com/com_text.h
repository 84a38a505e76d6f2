// Text of the core (UTF-8) on its way to a client (BSTR).
#pragma once

#include <windows.h>

// After it, which it needs.
#include <oleauto.h>

#include <string_view>

namespace qmzentrel::com {

/// A new BSTR, for a client to free; never null, so that a client may measure it without a thought.
/// Throws std::bad_alloc.
BSTR NewBstr(std::string_view utf8);

}  // namespace qmzentrel::com
