// The tap at work: bytes and modem lines go from the client's port to the box's, bytes back, at
// once; what has passed is told to the listener beside the line.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/virtual_box/port_program.h"
#include "tools/virtual_box/tap.h"
#include "tools/virtual_box/tapped_port.h"

namespace qmzentrel::virtual_box {

class TapProgram : public PortProgram {
 public:
  explicit TapProgram(const Options& options);
  ~TapProgram() override;

  std::string Plug() override;
  void Unplug() override;
  std::string Condition() const override;

 private:
  void AddTo(EventWait& wait) override;
  std::optional<Time> NextDue() const override;
  void Turn(Time now) override;
  void PassLines(const LineChange& change);
  void Disconnect(const std::string& why);

  Tap tap_;
  TappedPort box_;
  std::optional<Time> next_try_;  // to find the box again that has disappeared
};

}  // namespace qmzentrel::virtual_box
