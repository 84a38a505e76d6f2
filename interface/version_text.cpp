#include "interface/version_text.h"

#include "support/modCOM_Hex.h"

namespace qmzentrel {

std::string VersionText(std::uint8_t b) {
  return modCOM_Hex::HexPad(b >> 4, 1) + "." + modCOM_Hex::HexPad(b & 0xF, 1);
}

double VersionValue(const std::string& version) {
  double value = 0;
  double place = 1;
  bool fraction = false;
  for (const char c : version) {
    if (c == '.' && !fraction) {
      fraction = true;
    } else if (c < '0' || c > '9') {
      break;
    } else if (fraction) {
      place /= 10;
      value += (c - '0') * place;
    } else {
      value = value * 10 + (c - '0');
    }
  }
  return value;
}

}  // namespace qmzentrel
