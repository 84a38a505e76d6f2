// The windows of the client while one of ours waits for the user.
#pragma once

#include <windows.h>

#include <vector>

namespace qmzentrel::platform {

/// Keeps the client's windows from input as long as it lives: every top-level window of the calling
/// thread, visible or not, and `owner`, which may be another thread's. A window that the client had
/// locked itself stays locked afterwards. To be made before the window that shall take input.
class LockedWindows {
 public:
  explicit LockedWindows(HWND owner);
  ~LockedWindows() { Unlock(); }
  LockedWindows(const LockedWindows&) = delete;
  LockedWindows& operator=(const LockedWindows&) = delete;

  /// To be called before our window is hidden: the operating system makes no locked window active.
  void Unlock();

 private:
  LockedWindows() = default;

  static BOOL CALLBACK Collect(HWND window, LPARAM windows);

  std::vector<HWND> windows_;
};

}  // namespace qmzentrel::platform
