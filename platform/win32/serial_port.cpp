#include "platform/serial_port.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

#include "platform/win32/deadline.h"
#include "platform/win32/handle.h"

namespace qmzentrel::platform {
namespace {

// Far more than the 36 ms that the longest command needs at 9600 baud. Beyond it the driver is
// holding the bytes back.
constexpr DWORD kWriteLimitMs = 1000;

// The limit of reads that the driver begins with: the shortest wait for a box. See Transfer.
constexpr DWORD kReadLimitMs = 500;

// A limit that the driver has already is kept when it ends a wait too late by no more than this.
constexpr DWORD kSlackMs = 50;

// How long after its limit a driver may end a request by itself: that of a port at the other end of
// a network takes its time. Only then is the request cancelled, since many drivers hand over none
// of the bytes of a cancelled one.
constexpr DWORD kBackstopMs = 1000;

// A cancel can be lost where it meets an arriving byte, so it is repeated. A driver that has not
// ended its request after all of them never will. Only CancelIoEx is sure not to wait for that end.
constexpr int kCancels = 10;
constexpr DWORD kCancelMs = 100;

// A request that fails at once, again and again, must not burn the processor.
constexpr DWORD kLeastTurnMs = 10;

// Bytes that the driver no longer counts may still be in the send buffer of the chip, which holds
// 16 in the common one.
constexpr std::size_t kChipBuffer = 16;

// The way to the wire, before the bytes' time on it: a frame or two of a USB adapter.
constexpr DWORD kOnTheWayMs = 10;

// What is read in order to drop it: as much as drivers keep for a client, and how long the driver
// has to hand it over. What is still on its way stays, as with a driver that drops.
constexpr std::size_t kReceiveBuffer = 4096;
constexpr std::size_t kDroppedAtOnce = 64;
constexpr std::int32_t kDropMs = 20;

// A whole reply shows that the box has its supply, hence that the lines stand as the driver took
// them. For so long after it they are not set once more: a call that behind a USB adapter is a
// transfer of its own. No longer, since a driver may drop a line at any time.
constexpr DWORD kLinesStandMs = 250;

// Lines that were set so short a time before a write are not set again for it.
constexpr DWORD kLinesFreshMs = 250;

// One request, with all the memory that the driver may write to. On the heap: a driver that never
// ends a request keeps it.
struct Request {
  OVERLAPPED overlapped{};
  OwnedHandle ended{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  std::array<std::uint8_t, 64> bytes{};  // The longest frame has 33.
};

// Why the last call failed; never 0, also for a driver that gives no reason.
std::int32_t CauseOfFailure() {
  const DWORD error = GetLastError();
  return static_cast<std::int32_t>(error != ERROR_SUCCESS ? error : ERROR_GEN_FAILURE);
}

// The driver's own control block; nothing when the port has vanished.
std::optional<DCB> OwnControlBlock(HANDLE port) {
  DCB block{};
  block.DCBlength = sizeof block;
  if (GetCommState(port, &block) == FALSE) return std::nullopt;
  return block;
}

bool SetWholeControlBlock(HANDLE port, const SerialSettings& settings) {
  DCB block{};  // Everything not named below is off.
  block.DCBlength = sizeof block;
  block.BaudRate = static_cast<DWORD>(settings.baud_rate);
  block.fBinary = TRUE;
  block.ByteSize = static_cast<BYTE>(settings.data_bits);
  block.Parity = static_cast<BYTE>(settings.parity);
  block.StopBits = static_cast<BYTE>(settings.stop_bits);
  // The default of a driver is "on", which would switch on the supply of the box.
  block.fDtrControl = DTR_CONTROL_DISABLE;
  block.fRtsControl = RTS_CONTROL_DISABLE;
  // Flow control is off, but drivers refuse a block in which both characters are the same.
  block.XonChar = 0x11;
  block.XoffChar = 0x13;
  if (SetCommState(port, &block) != FALSE) return true;
  // A port at the other end of a network may take no limits of flow control but its own.
  const DWORD refused = GetLastError();
  if (const auto own = OwnControlBlock(port)) {
    block.XonLim = own->XonLim;
    block.XoffLim = own->XoffLim;
    if (SetCommState(port, &block) != FALSE) return true;
  }
  SetLastError(refused);
  return false;
}

// How many bytes the driver still has to send, 0 from one that does not count them; nothing when
// the port has vanished. Asking lifts the stop that a line error has put on all requests.
std::optional<DWORD> BytesHeld(HANDLE port) {
  COMSTAT status{};
  if (ClearCommError(port, nullptr, &status) != FALSE) return status.cbOutQue;
  // There are drivers that cannot tell, and say so in words that others have for a port that has
  // gone. One that is there answers something else.
  if (OwnControlBlock(port)) return 0;
  return std::nullopt;
}

}  // namespace

struct SerialPort::State {
  OwnedHandle port;
  std::unique_ptr<Request> request;  // Null once the driver has kept it: the port is dead then.
  COMMTIMEOUTS limits{};             // As the driver has them.
  SerialSettings settings;
  ModemLines wanted_lines;  // Lines as they were set last,
  ModemLines lines;         // and as the driver last took them.
  bool lines_taken = true;  // Whether it took them when they were set last.
  Deadline lines_stand{0};  // See kLinesStandMs.
  Deadline lines_fresh{0};  // See kLinesFreshMs.
  Deadline sent{0};         // When all that was written has passed the wire.

