// The serial port of the box, with the roles that the commands need.
#pragma once

#include <cstdint>

#include "interface/frame_buffer.h"
#include "platform/serial_port.h"

namespace qmzentrel {

/// Settings may be changed at any time; port number and link settings count from the next opening,
/// the supply at once. A closed port swallows writes and reads nothing.
class PortControl {
 public:
  /// Open indicator: 1 while the port is open, else 0.
  std::int32_t PortOpen() const { return port_.IsOpen() ? 1 : 0; }

  void PortNumber(std::int32_t number) { number_ = number; }
  void BaudRate(std::int32_t rate) { settings_.baud_rate = rate; }
  void Parity(std::int32_t parity) { settings_.parity = parity; }
  void DataBits(std::int32_t bits) { settings_.data_bits = bits; }
  void StopBits(std::int32_t bits) { settings_.stop_bits = bits; }

  /// Opens the port with the settings in force. The supply line stands as last set from the first
  /// moment on: a reopened port carries the supply that its owner believes it has. Which line that
  /// is says the text "SupplyLine" in the registry: DTR unless it is "RTS" or "BOTH".
  void Open();
  void Close();

  void ClearReceiveBuffer() { port_.ClearReceiveBuffer(); }

  /// Sends the first `count` bytes; false when not all of them could be sent.
  bool Write(const FrameBuffer& buffer, std::int32_t count);

  /// Waits until what was sent has passed the wire; false when it cannot all have been sent. Needed
  /// only where no reply shows that the box has it.
  bool AwaitSent() { return port_.AwaitSent(); }

  /// Reads up to `count` bytes into `buffer` from `first` on, for at most `timeout_ms`; returns how
  /// many came.
  std::int32_t Read(FrameBuffer& buffer, std::int32_t first, std::int32_t count,
                    std::int32_t timeout_ms);

  /// The supply line: 1 = on, 0 = off. Remembered while the port is closed.
  void Supply(std::int32_t state);

 private:
  platform::ModemLines Lines() const;

  platform::SerialPort port_;
  std::int32_t number_ = 0;
  platform::SerialSettings settings_;
  bool supply_on_ = false;
  platform::ModemLines supply_lines_{.dtr = true};
};

}  // namespace qmzentrel
