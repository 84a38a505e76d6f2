// Text as the operating system sees it. The core holds UTF-8; lone surrogates of the client's
// UTF-16 survive the way in and out.
#pragma once

#include <string>
#include <string_view>

namespace qmzentrel::platform {

/// UTF-8 to the ANSI code page; what the code page cannot hold becomes the nearest character that
/// it has, else its replacement character.
std::string ToAnsi(std::string_view utf8);

/// The ANSI code page to UTF-8.
std::string FromAnsi(std::string_view ansi);

/// Compares as automation does without case in the locale 0x0409: below 0, 0 or above 0.
int CompareTextNoCase(std::string_view left, std::string_view right);

}  // namespace qmzentrel::platform
