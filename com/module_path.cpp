#include "com/module_path.h"

#include <windows.h>

#include <cstddef>

#include "com/error_info.h"
#include "platform/win32/this_module.h"

namespace qmzentrel::com {

std::wstring ModulePath() {
  constexpr std::size_t kLongestPath = 0x8000;
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length =
        GetModuleFileNameW(platform::ThisModule(), path.data(), static_cast<DWORD>(path.size()));
    if (length == 0 || path.size() > kLongestPath) {
      throw ComError{HRESULT_FROM_WIN32(GetLastError()), "The library cannot tell its own path"};
    }
    if (length < path.size()) {
      path.resize(length);
      return path;
    }
    path.resize(path.size() * 2);  // a full buffer holds a cut path
  }
}

}  // namespace qmzentrel::com
