// Whether this is a Windows for programs of both widths.
#pragma once

#include <windows.h>

namespace qmzentrel::platform {

/// Whether 64-bit programs run here, too, and so have a view of the registry of their own.
inline bool HasBothWidths() {
  // On Windows for ARM the older question may be answered no. The newer is not there before
  // Windows 10.
  using NewerQuestion = BOOL WINAPI(HANDLE, USHORT*, USHORT*);
  const auto ask = reinterpret_cast<NewerQuestion*>(reinterpret_cast<void*>(
      GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "IsWow64Process2")));
  USHORT emulated = IMAGE_FILE_MACHINE_UNKNOWN;
  USHORT machine = IMAGE_FILE_MACHINE_UNKNOWN;
  if (ask != nullptr && ask(GetCurrentProcess(), &emulated, &machine) != FALSE) {
    return emulated != IMAGE_FILE_MACHINE_UNKNOWN;
  }
  BOOL narrow = FALSE;
  IsWow64Process(GetCurrentProcess(), &narrow);
  return narrow != FALSE;
}

}  // namespace qmzentrel::platform