  explicit State(const SerialSettings& link) : settings(link) {}
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  ~State() {
    if (!port.IsValid()) return;
    // Some drivers hold the closing back until everything has been sent.
    PurgeComm(port.Get(), PURGE_TXABORT | PURGE_RXABORT | PURGE_TXCLEAR | PURGE_RXCLEAR);
    // The next opening begins with the lines of the last control block, before it can set its own.
    SetWholeControlBlock(port.Get(), settings);
  }

  // 0, or why it cannot be opened.
  std::int32_t Open(const std::wstring& device) {
    port = OwnedHandle(CreateFileW(device.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                   OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr));
    if (!port.IsValid()) return CauseOfFailure();
    request = std::make_unique<Request>();
    if (!request->ended.IsValid()) return CauseOfFailure();
    // With inherited limits reads would return at once or never.
    limits.ReadTotalTimeoutConstant = kReadLimitMs;
    limits.WriteTotalTimeoutConstant = kWriteLimitMs;
    // Never with a line on: the next opening begins with the last control block, also that of a
    // program which was ended by force.
    const bool accepted =
        SetWholeControlBlock(port.Get(), settings) && SetCommTimeouts(port.Get(), &limits) != FALSE;
    return accepted ? 0 : CauseOfFailure();
  }

  // To be called when the driver has the bytes: it may begin to send only then.
  void NoteWritten(std::size_t count) { sent = Deadline(sent.Remaining() + WireMs(count)); }

  std::int64_t WireMs(std::size_t count) const {
    return WireMicroseconds(settings, count) / 1000 + 1;
  }

  // What counts as not sent must not reach the box later, before or within the next command.
  // NOLINTNEXTLINE(readability-make-member-function-const): the port changes.
  void DropUnsent() { PurgeComm(port.Get(), PURGE_TXABORT | PURGE_TXCLEAR); }

  // A line that stays off is left alone: it is not ours. One that stays on is set again: a driver
  // may have dropped it meanwhile.
  // NOLINTNEXTLINE(readability-make-member-function-const): the port changes.
  void SetLine(bool& present, bool wanted, DWORD set, DWORD clear) {
    if (!present && !wanted) return;
    if (EscapeCommFunction(port.Get(), wanted ? set : clear) != FALSE) {
      present = wanted;
    } else {
      lines_taken = false;
    }
  }

