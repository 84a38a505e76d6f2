// The wish of the user or the system that the program end, as something to wait for.
#pragma once

#include "tools/virtual_box/wait_handle.h"

namespace qmzentrel::virtual_box {

/// From its creation on, interrupt and termination requests no longer end the process. One at a
/// time.
class StopSignal {
 public:
  StopSignal();
  ~StopSignal();
  StopSignal(const StopSignal&) = delete;
  StopSignal& operator=(const StopSignal&) = delete;

  WaitHandle Handle() const { return handle_; }
  bool IsRaised() const;

 private:
  WaitHandle handle_;
};

}  // namespace qmzentrel::virtual_box
