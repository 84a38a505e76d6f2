// The time limits behind every wait for the serial port.
#include "platform/win32/deadline.h"

#include <gtest/gtest.h>

#include "tests/contract/harness.h"

namespace qmzentrel {
namespace {

using contract::MonotonicMs;
using platform::Deadline;

constexpr DWORD kShortMs = 30;
constexpr DWORD kLongMs = 60'000;

TEST(Deadline, LeavesAtFirstWhatItWasGiven) {
  const double begin = MonotonicMs();
  const Deadline deadline(kLongMs);
  const DWORD left = deadline.Remaining();
  EXPECT_LE(left, kLongMs);
  EXPECT_GE(left, kLongMs - (MonotonicMs() - begin) - 1);
}

TEST(Deadline, CountsFromWhenItIsMadeAndNotFromTheFirstQuestion) {
  const double begin = MonotonicMs();
  const Deadline deadline(kLongMs);
  const double made = MonotonicMs();
  Sleep(kShortMs);
  const double asked = MonotonicMs();
  const DWORD left = deadline.Remaining();
  EXPECT_LE(left, kLongMs - (asked - made) + 1);
  EXPECT_GE(left, kLongMs - (MonotonicMs() - begin) - 1);
}

TEST(Deadline, NeverLeavesMoreThanBefore) {
  const Deadline deadline(kShortMs);
  DWORD before = kShortMs;
  for (DWORD left = before; left > 0; before = left) {
    left = deadline.Remaining();
    ASSERT_LE(left, before);
  }
}

TEST(Deadline, LeavesNothingOnceItIsOverHoweverLongAgo) {
  const Deadline deadline(1);
  for (int i = 0; i < 3; ++i) {
    Sleep(kShortMs);
    EXPECT_EQ(deadline.Remaining(), 0u);
  }
}

TEST(Deadline, BelowZeroIsNowAndNotLongAgo) {
  EXPECT_EQ(Deadline(0).Remaining(), 0u);
  EXPECT_EQ(Deadline(-1).Remaining(), 0u);
  EXPECT_EQ(Deadline(INT64_MIN / 2).Remaining(), 0u);
}

TEST(Deadline, HoldsTheLongestWaitOfAClient) {
  constexpr std::int64_t kMost = INT32_MAX;
  const DWORD left = Deadline(kMost).Remaining();
  EXPECT_LE(left, kMost);
  EXPECT_GT(left, kMost - kLongMs);
}

TEST(Deadline, IsSleptOutToItsEndThoughTheSystemWakesEarly) {
  for (const DWORD limit : {DWORD{1}, DWORD{7}, kShortMs}) {
    const double begin = MonotonicMs();
    const Deadline deadline(limit);
    deadline.SleepOut();
    EXPECT_EQ(deadline.Remaining(), 0u);
    EXPECT_GE(MonotonicMs() - begin, limit - 1.0);
  }
}

TEST(Deadline, ThatIsOverIsNotSleptFor) {
  const double begin = MonotonicMs();
  for (int i = 0; i < 100; ++i) Deadline(-1).SleepOut();
  EXPECT_LT(MonotonicMs() - begin, 1000.0);
}

TEST(Deadline, CanBeMovedOnByWhatIsLeftOfIt) {
  Deadline deadline(kLongMs);
  deadline = Deadline(deadline.Remaining() + kShortMs);
  EXPECT_GT(deadline.Remaining(), kLongMs);
  EXPECT_LE(deadline.Remaining(), kLongMs + kShortMs);
}

}  // namespace
}  // namespace qmzentrel
