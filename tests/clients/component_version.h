// The version that the library has to tell of itself.
#pragma once

#include <string>
#include <string_view>

#include "support/component_version.h"

namespace qmzentrel::clients {

inline std::wstring ComponentVersion() {
  constexpr std::string_view kVersion = kComponentVersion;
  return {kVersion.begin(), kVersion.end()};
}

}  // namespace qmzentrel::clients
