#include "platform/win32/surrogate.h"

#include <windows.h>

#include <array>
#include <string_view>

namespace qmzentrel::platform {

// By its name: the system tells a library only that somebody wants an object.
bool InSurrogate() {
  constexpr std::wstring_view kName = L"\\dllhost.";
  std::array<wchar_t, MAX_PATH> path{};
  const DWORD length = GetModuleFileNameW(nullptr, path.data(), MAX_PATH);
  const std::wstring_view program(path.data(), length);
  const std::size_t name = program.rfind(L'\\');
  return name != std::wstring_view::npos && program.size() > name + kName.size() &&
         CompareStringOrdinal(program.data() + name, static_cast<int>(kName.size()), kName.data(),
                              static_cast<int>(kName.size()), TRUE) == CSTR_EQUAL;
}

}  // namespace qmzentrel::platform
