#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <utility>

#include "tools/virtual_box/file_descriptor.h"
#include "tools/virtual_box/modem_line_file.h"
#include "tools/virtual_box/tapped_port.h"
#include "tools/virtual_box/tty.h"

namespace qmzentrel::virtual_box {
namespace {

// The file of that pseudo-terminal's lines, where a virtual box keeps one.
FileDescriptor OpenLineFile(const std::string& folder, int terminal) {
  char name[64];
  if (folder.empty() || ttyname_r(terminal, name, sizeof name) != 0) return {};
  return FileDescriptor(open(LineFileOf(folder, name).c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
}

}  // namespace

struct TappedPort::State {
  FileDescriptor terminal;
  FileDescriptor line_file;
  bool gone = false;
  bool has_lines = false;
};

TappedPort::TappedPort(std::string name, std::string lines_dir)
    : name_(std::move(name)), lines_dir_(std::move(lines_dir)) {}

TappedPort::~TappedPort() {
  Close();
}

std::string TappedPort::Open() {
  Close();
  auto state = std::make_unique<State>();
  state->terminal = FileDescriptor(open(name_.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
  const int terminal = state->terminal.Get();
  if (terminal < 0) return Failure("cannot open " + name_);
  if (!MakeRaw(terminal)) return Failure("cannot set up " + name_);
  state->line_file = OpenLineFile(lines_dir_, terminal);
  int lines = 0;
  state->has_lines = state->line_file.IsOpen() || ioctl(terminal, TIOCMGET, &lines) == 0;
  state_ = std::move(state);
  // The system has switched both on.
  SetLines(false, false);
  return {};
}

void TappedPort::Close() {
  if (!IsOpen()) return;
  SetLines(false, false);
  state_.reset();
}

bool TappedPort::IsGone() const {
  return IsOpen() && state_->gone;
}

bool TappedPort::HasLines() const {
  return IsOpen() && state_->has_lines;
}

void TappedPort::AddTo(EventWait& wait) const {
  if (IsOpen()) wait.Add(state_->terminal.Get());
}

Bytes TappedPort::Read() {
  Bytes bytes;
  if (IsOpen()) state_->gone = !ReadArrived(state_->terminal.Get(), bytes);
  return bytes;
}

void TappedPort::Write(std::span<const std::uint8_t> bytes) {
  if (IsOpen()) WriteAtOnce(state_->terminal.Get(), bytes);
}

void TappedPort::SetLines(bool dtr, bool rts) {
  if (!HasLines() || state_->gone) return;
  tcdrain(state_->terminal.Get());
  if (state_->line_file.IsOpen()) {
    const std::string record = FormatLineRecord({MonotonicNow(), dtr, rts});
    // One write of a whole record: the box never reads half a state. A box that is gone needs none.
    [[maybe_unused]] const ssize_t written =
        write(state_->line_file.Get(), record.data(), record.size());
    return;
  }
  int lines = 0;
  if (ioctl(state_->terminal.Get(), TIOCMGET, &lines) != 0) return;
  lines &= ~(TIOCM_DTR | TIOCM_RTS);
  lines |= (dtr ? TIOCM_DTR : 0) | (rts ? TIOCM_RTS : 0);
  ioctl(state_->terminal.Get(), TIOCMSET, &lines);
}

}  // namespace qmzentrel::virtual_box
