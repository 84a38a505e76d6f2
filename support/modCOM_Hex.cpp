#include "support/modCOM_Hex.h"

#include "support/error_frame.h"

namespace qmzentrel::modCOM_Hex {
namespace {

std::string BareDigits(std::int32_t value) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  auto rest = static_cast<std::uint32_t>(value);
  do {
    text.insert(text.begin(), kDigits[rest & 0xF]);
    rest >>= 4;
  } while (rest != 0);
  return text;
}

}  // namespace

std::string HexPad(std::int32_t value, std::int32_t digits) {
  ErrorFrame frame(NoFields("modCOM_Hex"), "HexPad", Parameters(NAMED(value), NAMED(digits)));
  return frame.Run([&] {
    STEP std::string text = BareDigits(value);
    STEP if (digits <= 1) return text;
    const auto width = static_cast<std::size_t>(digits);
    STEP if (text.size() < width) text.insert(0, width - text.size(), '0');
    STEP return text.substr(text.size() - width);
  });
}

}  // namespace qmzentrel::modCOM_Hex
