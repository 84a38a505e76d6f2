#include "support/modCOM_Common.h"

namespace qmzentrel::modCOM_Common {

std::string AddBackslash(std::string path) {
  if (!path.ends_with('\\')) path += '\\';
  return path;
}

std::string StripBackslash(std::string path) {
  if (path.ends_with('\\')) path.pop_back();
  return path;
}

}  // namespace qmzentrel::modCOM_Common
