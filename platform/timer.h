// Timers without a window, as the operating system offers them: a tick is a message that arrives
// only while the thread which started the timer pumps messages.
#pragma once

#include <cstdint>

namespace qmzentrel::platform {

/// Called on the thread that started the timer: window (always 0), message number, identifier of
/// the timer, system time in milliseconds.
using TimerCallback = void (*)(std::int32_t window, std::int32_t message, std::int32_t timer_id,
                               std::int32_t system_time);

/// Starts a periodic timer. `interval_ms` as the operating system takes it. Returns its identifier,
/// 0 when the operating system has none left.
std::int32_t StartTimer(std::int32_t interval_ms, TimerCallback callback);

/// Ends a timer of the calling thread; an unknown identifier is ignored.
void KillTimer(std::int32_t timer_id);

}  // namespace qmzentrel::platform
