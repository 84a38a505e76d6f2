// The virtual box that `bench/run` puts behind a serial port.
#pragma once

#include <string>

#include "tools/virtual_box/control_client.h"

namespace qmzentrel::bench {

/// Number of the COM port with the box behind it.
int BoxPort();

/// Tells the box what to do.
class BoxLink {
 public:
  BoxLink();

  /// One control command, which the box must accept.
  void Do(const std::string& command);

 private:
  virtual_box::ControlClient client_;
};

}  // namespace qmzentrel::bench
