// Software versions of the box and of transponders.
#pragma once

#include <cstdint>
#include <string>

namespace qmzentrel {

/// A version byte as text: "2.1" for 0x21, "1.A" for 0x1A.
std::string VersionText(std::uint8_t b);

/// The leading decimal number of such a text: "8.0" is 8, "1.A" is 1, "A.0" is 0.
double VersionValue(const std::string& version);

}  // namespace qmzentrel
