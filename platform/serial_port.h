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

/// How long `bytes` bytes are on the wire, in microseconds: each with a start bit, its data bits, a
/// parity bit where there is one, and its stop bits.
constexpr std::int64_t WireMicroseconds(const SerialSettings& settings, std::size_t bytes) {
  const std::int64_t parity_bits = settings.parity == kNoParity ? 0 : 1;
  const std::int64_t stop_bits = settings.stop_bits == kTwoStopBits ? 2 : 1;
  const std::int64_t bits = 1 + settings.data_bits + parity_bits + stop_bits;
  return static_cast<std::int64_t>(bytes) * bits * 1'000'000 / settings.baud_rate;
}

// Codes of the operating system for an opening that fails. A driver that refuses the settings gives
// one of its own choice.
inline constexpr std::int32_t kPortMissing = 2;
inline constexpr std::int32_t kPortInUse = 5;

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

  /// Opens port `number` (1 and up) with every setting stated and nothing inherited; then the
  /// output lines stand as `lines` says. Opening does not switch a line on that shall be off.
  /// False when there is no such port, it is in use, or it refuses the settings; then nothing stays
  /// open, and OpenError says why.
  bool Open(std::int32_t number, const SerialSettings& settings, ModemLines lines);

  /// Why the last Open failed, as the operating system's code; 0 when it did not, or before the
  /// first one. Kept until the next, for whoever looks into it.
  std::int32_t OpenError() const { return open_error_; }

  bool IsOpen() const;

  /// Ends what is pending and closes, without waiting for the other end. Harmless when closed.
  void Close();

  /// Drops every received byte that has not been read.
  void ClearReceiveBuffer();

  /// Hands all of `bytes` to the driver, whose lines are set once more before where they were set
  /// some time ago, since a driver may have dropped them; false when not all went there within one
  /// second (what has not been sent then is dropped). The last of them may still be on their way:
  /// see AwaitSent.
  bool Write(std::span<const std::uint8_t> bytes);

  /// Waits until what was written has had its time on the wire and the driver, if it counts them,
  /// holds no byte of it any more. Closing the port or changing the lines earlier would cut it off.
  /// False when not all of it can have been sent: the port has vanished, or the driver still holds
  /// bytes a second later, which are dropped then. Dispatches no window message and sleeps in the
  /// kernel.
  bool AwaitSent();

  /// Drops what the driver has taken and not sent yet.
  void DropUnsent();

  /// Reads until `buffer` is full or `timeout_ms` milliseconds have passed; returns how many bytes
  /// came. Dispatches no window message and sleeps in the kernel.
  std::size_t Read(std::span<std::uint8_t> buffer, std::int32_t timeout_ms);

  /// Sets both output lines. A driver that has no such lines is left alone. So is one, once, that
  /// has them so already and has just delivered a whole reply.
  void SetLines(ModemLines lines);

 private:
  struct State;
  std::unique_ptr<State> state_;
  std::int32_t open_error_ = 0;
};

}  // namespace qmzentrel::platform
