#include <windows.h>

#include "tools/virtual_box/com_channel.h"
#include "tools/virtual_box/port.h"

namespace qmzentrel::virtual_box {

struct Port::State {
  ComChannel channel;
  Pending lines;
  bool shows_lines = false;
  DWORD line_event = 0;
  LineChange last;

  ~State() {
    if (!lines.under_way) return;
    CancelIoEx(channel.Handle(), &lines.overlapped);
    DWORD ignored = 0;
    // The system must be done with the buffer before it goes.
    GetOverlappedResult(channel.Handle(), &lines.overlapped, &ignored, TRUE);
  }

  void StartLines() {
    if (!shows_lines || lines.under_way) return;
    ResetEvent(lines.overlapped.hEvent);
    lines.under_way = WaitCommEvent(channel.Handle(), &line_event, &lines.overlapped) ||
                      GetLastError() == ERROR_IO_PENDING;
  }

  // DTR of the client arrives at DSR here, its RTS at CTS.
  LineChange LinesNow() const {
    DWORD status = 0;
    GetCommModemStatus(channel.Handle(), &status);
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
  // The box shows itself by both of its own lines.
  std::string reason = state->channel.Open(options_.com_name, true);
  if (!reason.empty()) return reason;
  DWORD status = 0;
  state->shows_lines = SetCommMask(state->channel.Handle(), EV_DSR | EV_CTS) != 0 &&
                       GetCommModemStatus(state->channel.Handle(), &status) != 0;
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
  state_->channel.AddTo(wait);
  if (state_->lines.under_way) wait.Add(state_->lines.overlapped.hEvent);
}

Bytes Port::Read() {
  return IsPlugged() ? state_->channel.Read() : Bytes();
}

void Port::Write(std::span<const std::uint8_t> bytes) {
  if (IsPlugged()) state_->channel.Write(bytes);
}

std::vector<LineChange> Port::TakeLineChanges() {
  if (!IsPlugged() || !state_->shows_lines) return {};
  DWORD ignored = 0;
  if (state_->lines.under_way &&
      (GetOverlappedResult(state_->channel.Handle(), &state_->lines.overlapped, &ignored, FALSE) ||
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
