#include <gtest/gtest.h>

#include "platform/message_loop.h"
#include "platform/pause.h"
#include "tests/contract/harness.h"

namespace qmzentrel {
namespace {

TEST(PauseContract, APauseLastsAsLongAsAsked) {
  const double begin = contract::MonotonicMs();
  platform::Pause(100);
  EXPECT_GE(contract::MonotonicMs() - begin, 100 - contract::kTickMs);
}

TEST(PauseContract, APauseOfNothingReturnsAtOnce) {
  const double begin = contract::MonotonicMs();
  platform::Pause(0);
  platform::Pause(-1);
  EXPECT_GE(contract::MonotonicMs() - begin, 0);
  EXPECT_LT(contract::MonotonicMs() - begin, 1000);
}

TEST(PauseContract, APauseLetsNothingElseRun) {
  bool ran = false;
  contract::PostCall([&] { ran = true; });
  platform::Pause(30);
  EXPECT_FALSE(ran);
  platform::YieldingWait().Turn(0);
  EXPECT_TRUE(ran);
}

}  // namespace
}  // namespace qmzentrel
