#include "platform/message_box.h"

#include <gtest/gtest.h>

#include "platform/hardware_faults.h"
#include "tests/contract/harness.h"

namespace qmzentrel {
namespace {

const std::string kTitle = "Contract test";
const std::string kText = "Z\xC3\xA4hler\r\n\r\n<a> & (9)";

TEST(MessageBoxContract, TheUserSeesTitleAndTextOnceAndClosesIt) {
  bool shown = false;
  const auto seen = contract::MessagesSeen(
      kTitle, [&shown] { shown = platform::ShowStopMessage(kTitle, kText); });
  EXPECT_TRUE(shown);
  ASSERT_EQ(seen.size(), 1U);
  EXPECT_EQ(seen[0], kText);
}

TEST(MessageBoxContract, MessagesOfTheThreadAreDispatchedMeanwhile) {
  bool dispatched = false;
  contract::PostCall([&dispatched] { dispatched = true; });
  contract::MessagesSeen(kTitle, [] { platform::ShowStopMessage(kTitle, kText); });
  EXPECT_TRUE(dispatched);
}

TEST(MessageBoxContract, AnEndOfTheProgramThatIsPendingWaitsUntilTheUserHasRead) {
  contract::PostQuit(7);
  const auto seen =
      contract::MessagesSeen(kTitle, [] { platform::ShowStopMessage(kTitle, kText); });
  EXPECT_EQ(seen.size(), 1U);
  EXPECT_EQ(contract::TakeQuit(), 7);
}

TEST(MessageBoxContract, AFaultOfAWindowOfTheClientIsTheClients) {
  bool taken = true;
  contract::PostCall([&taken] { taken = contract::RaiseFault(0xC0000005); });
  contract::MessagesSeen(kTitle, [] {
    platform::RaisingFaults([] { return platform::ShowStopMessage(kTitle, kText); });
  });
  EXPECT_FALSE(taken);
}

TEST(MessageBoxContract, WithoutADesktopNothingIsShown) {
  bool shown = true;
  const auto seen = contract::MessagesSeen(kTitle, [&shown] {
    contract::WithoutDesktop([&shown] { shown = platform::ShowStopMessage(kTitle, kText); });
  });
  EXPECT_FALSE(shown);
  EXPECT_TRUE(seen.empty());
}

}  // namespace
}  // namespace qmzentrel
