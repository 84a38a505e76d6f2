#include <windows.h>

#include <utility>

#include "tools/virtual_box/com_channel.h"
#include "tools/virtual_box/tapped_port.h"

namespace qmzentrel::virtual_box {

struct TappedPort::State {
  ComChannel channel;
};

TappedPort::TappedPort(std::string name, std::string lines_dir)
    : name_(std::move(name)), lines_dir_(std::move(lines_dir)) {}

TappedPort::~TappedPort() {
  Close();
}

std::string TappedPort::Open() {
  Close();
  auto state = std::make_unique<State>();
  std::string reason = state->channel.Open(name_, false);
  if (reason.empty()) state_ = std::move(state);
  return reason;
}

void TappedPort::Close() {
  SetLines(false, false);
  state_.reset();
}

// A read waits without limit, so that it ends without a byte only when the port is gone.
bool TappedPort::IsGone() const {
  return IsOpen() && !state_->channel.IsListening();
}

bool TappedPort::HasLines() const {
  return IsOpen();
}

void TappedPort::AddTo(EventWait& wait) const {
  if (IsOpen()) state_->channel.AddTo(wait);
}

Bytes TappedPort::Read() {
  return IsOpen() ? state_->channel.Read() : Bytes();
}

void TappedPort::Write(std::span<const std::uint8_t> bytes) {
  if (IsOpen()) state_->channel.Write(bytes);
}

void TappedPort::SetLines(bool dtr, bool rts) {
  if (!IsOpen()) return;
  const HANDLE port = state_->channel.Handle();
  FlushFileBuffers(port);
  EscapeCommFunction(port, dtr ? SETDTR : CLRDTR);
  EscapeCommFunction(port, rts ? SETRTS : CLRRTS);
}

}  // namespace qmzentrel::virtual_box
