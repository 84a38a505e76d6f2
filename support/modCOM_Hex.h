// Hexadecimal text of fixed width.
#pragma once

#include <cstdint>
#include <string>

namespace qmzentrel::modCOM_Hex {

/// Upper-case hexadecimal digits of `value` (a negative one as its 32-bit two's complement). With
/// `digits` above 1 exactly that many: filled with "0" or cut on the left; with 0 or 1 as many as
/// the value has.
std::string HexPad(std::int32_t value, std::int32_t digits);

}  // namespace qmzentrel::modCOM_Hex
