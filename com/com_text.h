// Text between the core (UTF-8) and a client (BSTR).
#pragma once

#include <windows.h>

// After it, which it needs.
#include <oleauto.h>

#include <string>
#include <string_view>

namespace qmzentrel::com {

/// What a client handed over; null is the empty text.
std::string TextOf(BSTR text);

/// A new BSTR, for a client to free; never null, so that a client may measure it without a thought.
/// Throws std::bad_alloc.
BSTR NewBstr(std::string_view utf8);

}  // namespace qmzentrel::com
