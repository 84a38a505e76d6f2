#include "support/conversion.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "platform/number.h"
#include "support/run_time_error.h"

namespace qmzentrel {
namespace {

double RoundHalfToEven(double value) {
  const double below = std::floor(value);
  const double fraction = value - below;
  if (fraction > 0.5) return below + 1;
  if (fraction < 0.5) return below;
  return std::fmod(below, 2) == 0 ? below : below + 1;
}

// "&HFFFFFFFF" is -1: such texts name the bits of a 32-bit number.
std::optional<double> PrefixedNumber(std::string_view digits, int base) {
  std::uint32_t bits = 0;
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, bits, base);
  if (error != std::errc() || stop != end) return std::nullopt;
  return static_cast<std::int32_t>(bits);
}

// Clients that share the C library may set its locale at any time, also from another thread: the
// point is what stands in a number's text and belongs to nothing else. At worst the text then has
// more digits than it takes.
std::string WithDot(std::string digits) {
  constexpr std::string_view kOthers = "0123456789+-e";
  if (const std::size_t place = digits.find_first_not_of(kOthers); place != std::string::npos) {
    const std::size_t end = digits.find_first_of(kOthers, place);
    digits.replace(place, end - place, ".");
  }
  return digits;
}

// `precision` is what every text keeps; three digits more are enough for every value to read back.
template <class Number>
std::string ShortestDigits(Number value, int precision, Number (*parse)(const char*, char**)) {
  char digits[32];
  const int most = precision + 3;
  for (; precision <= most; ++precision) {
    std::snprintf(digits, sizeof digits, "%.*g", precision, static_cast<double>(value));
    if (parse(digits, nullptr) == value) break;
  }
  return std::isfinite(value) ? WithDot(digits) : digits;
}

}  // namespace

std::optional<std::int32_t> RoundToLong(double value) {
  using Limits = std::numeric_limits<std::int32_t>;
  const double rounded = RoundHalfToEven(value);
  if (!(rounded >= Limits::min() && rounded <= Limits::max())) return std::nullopt;
  return static_cast<std::int32_t>(rounded);
}

std::int32_t ToLong(double value) {
  const auto number = RoundToLong(value);
  if (!number) RaiseError(kErrorOverflow);
  return *number;
}

float ToSingle(double value) {
  if (!(std::abs(value) <= std::numeric_limits<float>::max())) RaiseError(kErrorOverflow);
  return static_cast<float>(value);
}

std::uint8_t ToByte(std::int64_t value) {
  if (value < 0 || value > 255) RaiseError(kErrorOverflow);
  return static_cast<std::uint8_t>(value);
}

std::string NumberText(float value) {
  return ShortestDigits<float>(value, 6, std::strtof);
}

std::string NumberText(double value) {
  return ShortestDigits<double>(value, 15, std::strtod);
}

std::optional<double> NumericValue(std::string_view text) {
  if (text.starts_with("&H") || text.starts_with("&h")) return PrefixedNumber(text.substr(2), 16);
  if (text.starts_with("&O") || text.starts_with("&o")) return PrefixedNumber(text.substr(2), 8);
  return platform::ParseNumber(text);
}

}  // namespace qmzentrel
