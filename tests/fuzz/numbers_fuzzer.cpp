// Conversions between numbers and texts.
#include <fuzzer/FuzzedDataProvider.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "interface/version_text.h"
#include "support/conversion.h"
#include "support/modCOM_Hex.h"
#include "support/run_time_error.h"
#include "tests/fuzz/finding.h"

namespace qmzentrel::fuzz {
namespace {

constexpr std::int32_t kOverflow = 6;

template <typename Conversion>
std::optional<std::int32_t> Converted(Conversion conversion) {
  try {
    return conversion();
  } catch (const RunTimeError& error) {
    Require(error.number == kOverflow, "an error that is no overflow");
    return std::nullopt;
  }
}

void TryRounding(double value) {
  const bool fits = std::nearbyint(value) >= std::numeric_limits<std::int32_t>::min() &&
                    std::nearbyint(value) <= std::numeric_limits<std::int32_t>::max();
  const auto rounded = RoundToLong(value);
  Require(rounded.has_value() == fits, "a number fits or does not");
  Require(!fits || *rounded == std::nearbyint(value), "halves go to the even number");
  Require(Converted([value] { return ToLong(value); }) == rounded, "both conversions agree");
}

void TryByte(std::int64_t value) {
  const auto byte = Converted([value] { return std::int32_t{ToByte(value)}; });
  Require(byte.has_value() == (value >= 0 && value <= 255), "a byte is never cut");
  Require(!byte || *byte == value, "a byte keeps its value");
}

void TryHex(std::int32_t value, std::int32_t digits) {
  const std::string text = modCOM_Hex::HexPad(value, digits);
  if (digits > 1) Require(std::cmp_equal(text.size(), digits), "as many digits as asked for");
  char whole[16];
  std::snprintf(whole, sizeof whole, "%08X", static_cast<unsigned>(value));
  const std::size_t common = std::min<std::size_t>(text.size(), 8);
  Require(text.substr(text.size() - common) == std::string(whole).substr(8 - common),
          "the last digits are those of the number");
}

void TryVersion(std::uint8_t b) {
  const std::string text = VersionText(b);
  const double value = VersionValue(text);
  const int high = b >> 4;
  const int low = b & 15;
  const double expected = high > 9 ? 0 : low > 9 ? high : high + low / 10.0;
  Require(std::abs(value - expected) < 1e-9,
          [&] { return "version " + text + " has another value"; });
}

template <typename Number>
void TryText(Number value) {
  if (!std::isfinite(value)) return;
  const std::string text = NumberText(value);
  const auto read = NumericValue(text);
  Require(read && static_cast<Number>(*read) == value,
          [&] { return "does not read back: " + text; });
}

}  // namespace
}  // namespace qmzentrel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qmzentrel::fuzz;
  FuzzedDataProvider input(data, size);
  double value = 0;
  const std::string bytes = input.ConsumeBytesAsString(sizeof value);
  if (bytes.size() == sizeof value) std::memcpy(&value, bytes.data(), sizeof value);
  TryRounding(value);
  TryText(value);
  TryText(static_cast<float>(std::fmod(value, 1e30)));
  TryRounding(static_cast<double>(input.ConsumeIntegral<std::int64_t>()) / 2);
  TryByte(input.ConsumeIntegralInRange<std::int64_t>(-1000, 1000));
  TryHex(input.ConsumeIntegral<std::int32_t>(), input.ConsumeIntegralInRange<std::int32_t>(-2, 40));
  TryVersion(input.ConsumeIntegral<std::uint8_t>());
  qmzentrel::NumericValue(input.ConsumeRemainingBytesAsString());
  return 0;
}
