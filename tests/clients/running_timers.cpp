#include "tests/clients/running_timers.h"

namespace qmzentrel::clients {

RunningTimers* RunningTimers::the_only = nullptr;

RunningTimers::RunningTimers(HMODULE library)
    : begin_(library, L"user32", "SetTimer", &RunningTimers::Begin),
      end_(library, L"user32", "KillTimer", &RunningTimers::End) {
  the_only = this;
}

RunningTimers::~RunningTimers() {
  the_only = nullptr;
}

// Without a window each is a new one, whatever `id` is.
UINT_PTR WINAPI RunningTimers::Begin(HWND window, UINT_PTR id, UINT interval_ms, TIMERPROC tick) {
  const UINT_PTR begun = the_only->begin_.System()(window, id, interval_ms, tick);
  if (begun != 0) ++the_only->running_;
  return begun;
}

// What the system refuses to end runs on, or never ran.
BOOL WINAPI RunningTimers::End(HWND window, UINT_PTR id) {
  const BOOL ended = the_only->end_.System()(window, id);
  if (ended != FALSE) --the_only->running_;
  return ended;
}

}  // namespace qmzentrel::clients