  // Moves `size` bytes in as many turns as it takes, until the deadline or until the port has
  // vanished; returns how many. `limit` is the driver's own for this direction, `usual` the one
  // that it begins with; `turn` is told how many are done and how long the driver will take at
  // most, and returns how many it has added.
  template <class Turn>
  std::size_t Transfer(std::size_t size, const Deadline& deadline, DWORD COMMTIMEOUTS::*limit,
                       DWORD usual, Turn turn) {
    std::size_t done = 0;
    bool waited_out = false;
    for (bool first = true; done < size && request && !waited_out; first = false) {
      const DWORD left = deadline.Remaining();
      // The first turn takes the usual limit, though it may be too short for a wait in which
      // nothing comes: that costs a second turn, but setting the limit would cost every exchange a
      // call or two. One that an earlier wait has left is set right when it is too long, or so
      // short that it would cut this request.
      const DWORD enough = std::min(left, usual);
      if (!first) {
        SetLimit(limits.*limit, left);
      } else if (limits.*limit > left + kSlackMs || limits.*limit < enough) {
        SetLimit(limits.*limit, enough);
      }
      const Deadline least(kLeastTurnMs);
      const std::size_t count = turn(done, limits.*limit);
      done += count;
      // A turn that the driver was to end sooner is followed by another, if only a short one: where
      // the deadline has passed meanwhile, the driver may have taken in time what it still holds.
      const bool over = deadline.Remaining() == 0;
      waited_out = over && limits.*limit >= left;
      if (count > 0 || over) continue;
      if (!BytesHeld(port.Get())) break;
      Deadline(std::min(least.Remaining(), deadline.Remaining())).SleepOut();
    }
    return done;
  }

  // Runs one request for at most `size` bytes, begun by `start`, which the driver ends by itself
  // within `limit_ms`, and returns the bytes that it has moved.
  template <class Start>
  std::span<const std::uint8_t> Run(std::size_t size, DWORD limit_ms, Start start) {
    const auto most = static_cast<DWORD>(std::min(size, request->bytes.size()));
    request->overlapped = {};
    request->overlapped.hEvent = request->ended.Get();
    if (start(*request, most) == FALSE) {
      if (GetLastError() != ERROR_IO_PENDING) return {};
      if (!AwaitEnd(limit_ms)) {
        std::ignore = request.release();  // The driver may write to it at any time from now on.
        return {};
      }
    }
    // Told for a request that has failed too: what did get through.
    DWORD count = 0;
    GetOverlappedResult(port.Get(), &request->overlapped, &count, FALSE);
    return std::span(request->bytes).first(std::min(count, most));
  }

 private:
  // In milliseconds; none is the shortest one, since 0 would be no limit.
  void SetLimit(DWORD& limit, DWORD limit_ms) {
    limit = std::max<DWORD>(limit_ms, 1);
    SetCommTimeouts(port.Get(), &limits);
  }

