#include "platform/number.h"

#include <windows.h>

// After it, which it needs.
#include <oleauto.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "platform/win32/bstr.h"
#include "platform/win32/locale.h"
#include "platform/win32/usual_arithmetic.h"
#include "platform/win32/wide.h"

namespace qmzentrel::platform {
namespace {

// Room for the tokens of any format in use, the longest of which is 23 characters.
constexpr int kTokenBytes = 512;

// What Automation rounds are the 15 digits that a number is read as: 4.145 is a half, though as a
// binary number it lies below. This is less than half of the last digit.
constexpr double kJustAbove = 1.0 + 2 * std::numeric_limits<double>::epsilon();

// `value` with `format`, named parts and separators as in `locale`. The format itself is read in
// the component's locale.
std::wstring Format(VARIANT value, const std::wstring& format, LCID locale) {
  std::wstring text = format;
  std::array<BYTE, kTokenBytes> tokens{};
  if (FAILED(VarTokenizeFormatString(text.data(), tokens.data(), kTokenBytes, 1, 1,
                                     kComponentLocale, nullptr))) {
    return {};
  }
  OwnedBstr result;
  if (FAILED(VarFormatFromTokens(&value, text.data(), tokens.data(), VAR_FORMAT_NOSUBSTITUTE,
                                 result.Receive(), locale))) {
    return {};
  }
  return std::wstring(result.View());
}

// `format` with every separator that the locale would replace written as itself.
std::wstring WithLiteralSeparators(std::wstring_view format) {
  std::wstring literal;
  bool quoted = false;
  bool escaped = false;
  for (const wchar_t character : format) {
    const bool plain = !quoted && !escaped;
    if (plain && (character == L':' || character == L'/')) literal.push_back(L'\\');
    literal.push_back(character);
    if (character == L'"' && !escaped) quoted = !quoted;
    escaped = plain && character == L'\\';
  }
  return literal;
}

}  // namespace

std::optional<double> ParseNumber(std::string_view text) {
  const UsualArithmetic usual;
  std::wstring wide = Utf8ToWide(text);
  double value = 0.0;
  // Not even the user's own changes to this locale count.
  if (FAILED(VarR8FromStr(wide.data(), kComponentLocale, LOCALE_NOUSEROVERRIDE, &value))) {
    return std::nullopt;
  }
  return value;
}

std::string FormatNumber(double value, std::string_view format) {
  const UsualArithmetic usual;
  // Automation reads the number back from text on its way, by the user's separators, and puts them
  // into the result. So it gets a whole number, and the dot is written as itself.
  std::wstring literal = Utf8ToWide(format);
  double scale = 1.0;
  if (const std::size_t dot = literal.find(L'.'); dot != std::wstring::npos) {
    const std::size_t behind = literal.find_first_not_of(L'0', dot + 1);
    const std::size_t places = std::min(behind, literal.size()) - dot - 1;
    scale = std::pow(10.0, static_cast<double>(places));
    literal.insert(dot, 1, L'\\');
  }
  VARIANT number{};
  number.vt = VT_R8;
  number.dblVal = std::round(value * scale * kJustAbove);
  return WideToUtf8(Format(number, literal, kComponentLocale));
}

std::string FormatDate(double date, std::string_view format) {
  const UsualArithmetic usual;
  VARIANT moment{};
  moment.vt = VT_DATE;
  moment.date = date;
  return WideToUtf8(Format(moment, WithLiteralSeparators(Utf8ToWide(format)), LOCALE_USER_DEFAULT));
}

std::string UserDecimalSeparator() {
  std::array<wchar_t, 16> separator{};
  GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SDECIMAL, separator.data(),
                 static_cast<int>(separator.size()));
  return WideToUtf8(separator.data());
}

}  // namespace qmzentrel::platform
