#include <windows.h>

#include <array>

#include "tools/virtual_box/port.h"

namespace qmzentrel::virtual_box {
namespace {

// An overlapped call and the event that tells its end.
struct Pending {
  Pending() { overlapped.hEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr); }
  ~Pending() { CloseHandle(overlapped.hEvent); }
  Pending(const Pending&) = delete;
  Pending& operator=(const Pending&) = delete;

  OVERLAPPED overlapped{};
  bool under_way = false;
};

std::string Failure(const std::string& what) {
  return what + ": error " + std::to_string(GetLastError());
}

// The same settings as the client's end. The box shows itself by both of its own lines.
bool SetUp(HANDLE port) {
  DCB settings{};
  settings.DCBlength = sizeof settings;
  settings.BaudRate = CBR_9600;
  settings.fBinary = TRUE;
  settings.ByteSize = 8;
  settings.Parity = NOPARITY;
  settings.StopBits = TWOSTOPBITS;
  settings.fDtrControl = DTR_CONTROL_ENABLE;
  settings.fRtsControl = RTS_CONTROL_ENABLE;
  // Not one time-out: a pending read ends with its first bytes, see StartRead.
  COMMTIMEOUTS none{};
  return SetCommState(port, &settings) && SetCommTimeouts(port, &none) &&
         PurgeComm(port, PURGE_RXCLEAR | PURGE_TXCLEAR);
}

}  // namespace

struct Port::State {
  HANDLE port = INVALID_HANDLE_VALUE;
  Pending read;
  Pending lines;
  bool shows_lines = false;
  std::uint8_t byte = 0;
  DWORD line_event = 0;
  LineChange last;

  ~State() {
    if (port == INVALID_HANDLE_VALUE) return;
    CancelIo(port);
    DWORD ignored = 0;
    // The system must be done with the buffers before they go.
    if (read.under_way) GetOverlappedResult(port, &read.overlapped, &ignored, TRUE);
    if (lines.under_way) GetOverlappedResult(port, &lines.overlapped, &ignored, TRUE);
    CloseHandle(port);
  }

  // Waits for one byte; the rest of what has arrived is fetched when it is there.
  void StartRead() {
    if (read.under_way) return;
    ResetEvent(read.overlapped.hEvent);
    read.under_way =
        ReadFile(port, &byte, 1, nullptr, &read.overlapped) || GetLastError() == ERROR_IO_PENDING;
  }

  void StartLines() {
    if (!shows_lines || lines.under_way) return;
    ResetEvent(lines.overlapped.hEvent);
    lines.under_way =
        WaitCommEvent(port, &line_event, &lines.overlapped) || GetLastError() == ERROR_IO_PENDING;
  }

  // DTR of the client arrives at DSR here, its RTS at CTS.
  LineChange LinesNow() const {
    DWORD status = 0;
    GetCommModemStatus(port, &status);
    return {MonotonicNow(), (status & MS_DSR_ON) != 0, (status & MS_CTS_ON) != 0};
  }
};

Port::Port(PortOptions options) : options_(std::move(options)) {}

Port::~Port() {
  Unplug();
}

std::string Port::Plug() {
  if (IsPlugged()) return {};
  auto state = std::make_unique<State>();
  const std::string path = "\\\\.\\" + options_.com_name;
  state->port = CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                            FILE_FLAG_OVERLAPPED, nullptr);
  if (state->port == INVALID_HANDLE_VALUE) return Failure("cannot open " + path);
  if (!SetUp(state->port)) return Failure("cannot set up " + path);
  DWORD status = 0;
  state->shows_lines = SetCommMask(state->port, EV_DSR | EV_CTS) != 0 &&
                       GetCommModemStatus(state->port, &status) != 0;
  state->StartRead();
  state->StartLines();
  state_ = std::move(state);
  return {};
}

void Port::Unplug() {
  state_.reset();
}

// The other end of the pair keeps what it got.
void Port::LetTake() const {}

bool Port::IsPlugged() const {
  return state_ != nullptr;
}

std::string Port::Name() const {
  return IsPlugged() ? options_.com_name : "";
}

std::string Port::Settings() const {
  return {};
}

bool Port::HasLines() const {
  return IsPlugged() && state_->shows_lines;
}

void Port::AddTo(EventWait& wait) {
  if (!IsPlugged()) return;
  if (state_->read.under_way) wait.Add(state_->read.overlapped.hEvent);
  if (state_->lines.under_way) wait.Add(state_->lines.overlapped.hEvent);
}

Bytes Port::Read() {
  Bytes bytes;
  while (IsPlugged() && state_->read.under_way) {
    DWORD count = 0;
    if (!GetOverlappedResult(state_->port, &state_->read.overlapped, &count, FALSE)) {
      if (GetLastError() == ERROR_IO_INCOMPLETE) break;
      count = 0;
    }
    state_->read.under_way = false;
    if (count == 0) break;
    bytes.push_back(state_->byte);
    state_->StartRead();
  }
  return bytes;
}

void Port::Write(std::span<const std::uint8_t> bytes) {
  if (!IsPlugged() || bytes.empty()) return;
  Pending write;
  DWORD count = 0;
  if (!WriteFile(state_->port, bytes.data(), static_cast<DWORD>(bytes.size()), nullptr,
                 &write.overlapped) &&
      GetLastError() == ERROR_IO_PENDING) {
    // A line that takes nothing for a second (the longest reply needs 40 ms) is dead.
    if (WaitForSingleObject(write.overlapped.hEvent, 1000) != WAIT_OBJECT_0) {
      CancelIoEx(state_->port, &write.overlapped);
    }
    GetOverlappedResult(state_->port, &write.overlapped, &count, TRUE);
  }
}

std::vector<LineChange> Port::TakeLineChanges() {
  if (!IsPlugged() || !state_->shows_lines) return {};
  DWORD ignored = 0;
  if (state_->lines.under_way &&
      (GetOverlappedResult(state_->port, &state_->lines.overlapped, &ignored, FALSE) ||
       GetLastError() != ERROR_IO_INCOMPLETE)) {
    state_->lines.under_way = false;
    state_->StartLines();
  }
  const LineChange now = state_->LinesNow();
  if (now.dtr == state_->last.dtr && now.rts == state_->last.rts) return {};
  state_->last = now;
  return {now};
}

}  // namespace qmzentrel::virtual_box