  // False when the driver does not end the request, not even a cancelled one.
  // NOLINTNEXTLINE(readability-make-member-function-const): the port changes.
  bool AwaitEnd(DWORD limit_ms) {
    const HANDLE ended = request->ended.Get();
    if (WaitForSingleObject(ended, limit_ms + kBackstopMs) == WAIT_OBJECT_0) return true;
    for (int i = 0; i < kCancels; ++i) {
      CancelIoEx(port.Get(), &request->overlapped);
      if (WaitForSingleObject(ended, kCancelMs) == WAIT_OBJECT_0) return true;
    }
    return false;
  }
};

SerialPort::SerialPort() = default;
SerialPort::~SerialPort() = default;

bool SerialPort::Open(std::int32_t number, const SerialSettings& settings, ModemLines lines) {
  Close();
  if (number < 1) {
    open_error_ = kPortMissing;
    return false;
  }
  auto state = std::make_unique<State>(settings);
  // Without the device prefix COM10 and above are not found.
  open_error_ = state->Open(L"\\\\.\\COM" + std::to_wstring(number));
  if (open_error_ != 0) return false;
  state_ = std::move(state);
  SetLines(lines);
  return true;
}

bool SerialPort::IsOpen() const {
  return state_ != nullptr;
}

void SerialPort::Close() {
  state_.reset();
}

void SerialPort::ClearReceiveBuffer() {
  if (!state_ || PurgeComm(state_->port.Get(), PURGE_RXCLEAR) != FALSE) return;
  // A driver that cannot drop them hands them over instead.
  std::array<std::uint8_t, kDroppedAtOnce> dropped{};
  for (std::size_t i = 0; i < kReceiveBuffer && Read(dropped, kDropMs) == dropped.size();
       i += dropped.size()) {
  }
  state_->lines_stand = Deadline(0);  // it was no reply
}

bool SerialPort::Write(std::span<const std::uint8_t> bytes) {
  if (!state_) return false;
  State& state = *state_;
  // A client may leave the lines on from command to command: they have to be on when one goes out.
  if (state.request && state.lines_fresh.Remaining() == 0) SetLines(state.wanted_lines);
  const std::size_t written = state.Transfer(
      bytes.size(), Deadline(kWriteLimitMs), &COMMTIMEOUTS::WriteTotalTimeoutConstant,
      kWriteLimitMs, [&](std::size_t done, DWORD limit_ms) {
        const auto part = bytes.subspan(done);
        const auto moved = state.Run(part.size(), limit_ms, [&](Request& request, DWORD most) {
          std::ranges::copy(part.first(most), request.bytes.begin());
          return WriteFile(state.port.Get(), request.bytes.data(), most, nullptr,
                           &request.overlapped);
        });
        return moved.size();
      });
  state.NoteWritten(written);
  if (written == bytes.size()) return true;
  state.DropUnsent();
  return false;
}

bool SerialPort::AwaitSent() {
  if (!state_ || !state_->request) return false;
  const Deadline limit(state_->sent.Remaining() + kWriteLimitMs);
  Deadline sent(state_->sent.Remaining() + kOnTheWayMs);
  while (true) {
    sent.SleepOut();
    const std::optional<DWORD> held = BytesHeld(state_->port.Get());
    if (held && *held == 0) return true;
    if (!held || limit.Remaining() == 0) {
      state_->DropUnsent();
      return false;
    }
    sent = Deadline(state_->WireMs(*held + kChipBuffer) + kOnTheWayMs);
  }
}

void SerialPort::DropUnsent() {
  if (state_) state_->DropUnsent();
}

std::size_t SerialPort::Read(std::span<std::uint8_t> buffer, std::int32_t timeout_ms) {
  if (!state_) return 0;
  State& state = *state_;
  const Deadline deadline(timeout_ms);
  const std::size_t received = state.Transfer(
      buffer.size(), deadline, &COMMTIMEOUTS::ReadTotalTimeoutConstant, kReadLimitMs,
      [&](std::size_t done, DWORD limit_ms) {
        const auto part = buffer.subspan(done);
        const auto moved = state.Run(part.size(), limit_ms, [&](Request& request, DWORD most) {
          return ReadFile(state.port.Get(), request.bytes.data(), most, nullptr,
                          &request.overlapped);
        });
        std::ranges::copy(moved, part.begin());
        return moved.size();
      });
  state.lines_stand = Deadline(received == buffer.size() && state.lines_taken ? kLinesStandMs : 0);
  // A port that has vanished, or whose driver is stuck, is what a silent box is: a client that
  // tries again and again must not burn the processor.
  if (received < buffer.size()) deadline.SleepOut();
  return received;
}

void SerialPort::SetLines(ModemLines lines) {
  if (!state_) return;
  const bool stand = state_->lines_stand.Remaining() > 0 && lines == state_->lines;
  // At most once for each reply: a command begins by setting the lines, whatever came before it.
  state_->lines_stand = Deadline(0);
  state_->wanted_lines = lines;
  if (stand) return;
  state_->lines_fresh = Deadline(kLinesFreshMs);
  state_->lines_taken = true;
  state_->SetLine(state_->lines.dtr, lines.dtr, SETDTR, CLRDTR);
  state_->SetLine(state_->lines.rts, lines.rts, SETRTS, CLRRTS);
}

}  // namespace qmzentrel::platform
