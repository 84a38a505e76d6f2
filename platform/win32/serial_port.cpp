#include "platform/serial_port.h"

#include <windows.h>

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

#include "platform/win32/handle.h"

namespace qmzentrel::platform {
namespace {

// Far more than the 36 ms that the longest command needs at 9600 baud. Beyond it the driver is
// holding the bytes back.
constexpr std::int64_t kWriteLimitMs = 1000;

// What the driver no longer counts may still stand in the send buffer of the chip, 16 bytes in the
// common one.
constexpr std::size_t kChipBuffer = 16;

// Beside their time on the wire bytes need that of the way there: a frame or two of a USB adapter.
constexpr std::int64_t kOnTheWayMs = 10;

std::int64_t MonotonicMs() {
  LARGE_INTEGER frequency;
  LARGE_INTEGER count;
  QueryPerformanceFrequency(&frequency);
  QueryPerformanceCounter(&count);
  const std::int64_t seconds = count.QuadPart / frequency.QuadPart;
  const std::int64_t rest = count.QuadPart % frequency.QuadPart;
  return seconds * 1000 + rest * 1000 / frequency.QuadPart;
}

// A moment on the monotonic clock; a date set by the user does not shift it.
class Deadline {
 public:
  explicit Deadline(std::int64_t in_ms)
      : at_ms_(MonotonicMs() + std::max<std::int64_t>(in_ms, 0)) {}
  DWORD Remaining() const {
    return static_cast<DWORD>(std::max<std::int64_t>(at_ms_ - MonotonicMs(), 0));
  }
  // Sleep may end early by a tick of the system's clock.
  void SleepOut() const {
    while (const DWORD left = Remaining()) Sleep(left);
  }

 private:
  std::int64_t at_ms_;
};

enum class End { kCompleted, kTimedOut, kFailed };

struct Transfer {
  End end;
  DWORD count;
};

bool SetWholeControlBlock(HANDLE port, const SerialSettings& settings, ModemLines lines) {
  DCB block{};  // Everything not named below is off.
  block.DCBlength = sizeof block;
  block.BaudRate = static_cast<DWORD>(settings.baud_rate);
  block.fBinary = TRUE;
  block.ByteSize = static_cast<BYTE>(settings.data_bits);
  block.Parity = static_cast<BYTE>(settings.parity);
  block.StopBits = static_cast<BYTE>(settings.stop_bits);
  // The default of a driver is "on", which would switch on the supply of the box.
  block.fDtrControl = lines.dtr ? DTR_CONTROL_ENABLE : DTR_CONTROL_DISABLE;
  block.fRtsControl = lines.rts ? RTS_CONTROL_ENABLE : RTS_CONTROL_DISABLE;
  // Flow control is off, but drivers refuse a block in which both characters are the same.
  block.XonChar = 0x11;
  block.XoffChar = 0x13;
  return SetCommState(port, &block) != FALSE;
}

// How many bytes the driver still has to send, 0 from one that does not count them; nothing when
// the port has vanished.
std::optional<DWORD> BytesHeld(HANDLE port) {
  COMSTAT status{};
  if (ClearCommError(port, nullptr, &status) != FALSE) return status.cbOutQue;
  const DWORD error = GetLastError();
  if (error == ERROR_INVALID_FUNCTION || error == ERROR_NOT_SUPPORTED) return 0;
  return std::nullopt;
}

// No time limit of the driver: with inherited ones reads return at once or never. The limits are
// kept here, by cancelling.
bool ClearTimeouts(HANDLE port) {
  COMMTIMEOUTS none{};
  return SetCommTimeouts(port, &none) != FALSE;
}

}  // namespace

struct SerialPort::State {
  OwnedHandle port;
  OwnedHandle completion;  // Signalled when the one operation under way has ended.
  SerialSettings settings;
  ModemLines lines;  // As the driver last took them.
  Deadline sent{0};  // When all that was written has passed the wire.

  // Counts from the moment at which the driver has the bytes: it may begin only then.
  void NoteWritten(std::size_t count) { sent = Deadline(sent.Remaining() + WireMs(count)); }

  std::int64_t WireMs(std::size_t count) const {
    return WireMicroseconds(settings, count) / 1000 + 1;
  }

  // A line that stays off is left alone: it is not ours, and behind a USB adapter each call is a
  // transfer of its own. One that stays on is set again: a driver may have dropped it meanwhile.
  void SetLine(bool& present, bool wanted, DWORD set, DWORD clear) {
    if (!present && !wanted) return;
    if (EscapeCommFunction(port.Get(), wanted ? set : clear) != FALSE) present = wanted;
  }

