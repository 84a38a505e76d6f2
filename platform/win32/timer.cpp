#include "platform/timer.h"

#include <windows.h>

#include <memory>

#include "platform/hardware_faults.h"
#include "platform/win32/exclusive_lock.h"
#include "platform/win32/process_end.h"

namespace qmzentrel::platform {
namespace {

// The operating system hands a timer procedure no user data, so running timers are listed with
// their callbacks. Identifiers count per thread.
struct RunningTimer {
  DWORD thread;
  UINT_PTR id;
  TimerCallback callback;
  RunningTimer* next;
};

// A list by hand: it needs no constructor and no destructor, whenever the library is loaded or
// unloaded. All apartments of the process share it.
SRWLOCK g_lock = SRWLOCK_INIT;
RunningTimer* g_timers = nullptr;

// The link that leads to the calling thread's timer `id`, or the null link at the end of the list.
// Only under the lock.
RunningTimer** FindLink(UINT_PTR id) {
  RunningTimer** link = &g_timers;
  while (*link != nullptr && ((*link)->thread != GetCurrentThreadId() || (*link)->id != id)) {
    link = &(*link)->next;
  }
  return link;
}

TimerCallback FindCallback(UINT_PTR id) {
  const ExclusiveLock lock(g_lock);
  const RunningTimer* const timer = *FindLink(id);
  return timer == nullptr ? nullptr : timer->callback;
}

// Called by the operating system, which keeps the stack aligned to 4 bytes only.
__attribute__((force_align_arg_pointer)) void CALLBACK OnTimer(HWND window, UINT message,
                                                               UINT_PTR id, DWORD system_time) {
  if (ProcessEnds()) return;  // Another library shows a message box in its own end.
  const TimerCallback callback = FindCallback(id);
  if (callback == nullptr) return;  // A tick that was on its way when the timer ended.
  CalledFromOutside([&] {
    callback(static_cast<std::int32_t>(reinterpret_cast<INT_PTR>(window)),
             static_cast<std::int32_t>(message), static_cast<std::int32_t>(id),
             static_cast<std::int32_t>(system_time));
  });
}

}  // namespace

std::int32_t StartTimer(std::int32_t interval_ms, TimerCallback callback) {
  auto timer = std::make_unique<RunningTimer>();
  timer->id = SetTimer(nullptr, 0, static_cast<UINT>(interval_ms), OnTimer);
  if (timer->id == 0) return 0;
  timer->thread = GetCurrentThreadId();
  timer->callback = callback;
  const auto id = static_cast<std::int32_t>(timer->id);
  const ExclusiveLock lock(g_lock);
  RunningTimer** const link = FindLink(timer->id);
  if (*link != nullptr) {
    // Left behind by a thread that ended with its timer running; its number has come up again.
    (*link)->callback = callback;
  } else {
    timer->next = g_timers;
    g_timers = timer.release();
  }
  return id;
}

void KillTimer(std::int32_t timer_id) {
  const auto id = static_cast<UINT_PTR>(timer_id);
  ::KillTimer(nullptr, id);
  std::unique_ptr<RunningTimer> ended;
  const ExclusiveLock lock(g_lock);
  RunningTimer** const link = FindLink(id);
  if (*link == nullptr) return;
  ended.reset(*link);
  *link = ended->next;
}

}  // namespace qmzentrel::platform
