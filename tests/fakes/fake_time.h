// Time that jumps: clocks, the message loop and its timers.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <vector>

namespace qmzentrel::fakes {

using Milliseconds = std::chrono::milliseconds;
using Microseconds = std::chrono::microseconds;

/// Names the calling thread: timers belong to the thread that started them.
const void* ThisThread();

struct FakeTime {
  Microseconds now{0};
  /// Wall clock at `now` 0: 21 November 2026, 10:00.
  double wall_start_days = 46347.0 + 10.0 / 24.0;
  Microseconds wall_shift{0};

  /// Sets the wall clock of the present day, in seconds since midnight.
  void SetClock(double seconds_since_midnight);
  double WallDays() const;
  void Advance(Microseconds time) { now += time; }
  /// Somebody sets the wall clock forward at this moment; no message tells of it.
  std::optional<Microseconds> clock_set_at;
  Microseconds clock_set_by{0};

  // --- The message loop ---

  /// Runs `action` as a message that arrives after `time` from now.
  void Post(Milliseconds time, std::function<void()> action);
  void PostQuit(Milliseconds time, std::uintptr_t code = 0);
  /// The client's message loop for `time`: dispatches what falls due and lets the clock jump.
  void Pump(Milliseconds time);
  /// Lets the clock jump to what is due next, at most to `deadline`.
  void SleepUntilDue(Microseconds deadline);
  /// Dispatches what is due.
  void DispatchDue(const std::function<void(std::uintptr_t)>& on_quit);
  std::vector<std::uintptr_t> quits_reposted;

  struct Timer {
    std::int32_t interval_ms = 0;
    Microseconds due{0};
    void (*callback)(std::int32_t, std::int32_t, std::int32_t, std::int32_t) = nullptr;
    const void* thread = ThisThread();
  };
  std::map<std::int32_t, Timer> timers;
  std::int32_t next_timer_id = 0x7F00;
  bool out_of_timers = false;

 private:
  struct Message {
    std::function<void()> action;
    std::optional<std::uintptr_t> quit_code;
  };
  std::multimap<Microseconds, Message> messages_;

  std::optional<Microseconds> NextDue() const;
};

}  // namespace qmzentrel::fakes
