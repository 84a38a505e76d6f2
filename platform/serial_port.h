// One serial port as the box needs it: 8-bit bytes at a fixed rate, no flow control, and two output
// lines that can carry the supply of the box.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace qmzentrel::platform {

/// Parity settings, as the serial API of the operating system numbers them.
inline constexpr std::int32_t kNoParity = 0;
/// Stop-bit settings, as the serial API of the operating system numbers them: 2 is two stop bits.
inline constexpr std::int32_t kTwoStopBits = 2;

struct SerialSettings {
  std::int32_t baud_rate = 9600;
  std::int32_t parity = kNoParity;
  std::int32_t data_bits = 8;
  std::int32_t stop_bits = kTwoStopBits;
};

/// State of the two output lines, true = on.
struct ModemLines {
  bool dtr = false;
  bool rts = false;
  bool operator==(const ModemLines&) const = default;
};

/// An open or closed serial port. Not copied, used by one thread. A port that has vanished is like
/// a silent box: a read sleeps its whole limit out and brings nothing, a write fails, and the port
/// stays open until it is closed.
class SerialPort {
 public:
  SerialPort();
  ~SerialPort();
  SerialPort(const SerialPort&) = delete;
  SerialPort& operator=(const SerialPort&) = delete;

  /// Opens port `number` (1 and up) with every setting stated and nothing inherited; the output
  /// lines stand as `lines` says from the first moment, without a pulse. False when there is no
  /// such port, it is in use, or it refuses the settings; then nothing stays open.
  bool Open(std::int32_t number, const SerialSettings& settings, ModemLines lines);

  bool IsOpen() const;

  /// Ends what is pending and closes, without waiting for the other end. Harmless when closed.
  void Close();

  /// Drops every received byte that has not been read.
  void ClearReceiveBuffer();

  /// Sends all of `bytes`; false when not all could be sent within one second (the rest is
  /// cancelled).
  bool Write(std::span<const std::uint8_t> bytes);

  /// Reads until `buffer` is full or `timeout_ms` milliseconds have passed; returns how many bytes
  /// came. Dispatches no window message and sleeps in the kernel.
  std::size_t Read(std::span<std::uint8_t> buffer, std::int32_t timeout_ms);

  /// Sets both output lines. A driver that has no such lines is left alone.
  void SetLines(ModemLines lines);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace qmzentrel::platform
