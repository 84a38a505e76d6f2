// Separators of paths.
#pragma once

#include <string>

namespace qmzentrel::modCOM_Common {

/// `path` without one trailing backslash, if it has one.
std::string StripBackslash(std::string path);

}  // namespace qmzentrel::modCOM_Common
