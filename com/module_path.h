// Where the library lies.
#pragma once

#include <string>

namespace qmzentrel::com {

/// Full path of the library's own file, however long. Throws ComError.
std::wstring ModulePath();

}  // namespace qmzentrel::com
