// Text for displays that end at a zero character.
#pragma once

#include <string>
#include <string_view>

namespace qmzentrel {

/// `text` with each zero character shown as "{Null}", so that what stands behind it is seen.
std::string WithZerosShown(std::string_view text);

}  // namespace qmzentrel
