// The order of events of each command while the supply is switched on demand: on with the start-up
// pause and the event where it was off, then nothing but the count-down.
#include "tests/core/golden_test.h"

namespace qmzentrel::tests {
namespace {

class GoldenOnDemand : public GoldenTest {
 protected:
  /// Open with the supply still on and counting down.
  void OpenWarm() { Open(false); }

  /// Open with the supply off.
  void OpenCold() {
    Open(false);
    TheWorld().Pump(Milliseconds(60'000));
    TheWorld().TakeJournal();
  }

  /// What stands around an exchange while the supply is still on.
  static Journal Warm(const Journal& exchange) { return Lines("timer off", exchange, "timer on"); }

  /// And when it is off: the timer stands already.
  static Journal Cold(const Journal& exchange) {
    return Lines("supply DTR", "pause 2500", "event True", exchange, "timer on");
  }
};

TEST_F(GoldenOnDemand, DeviceOpenOnAFreshObject) {
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

TEST_F(GoldenOnDemand, DeviceOpenWhileOpenAndSupplied) {
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

TEST_F(GoldenOnDemand, DeviceInit) {
  OpenWarm();
  const Bytes reply = BoxStatusReply(0x21, 100, 0xA5, 0);
  Port().Answer(reply);
  EXPECT_EQ(zentrel->DeviceInit(), S_OKAY);
  Expect(Lines("log Zentrel_DeviceInit", Warm(Exchange("80", reply))));
}

TEST_F(GoldenOnDemand, DeviceInitAgainstASilentBox) {
  OpenWarm();
  EXPECT_EQ(zentrel->DeviceInit(), S_TIMEOUT);
  // The first Box Status without a signature sets the hold-off that the second one waits for.
  Expect(Lines("log Zentrel_DeviceInit", Warm(Unanswered("80")), "timer off", "wait 3750",
               Unanswered("80"), "timer on"));
}

TEST_F(GoldenOnDemand, BoxStatusWithTheSupplyOff) {
  OpenCold();
  const Bytes reply = BoxStatusReply(0x21, 100, 0xA5, 0);
  Port().Answer(reply);
  EXPECT_EQ(zentrel->BoxStatus(), S_OKAY);
  Expect(Cold(Exchange("80", reply)));
  TheWorld().Pump(Milliseconds(60'000));
  Expect({"supply off", "timer off", "event False"});
}

TEST_F(GoldenOnDemand, BoxStatusOfABoxWithoutASignatureAndTheNextCommand) {
  OpenWarm();
  const Bytes reply = BoxStatusReply(0x21, 100, 0, 0);
  Port().Answer(reply);
  EXPECT_EQ(zentrel->BoxStatus(), S_OKAY);
  Expect(Warm(Exchange("80", reply)));
  Port().Answer(block_1);
  EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
  Expect(Lines("log ReadXpdr", "timer off", "wait 3750", Exchange("40", block_1), "timer on"));
}

TEST_F(GoldenOnDemand, ReadXpdrWithTheSupplyOff) {
  OpenCold();
  Port().Answer(block_1);
  EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
  Expect(Lines("log ReadXpdr", Cold(Exchange("40", block_1))));
}

TEST_F(GoldenOnDemand, ReadXpdrWithBlock2) {
  OpenWarm();
  Port().Answer(block_1_with_block_2);
  Port().Answer(block_2);
  EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
  Expect(Lines("log ReadXpdr", Warm(Exchange("40", block_1_with_block_2)), "log ReadXpdr Block 2",
               Warm(Exchange("42", block_2, 500))));
}

TEST_F(GoldenOnDemand, ReadXpdrThatTimesOutThroughout) {
  OpenWarm();
  EXPECT_EQ(zentrel->ReadXpdr(), S_TIMEOUT);
  Expect(Lines("log ReadXpdr", Warm(Unanswered("40")), "log ReadXpdr retry", Warm(Unanswered("40")),
               "log ReadXpdr Block 2", Warm(Unanswered("42")), "log ReadXpdr Block 2 retry",
               Warm(Unanswered("42"))));
}

TEST_F(GoldenOnDemand, ReadXpdrFromAnElectricBoxWokenOnTheFourthSend) {
  OpenBox(false, 0xA6);
  Port().StaySilent(3);
  Port().Answer(block_1);
  EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
  Expect(Lines("log ReadXpdr",
               Warm(Lines(Times(3, Unanswered("40", 500)), Exchange("40", block_1, 500)))));
}

TEST_F(GoldenOnDemand, ResetXpdr) {
  OpenWarm();
  Port().Answer(block_1);
  EXPECT_EQ(zentrel->ResetXpdr(), S_OKAY);
  Expect(Warm(Exchange("C0", block_1)));
}

TEST_F(GoldenOnDemand, WriteXpdrWithoutBlock2) {
  OpenWarm();
  Port().Answer(block_1);
  EXPECT_EQ(zentrel->WriteXpdr(), S_OKAY);
  Expect(Lines("log WriteXpdr", Warm(Exchange("00 00 00 00 00 00 00 00 00 00 00 00", block_1))));
}

TEST_F(GoldenOnDemand, WriteXpdrWithBlock2WaitsForTheVerifyDelayBetweenTheBlocks) {
  OpenWarm();
  Port().Answer(block_1_with_block_2);
  Port().Answer(block_2);
  EXPECT_EQ(zentrel->WriteXpdr(), S_OKAY);
  Expect(Lines("log WriteXpdr",
               Warm(Exchange("00 00 00 00 00 00 00 00 00 00 00 00", block_1_with_block_2)),
               "wait 4000", "log WriteXpdrRF",
               Warm(Exchange("05 00 00 00 00 00 00 00 FF 00 20 00", block_2, 500))));
}

TEST_F(GoldenOnDemand, WriteXpdrWithARetryInEachBlock) {
  OpenWarm();
  const Bytes reply = Block1Reply({.version = 0x80});
  Port().StaySilent();
  Port().Answer(reply);
  Port().StaySilent();
  Port().Answer(block_2);
  EXPECT_EQ(zentrel->WriteXpdr(), S_OKAY);
  const std::string frame_1 = "00 00 00 00 00 00 00 00 00 00 00 00";
  const std::string frame_2 = "05 00 00 00 00 00 00 00 FF 00 20 00";
  Expect(Lines("log WriteXpdr", Warm(Unanswered(frame_1)), "log WriteXpdr retry",
               Warm(Exchange(frame_1, reply)), "wait 4000", "log WriteXpdrRF",
               Warm(Unanswered(frame_2)), "log WriteXpdrRF retry",
               Warm(Exchange(frame_2, block_2))));
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

TEST_F(GoldenOnDemand, WriteXpdrOfAnOutOfRangeRecordDoesNothingAtAll) {
  OpenWarm();
  zentrel->Util(256);
  EXPECT_EQ(zentrel->WriteXpdr(), S_BAD_DATA);
  Expect({});
}

TEST_F(GoldenOnDemand, EveryCommandOnAClosedPortStillSetsPowerToFalse) {
  zentrel->PowerManagement(true);
  Expect({"timer on"});
  EXPECT_EQ(zentrel->BoxStatus(), S_BAD_PORT);
  EXPECT_EQ(zentrel->ResetXpdr(), S_BAD_PORT);
  Expect({});  // the count-down runs already and starts anew
  EXPECT_EQ(zentrel->ReadXpdr(), S_BAD_PORT);
  Expect({"log ReadXpdr", "log ReadXpdr Block 2"});
  TheWorld().Pump(Milliseconds(30'000));
  EXPECT_EQ(zentrel->WriteXpdr(), S_BAD_PORT);
  Expect({"log WriteXpdr"});
  TheWorld().Pump(Milliseconds(59'000));
  Expect({});
  TheWorld().Pump(Milliseconds(1'000));
  Expect({"timer off", "event False"});
}

TEST_F(GoldenOnDemand, DeviceCloseDuringTheCountDown) {
  OpenWarm();
  EXPECT_EQ(zentrel->DeviceClose(), S_OKAY);
  Expect({"log Zentrel_DeviceClose", "supply off", "close COM7"});
  TheWorld().Pump(Milliseconds(60'000));
  Expect({"timer off", "event False"});
}

TEST_F(GoldenOnDemand, Release) {
  OpenWarm();
  zentrel.reset();
  Expect({"log Zentrel_DeviceClose", "supply off", "close COM7", "timer off"});
}

}  // namespace
}  // namespace qmzentrel::tests
