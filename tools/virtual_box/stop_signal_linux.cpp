#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>

#include "tools/virtual_box/stop_signal.h"

namespace qmzentrel::virtual_box {

StopSignal::StopSignal() {
  sigset_t stops;
  sigemptyset(&stops);
  sigaddset(&stops, SIGINT);
  sigaddset(&stops, SIGTERM);
  sigprocmask(SIG_BLOCK, &stops, nullptr);
  handle_ = signalfd(-1, &stops, SFD_CLOEXEC | SFD_NONBLOCK);
}

StopSignal::~StopSignal() {
  close(handle_);
}

bool StopSignal::IsRaised() const {
  pollfd polled{handle_, POLLIN, 0};
  return poll(&polled, 1, 0) > 0;
}

}  // namespace qmzentrel::virtual_box
