// Conversions between numbers and texts, with automation's own rounding and limits.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qmzentrel {

/// `value` as a 32-bit number, rounded half to even; nothing when it does not fit.
std::optional<std::int32_t> RoundToLong(double value);

/// `value` as a 32-bit number, rounded half to even; error 6 when it does not fit.
std::int32_t ToLong(double value);

/// `value` in single precision; error 6 when it is beyond that.
float ToSingle(double value);

/// `value` as a byte of a frame; error 6 when it is outside 0 to 255: a number is never cut to fit.
std::uint8_t ToByte(std::int64_t value);

/// `value` in the fewest digits that read back as the same number, with a dot.
std::string NumberText(float value);
std::string NumberText(double value);

/// The number that `text` stands for, whatever the user's locale, with "&H" and "&O" as prefixes of
/// 32-bit hexadecimal and octal numbers; nothing when it is no number.
std::optional<double> NumericValue(std::string_view text);

}  // namespace qmzentrel
