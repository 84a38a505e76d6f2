// The program or library that this is linked into.
#pragma once

#include <windows.h>

// The linker's name for its start.
// NOLINTNEXTLINE(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace qmzentrel::platform {

inline HMODULE ThisModule() {
  return reinterpret_cast<HMODULE>(&__ImageBase);
}

}  // namespace qmzentrel::platform
