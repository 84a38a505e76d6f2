#include "zentrel/system_program.h"

#include <windows.h>

#include <array>

#include "platform/win32/wide.h"

namespace qmzentrel::program {

std::string SystemProgram(const std::string& name) {
  std::array<wchar_t, MAX_PATH> folder{};
  const auto size = static_cast<UINT>(folder.size());
  // There is none on a 32-bit system.
  if (GetSystemWow64DirectoryW(folder.data(), size) == 0) {
    GetSystemDirectoryW(folder.data(), size);
  }
  return platform::WideToUtf8(folder.data()) + "\\" + name;
}

}  // namespace qmzentrel::program
