// Between the core's UTF-8 and the UTF-16 of the operating system.
#pragma once

#include <string>
#include <string_view>

namespace qmzentrel::platform {

/// UTF-16 for `utf8`. A surrogate half that was encoded on its own (three bytes from ED A0 80 on)
/// becomes that half again: clients hand over such texts and must get them back. Every byte that
/// belongs to no character becomes U+FFFD.
std::wstring Utf8ToWide(std::string_view utf8);

/// UTF-8 for `wide`. A surrogate half without its partner is encoded on its own in three bytes.
std::string WideToUtf8(std::wstring_view wide);

}  // namespace qmzentrel::platform