  // Runs one read or write, begun by `start` with the OVERLAPPED it is handed, and comes back only
  // when the driver has let go of it: its memory is on the stack.
  template <class Start>
  Transfer Run(Start start, DWORD limit_ms) {
    OVERLAPPED operation{};
    operation.hEvent = completion.Get();
    if (start(&operation) == FALSE && GetLastError() != ERROR_IO_PENDING) {
      return {End::kFailed, 0};
    }
    const bool in_time = WaitForSingleObject(completion.Get(), limit_ms) == WAIT_OBJECT_0;
    if (!in_time) CancelIo(port.Get());
    // Filled for a cancelled operation too: what did get through. A driver that copies at the end
    // may count bytes of a cancelled read that it has not handed over: a cut reply is only counted.
    DWORD count = 0;
    const BOOL whole = GetOverlappedResult(port.Get(), &operation, &count, TRUE);
    if (whole != FALSE) return {End::kCompleted, count};
    return {in_time ? End::kFailed : End::kTimedOut, count};
  }
};

SerialPort::SerialPort() = default;
SerialPort::~SerialPort() {
  Close();
}

bool SerialPort::Open(std::int32_t number, const SerialSettings& settings, ModemLines lines) {
  Close();
  if (number < 1) return false;
  // Without the device prefix COM10 and above are not found.
  const std::wstring device = L"\\\\.\\COM" + std::to_wstring(number);
  auto state = std::make_unique<State>();
  state->port = OwnedHandle(CreateFileW(device.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                        OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr));
  if (!state->port.IsValid()) return false;
  state->completion = OwnedHandle(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  if (!state->completion.IsValid()) return false;
  if (!SetWholeControlBlock(state->port.Get(), settings, lines)) return false;
  if (!ClearTimeouts(state->port.Get())) return false;
  state->settings = settings;
  state->lines = lines;
  state_ = std::move(state);
  return true;
}

bool SerialPort::IsOpen() const {
  return state_ != nullptr;
}

void SerialPort::Close() {
  if (!state_) return;
  // Some drivers hold the closing back until everything has been sent.
  PurgeComm(state_->port.Get(), PURGE_TXABORT | PURGE_RXABORT | PURGE_TXCLEAR | PURGE_RXCLEAR);
  state_.reset();
}

void SerialPort::ClearReceiveBuffer() {
  if (state_) PurgeComm(state_->port.Get(), PURGE_RXCLEAR);
}

bool SerialPort::Write(std::span<const std::uint8_t> bytes) {
  if (!state_) return false;
  const auto size = static_cast<DWORD>(bytes.size());
  const HANDLE port = state_->port.Get();
  const Transfer sent = state_->Run(
      [&](OVERLAPPED* operation) {
        return WriteFile(port, bytes.data(), size, nullptr, operation);
      },
      kWriteLimitMs);
  state_->NoteWritten(sent.count);
  return sent.count == size;
}

bool SerialPort::AwaitSent() {
  if (!state_) return false;
  const Deadline limit(state_->sent.Remaining() + kWriteLimitMs);
  Deadline sent(state_->sent.Remaining() + kOnTheWayMs);
  while (true) {
    sent.SleepOut();
    const std::optional<DWORD> held = BytesHeld(state_->port.Get());
    if (!held) return false;
    if (*held == 0) return true;
    if (limit.Remaining() == 0) return false;
    sent = Deadline(state_->WireMs(*held + kChipBuffer) + kOnTheWayMs);
  }
}

std::size_t SerialPort::Read(std::span<std::uint8_t> buffer, std::int32_t timeout_ms) {
  if (!state_) return 0;
  const Deadline deadline(timeout_ms);
  const HANDLE port = state_->port.Get();
  std::size_t received = 0;
  while (received < buffer.size()) {
    const auto rest = buffer.subspan(received);
    const Transfer got = state_->Run(
        [&](OVERLAPPED* operation) {
          return ReadFile(port, rest.data(), static_cast<DWORD>(rest.size()), nullptr, operation);
        },
        deadline.Remaining());
    received += got.count;
    if (got.end == End::kTimedOut) break;
    if (got.count == 0) {
      // The port has vanished: the operating system answers at once from now on. Sleeping the limit
      // out makes it what it is to the exchange, a silent box, and keeps a client that tries again
      // and again from burning the processor.
      Sleep(deadline.Remaining());
      break;
    }
  }
  return received;
}

void SerialPort::SetLines(ModemLines lines) {
  if (!state_) return;
  state_->SetLine(state_->lines.dtr, lines.dtr, SETDTR, CLRDTR);
  state_->SetLine(state_->lines.rts, lines.rts, SETRTS, CLRRTS);
}

}  // namespace qmzentrel::platform
