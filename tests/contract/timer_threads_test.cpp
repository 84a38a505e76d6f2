// Timers of several threads, whose identifiers the operating system counts for each thread anew.
#include <gtest/gtest.h>

#include <cstdint>

#include "platform/message_loop.h"
#include "platform/timer.h"
#include "tests/contract/harness.h"

namespace qmzentrel {
namespace {

constexpr std::int32_t kIntervalMs = 30;

int g_ticks_here = 0;
int g_ticks_there = 0;

void OnTickHere(std::int32_t, std::int32_t, std::int32_t, std::int32_t) {
  ++g_ticks_here;
}
void OnTickThere(std::int32_t, std::int32_t, std::int32_t, std::int32_t) {
  ++g_ticks_there;
}

void PumpUntil(const int& ticks) {
  platform::YieldingWait wait;
  const double begin = contract::MonotonicMs();
  while (ticks == 0 && contract::MonotonicMs() - begin < 10'000) wait.Turn(100);
}

TEST(TimerThreads, EachThreadsTicksReachItsOwnCallback) {
  g_ticks_here = 0;
  g_ticks_there = 0;
  const std::int32_t here = platform::StartTimer(kIntervalMs, OnTickHere);
  int ticks_here_meanwhile = 0;
  contract::RunOnAnotherThread([&] {
    const std::int32_t there = platform::StartTimer(kIntervalMs, OnTickThere);
    PumpUntil(g_ticks_there);
    ticks_here_meanwhile = g_ticks_here;
    platform::KillTimer(there);
  });
  EXPECT_GT(g_ticks_there, 0);
  EXPECT_EQ(ticks_here_meanwhile, 0);
  PumpUntil(g_ticks_here);
  EXPECT_GT(g_ticks_here, 0);
  platform::KillTimer(here);
}

TEST(TimerThreads, AThreadCannotEndTheTimerOfAnother) {
  g_ticks_here = 0;
  const std::int32_t here = platform::StartTimer(kIntervalMs, OnTickHere);
  contract::RunOnAnotherThread([here] { platform::KillTimer(here); });
  PumpUntil(g_ticks_here);
  EXPECT_GT(g_ticks_here, 0);
  platform::KillTimer(here);
}

TEST(TimerThreads, AThreadThatEndsWithItsTimerRunningHarmsNobody) {
  for (int i = 0; i < 50; ++i) {
    contract::RunOnAnotherThread([] { platform::StartTimer(kIntervalMs, OnTickHere); });
  }
  g_ticks_there = 0;
  contract::RunOnAnotherThread([] {
    const std::int32_t there = platform::StartTimer(kIntervalMs, OnTickThere);
    PumpUntil(g_ticks_there);
    platform::KillTimer(there);
  });
  EXPECT_GT(g_ticks_there, 0);
}

}  // namespace
}  // namespace qmzentrel
