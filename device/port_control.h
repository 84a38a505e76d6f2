// The serial port of the box, with the roles that the commands need.
#pragma once

#include <cstdint>

#include "interface/frame_buffer.h"
#include "platform/serial_port.h"

namespace qmzentrel {

/// Which port, and how to talk to what is behind it.
struct PortSettings {
  std::int32_t number = 0;  ///< of the COM port, 1 and up
  platform::SerialSettings link;
};

/// The lines that carry the supply: what the text "SupplyLine" in the registry says, DTR unless it
/// is "RTS" or "BOTH". Read afresh each time.
platform::ModemLines ConfiguredSupplyLines();

/// The supply may be set at any time, open or closed. A closed port swallows writes and reads
/// nothing.
class PortControl {
 public:
  bool IsOpen() const { return port_.IsOpen(); }

  /// Opens the port, or leaves it closed where that cannot be: IsOpen tells. The supply line stands
  /// as last set from the first moment on: a reopened port carries the supply that its owner
  /// believes it has. Which line that is says ConfiguredSupplyLines.
  void Open(const PortSettings& settings);
  /// Why the last opening failed, as the operating system's code; 0 when it did not.
  std::int32_t OpenError() const { return port_.OpenError(); }
  void Close();

  void ClearReceiveBuffer() { port_.ClearReceiveBuffer(); }

  /// Sends the first `count` bytes; false when not all of them could be sent.
  bool Write(const FrameBuffer& buffer, std::int32_t count);

  /// Waits until what was sent has passed the wire; false when it cannot all have been sent. Needed
  /// only where no reply shows that the box has it.
  bool AwaitSent() { return port_.AwaitSent(); }

  /// Drops what was sent and has not reached the wire yet.
  void DropUnsent() { port_.DropUnsent(); }

  /// Reads up to `count` bytes into `buffer` from `first` on, for at most `timeout_ms`; returns how
  /// many came.
  std::int32_t Read(FrameBuffer& buffer, std::int32_t first, std::int32_t count,
                    std::int32_t timeout_ms);

  /// The supply line: 1 = on, 0 = off. Remembered while the port is closed.
  void Supply(std::int32_t state);

 private:
  platform::ModemLines Lines() const;

  platform::SerialPort port_;
  bool supply_on_ = false;
  platform::ModemLines supply_lines_{.dtr = true};
};

}  // namespace qmzentrel
