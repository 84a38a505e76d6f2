// The order of events of each command while the supply is switched on demand: on with the start-up
// pause and the event where it was off, then nothing but the count-down.
#include "tests/core/golden_test.h"
#include "tests/core/telic2_test.h"

namespace qmzentrel::tests {
namespace {

class GoldenOnDemand : public Telic2Test<GoldenTest> {
 protected:
  /// Open with the supply still on and counting down.
  void OpenWarm() { Open(false); }

  /// Open with the supply off.
  void OpenCold() {
    Open(false);
    TheWorld().Pump(Milliseconds(60'000));
    TheWorld().TakeJournal();
  }

  /// What stands around an exchange when the supply is off: the timer stands already.
  static Journal Cold(const Journal& exchange) {
    return Lines("supply DTR", "pause 2500", "event True", exchange, "timer on");
  }
};

TEST_F(GoldenOnDemand, DeviceOpenOnAFreshObjectRaisesTrueAfterTheStartUpPauseAndCountsDown) {
  EXPECT_EQ(zentrel->DeviceOpen(kPort, false), S_OKAY);
  Expect({
      "log Zentrel_DeviceOpen",
      "timer on",  // power management on: power off starts the count-down
      kOpened + std::string("off"),
      "timer off",
      "supply DTR",
      "pause 2500",
      "event True",
      "timer on",
  });
  TheWorld().Pump(Milliseconds(59'999));
  Expect({});
  TheWorld().Pump(Milliseconds(1));
  Expect({"supply off", "timer off", "event False"});
}

TEST_F(GoldenOnDemand, DeviceOpenOfAPortThatDoesNotOpenPaysThePauseAndCountsDownToo) {
  EXPECT_EQ(zentrel->DeviceOpen(9, false), S_BAD_PORT);
  Expect({
      "log Zentrel_DeviceOpen",
      "timer on",
      "open COM9 (9600 baud, parity 0, 8 data, stop setting 2), supply off: refused",
      "timer off",
      "pause 2500",
      "event True",
      "timer on",
  });
  TheWorld().Pump(Milliseconds(60'000));
  Expect({"timer off", "event False"});
}

TEST_F(GoldenOnDemand, DeviceOpenWhileOpenAndSuppliedReopensWithTheSupplyOn) {
  OpenWarm();
  EXPECT_EQ(zentrel->DeviceOpen(kPort, false), S_OKAY);
  Expect({
      "log Zentrel_DeviceOpen",
      "close COM7",
      kOpened + std::string("DTR"),
      "timer off",
      "timer on",
  });
}

TEST_F(GoldenOnDemand, DeviceInitAgainstASilentBox) {
  OpenWarm();
  EXPECT_EQ(zentrel->DeviceInit(), S_TIMEOUT);
  // The first Box Status without a signature sets the hold-off that the second one waits for.
  Expect(Lines("log Zentrel_DeviceInit", Warm(Unanswered("80")), "timer off", "wait 3750",
               Unanswered("80"), "timer on"));
}

TEST_F(GoldenOnDemand, BoxStatusWithTheSupplyOffSwitchesItOnAndCountsDown) {
  OpenCold();
  const Bytes reply = BoxStatusReply(0x21, 100, 0xA5, 0);
  Port().Answer(reply);
  EXPECT_EQ(zentrel->BoxStatus(), S_OKAY);
  Expect(Cold(Exchange("80", reply)));
  TheWorld().Pump(Milliseconds(60'000));
  Expect({"supply off", "timer off", "event False"});
}

TEST_F(GoldenOnDemand, AfterABoxWithoutASignatureTheNextCommandWaitsForTheHoldOff) {
  OpenWarm();
  const Bytes reply = BoxStatusReply(0x21, 100, 0, 0);
  Port().Answer(reply);
  EXPECT_EQ(zentrel->BoxStatus(), S_OKAY);
  Expect(Warm(Exchange("80", reply)));
  Port().Answer(block_1);
  EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
  Expect(Lines("log ReadXpdr", "timer off", "wait 3750", Exchange("40", block_1), "timer on"));
}

TEST_F(GoldenOnDemand, ReadXpdrWithTheSupplyOffSwitchesItOn) {
  OpenCold();
  Port().Answer(block_1);
  EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
  Expect(Lines("log ReadXpdr", Cold(Exchange("40", block_1))));
}

TEST_F(GoldenOnDemand, Telic2CommandsWithTheSupplyOffSwitchItOnAndCountDown) {
  const std::pair<const Telic2Command*, Bytes> commands[] = {
      {&kReadCommand, {0x7E, 0x20, 0xC7, 0x02, 10, 1}},
      {&kWriteCommand, {0x7E, 0x20, 0xC6, 0x02, 10, 1}},
      {&kTestCommand, {0x7E, 0x20, 0xC9, 0x02, 10, 1}}};
  for (const auto& [command, reply] : commands) {
    OpenCold();
    Port().Answer(reply);
    EXPECT_EQ(Run(*command, {10}, {1}), S_OKAY);
    const std::string frame = command == &kReadCommand ? "7E 20 C7 01 0A" : fakes::Hex(reply);
    Expect(Lines("log " + std::string(command->name), Cold(Exchange(frame, reply))));
    TheWorld().Pump(Milliseconds(60'000));
    Expect({"supply off", "timer off", "event False"});
  }
}

TEST_F(GoldenOnDemand, Telic2CommandsDoNotWaitForTheVerifyDelay) {
  OpenWarm();
  Port().Answer(block_1);
  zentrel->WriteXpdr();
  TheWorld().TakeJournal();
  EXPECT_EQ(Run(kReadCommand, {10}), S_TIMEOUT);
  Expect(Lines("log TELIC2Read", Warm(Unanswered("7E 20 C7 01 0A"))));
}

TEST_F(GoldenOnDemand, Telic2CommandsWaitForTheHoldOff) {
  OpenWarm();
  Port().Answer(BoxStatusReply(0x21, 100, 0, 0));
  zentrel->BoxStatus();
  TheWorld().TakeJournal();
  EXPECT_EQ(Run(kReadCommand, {10}), S_TIMEOUT);
  Expect(
      Lines("log TELIC2Read", "timer off", "wait 3750", Unanswered("7E 20 C7 01 0A"), "timer on"));
}

TEST_F(GoldenOnDemand, ReadDuringAVerifyDelayInWhichTheSupplyGoesOffAndComesBack) {
  OpenWarm();
  zentrel->VDelay(70'000);
  Port().Answer(block_1);
  zentrel->WriteXpdr();
  TheWorld().TakeJournal();
  Port().Answer(block_1);
  EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
  Expect(Lines("wait 60000", "supply off", "timer off", "event False", "wait 10000", "log ReadXpdr",
               Cold(Exchange("40", block_1))));
}

TEST_F(GoldenOnDemand, EveryCommandOnAClosedPortStillSetsPowerToFalse) {
  zentrel->PowerManagement(true);
  Expect({"timer on"});
  EXPECT_EQ(zentrel->BoxStatus(), S_BAD_PORT);
  EXPECT_EQ(zentrel->ResetXpdr(), S_BAD_PORT);
  Expect({});  // the count-down runs already and starts anew
  EXPECT_EQ(zentrel->ReadXpdr(), S_BAD_PORT);
  Expect({"log ReadXpdr", "log ReadXpdr Block 2"});
  EXPECT_EQ(Run(kReadCommand, {8}), S_BAD_PORT);
  Expect({"log TELIC2Read", "log TELIC2Read - PortOpen is bad"});
  EXPECT_EQ(Run(kWriteCommand, {8}), S_BAD_PORT);
  Expect({"log TELIC2Write"});
  EXPECT_EQ(Run(kTestCommand, {8}), S_BAD_PORT);
  Expect({"log TELIC2Test"});
  TheWorld().Pump(Milliseconds(30'000));
  EXPECT_EQ(zentrel->WriteXpdr(), S_BAD_PORT);
  Expect({"log WriteXpdr"});
  TheWorld().Pump(Milliseconds(59'000));
  Expect({});
  TheWorld().Pump(Milliseconds(1'000));
  Expect({"timer off", "event False"});
}

TEST_F(GoldenOnDemand, DeviceCloseDuringTheCountDownLeavesItRunning) {
  OpenWarm();
  EXPECT_EQ(zentrel->DeviceClose(), S_OKAY);
  Expect({"log Zentrel_DeviceClose", "supply off", "close COM7"});
  TheWorld().Pump(Milliseconds(60'000));
  Expect({"timer off", "event False"});
}

TEST_F(GoldenOnDemand, ReleaseClosesTheDeviceAndEndsTheCountDown) {
  OpenWarm();
  zentrel.reset();
  Expect({"log Zentrel_DeviceClose", "supply off", "close COM7", "timer off"});
}

}  // namespace
}  // namespace qmzentrel::tests
