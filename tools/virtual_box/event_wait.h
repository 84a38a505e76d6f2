// The one place where the program sleeps: until something happens or a moment has come.
#pragma once

#include <optional>
#include <vector>

#include "tools/virtual_box/basics.h"
#include "tools/virtual_box/wait_handle.h"

namespace qmzentrel::virtual_box {

/// The monotonic clock that all times of the program are on. On Linux it is CLOCK_MONOTONIC, the
/// clock of the modem-line records.
Time MonotonicNow();

class EventWait {
 public:
  void Clear() { items_.clear(); }

  /// Adds something to wait for: until it can be read, and, where `or_writable`, until it can be
  /// written.
  void Add(WaitHandle handle, bool or_writable = false) { items_.push_back({handle, or_writable}); }

  /// Sleeps until one of the items is ready or `deadline` has come. May return early.
  void Until(std::optional<Time> deadline) const;

 private:
  struct Item {
    WaitHandle handle;
    bool or_writable;
  };
  std::vector<Item> items_;
};

}  // namespace qmzentrel::virtual_box
