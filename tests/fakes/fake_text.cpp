// Code page 1252, English texts and the number rules of automation, as far as the component uses
// them.
#include "tests/fakes/fake_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "platform/number.h"
#include "platform/text.h"
#include "tests/fakes/fake_world.h"

namespace qmzentrel::platform {
namespace {

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

std::string_view TrimBlanks(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

std::string TwoDigits(int value) {
  return std::string{static_cast<char>('0' + value / 10), static_cast<char>('0' + value % 10)};
}

std::tm CalendarOf(double date) {
  constexpr double kUnixEpoch = 25569;  // 1 January 1970 as an automation date
  const auto seconds = static_cast<std::time_t>(std::llround((date - kUnixEpoch) * 86400));
  std::tm calendar{};
#ifdef _WIN32
  gmtime_s(&calendar, &seconds);
#else
  gmtime_r(&seconds, &calendar);
#endif
  return calendar;
}

constexpr std::array kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

}  // namespace

// Latin-1, which is code page 1252 but for 32 characters that no test needs.
std::string ToAnsi(std::string_view utf8) {
  std::string ansi;
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto lead = static_cast<unsigned char>(utf8[i]);
    if (lead < 0x80) {
      ansi += utf8[i];
    } else if ((lead == 0xC2 || lead == 0xC3) && i + 1 < utf8.size()) {
      ansi += static_cast<char>((lead & 3) << 6 | (utf8[++i] & 0x3F));
    } else {
      while (i + 1 < utf8.size() && (utf8[i + 1] & 0xC0) == 0x80) ++i;
      ansi += '?';
    }
  }
  return ansi;
}

std::string FromAnsi(std::string_view ansi) {
  std::string utf8;
  for (const char c : ansi) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      utf8 += c;
    } else {
      utf8 += static_cast<char>(0xC0 | byte >> 6);
      utf8 += static_cast<char>(0x80 | (byte & 0x3F));
    }
  }
  return utf8;
}

int CompareTextNoCase(std::string_view left, std::string_view right) {
  const std::size_t common = std::min(left.size(), right.size());
  for (std::size_t i = 0; i < common; ++i) {
    const int difference =
        static_cast<unsigned char>(Lower(left[i])) - static_cast<unsigned char>(Lower(right[i]));
    if (difference != 0) return difference;
  }
  return left.size() == right.size() ? 0 : left.size() < right.size() ? -1 : 1;
}

std::optional<double> ParseNumber(std::string_view text) {
  text = TrimBlanks(text);
  std::string plain;
  bool digits = false;
  bool point = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const bool exponent = (c == 'e' || c == 'E') && digits;
    if (exponent) {
      plain += text.substr(i);
      break;
    }
    if (c == ',' && !point) continue;  // groups digits in this locale
    if (c == '.') point = true;
    digits = digits || IsDigit(c);
    if (c == '+' && i == 0) continue;
    plain += c;
  }
  double value = 0;
  const char* end = plain.data() + plain.size();
  const auto [stop, error] = std::from_chars(plain.data(), end, value);
  if (error != std::errc() || stop != end || !digits) return std::nullopt;
  return value;
}

std::string FormatNumber(double value, std::string_view format) {
  fakes::TheWorld().Enter("FormatNumber");
  const std::size_t point = format.find('.');
  const auto places = point == std::string_view::npos ? 0 : format.size() - point - 1;
  const double scale = std::pow(10.0, static_cast<double>(places));
  // Automation rounds a half away from zero, in the 15 digits that it reads a number as.
  char digits[32];
  std::snprintf(digits, sizeof digits, "%.15g", value * scale);
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", static_cast<int>(places),
                std::round(std::strtod(digits, nullptr)) / scale);
  return text;
}

std::string FormatDate(double date, std::string_view format) {
  fakes::TheWorld().Enter("FormatDate");
  const std::tm calendar = CalendarOf(date);
  std::string text;
  while (!format.empty()) {
    const char first = Lower(format.front());
    std::size_t count = 1;
    while (count < format.size() && Lower(format[count]) == first) ++count;
    const std::string_view token = format.substr(0, count);
    format.remove_prefix(count);
    switch (first) {
      case 'd':
        text += count == 2 ? TwoDigits(calendar.tm_mday) : std::to_string(calendar.tm_mday);
        break;
      case 'm':
        text += count == 3 ? kMonths[static_cast<std::size_t>(calendar.tm_mon)]
                           : TwoDigits(calendar.tm_mon + 1);
        break;
      case 'y':
        text += count == 4 ? std::to_string(calendar.tm_year + 1900)
                           : TwoDigits(calendar.tm_year % 100);
        break;
      case 'h':
        text += TwoDigits(calendar.tm_hour);
        break;
      case 'n':
        text += TwoDigits(calendar.tm_min);
        break;
      case 's':
        text += TwoDigits(calendar.tm_sec);
        break;
      default:
        text += token;
    }
  }
  return text;
}

std::string UserDecimalSeparator() {
  return fakes::TheWorld().decimal_separator;
}

}  // namespace qmzentrel::platform
