// The lock around what all apartments of the process share.
#pragma once

namespace qmzentrel::platform {

/// Holds the one lock of the component as long as it lives. Not recursive, and never held across
/// anything that dispatches messages or calls the client.
class ProcessLock {
 public:
  ProcessLock();
  ~ProcessLock();
  ProcessLock(const ProcessLock&) = delete;
  ProcessLock& operator=(const ProcessLock&) = delete;
};

}  // namespace qmzentrel::platform
