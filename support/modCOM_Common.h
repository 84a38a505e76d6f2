// Separators of paths.
#pragma once

#include <string>

namespace qmzentrel::modCOM_Common {

/// `path` with a backslash at its end, if it has none.
std::string AddBackslash(std::string path);

/// `path` without one trailing backslash, if it has one.
std::string StripBackslash(std::string path);

}  // namespace qmzentrel::modCOM_Common
