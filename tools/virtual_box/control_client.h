// The test's end of the control channel: works natively and in 32-bit Windows test programs.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/virtual_box/log_line.h"
#include "tools/virtual_box/socket.h"

namespace qmzentrel::virtual_box {

class ControlClient {
 public:
  struct Answer {
    bool ok = false;
    std::string text;                ///< after "ok" or "error"
    std::vector<std::string> lines;  ///< of an answer that is a list
  };

  /// Connects to a box on this machine; false when none listens.
  bool Connect(std::uint16_t port);

  /// Sends one command and waits for its answer; an answer that is not there within `limit`, or a
  /// connection that breaks, is "error" with the reason.
  Answer Command(const std::string& line,
                 std::chrono::milliseconds limit = std::chrono::seconds(30));

  /// The log of the box, read back; lines that are no log lines are left out.
  std::vector<LogLine> Log();

 private:
  bool ReadLine(std::string& line);

  Socket socket_;
  std::string received_;
};

}  // namespace qmzentrel::virtual_box
