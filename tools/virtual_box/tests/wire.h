// A box in virtual time: what a test sends, and when which byte comes back.
#pragma once

#include <vector>

#include "tools/virtual_box/box_model.h"

namespace qmzentrel::virtual_box {

class Wire {
 public:
  BoxModel box{[this](const LogLine& line) { log.push_back(line); }};
  std::vector<LogLine> log;
  Time now = std::chrono::seconds(1);
  std::vector<Time> arrivals;  ///< of the bytes of the last reply, after the command was sent
  bool unplugged = false;

  /// Sends bytes all at once and lets the time run until the box has nothing left to do.
  Bytes Exchange(const Bytes& command) {
    box.Receive(command, now);
    return Settle();
  }

  Bytes Settle() {
    const Time sent = now;
    Bytes reply;
    arrivals.clear();
    while (const auto due = box.NextDue()) {
      now = std::max(now, *due);
      const BoxModel::Output output = box.Advance(now);
      for (const std::uint8_t byte : output.bytes) {
        reply.push_back(byte);
        arrivals.push_back(now - sent);
      }
      unplugged = unplugged || output.unplug;
    }
    return reply;
  }

  void Pass(Time time) {
    now += time;
    box.Advance(now);
  }
};

/// The rule of every reply of box and transponder.
inline bool EndsInItsSum(const Bytes& bytes) {
  unsigned sum = 0;
  for (std::size_t i = 0; i + 1 < bytes.size(); ++i) sum += bytes[i];
  return !bytes.empty() && (sum & 0xFF) == bytes.back();
}

}  // namespace qmzentrel::virtual_box
