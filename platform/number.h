// Numbers and dates as text, by the rules of OLE Automation.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qmzentrel::platform {

/// The number that `text` stands for in the locale 0x0409, whatever the user's: "4.0" is four
/// everywhere. Nothing when it is no number. The prefixes "&H" and "&O" are the caller's matter.
std::optional<double> ParseNumber(std::string_view text);

/// `value` with a format of digits such as "0.0" or "#0", always with a dot (locale 0x0409). A half
/// is rounded away from zero. Empty when automation refuses the format.
std::string FormatNumber(double value, std::string_view format);

/// An automation date (days since 30 December 1899) with a format such as "dd mmm yyyy, Hh:Nn:Ss".
/// Month and day names are those of the user's locale; colons and slashes stay as they are, digits
/// digits. Empty when automation refuses the date or the format.
std::string FormatDate(double date, std::string_view format);

/// What stands between a number's whole part and its fraction where the user writes one.
std::string UserDecimalSeparator();

}  // namespace qmzentrel::platform
