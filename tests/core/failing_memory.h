// Memory that runs out, for the thread that says so.
#pragma once

namespace qmzentrel::tests {

/// As long as it lives, allocations fail: all of them, or the one after `spared` others.
class MemoryRunsOut {
 public:
  MemoryRunsOut();
  explicit MemoryRunsOut(int spared);
  ~MemoryRunsOut();
  MemoryRunsOut(const MemoryRunsOut&) = delete;
  MemoryRunsOut& operator=(const MemoryRunsOut&) = delete;

  /// Whether an allocation has failed.
  static bool HasFailed();
};

}  // namespace qmzentrel::tests
