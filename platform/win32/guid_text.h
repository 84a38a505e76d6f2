// Unique identifiers as the registry has them.
#pragma once

#include <windows.h>

// After it, which it needs.
#include <objbase.h>

#include <array>
#include <string>

namespace qmzentrel::platform {

/// "{00020424-0000-0000-C000-000000000046}".
inline std::wstring GuidText(REFGUID guid) {
  std::array<wchar_t, 39> text{};  // 38 characters and the zero
  StringFromGUID2(guid, text.data(), static_cast<int>(text.size()));
  return text.data();
}

}  // namespace qmzentrel::platform
