// The test's hold on a virtual box: what it shall be, how it shall misbehave, and what it has seen.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/virtual_box/control_client.h"

namespace qmzentrel::clients {

using Journal = std::vector<std::string>;

/// Throws std::runtime_error when the box refuses something, which ends the test with the reason.
class BoxControl {
 public:
  /// The box whose control channel the environment variable names ("127.0.0.1:4711").
  explicit BoxControl(const char* variable);

  /// One control command; returns the text of its answer.
  std::string Tell(const std::string& command);

  /// Pulls the port out and plugs it in again, so that nothing of an earlier test is on its way;
  /// forgets faults and log; box and transponder are as they were in the beginning, except that the
  /// box is ready as soon as its supply is on.
  void Reset();

  /// What passed the port since the last reset, in order: "> 80" went to the box, "< 21 85 A6"
  /// came from it.
  Journal Frames();

  /// Those lines of the log that are frames, with times.
  std::vector<virtual_box::LogLine> FrameLog();

  /// Returns once so many frames have passed.
  void AwaitFrames(std::size_t count);

  /// How the supply has been switched since the last reset: "on", "off", ...
  Journal Supply();

  /// The states of the modem lines since the last reset, repetitions left out: "dtr=1 rts=0".
  Journal Lines();

 private:
  std::vector<std::string> List(const std::string& command);

  virtual_box::ControlClient client_;
  std::string beginning_;  // the command that sets all facts back
  std::string supply_;     // the line that feeds the box in the beginning
};

}  // namespace qmzentrel::clients
