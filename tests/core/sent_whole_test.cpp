// A command without a reply reaches the box whole, whatever the client does next; where it cannot,
// the status says so.
#include <functional>
#include <utility>

#include "tests/core/telic2_test.h"

namespace qmzentrel::tests {
namespace {

class SentWhole : public Telic2Test<ZentrelTest> {
 protected:
  void SetUp() override {
    Telic2Test::SetUp();
    for (const int test : {21, 22, 23}) SetTest("Meter", test, 4, -1);
  }

  /// Three messages of four bytes each, none with a reply.
  ZentrelStatus Test() { return Run(kTestCommand, {21, 22, 23}, {0x01020304, -1, 0}); }

  inline static const Bytes kFrame{0x7E, 0x00, 0xC9, 0x0F, 21, 1, 2, 3, 4, 22,
                                   0xFF, 0xFF, 0xFF, 0xFF, 23, 0, 0, 0, 0};
};

TEST_F(SentWhole, WhenTheDeviceIsClosedNext) {
  Open(true);
  EXPECT_EQ(Test(), S_OKAY);
  zentrel->DeviceClose();
  EXPECT_EQ(Port().Received(), kFrame);
}

TEST_F(SentWhole, WhenTheLastReferenceGoesNext) {
  Open(true);
  EXPECT_EQ(Test(), S_OKAY);
  zentrel.reset();
  EXPECT_EQ(Port().Received(), kFrame);
}

TEST_F(SentWhole, WhenThePortIsOpenedAgainNext) {
  Open(true);
  EXPECT_EQ(Test(), S_OKAY);
  zentrel->DeviceOpen(kPort, true);
  EXPECT_EQ(Port().Received(), kFrame);
}

TEST_F(SentWhole, WhenTheDeviceIsClosedInTheEventAfterTheCommand) {
  Open(true);
  on_event = [&](bool on) {
    if (!on) zentrel->DeviceClose();
  };
  EXPECT_EQ(Test(), S_OKAY);
  EXPECT_EQ(Port().Received(), kFrame);
}

TEST_F(SentWhole, WhileTheSupplyIsOnDemand) {
  Open(false);
  EXPECT_EQ(Test(), S_OKAY);
  EXPECT_EQ(Port().Received(), kFrame);
}

// What the tests above rely on: the world does cut what has not passed the wire.
TEST_F(SentWhole, ButNotWhenTheSupplyDropsMeanwhile) {
  platform::SerialPort port;
  ASSERT_TRUE(port.Open(kPort, {}, {.dtr = true}));
  ASSERT_TRUE(port.Write(kFrame));
  TheWorld().Advance(Milliseconds(6));
  port.SetLines({});
  EXPECT_EQ(Port().Received(), Bytes(kFrame.begin(), kFrame.begin() + 5));
  ASSERT_TRUE(port.AwaitSent());
  EXPECT_EQ(Port().Received().size(), 5U);
}

TEST_F(SentWhole, NorWhenThePortClosesMeanwhile) {
  platform::SerialPort port;
  ASSERT_TRUE(port.Open(kPort, {}, {}));
  ASSERT_TRUE(port.Write(kFrame));
  TheWorld().Advance(Milliseconds(12));
  port.Close();
  TheWorld().Advance(Milliseconds(50));
  EXPECT_EQ(Port().Received(), Bytes(kFrame.begin(), kFrame.begin() + 10));
}

TEST_F(SentWhole, OrTheStatusIsATimeout) {
  Open(true);
  Port().driver_room = 18;
  EXPECT_EQ(Test(), S_TIMEOUT);
  Port().vanished = true;
  EXPECT_EQ(Test(), S_TIMEOUT);
  EXPECT_TRUE(TheWorld().journal.back() == "event False") << "Power is set to false all the same";
}

TEST_F(SentWhole, ButNotOnceMoreAfterItsAnswer) {
  OpenBox(true, 0xA6);
  TheWorld().Advance(Milliseconds(10));
  const std::size_t before = Port().Received().size();
  // The answer comes when the command has been sent again, and the driver still holds that.
  bool first = true;
  Port().device = [&](std::span<const std::uint8_t>) -> fakes::Reaction {
    if (!std::exchange(first, false)) return {};
    Port().sends_late = Milliseconds(60'000);
    return {{Block1Reply({.signature = 0xA6}), Milliseconds(600)}};
  };
  EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
  TheWorld().Advance(Milliseconds(120'000));
  EXPECT_EQ(Port().written.size() - 1, 2U);
  EXPECT_EQ(Port().Received().size() - before, 1U);
}

TEST_F(SentWhole, OrNothingAfterTheTimeoutThatTheCallerIsTold) {
  for (const std::uint8_t signature : Bytes{0xA5, 0xA6}) {
    OpenBox(true, signature);
    TheWorld().Advance(Milliseconds(10));
    const Bytes before = Port().Received();
    Port().sends_late = Milliseconds(60'000);
    EXPECT_EQ(zentrel->ResetXpdr(), S_TIMEOUT);
    Port().sends_late = Milliseconds(0);
    TheWorld().Advance(Milliseconds(120'000));
    EXPECT_EQ(Port().Received(), before);
    zentrel->DeviceClose();
  }
}

}  // namespace
}  // namespace qmzentrel::tests
