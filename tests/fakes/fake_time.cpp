#include "tests/fakes/fake_time.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "platform/clock.h"
#include "platform/hardware_faults.h"
#include "platform/message_loop.h"
#include "platform/pause.h"
#include "platform/timer.h"
#include "tests/fakes/fake_world.h"

namespace qmzentrel::fakes {
namespace {

constexpr double kSecondsPerDay = 86400.0;

}  // namespace

const void* ThisThread() {
  static thread_local char mark = 0;
  return &mark;
}

double FakeTime::WallDays() const {
  const Microseconds elapsed = now + wall_shift;
  return wall_start_days + static_cast<double>(elapsed.count()) / 1e6 / kSecondsPerDay;
}

void FakeTime::SetClock(double seconds_since_midnight) {
  const double days = WallDays();
  const double wanted = std::floor(days) + seconds_since_midnight / kSecondsPerDay;
  wall_shift += Microseconds(std::llround((wanted - days) * kSecondsPerDay * 1e6));
}

void FakeTime::Post(Milliseconds time, std::function<void()> action) {
  messages_.emplace(now + time, Message{std::move(action), std::nullopt});
}

void FakeTime::PostQuit(Milliseconds time, std::uintptr_t code) {
  messages_.emplace(now + time, Message{{}, code});
}

std::optional<Microseconds> FakeTime::NextDue() const {
  std::optional<Microseconds> next;
  if (!messages_.empty()) next = messages_.begin()->first;
  for (const auto& [id, timer] : timers) {
    if (timer.thread == ThisThread() && (!next || timer.due < *next)) next = timer.due;
  }
  return next;
}

void FakeTime::DispatchDue(const std::function<void(std::uintptr_t)>& on_quit) {
  // A message that posts itself again does not keep the turn, as in the real thing.
  int left = 64;
  while (!messages_.empty() && messages_.begin()->first <= now && left-- > 0) {
    const Message message = std::move(messages_.extract(messages_.begin()).mapped());
    if (message.quit_code) {
      on_quit(*message.quit_code);
    } else {
      message.action();
    }
  }
  std::vector<std::int32_t> due;
  for (const auto& [id, timer] : timers) {
    if (timer.thread == ThisThread() && timer.due <= now) due.push_back(id);
  }
  for (const std::int32_t id : due) {
    const auto timer = timers.find(id);
    if (timer == timers.end()) continue;                                // ended by a tick before
    timer->second.due = now + Milliseconds(timer->second.interval_ms);  // missed ticks merge
    constexpr std::int32_t kWmTimer = 0x113;
    timer->second.callback(0, kWmTimer, id, static_cast<std::int32_t>(now.count() / 1000));
  }
}

void FakeTime::SleepUntilDue(Microseconds deadline) {
  const auto next = NextDue();
  now = std::max(now, next && *next < deadline ? *next : deadline);
  if (clock_set_at && now >= *clock_set_at) {
    wall_shift += clock_set_by;
    clock_set_at.reset();
  }
}

void FakeTime::Pump(Milliseconds time) {
  const Microseconds end = now + time;
  while (now < end) {
    SleepUntilDue(end);
    DispatchDue([](std::uintptr_t) {});
  }
}

}  // namespace qmzentrel::fakes

namespace qmzentrel::platform {
namespace {

using fakes::Microseconds;
using fakes::Milliseconds;
using fakes::TheWorld;

// The operating system's limit for windowless timers.
constexpr std::int32_t kShortestTimerMs = 10;

// Consecutive sleeps of a wait read as one.
void NoteWait(Microseconds time) {
  if (!TheWorld().keeps_journal) return;
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

std::int64_t SteadyMs() {
  return std::chrono::floor<Milliseconds>(TheWorld().now).count();
}

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
  TheWorld().Note([&] { return "pause " + std::to_string(milliseconds); });
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
