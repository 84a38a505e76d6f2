#include "platform/message_loop.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "platform/hardware_faults.h"
#include "platform/timer.h"
#include "tests/contract/harness.h"

namespace qmzentrel {
namespace {

using contract::MonotonicMs;
using contract::PostCall;
using contract::PostQuit;
using contract::TakeQuit;
using platform::YieldingWait;

TEST(MessageLoopContract, AQuietTurnLastsItsTime) {
  YieldingWait wait;
  const double begin = MonotonicMs();
  wait.Turn(100);
  EXPECT_GE(MonotonicMs() - begin, 100 - contract::kTickMs);
}

TEST(MessageLoopContract, ATurnOfNothingReturnsAtOnce) {
  YieldingWait wait;
  const double begin = MonotonicMs();
  wait.Turn(0);
  wait.Turn(-5);
  EXPECT_LT(MonotonicMs() - begin, 1000);
}

TEST(MessageLoopContract, ATurnDispatchesWhatIsWaitingInItsOrder) {
  std::vector<int> ran;
  PostCall([&] { ran.push_back(1); });
  PostCall([&] { ran.push_back(2); });
  PostCall([&] { ran.push_back(3); });
  // More than one on a machine that is too busy for three within a turn.
  YieldingWait wait;
  for (int turn = 0; turn < 3; ++turn) wait.Turn(0);
  EXPECT_EQ(ran, (std::vector<int>{1, 2, 3}));
}

TEST(MessageLoopContract, AFaultOfAWindowOfTheClientIsTheClients) {
  bool taken = true;
  PostCall([&taken] { taken = contract::RaiseFault(0xC0000005); });
  platform::RaisingFaults([] { YieldingWait().Turn(0); });
  EXPECT_FALSE(taken);
}

TEST(MessageLoopContract, AWaitingMessageEndsTheTurnEarly) {
  PostCall([] {});
  const double begin = MonotonicMs();
  YieldingWait().Turn(20'000);
  EXPECT_LT(MonotonicMs() - begin, 10'000);
}

TEST(MessageLoopContract, AMessageThatArrivesDuringTheTurnEndsIt) {
  bool ran = false;
  contract::PostCallLater(100, [&] { ran = true; });
  const double begin = MonotonicMs();
  YieldingWait().Turn(20'000);
  EXPECT_TRUE(ran);
  EXPECT_GE(MonotonicMs() - begin, 100 - contract::kTickMs);
  EXPECT_LT(MonotonicMs() - begin, 10'000);
}

TEST(MessageLoopContract, ACallMayWaitItself) {
  std::vector<int> ran;
  PostCall([&] {
    ran.push_back(1);
    PostCall([&] { ran.push_back(2); });
    YieldingWait().Turn(0);
    ran.push_back(3);
  });
  YieldingWait().Turn(0);
  EXPECT_EQ(ran, (std::vector<int>{1, 2, 3}));
}

TEST(MessageLoopContract, AMessageThatPostsItselfAgainDoesNotKeepTheTurn) {
  constexpr int kFarTooMany = 10'000;
  int runs = 0;
  bool go_on = true;
  std::function<void()> again = [&] {
    ++runs;
    if (go_on && runs < kFarTooMany) PostCall(again);
  };
  PostCall(again);
  YieldingWait wait;
  wait.Turn(0);
  const int runs_of_first_turn = runs;
  EXPECT_GE(runs_of_first_turn, 1);
  ASSERT_LT(runs_of_first_turn, kFarTooMany);
  wait.Turn(0);
  EXPECT_GT(runs, runs_of_first_turn);
  go_on = false;
  wait.Turn(0);
  const int runs_at_end = runs;
  wait.Turn(0);
  EXPECT_EQ(runs, runs_at_end);
}

TEST(MessageLoopContract, TheEndOfTheProgramIsKeptForAfterTheWait) {
  PostQuit(7);
  {
    YieldingWait wait;
    wait.Turn(0);
    EXPECT_EQ(TakeQuit(), std::nullopt);
  }
  EXPECT_EQ(TakeQuit(), 7);
  EXPECT_EQ(TakeQuit(), std::nullopt);
}

TEST(MessageLoopContract, AfterTheEndOfTheProgramTheTurnsStillSleep) {
  PostQuit(7);
  {
    YieldingWait wait;
    wait.Turn(0);
    const double begin = MonotonicMs();
    wait.Turn(100);
    EXPECT_GE(MonotonicMs() - begin, 100 - contract::kTickMs);
  }
  EXPECT_EQ(TakeQuit(), 7);
}

TEST(MessageLoopContract, AfterTheEndOfTheProgramMessagesAreStillDispatched) {
  PostQuit(3);
  bool ran = false;
  {
    YieldingWait wait;
    wait.Turn(0);
    PostCall([&] { ran = true; });
    wait.Turn(0);
  }
  EXPECT_TRUE(ran);
  EXPECT_EQ(TakeQuit(), 3);
}

TEST(MessageLoopContract, TwoEndsOfTheProgramComeBackAsOne) {
  {
    YieldingWait wait;
    PostQuit(1);
    wait.Turn(0);
    PostQuit(2);
    wait.Turn(0);
  }
  EXPECT_EQ(TakeQuit(), 2);
  EXPECT_EQ(TakeQuit(), std::nullopt);
}

TEST(MessageLoopContract, AnInnerWaitHandsTheEndOfTheProgramToTheOuterOne) {
  {
    YieldingWait outer;
    {
      YieldingWait inner;
      PostQuit(5);
      inner.Turn(0);
    }
    outer.Turn(0);
    EXPECT_EQ(TakeQuit(), std::nullopt);
  }
  EXPECT_EQ(TakeQuit(), 5);
}

TEST(MessageLoopContract, AWaitThatMetNoEndOfTheProgramPostsNone) {
  YieldingWait().Turn(0);
  EXPECT_EQ(TakeQuit(), std::nullopt);
}

}  // namespace
}  // namespace qmzentrel
