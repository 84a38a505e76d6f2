// Messages that a client posts to its thread come to its own message loop, whatever waits of the
// component are in between.
#include <gtest/gtest.h>
#include <windows.h>

#include <vector>

#include "platform/message_loop.h"
#include "platform/simulator_dialog.h"
#include "tests/contract/dialog_recorder.h"
#include "tests/contract/harness.h"

namespace qmzentrel {
namespace {

using platform::YieldingWait;
using Numbers = std::vector<WPARAM>;

constexpr UINT kOwnMessage = WM_APP + 7;

void PostToThread(WPARAM number) {
  PostThreadMessageW(GetCurrentThreadId(), kOwnMessage, number, 70);
}

// As the client's own message loop takes them.
Numbers TakenFromThread() {
  Numbers taken;
  MSG message;
  while (PeekMessageW(&message, reinterpret_cast<HWND>(-1), kOwnMessage, kOwnMessage, PM_REMOVE) !=
         FALSE) {
    EXPECT_EQ(message.lParam, 70);
    taken.push_back(message.wParam);
  }
  return taken;
}

TEST(ThreadMessages, ComeToTheClientAfterAWaitInTheirOrder) {
  PostToThread(1);
  PostToThread(2);
  {
    YieldingWait wait;
    wait.Turn(0);
    PostToThread(3);
    wait.Turn(0);
  }
  EXPECT_EQ(TakenFromThread(), (Numbers{1, 2, 3}));
}

TEST(ThreadMessages, KeepTheirOrderWhereTheyAreMoreThanATurnTakes) {
  Numbers posted;
  for (WPARAM number = 1; number <= 150; ++number) {
    PostToThread(number);
    posted.push_back(number);
  }
  { YieldingWait().Turn(0); }
  EXPECT_EQ(TakenFromThread(), posted);
}

TEST(ThreadMessages, ThatArriveAfterTheLastTurnComeLast) {
  PostToThread(1);
  {
    YieldingWait wait;
    wait.Turn(0);
    PostToThread(2);
    contract::PostQuit(3);
    PostToThread(3);
  }
  EXPECT_EQ(contract::TakeQuit(), 3);
  EXPECT_EQ(TakenFromThread(), (Numbers{1, 2, 3}));
}

TEST(ThreadMessages, DoNotKeepTheTurnsFromSleeping) {
  { YieldingWait().Turn(0); }  // what tests before have left
  PostToThread(1);
  {
    YieldingWait wait;
    wait.Turn(0);
    const double begin = contract::MonotonicMs();
    wait.Turn(100);
    EXPECT_GE(contract::MonotonicMs() - begin, 100 - contract::kTickMs);
  }
  EXPECT_EQ(TakenFromThread(), Numbers{1});
}

TEST(ThreadMessages, ComeThroughAWaitWithinAWait) {
  PostToThread(1);
  {
    YieldingWait outer;
    {
      YieldingWait inner;
      inner.Turn(0);
    }
    outer.Turn(0);
    EXPECT_EQ(TakenFromThread(), Numbers{});
  }
  EXPECT_EQ(TakenFromThread(), Numbers{1});
}

TEST(ThreadMessages, ComeBesideTheEndOfTheProgram) {
  PostToThread(1);
  contract::PostQuit(3);
  { YieldingWait().Turn(0); }
  // First, since no filter of messages holds it back.
  EXPECT_EQ(contract::TakeQuit(), 3);
  EXPECT_EQ(TakenFromThread(), Numbers{1});
}

TEST(ThreadMessages, WithARegisteredNameLeaveTheQueueOnce) {
  const UINT registered = RegisterWindowMessageW(L"QmZentrelContractTest");
  PostThreadMessageW(GetCurrentThreadId(), registered, 0, 0);
  PostToThread(1);
  { YieldingWait().Turn(0); }
  MSG message;
  EXPECT_FALSE(PeekMessageW(&message, nullptr, registered, registered, PM_REMOVE));
  EXPECT_EQ(TakenFromThread(), Numbers{1});
}

TEST(ThreadMessages, ComeToTheClientAfterADialog) {
  contract::DialogRecorder recorder;
  const platform::DialogContent content = contract::FullContent("Thread messages");
  PostToThread(1);
  bool shown = false;
  contract::PostCallLater(100, [&] {
    PostToThread(2);
    shown = true;
    contract::PostCallLater(100, [] { platform::HideSimulatorDialog(); });
  });
  EXPECT_TRUE(platform::ShowSimulatorDialog(content, recorder));
  EXPECT_TRUE(shown);
  EXPECT_EQ(TakenFromThread(), (Numbers{1, 2}));
}

}  // namespace
}  // namespace qmzentrel
