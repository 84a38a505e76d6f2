// What a meter interface means by its meter specific information (MSI). Read afresh with each call.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "interface/catalogs.h"

namespace qmzentrel::catalogs {

struct MsiDescription {
  std::string caption = "MSI";
  Range range{0, 15};
  std::int32_t preselected = 0;    ///< "Default"
  std::vector<std::string> names;  ///< of the values in the range, at most kMostNumbers
};

/// The description that the interface names. A value without a name has its hexadecimal digits.
MsiDescription MsiOf(std::int32_t meter_interface);

}  // namespace qmzentrel::catalogs
