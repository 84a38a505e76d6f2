// The lock of what all apartments of the process share.
#pragma once

#include <windows.h>

namespace qmzentrel::platform {

/// Holds the lock as long as it lives.
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
