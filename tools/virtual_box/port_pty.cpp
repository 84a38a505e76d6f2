#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "tools/virtual_box/file_descriptor.h"
#include "tools/virtual_box/modem_line_file.h"
#include "tools/virtual_box/port.h"
#include "tools/virtual_box/tty.h"

namespace qmzentrel::virtual_box {
namespace {

namespace fs = std::filesystem;

// Replaces the link in one step, so that a client never finds it missing at a replug. A file that
// is no link is somebody's file and stays.
std::string PlaceLink(const std::string& target, const std::string& link) {
  std::error_code error;
  const fs::file_status status = fs::symlink_status(link, error);
  if (fs::exists(status) && !fs::is_symlink(status)) return link + " exists and is no link";
  const std::string fresh = link + ".new";
  fs::remove(fresh, error);
  fs::create_symlink(target, fresh, error);
  if (!error) fs::rename(fresh, link, error);
  return error ? "cannot make " + link + ": " + error.message() : "";
}

std::string SpeedText(speed_t speed) {
  constexpr struct {
    speed_t code;
    const char* text;
  } kSpeeds[] = {{B300, "300"},     {B1200, "1200"},   {B2400, "2400"},
                 {B4800, "4800"},   {B9600, "9600"},   {B19200, "19200"},
                 {B38400, "38400"}, {B57600, "57600"}, {B115200, "115200"}};
  for (const auto& entry : kSpeeds) {
    if (entry.code == speed) return entry.text;
  }
  return "?";
}

}  // namespace

struct Port::State {
  FileDescriptor box_end;
  // The client's end, held open: while nobody has it open the box's end would report a hang-up all
  // the time, and the terminal would stop being the controlling one.
  FileDescriptor client_end;
  std::string name;
  ModemLineFile lines;
};

Port::Port(PortOptions options) : options_(std::move(options)) {}

Port::~Port() {
  Unplug();
}

std::string Port::Plug() {
  if (IsPlugged()) return {};
  auto state = std::make_unique<State>();
  state->box_end = FileDescriptor(posix_openpt(O_RDWR | O_NOCTTY));
  const int box_end = state->box_end.Get();
  char name[64];
  if (box_end < 0 || grantpt(box_end) != 0 || unlockpt(box_end) != 0 ||
      ptsname_r(box_end, name, sizeof name) != 0) {
    return Failure("cannot make a pseudo-terminal");
  }
  state->name = name;
  fcntl(box_end, F_SETFL, O_NONBLOCK);
  fcntl(box_end, F_SETFD, FD_CLOEXEC);
  state->client_end = FileDescriptor(open(name, O_RDWR | O_NOCTTY | O_CLOEXEC));
  // Raw from the start: with the terminal's echo the box would hear its own replies as commands
  // until the client has set the port up.
  if (!state->client_end.IsOpen() || !MakeRaw(state->client_end.Get())) {
    return Failure(std::string("cannot set up ") + name);
  }
  // A terminal that controls a session cannot be adopted by a client that leads one of its own: its
  // hang-up signal comes to the box, which ignores it, and not to the client. Where the box leads
  // no session (inside a test program) this fails, and nothing else depends on it.
  ioctl(state->client_end.Get(), TIOCSCTTY, 0);

  if (!options_.lines_dir.empty()) {
    std::string reason = state->lines.Create(LineFileOf(options_.lines_dir, name), name);
    if (!reason.empty()) return reason;
  }
  if (!options_.link.empty()) {
    std::string reason = PlaceLink(name, options_.link);
    if (!reason.empty()) return reason;
  }
  state_ = std::move(state);
  return {};
}

void Port::Unplug() {
  if (!IsPlugged()) return;
  std::error_code error;
  if (!options_.link.empty() && fs::read_symlink(options_.link, error) == state_->name) {
    fs::remove(options_.link, error);
  }
  state_.reset();
}

// A hang-up takes along what the client has not read yet, and a byte is there to be read only a
// moment after it was written: nothing waiting counts once it lasts.
void Port::LetTake() const {
  constexpr int kLooks = 200;
  constexpr int kEnoughEmptyLooks = 4;
  int empty_looks = 0;
  for (int look = 0; IsPlugged() && look < kLooks && empty_looks < kEnoughEmptyLooks; ++look) {
    poll(nullptr, 0, 5);
    int waiting = 0;
    ioctl(state_->client_end.Get(), FIONREAD, &waiting);
    empty_looks = waiting == 0 ? empty_looks + 1 : 0;
  }
}

bool Port::IsPlugged() const {
  return state_ != nullptr;
}

std::string Port::Name() const {
  return IsPlugged() ? state_->name : "";
}

std::string Port::Settings() const {
  termios settings{};
  if (!IsPlugged() || tcgetattr(state_->client_end.Get(), &settings) != 0) return {};
  const tcflag_t flags = settings.c_cflag;
  const tcflag_t size = flags & CSIZE;
  const char* const bits = size == CS8 ? "8" : size == CS7 ? "7" : size == CS6 ? "6" : "5";
  const char* const parity = (flags & PARENB) == 0 ? "N" : (flags & PARODD) != 0 ? "O" : "E";
  return SpeedText(cfgetospeed(&settings)) + ' ' + bits + ' ' + parity + ' ' +
         ((flags & CSTOPB) != 0 ? '2' : '1');
}

bool Port::HasLines() const {
  return !options_.lines_dir.empty();
}

void Port::AddTo(EventWait& wait) {
  if (!IsPlugged()) return;
  wait.Add(state_->box_end.Get());
  if (HasLines()) wait.Add(state_->lines.WatchHandle());
}

Bytes Port::Read() {
  Bytes bytes;
  // The client's end is held open: nothing hangs this one up.
  if (IsPlugged()) ReadArrived(state_->box_end.Get(), bytes);
  return bytes;
}

void Port::Write(std::span<const std::uint8_t> bytes) {
  if (IsPlugged()) WriteAtOnce(state_->box_end.Get(), bytes);
}

std::vector<LineChange> Port::TakeLineChanges() {
  if (!IsPlugged() || !HasLines()) return {};
  return state_->lines.TakeChanges();
}

}  // namespace qmzentrel::virtual_box
