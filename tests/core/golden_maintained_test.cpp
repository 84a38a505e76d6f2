// The order of events of each command while the supply is maintained: the line is set again and the
// pair of events raised around every exchange.
#include "tests/core/golden_test.h"

namespace qmzentrel::tests {
namespace {

class GoldenMaintained : public GoldenTest {
 protected:
  void OpenMaintained() { Open(true); }

  /// What stands around every exchange in this mode.
  static Journal Powered(const Journal& exchange) {
    return Lines("supply DTR", "event True", exchange, "supply DTR", "event False");
  }
};

TEST_F(GoldenMaintained, DeviceOpenOnAFreshObject) {
  EXPECT_EQ(zentrel->DeviceOpen(kPort, true), S_OKAY);
  Expect({
      "log Zentrel_DeviceOpen",
      "event True",  // power management off
      kOpened + std::string("DTR"), "supply DTR",
      "event True",  // power on
      "supply DTR",
      "event False",  // power off, which leaves the line on
  });
}

TEST_F(GoldenMaintained, DeviceOpenOfAPortThatDoesNotOpen) {
  EXPECT_EQ(zentrel->DeviceOpen(9, true), S_BAD_PORT);
  Expect({
      "log Zentrel_DeviceOpen",
      "event True",
      "open COM9 (9600 baud, parity 0, 8 data, stop setting 2), supply DTR: refused",
      "event True",
      "event False",
  });
}

TEST_F(GoldenMaintained, DeviceOpenWhileOpen) {
  OpenMaintained();
  EXPECT_EQ(zentrel->DeviceOpen(kPort, true), S_OKAY);
  Expect({
      "log Zentrel_DeviceOpen",
      "supply DTR",
      "event True",
      "close COM7",
      kOpened + std::string("DTR"),
      "supply DTR",
      "event True",
      "supply DTR",
      "event False",
  });
}

TEST_F(GoldenMaintained, DeviceInit) {
  OpenMaintained();
  const Bytes reply = BoxStatusReply(0x21, 100, 0xA5, 0);
  Port().Answer(reply);
  EXPECT_EQ(zentrel->DeviceInit(), S_OKAY);
  Expect(Lines("log Zentrel_DeviceInit", Powered(Exchange("80", reply))));
}

TEST_F(GoldenMaintained, DeviceInitAgainstASilentBox) {
  OpenMaintained();
  EXPECT_EQ(zentrel->DeviceInit(), S_TIMEOUT);
  Expect(Lines("log Zentrel_DeviceInit", Powered(Unanswered("80")), Powered(Unanswered("80"))));
}

TEST_F(GoldenMaintained, BoxStatus) {
  OpenMaintained();
  const Bytes reply = BoxStatusReply(0x21, 100, 0xA5, 0);
  Port().Answer(reply);
  EXPECT_EQ(zentrel->BoxStatus(), S_OKAY);
  Expect(Powered(Exchange("80", reply)));
}

TEST_F(GoldenMaintained, ReadXpdrWithoutBlock2) {
  OpenMaintained();
  Port().Answer(block_1);
  EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
  Expect(Lines("log ReadXpdr", Powered(Exchange("40", block_1))));
}

TEST_F(GoldenMaintained, ReadXpdrWithBlock2) {
  OpenMaintained();
  Port().Answer(block_1_with_block_2);
  Port().Answer(block_2);
  EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
  Expect(Lines("log ReadXpdr", Powered(Exchange("40", block_1_with_block_2)),
               "log ReadXpdr Block 2",
               // Block 1 told that the box is electric.
               Powered(Exchange("42", block_2, 500))));
}

TEST_F(GoldenMaintained, ReadXpdrThatTimesOutThroughout) {
  OpenMaintained();
  EXPECT_EQ(zentrel->ReadXpdr(), S_TIMEOUT);
  Expect(Lines("log ReadXpdr", Powered(Unanswered("40")), "log ReadXpdr retry",
               Powered(Unanswered("40")), "log ReadXpdr Block 2", Powered(Unanswered("42")),
               "log ReadXpdr Block 2 retry", Powered(Unanswered("42"))));
}

TEST_F(GoldenMaintained, ReadXpdrFromAnElectricBoxWokenOnTheFourthSend) {
  OpenBox(true, 0xA6);
  Port().StaySilent(3);
  Port().Answer(block_1);
  EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
  Expect(Lines("log ReadXpdr",
               Powered(Lines(Times(3, Unanswered("40", 500)), Exchange("40", block_1, 500)))));
}

TEST_F(GoldenMaintained, ResetXpdr) {
  OpenMaintained();
  Port().Answer(block_1);
  EXPECT_EQ(zentrel->ResetXpdr(), S_OKAY);
  Expect(Powered(Exchange("C0", block_1)));
}

TEST_F(GoldenMaintained, WriteXpdrWithoutBlock2) {
  OpenMaintained();
  Port().Answer(block_1);
  zentrel->ReadXpdr();
  TheWorld().TakeJournal();
  zentrel->Util(18);
  Port().Answer(block_1);
  EXPECT_EQ(zentrel->WriteXpdr(), S_OKAY);
  Expect(Lines("log WriteXpdr", Powered(Exchange("05 12 12 34 56 09 00 AB CD 32 04 00", block_1))));
}

TEST_F(GoldenMaintained, WriteXpdrWithBlock2WaitsForTheVerifyDelayBetweenTheBlocks) {
  OpenMaintained();
  Port().Answer(block_1_with_block_2);
  Port().Answer(block_2);
  EXPECT_EQ(zentrel->WriteXpdr(), S_OKAY);
  Expect(Lines("log WriteXpdr",
               Powered(Exchange("00 00 00 00 00 00 00 00 00 00 00 00", block_1_with_block_2)),
               "wait 4000", "log WriteXpdrRF",
               Powered(Exchange("05 00 00 00 00 00 00 00 FF 00 20 00", block_2, 500))));
}

TEST_F(GoldenMaintained, WriteXpdrWithARetryInEachBlock) {
  OpenMaintained();
  const Bytes reply = Block1Reply({.version = 0x80});
  Port().StaySilent();
  Port().Answer(reply);
  Port().StaySilent();
  Port().Answer(block_2);
  EXPECT_EQ(zentrel->WriteXpdr(), S_OKAY);
  const std::string frame_1 = "00 00 00 00 00 00 00 00 00 00 00 00";
  const std::string frame_2 = "05 00 00 00 00 00 00 00 FF 00 20 00";
  Expect(Lines("log WriteXpdr", Powered(Unanswered(frame_1)), "log WriteXpdr retry",
               Powered(Exchange(frame_1, reply)), "wait 4000", "log WriteXpdrRF",
               Powered(Unanswered(frame_2)), "log WriteXpdrRF retry",
               Powered(Exchange(frame_2, block_2))));
}

TEST_F(GoldenMaintained, ReadAfterWriteWaitsForTheVerifyDelayFirst) {
  OpenMaintained();
  Port().Answer(block_1);
  zentrel->WriteXpdr();
  TheWorld().TakeJournal();
  Port().Answer(block_1);
  EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
  Expect(Lines("wait 4000", "log ReadXpdr", Powered(Exchange("40", block_1))));
}

TEST_F(GoldenMaintained, WriteXpdrOfAnOutOfRangeRecordDoesNothingAtAll) {
  OpenMaintained();
  zentrel->Util(256);
  EXPECT_EQ(zentrel->WriteXpdr(), S_BAD_DATA);
  Expect({});
}

TEST_F(GoldenMaintained, EveryCommandOnAClosedPortStillSetsPowerToFalse) {
  EXPECT_EQ(zentrel->BoxStatus(), S_BAD_PORT);
  Expect({"event False"});
  EXPECT_EQ(zentrel->ResetXpdr(), S_BAD_PORT);
  Expect({"event False"});
  EXPECT_EQ(zentrel->ReadXpdr(), S_BAD_PORT);
  Expect({"log ReadXpdr", "event False", "log ReadXpdr Block 2", "event False"});
  EXPECT_EQ(zentrel->WriteXpdr(), S_BAD_PORT);
  Expect({"log WriteXpdr", "event False"});
  EXPECT_EQ(zentrel->DeviceInit(), S_BAD_PORT);
  Expect({"log Zentrel_DeviceInit"});
}

TEST_F(GoldenMaintained, DeviceClose) {
  OpenMaintained();
  EXPECT_EQ(zentrel->DeviceClose(), S_OKAY);
  Expect({"log Zentrel_DeviceClose", "supply off", "close COM7"});
}

TEST_F(GoldenMaintained, Release) {
  OpenMaintained();
  zentrel.reset();
  Expect({"log Zentrel_DeviceClose", "supply off", "close COM7"});
}

// --- The simulator's switch ----------------------------------------------------------------------

TEST_F(GoldenMaintained, WithTheSimulatorOnNoCommandTouchesThePort) {
  TheWorld().SetNumber("SOFTWARE\\QuenmoorComms\\QMC Software Library\\Zentrel\\Simulator", "", 1);
  EXPECT_EQ(zentrel->DeviceOpen(kPort, true), S_OKAY);
  Expect({"log Zentrel_DeviceOpen"});
  EXPECT_EQ(zentrel->DeviceInit(), S_BAD_PORT);
  Expect({"log Zentrel_DeviceInit"});
  EXPECT_THROW(zentrel->BoxStatus(), Refusal);
  EXPECT_THROW(zentrel->ReadXpdr(), Refusal);
  EXPECT_THROW(zentrel->ResetXpdr(), Refusal);
  EXPECT_THROW(zentrel->WriteXpdr(), Refusal);
  Expect({});
  EXPECT_EQ(zentrel->DeviceClose(), S_OKAY);
  Expect({"log Zentrel_DeviceClose"});
}

}  // namespace
}  // namespace qmzentrel::tests
