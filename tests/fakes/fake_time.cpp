// Clocks, pauses, the message loop and its timers in virtual time.
#include <algorithm>
#include <cmath>
#include <map>

#include "platform/clock.h"
#include "platform/hardware_faults.h"
#include "platform/message_loop.h"
#include "platform/pause.h"
#include "platform/timer.h"
#include "tests/fakes/fake_world.h"

namespace qmzentrel::platform {
namespace {

using fakes::Microseconds;
using fakes::Milliseconds;
using fakes::TheWorld;

// The operating system's limit for windowless timers.
constexpr std::int32_t kShortestTimerMs = 10;

// Consecutive sleeps of a wait read as one.
void NoteWait(Microseconds time) {
  static const std::string kPrefix = "wait ";
  auto& journal = TheWorld().journal;
  auto total = std::chrono::duration<double, std::milli>(time).count();
  if (!journal.empty() && journal.back().starts_with(kPrefix)) {
    total += std::stod(journal.back().substr(kPrefix.size()));
    journal.pop_back();
  }
  TheWorld().Note(kPrefix + std::to_string(std::llround(total)));
}

}  // namespace

float SecondsSinceMidnight() {
  TheWorld().Enter("SecondsSinceMidnight");
  const double days = TheWorld().WallDays();
  // Whole microseconds: a double of days is good for no more.
  const double seconds = std::round((days - std::floor(days)) * 86400.0 * 1e6) / 1e6;
  if (seconds >= 86400.0) return 0;
  // As a Single the last milliseconds of a day would round up to a time that no day has.
  return std::min(static_cast<float>(seconds), std::nextafter(86400.0F, 0.0F));
}

double LocalDate() {
  const double seconds = TheWorld().WallDays() * 86400.0;
  // Whole seconds, as the operating system gives it; a double of days is good for microseconds.
  return std::floor(seconds + 1e-5) / 86400.0;
}

void Pause(std::int32_t milliseconds) {
  TheWorld().Note("pause " + std::to_string(milliseconds));
  TheWorld().Advance(Milliseconds(std::max(milliseconds, 0)));
}

void YieldingWait::Turn(std::int32_t milliseconds) {
  fakes::World& world = TheWorld();
  const Microseconds start = world.now;
  world.SleepUntilDue(start + Milliseconds(milliseconds));
  if (world.now > start) NoteWait(world.now - start);
  const ClientCode window_of_the_client;
  world.DispatchDue([this](std::uintptr_t code) {
    quit_seen_ = true;
    quit_code_ = code;
  });
}

YieldingWait::~YieldingWait() {
  if (!quit_seen_) return;
  TheWorld().quits_reposted.push_back(quit_code_);
  TheWorld().PostQuit(Milliseconds(0), quit_code_);
}

std::int32_t StartTimer(std::int32_t interval_ms, TimerCallback callback) {
  fakes::World& world = TheWorld();
  if (world.out_of_timers) return 0;
  const std::int32_t id = world.next_timer_id--;
  const std::int32_t interval = std::max(interval_ms, kShortestTimerMs);
  world.timers[id] = {interval, world.now + Milliseconds(interval), callback};
  world.Note("timer on");
  return id;
}

void KillTimer(std::int32_t timer_id) {
  fakes::World& world = TheWorld();
  world.Enter("KillTimer");
  const auto timer = world.timers.find(timer_id);
  if (timer == world.timers.end() || timer->second.thread != fakes::ThisThread()) return;
  world.timers.erase(timer);
  world.Note("timer off");
}

}  // namespace qmzentrel::platform
