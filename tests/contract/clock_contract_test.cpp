#include <gtest/gtest.h>

#include <cmath>

#include "platform/clock.h"
#include "platform/pause.h"
#include "tests/contract/harness.h"

namespace qmzentrel {
namespace {

constexpr double kSecondsPerDay = 86400.0;

// Seconds from one clock mark to a later one, across midnight too.
double SecondsBetween(double earlier, double later) {
  return std::fmod(later - earlier + kSecondsPerDay, kSecondsPerDay);
}

TEST(ClockContract, SecondsSinceMidnightLieWithinADay) {
  const float seconds = platform::SecondsSinceMidnight();
  EXPECT_GE(seconds, 0.0F);
  EXPECT_LT(seconds, 86400.0F);
}

TEST(ClockContract, SecondsSinceMidnightRunOnWithThePause) {
  const float before = platform::SecondsSinceMidnight();
  platform::Pause(200);
  const double passed = SecondsBetween(before, platform::SecondsSinceMidnight());
  EXPECT_GE(passed, 0.2 - contract::kTickMs / 1000);
  EXPECT_LT(passed, 2.0);
}

TEST(ClockContract, TheDateIsOfThisCentury) {
  EXPECT_GT(platform::LocalDate(), 36526.0);  // 1 January 2000
  EXPECT_LT(platform::LocalDate(), 73050.0);  // 31 December 2099
}

TEST(ClockContract, TheDateAndTheSecondsTellTheSameLocalTime) {
  const double date = platform::LocalDate();
  const double seconds_of_date = (date - std::floor(date)) * kSecondsPerDay;
  // The date shows whole seconds and was asked for first.
  const double difference =
      SecondsBetween(seconds_of_date, platform::SecondsSinceMidnight() + 0.01);
  EXPECT_LT(difference, 3.0);
}

TEST(ClockContract, TheDateShowsWholeSeconds) {
  for (int i = 0; i < 3; ++i) {
    const double seconds = platform::LocalDate() * kSecondsPerDay;
    EXPECT_NEAR(seconds, std::round(seconds), 1e-3);
    platform::Pause(130);
  }
}

}  // namespace
}  // namespace qmzentrel
