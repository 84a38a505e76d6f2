// Time limits that no setting of the clock shifts.
#pragma once

#include <windows.h>

#include <cstdint>

namespace qmzentrel::platform {

/// A moment on the monotonic clock of the operating system.
class Deadline {
 public:
  /// `in_ms` milliseconds after the clock's last whole one; below 0 counts as 0.
  explicit Deadline(std::int64_t in_ms);

  /// Milliseconds left; 0 from that moment on.
  DWORD Remaining() const;

  /// Sleeps until that moment, whatever messages come.
  void SleepOut() const;

 private:
  std::int64_t at_ms_;
};

}  // namespace qmzentrel::platform
