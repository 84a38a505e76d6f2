// The order of events of the commands whose two power modes differ only in what stands around each
// exchange.
#include "simulator/simulator_values.h"
#include "tests/core/golden_test.h"
#include "tests/core/telic2_test.h"
#include "tests/fakes/fake_dialog.h"

namespace qmzentrel::tests {
namespace {

class GoldenInBothModes : public Telic2Test<GoldenTest>, public testing::WithParamInterface<bool> {
 protected:
  static bool Maintained() { return GetParam(); }

  /// Maintained, the line is set again and the pair of events raised; on demand, with the supply
  /// still on, the count-down stops and starts anew.
  static Journal Around(const Journal& exchange) {
    return Maintained() ? Powered(exchange) : Warm(exchange);
  }
};

TEST_P(GoldenInBothModes, DeviceInitIsABoxStatus) {
  Open(Maintained());
  const Bytes reply = BoxStatusReply(0x21, 100, 0xA5, 0);
  Port().Answer(reply);
  EXPECT_EQ(zentrel->DeviceInit(), S_OKAY);
  Expect(Lines("log Zentrel_DeviceInit", Around(Exchange("80", reply))));
}

TEST_P(GoldenInBothModes, ReadXpdrReadsBothBlocks) {
  Open(Maintained());
  Port().Answer(block_1_with_block_2);
  Port().Answer(block_2);
  EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
  Expect(Lines("log ReadXpdr", Around(Exchange("40", block_1_with_block_2)), "log ReadXpdr Block 2",
               // Block 1 told that the box is electric.
               Around(Exchange("42", block_2, 500))));
}

TEST_P(GoldenInBothModes, ReadXpdrTriesEachBlockTwice) {
  Open(Maintained());
  EXPECT_EQ(zentrel->ReadXpdr(), S_TIMEOUT);
  Expect(Lines("log ReadXpdr", Around(Unanswered("40")), "log ReadXpdr retry",
               Around(Unanswered("40")), "log ReadXpdr Block 2", Around(Unanswered("42")),
               "log ReadXpdr Block 2 retry", Around(Unanswered("42"))));
}

TEST_P(GoldenInBothModes, ReadXpdrWakesAnElectricBoxOnTheFourthSend) {
  OpenBox(Maintained(), 0xA6);
  Port().StaySilent(3);
  Port().Answer(block_1);
  EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
  Expect(Lines("log ReadXpdr",
               Around(Lines(Times(3, Unanswered("40", 500)), Exchange("40", block_1, 500)))));
}

TEST_P(GoldenInBothModes, ResetXpdrIsOneExchangeWithoutALogText) {
  Open(Maintained());
  Port().Answer(block_1);
  EXPECT_EQ(zentrel->ResetXpdr(), S_OKAY);
  Expect(Around(Exchange("C0", block_1)));
}

TEST_P(GoldenInBothModes, WriteXpdrWritesBlock1AloneWhereThereIsNoBlock2) {
  Open(Maintained());
  Port().Answer(block_1);
  zentrel->ReadXpdr();
  TheWorld().TakeJournal();
  zentrel->Util(18);
  Port().Answer(block_1);
  EXPECT_EQ(zentrel->WriteXpdr(), S_OKAY);
  Expect(Lines("log WriteXpdr", Around(Exchange("05 12 12 34 56 09 00 AB CD 32 04 00", block_1))));
}

TEST_P(GoldenInBothModes, WriteXpdrWaitsForTheVerifyDelayBetweenTheBlocks) {
  Open(Maintained());
  Port().Answer(block_1_with_block_2);
  Port().Answer(block_2);
  EXPECT_EQ(zentrel->WriteXpdr(), S_OKAY);
  Expect(Lines("log WriteXpdr",
               Around(Exchange("00 00 00 00 00 00 00 00 00 00 00 00", block_1_with_block_2)),
               "wait 4000", "log WriteXpdrRF",
               Around(Exchange("05 00 00 00 00 00 00 00 FF 00 20 00", block_2, 500))));
}

TEST_P(GoldenInBothModes, WriteXpdrTriesEachBlockOnceMoreAfterATimeout) {
  Open(Maintained());
  const Bytes reply = Block1Reply({.version = 0x80});
  Port().StaySilent();
  Port().Answer(reply);
  Port().StaySilent();
  Port().Answer(block_2);
  EXPECT_EQ(zentrel->WriteXpdr(), S_OKAY);
  const std::string frame_1 = "00 00 00 00 00 00 00 00 00 00 00 00";
  const std::string frame_2 = "05 00 00 00 00 00 00 00 FF 00 20 00";
  Expect(Lines("log WriteXpdr", Around(Unanswered(frame_1)), "log WriteXpdr retry",
               Around(Exchange(frame_1, reply)), "wait 4000", "log WriteXpdrRF",
               Around(Unanswered(frame_2)), "log WriteXpdrRF retry",
               Around(Exchange(frame_2, block_2))));
}

TEST_P(GoldenInBothModes, WriteXpdrOfAnOutOfRangeRecordDoesNothingAtAll) {
  Open(Maintained());
  zentrel->Util(256);
  EXPECT_EQ(zentrel->WriteXpdr(), S_BAD_DATA);
  Expect({});
}

TEST_P(GoldenInBothModes, Telic2ReadIsOneExchangeWhoseReplyBecomesData) {
  Open(Maintained());
  const Bytes reply{0x7E, 0x20, 0xC7, 0x08, 8, 0x12, 0x34, 12, 1, 2, 3, 4};
  Port().Answer(reply);
  EXPECT_EQ(Run(kReadCommand, {8, 12}), S_OKAY);
  Expect(Lines("log TELIC2Read", Around(Exchange("7E 20 C7 02 08 0C", reply))));
  EXPECT_EQ(data, (Numbers{0x1234, 0x01020304}));
}

TEST_P(GoldenInBothModes, Telic2WriteIsOneExchangeWhoseReplyIsItsEcho) {
  Open(Maintained());
  const Bytes echo{0x7E, 0x20, 0xC6, 0x08, 8, 0x12, 0x34, 12, 1, 2, 3, 4};
  Port().Answer(echo);
  EXPECT_EQ(Run(kWriteCommand, {8, 12}, {0x1234, 0x01020304}), S_OKAY);
  Expect(Lines("log TELIC2Write", Around(Exchange("7E 20 C6 08 08 12 34 0C 01 02 03 04", echo))));
}

TEST_P(GoldenInBothModes, Telic2TestIsOneExchangeWhoseReplyBecomesData) {
  Open(Maintained());
  const Bytes reply{0x7E, 0x20, 0xC9, 0x02, 10, 0x77};
  Port().Answer(reply);
  EXPECT_EQ(Run(kTestCommand, {20, 10}, {0x11, 0x22}), S_OKAY);
  Expect(Lines("log TELIC2Test", Around(Exchange("7E 20 C9 04 14 11 0A 22", reply))));
  EXPECT_EQ(data, (Numbers{0x77, 0x22}));
}

TEST_P(GoldenInBothModes, Telic2TestOfMessagesThatHaveNoReplyWaitsForNone) {
  Open(Maintained());
  EXPECT_EQ(Run(kTestCommand, {20}, {0x11}), S_OKAY);
  Expect(Lines("log TELIC2Test", Around(Journal{"write 7E 00 C9 02 14 11", "sent"})));
}

TEST_P(GoldenInBothModes, Telic2CommandsAreNotTriedAgainAfterATimeout) {
  Open(Maintained());
  EXPECT_EQ(Run(kReadCommand, {10}), S_TIMEOUT);
  Expect(Lines("log TELIC2Read", Around(Unanswered("7E 20 C7 01 0A"))));
  EXPECT_EQ(Run(kWriteCommand, {10}, {1}), S_TIMEOUT);
  Expect(Lines("log TELIC2Write", Around(Unanswered("7E 20 C6 02 0A 01"))));
  EXPECT_EQ(Run(kTestCommand, {10}, {1}), S_TIMEOUT);
  Expect(Lines("log TELIC2Test", Around(Unanswered("7E 20 C9 02 0A 01"))));
}

TEST_P(GoldenInBothModes, Telic2CommandsResendToAnElectricBoxForAsLongAsEachMay) {
  OpenBox(Maintained(), 0xA6);
  EXPECT_EQ(Run(kReadCommand, {10}), S_TIMEOUT);
  Expect(Lines("log TELIC2Read", Around(Times(26, Unanswered("7E 20 C7 01 0A", 500)))));
  EXPECT_EQ(Run(kWriteCommand, {10}, {1}), S_TIMEOUT);
  Expect(Lines("log TELIC2Write", Around(Times(6, Unanswered("7E 20 C6 02 0A 01", 500)))));
  EXPECT_EQ(Run(kTestCommand, {10}, {1}), S_TIMEOUT);
  Expect(Lines("log TELIC2Test", Around(Times(26, Unanswered("7E 20 C9 02 0A 01", 500)))));
}

TEST_P(GoldenInBothModes, Telic2CommandsWithABadListDoNothingButLog) {
  Open(Maintained());
  EXPECT_EQ(Run(kReadCommand, {7}), S_BAD_PARAMETER);
  EXPECT_EQ(Run(kReadCommand, {12, 12, 12, 12}), S_MSG_TOO_LONG);
  EXPECT_EQ(Run(kWriteCommand, {-1}), S_BAD_PARAMETER);
  EXPECT_EQ(Run(kWriteCommand, {12, 12, 12, 12}), S_MSG_TOO_LONG);
  EXPECT_EQ(Run(kTestCommand, {99}), S_BAD_PARAMETER);
  EXPECT_EQ(Run(kTestCommand, {12, 12, 12, 12}), S_MSG_TOO_LONG);
  Expect({"log TELIC2Read", "log TELIC2Read", "log TELIC2Write", "log TELIC2Write",
          "log TELIC2Test", "log TELIC2Test"});
}

/// The lines of a command that the simulator's dialog answers.
Journal Dialog(const std::string& mode) {
  return {"pointer arrow", "dialog Zentrel Simulator - " + mode, "pointer hourglass"};
}

TEST_P(GoldenInBothModes, WithTheSimulatorOnNoCommandTouchesPortOrSupply) {
  simulator::ForgetUnsavedSimulatorValues();
  SetNumber(kSimulatorKey, "", 1);
  EXPECT_EQ(zentrel->DeviceOpen(kPort, Maintained()), S_OKAY);
  Expect({"log Zentrel_DeviceOpen"});
  EXPECT_EQ(zentrel->DeviceInit(), S_BAD_PORT);
  Expect({"log Zentrel_DeviceInit"});
  TheWorld().dialog_user = [](fakes::FakeDialog& dialog) {
    dialog.Press(platform::DialogButton::cmdNoXpdr);
  };
  EXPECT_EQ(zentrel->BoxStatus(), S_OKAY);
  Expect({});
  EXPECT_EQ(zentrel->ReadXpdr(), S_TIMEOUT);
  Expect(Dialog("Read"));
  EXPECT_EQ(zentrel->ResetXpdr(), S_OKAY);
  Expect(Dialog("Factory Test"));
  EXPECT_EQ(zentrel->WriteXpdr(), S_TIMEOUT);
  Expect(Dialog("Write"));
  EXPECT_EQ(Run(kWriteCommand, {8}, {7}), S_OKAY);
  EXPECT_EQ(Run(kReadCommand, {8}), S_OKAY);
  EXPECT_EQ(data, (Numbers{7}));
  EXPECT_EQ(Run(kTestCommand, {8}), S_OKAY);
  Expect({"log TELIC2Write", "log TELIC2Read", "log TELIC2Test"});
  EXPECT_EQ(zentrel->DeviceClose(), S_OKAY);
  Expect({"log Zentrel_DeviceClose"});
  TheWorld().Pump(Milliseconds(120'000));
  Expect({});
}

TEST_P(GoldenInBothModes, WithTheSimulatorSwitchedOnLaterThePortAndTheSupplyStayAsTheyAre) {
  simulator::ForgetUnsavedSimulatorValues();
  Open(Maintained());
  SetNumber(kSimulatorKey, "", 1);
  EXPECT_EQ(zentrel->DeviceInit(), S_OKAY);
  Expect({"log Zentrel_DeviceInit"});
  EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
  Expect(Dialog("Read"));
  EXPECT_EQ(zentrel->WriteXpdr(), S_OKAY);
  Expect(Dialog("Write"));
  // A count-down that was running goes on.
  TheWorld().Pump(Milliseconds(60'000));
  if (Maintained()) {
    Expect({});
  } else {
    Expect({"supply off", "timer off", "event False"});
  }
  SetNumber(kSimulatorKey, "", 0);
  EXPECT_EQ(zentrel->ResetXpdr(), S_TIMEOUT);
  Expect(Maintained()
             ? Powered(Unanswered("C0"))
             : Lines("supply DTR", "pause 2500", "event True", Unanswered("C0"), "timer on"));
}

INSTANTIATE_TEST_SUITE_P(PowerModes, GoldenInBothModes, testing::Bool(),
                         [](const auto& mode) { return mode.param ? "Maintained" : "OnDemand"; });

}  // namespace
}  // namespace qmzentrel::tests
