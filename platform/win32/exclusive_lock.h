// A lock of the operating system, held within a scope.
#pragma once

#include <windows.h>

namespace qmzentrel::platform {

/// Holds `lock` as long as it lives. Not recursive.
class ExclusiveLock {
 public:
  explicit ExclusiveLock(SRWLOCK& lock) : lock_(lock) { AcquireSRWLockExclusive(&lock_); }
  ~ExclusiveLock() { ReleaseSRWLockExclusive(&lock_); }
  ExclusiveLock(const ExclusiveLock&) = delete;
  ExclusiveLock& operator=(const ExclusiveLock&) = delete;

 private:
  SRWLOCK& lock_;
};

}  // namespace qmzentrel::platform
