#include "platform/timer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "platform/message_loop.h"
#include "platform/pause.h"
#include "tests/contract/harness.h"

namespace qmzentrel {
namespace {

using contract::MonotonicMs;
using platform::YieldingWait;

constexpr std::int32_t kIntervalMs = 60;
constexpr std::int32_t kTimerMessage = 0x0113;  // WM_TIMER

struct Tick {
  std::int32_t window;
  std::int32_t message;
  std::int32_t timer_id;
  std::int32_t system_time;
};

// A timer callback has no user data: the ticks go here.
std::vector<Tick> g_ticks;
int g_other_ticks = 0;

void OnTick(std::int32_t window, std::int32_t message, std::int32_t timer_id,
            std::int32_t system_time) {
  g_ticks.push_back({window, message, timer_id, system_time});
}

void OnOtherTick(std::int32_t, std::int32_t, std::int32_t, std::int32_t) {
  ++g_other_ticks;
}

void OnTickEndItself(std::int32_t window, std::int32_t message, std::int32_t timer_id,
                     std::int32_t system_time) {
  OnTick(window, message, timer_id, system_time);
  platform::KillTimer(timer_id);
}

// Pumps messages for `milliseconds`.
void Pump(std::int32_t milliseconds) {
  YieldingWait wait;
  const double end = MonotonicMs() + milliseconds;
  for (double now = MonotonicMs(); now < end; now = MonotonicMs()) {
    wait.Turn(static_cast<std::int32_t>(end - now) + 1);
  }
}

class TimerContract : public testing::Test {
 protected:
  void SetUp() override {
    g_ticks.clear();
    g_other_ticks = 0;
  }
  void TearDown() override {
    for (const std::int32_t id : started_) platform::KillTimer(id);
  }
  std::int32_t Start(std::int32_t interval_ms, platform::TimerCallback callback) {
    const std::int32_t id = platform::StartTimer(interval_ms, callback);
    started_.push_back(id);
    return id;
  }

 private:
  std::vector<std::int32_t> started_;
};

TEST_F(TimerContract, AStartedTimerHasAnIdentifier) {
  EXPECT_NE(Start(kIntervalMs, OnTick), 0);
}

TEST_F(TimerContract, ATickComesOnlyAfterAWholeInterval) {
  const double begin = MonotonicMs();
  Start(kIntervalMs, OnTick);
  YieldingWait().Turn(0);
  EXPECT_TRUE(g_ticks.empty());
  YieldingWait wait;
  while (g_ticks.empty() && MonotonicMs() - begin < 10'000) wait.Turn(1000);
  ASSERT_FALSE(g_ticks.empty());
  EXPECT_GE(MonotonicMs() - begin, kIntervalMs - contract::kTickMs);
}

TEST_F(TimerContract, ATimerTicksAgainAndAgain) {
  const double begin = MonotonicMs();
  Start(kIntervalMs, OnTick);
  YieldingWait wait;
  while (g_ticks.size() < 4 && MonotonicMs() - begin < 10'000) wait.Turn(1000);
  EXPECT_EQ(g_ticks.size(), 4u);
  EXPECT_GE(MonotonicMs() - begin, 4 * kIntervalMs - contract::kTickMs);
}

TEST_F(TimerContract, ATickNamesItsTimer) {
  const std::int32_t id = Start(kIntervalMs, OnTick);
  Pump(3 * kIntervalMs);
  ASSERT_FALSE(g_ticks.empty());
  EXPECT_EQ(g_ticks.front().window, 0);
  EXPECT_EQ(g_ticks.front().message, kTimerMessage);
  EXPECT_EQ(g_ticks.front().timer_id, id);
}

TEST_F(TimerContract, TheSystemTimeOfTheTicksRunsOn) {
  Start(kIntervalMs, OnTick);
  Pump(6 * kIntervalMs);
  ASSERT_GE(g_ticks.size(), 2u);
  EXPECT_GT(g_ticks.back().system_time - g_ticks.front().system_time, 0);
}

TEST_F(TimerContract, NoTickComesWhileNobodyPumps) {
  Start(kIntervalMs, OnTick);
  platform::Pause(5 * kIntervalMs);
  EXPECT_TRUE(g_ticks.empty());
}

TEST_F(TimerContract, MissedTicksMergeIntoOne) {
  Start(kIntervalMs, OnTick);
  platform::Pause(8 * kIntervalMs);
  YieldingWait().Turn(0);
  EXPECT_EQ(g_ticks.size(), 1u);
}

TEST_F(TimerContract, AnEndedTimerTicksNoMore) {
  const std::int32_t id = Start(kIntervalMs, OnTick);
  platform::KillTimer(id);
  Pump(3 * kIntervalMs);
  EXPECT_TRUE(g_ticks.empty());
}

TEST_F(TimerContract, ATickThatIsDueDoesNotOutliveItsTimer) {
  const std::int32_t id = Start(kIntervalMs, OnTick);
  platform::Pause(2 * kIntervalMs);
  platform::KillTimer(id);
  Pump(kIntervalMs);
  EXPECT_TRUE(g_ticks.empty());
}

TEST_F(TimerContract, ATimerMayEndItselfInItsTick) {
  Start(kIntervalMs, OnTickEndItself);
  Pump(4 * kIntervalMs);
  EXPECT_EQ(g_ticks.size(), 1u);
}

TEST_F(TimerContract, EndingAnUnknownTimerIsIgnored) {
  platform::KillTimer(0);
  platform::KillTimer(123456789);
  const std::int32_t id = Start(kIntervalMs, OnTick);
  platform::KillTimer(id);
  platform::KillTimer(id);
}

TEST_F(TimerContract, TimersTickSideBySideEachWithItsOwnCallback) {
  const std::int32_t first = Start(kIntervalMs, OnTick);
  const std::int32_t second = Start(kIntervalMs, OnOtherTick);
  EXPECT_NE(first, second);
  Pump(3 * kIntervalMs);
  EXPECT_FALSE(g_ticks.empty());
  for (const Tick& tick : g_ticks) EXPECT_EQ(tick.timer_id, first);
  EXPECT_GT(g_other_ticks, 0);
  platform::KillTimer(first);
  const std::size_t ticks_at_end = g_ticks.size();
  const int other_ticks_so_far = g_other_ticks;
  Pump(3 * kIntervalMs);
  EXPECT_EQ(g_ticks.size(), ticks_at_end);
  EXPECT_GT(g_other_ticks, other_ticks_so_far);
}

}  // namespace
}  // namespace qmzentrel
