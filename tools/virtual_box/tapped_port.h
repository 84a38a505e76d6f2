// The port behind which a tap finds the box: a serial port or the pseudo-terminal of a virtual box
// on Linux, a COM port on Windows. Which of the two is settled when the program is linked.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "tools/virtual_box/basics.h"
#include "tools/virtual_box/event_wait.h"

namespace qmzentrel::virtual_box {

class TappedPort {
 public:
  /// `name`: "/dev/ttyUSB0", the link of a virtual box, "COM7". `lines_dir`: the folder in which a
  /// pseudo-terminal's modem lines are kept, if any (Linux).
  TappedPort(std::string name, std::string lines_dir);
  ~TappedPort();
  TappedPort(const TappedPort&) = delete;
  TappedPort& operator=(const TappedPort&) = delete;

  /// Opens the port at 9600 8 N 2, both modem lines off; the reason when that fails, else empty.
  std::string Open();
  /// Drops both lines and closes the port.
  void Close();
  bool IsOpen() const { return state_ != nullptr; }

  /// True when the port has disappeared while it was open.
  bool IsGone() const;
  /// True when the port has modem lines to set.
  bool HasLines() const;
  const std::string& Name() const { return name_; }

  void AddTo(EventWait& wait) const;

  /// Whatever has arrived, without waiting.
  Bytes Read();
  /// Puts bytes on the line.
  void Write(std::span<const std::uint8_t> bytes);
  /// Sets the lines, after what has been written has left.
  void SetLines(bool dtr, bool rts);

 private:
  struct State;
  std::string name_;
  std::string lines_dir_;
  std::unique_ptr<State> state_;  // null while closed
};

}  // namespace qmzentrel::virtual_box
