#include "platform/win32/locked_windows.h"

#include <algorithm>
#include <new>

#include "platform/hardware_faults.h"

namespace qmzentrel::platform {

// Made before a window is locked: what leaves in between unlocks those that are.
LockedWindows::LockedWindows(HWND owner) : LockedWindows() {
  EnumThreadWindows(GetCurrentThreadId(), Collect, reinterpret_cast<LPARAM>(&windows_));
  if (owner != nullptr && std::ranges::find(windows_, owner) == windows_.end()) {
    windows_.push_back(owner);
  }
  std::erase_if(windows_, [](HWND window) { return IsWindowEnabled(window) == FALSE; });
  for (const HWND window : windows_) CallOut([window] { return EnableWindow(window, FALSE); });
}

void LockedWindows::Unlock() {
  // One that the client has destroyed meanwhile is none that can be enabled.
  for (const HWND window : windows_) CallOut([window] { return EnableWindow(window, TRUE); });
  windows_.clear();
}

// Called by the operating system, which keeps the stack aligned to 4 bytes only.
__attribute__((force_align_arg_pointer)) BOOL CALLBACK LockedWindows::Collect(HWND window,
                                                                              LPARAM windows) {
  try {
    reinterpret_cast<std::vector<HWND>*>(windows)->push_back(window);
    return TRUE;
  } catch (const std::bad_alloc&) {
    return FALSE;  // which cannot be thrown through the operating system
  }
}

}  // namespace qmzentrel::platform
