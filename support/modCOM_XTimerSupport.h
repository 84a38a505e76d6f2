// Routes the ticks of the operating system's timers to the XTimer objects that asked for them. One
// table of running timers per thread: a timer's ticks arrive on the thread that started it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace qmzentrel {
class XTimer;
}

namespace qmzentrel::modCOM_XTimerSupport {

/// Raised by BeginTimer with the description "No timers available": 31013 above the base of
/// automation object errors.
inline constexpr std::int32_t kErrorNoTimers = static_cast<std::int32_t>(0x80047925u);

/// Starts an operating-system timer of `interval` milliseconds for `xt`, keeps `xt` alive while it
/// runs, and returns the new timer's identifier. Raises kErrorNoTimers.
std::int32_t BeginTimer(const std::shared_ptr<XTimer>& xt, std::int32_t interval);

/// Ends the timer that `xt` started last, if it is running.
void EndTimer(const XTimer& xt);

/// The callback of every timer: raises the tick of the timer `idEvent`, and kills a timer that
/// nobody holds or whose tick fails. Only ClientUnwinding leaves it.
void TimerProc(std::int32_t hWnd, std::int32_t uMsg, std::int32_t idEvent, std::int32_t lngSysTime);

/// Running timers of all threads: as long as there is one, its callback must stay in memory.
std::int32_t RunningTimers();

/// Gives back the calling thread's table if none of its timers runs. To be called when a thread
/// ends.
void ReleaseThread();

/// Slots in the calling thread's table, used and free.
std::int16_t SlotCount();

/// The fields in declared order, for the error report.
std::string DumpFields();

}  // namespace qmzentrel::modCOM_XTimerSupport
