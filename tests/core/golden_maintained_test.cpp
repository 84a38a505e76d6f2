// The order of events of each command while the supply is maintained: the line is set again and the
// pair of events raised around every exchange.
#include "tests/core/golden_test.h"
#include "tests/core/telic2_test.h"

namespace qmzentrel::tests {
namespace {

class GoldenMaintained : public Telic2Test<GoldenTest> {
 protected:
  void OpenMaintained() { Open(true); }
};

TEST_F(GoldenMaintained, DeviceOpenOnAFreshObjectRaisesTrueTrueFalse) {
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

TEST_F(GoldenMaintained, DeviceOpenWhileOpenClosesThePortFirst) {
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

TEST_F(GoldenMaintained, DeviceInitAgainstASilentBox) {
  OpenMaintained();
  EXPECT_EQ(zentrel->DeviceInit(), S_TIMEOUT);
  Expect(Lines("log Zentrel_DeviceInit", Powered(Unanswered("80")), Powered(Unanswered("80"))));
}

TEST_F(GoldenMaintained, BoxStatusIsOneExchangeWithoutALogText) {
  OpenMaintained();
  const Bytes reply = BoxStatusReply(0x21, 100, 0xA5, 0);
  Port().Answer(reply);
  EXPECT_EQ(zentrel->BoxStatus(), S_OKAY);
  Expect(Powered(Exchange("80", reply)));
}

TEST_F(GoldenMaintained, ReadXpdrReadsBlock1AloneWhereThereIsNoBlock2) {
  OpenMaintained();
  Port().Answer(block_1);
  EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
  Expect(Lines("log ReadXpdr", Powered(Exchange("40", block_1))));
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

TEST_F(GoldenMaintained, EveryCommandOnAClosedPortStillSetsPowerToFalse) {
  EXPECT_EQ(zentrel->BoxStatus(), S_BAD_PORT);
  Expect({"event False"});
  EXPECT_EQ(zentrel->ResetXpdr(), S_BAD_PORT);
  Expect({"event False"});
  EXPECT_EQ(zentrel->ReadXpdr(), S_BAD_PORT);
  Expect({"log ReadXpdr", "event False", "log ReadXpdr Block 2", "event False"});
  EXPECT_EQ(zentrel->WriteXpdr(), S_BAD_PORT);
  Expect({"log WriteXpdr", "event False"});
  EXPECT_EQ(Run(kReadCommand, {8}), S_BAD_PORT);
  Expect({"log TELIC2Read", "log TELIC2Read - PortOpen is bad", "event False"});
  EXPECT_EQ(Run(kWriteCommand, {8}), S_BAD_PORT);
  Expect({"log TELIC2Write", "event False"});
  EXPECT_EQ(Run(kTestCommand, {8}), S_BAD_PORT);
  Expect({"log TELIC2Test", "event False"});
  EXPECT_EQ(zentrel->DeviceInit(), S_BAD_PORT);
  Expect({"log Zentrel_DeviceInit"});
}

TEST_F(GoldenMaintained, DeviceCloseSwitchesTheSupplyOffAndClosesThePort) {
  OpenMaintained();
  EXPECT_EQ(zentrel->DeviceClose(), S_OKAY);
  Expect({"log Zentrel_DeviceClose", "supply off", "close COM7"});
}

TEST_F(GoldenMaintained, ReleaseClosesTheDevice) {
  OpenMaintained();
  zentrel.reset();
  Expect({"log Zentrel_DeviceClose", "supply off", "close COM7"});
}

}  // namespace
}  // namespace qmzentrel::tests
