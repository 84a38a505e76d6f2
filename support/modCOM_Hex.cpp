#include "support/modCOM_Hex.h"

namespace qmzentrel::modCOM_Hex {

std::string HexPad(std::int32_t value, std::int32_t digits) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  auto rest = static_cast<std::uint32_t>(value);
  do {
    text.insert(text.begin(), kDigits[rest & 0xF]);
    rest >>= 4;
  } while (rest != 0);
  if (digits <= 1) return text;
  const auto width = static_cast<std::size_t>(digits);
  if (text.size() < width) text.insert(0, width - text.size(), '0');
  return text.substr(text.size() - width);
}

}  // namespace qmzentrel::modCOM_Hex
