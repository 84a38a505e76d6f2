// The timers that the library has begun and not ended.
#pragma once

#include <windows.h>

#include <atomic>

#include "tests/automation/replaced_import.h"

namespace qmzentrel::clients {

/// Sees every timer that the library begins and ends while it lives. One at a time.
class RunningTimers {
 public:
  /// `library` is loaded and stays so, and has no timer now.
  explicit RunningTimers(HMODULE library);
  ~RunningTimers();
  RunningTimers(const RunningTimers&) = delete;
  RunningTimers& operator=(const RunningTimers&) = delete;

  long Count() const { return running_; }

 private:
  static UINT_PTR WINAPI Begin(HWND window, UINT_PTR id, UINT interval_ms, TIMERPROC tick);
  static BOOL WINAPI End(HWND window, UINT_PTR id);

  static RunningTimers* the_only;
  std::atomic<long> running_ = 0;
  automation::ReplacedImport<decltype(&SetTimer)> begin_;
  automation::ReplacedImport<decltype(&KillTimer)> end_;
};

}  // namespace qmzentrel::clients
