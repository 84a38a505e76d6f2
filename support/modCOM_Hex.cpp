#include "support/modCOM_Hex.h"

#include "support/error_frame.h"

namespace qmzentrel::modCOM_Hex {
namespace {

constexpr ModuleFields kFields = NoFields("modCOM_Hex");

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
  std::string strHex;
  ErrorFrame frame(kFields, "HexPad", PARAMETERS(value, digits), LOCALS(strHex));
  return frame.Run([&] {
    STEP strHex = BareDigits(value);
    STEP if (digits <= 1) return strHex;
    const auto width = static_cast<std::size_t>(digits);
    STEP strHex.insert(0, width, '0');
    STEP return strHex.substr(strHex.size() - width);
  });
}

}  // namespace qmzentrel::modCOM_Hex
