#include "platform/serial_port.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/message_loop.h"
#include "tests/contract/harness.h"

namespace qmzentrel {
namespace {

using contract::MonotonicMs;
using platform::ModemLines;
using platform::SerialPort;
using platform::SerialSettings;
using Bytes = std::vector<std::uint8_t>;

constexpr std::int32_t kFirstByteMs = 200;
// Long enough to tell a limit from its double on a busy machine.
constexpr std::int32_t kSilentMs = 1200;
// Long enough for any reply; nothing waits so long unless it goes wrong.
constexpr std::int32_t kPlentyMs = 10'000;

const Bytes kCommand{contract::kDeviceCommand};
const Bytes kLongCommand(19, 0xFE);
// 9600 baud: start bit, 8 data bits, two stop bits.
constexpr double kByteMs = 11 / 9.6;

TEST(SerialPortContract, APortThatWasNeverOpenedDoesNothing) {
  SerialPort port;
  EXPECT_FALSE(port.IsOpen());
  EXPECT_FALSE(port.Write(kCommand));
  EXPECT_FALSE(port.AwaitSent());
  std::array<std::uint8_t, 4> buffer{};
  EXPECT_EQ(port.Read(buffer, 0), 0u);
  port.ClearReceiveBuffer();
  port.DropUnsent();
  port.SetLines({true, true});
  port.Close();
  port.Close();
  EXPECT_FALSE(port.IsOpen());
  EXPECT_EQ(port.OpenError(), 0);
}

TEST(SerialPortContract, NumbersBelowOneAreNoPort) {
  SerialPort port;
  for (const std::int32_t number : {0, -1}) {
    EXPECT_FALSE(port.Open(number, SerialSettings{}, {}));
    EXPECT_EQ(port.OpenError(), platform::kPortMissing);
  }
  EXPECT_FALSE(port.IsOpen());
}

TEST(SerialPortContract, ANumberWithoutAPortCannotBeOpened) {
  SerialPort port;
  EXPECT_FALSE(port.Open(contract::MissingPort(), SerialSettings{}, {}));
  EXPECT_EQ(port.OpenError(), platform::kPortMissing);
  EXPECT_FALSE(port.IsOpen());
}

class SerialDeviceContract : public testing::Test {
 protected:
  void SetUp() override {
    if (!contract::HasSerialDevice()) GTEST_SKIP() << "no serial port was made available";
    contract::ResetDevice();
  }
  void TearDown() override {
    port_.Close();
    if (contract::HasSerialDevice()) contract::ResetDevice();
  }
  bool Open(ModemLines lines = {}) {
    return port_.Open(contract::DevicePort(), SerialSettings{}, lines);
  }
  Bytes Read(std::size_t count, std::int32_t timeout_ms) {
    Bytes buffer(count);
    buffer.resize(port_.Read(buffer, timeout_ms));
    return buffer;
  }

  SerialPort port_;
};

TEST_F(SerialDeviceContract, AnOpenedPortIsOpenUntilItIsClosed) {
  ASSERT_TRUE(Open());
  EXPECT_TRUE(port_.IsOpen());
  port_.Close();
  EXPECT_FALSE(port_.IsOpen());
  EXPECT_TRUE(Open());
}

TEST_F(SerialDeviceContract, APortInUseCannotBeOpenedByAnother) {
  const bool refused = contract::SystemGuardsPorts();
  ASSERT_TRUE(Open());
  SerialPort other;
  EXPECT_EQ(other.Open(contract::DevicePort(), SerialSettings{}, {}), !refused);
  EXPECT_EQ(other.OpenError(), refused ? platform::kPortInUse : 0);
  EXPECT_EQ(other.IsOpen(), !refused);
  EXPECT_TRUE(port_.IsOpen());
}

TEST_F(SerialDeviceContract, OpeningAnOpenPortAgainOpensItAfresh) {
  ASSERT_TRUE(Open());
  EXPECT_TRUE(Open());
  EXPECT_TRUE(port_.IsOpen());
}

TEST_F(SerialDeviceContract, AnOpeningThatFailsLeavesThePortClosed) {
  ASSERT_TRUE(Open());
  EXPECT_FALSE(port_.Open(contract::MissingPort(), SerialSettings{}, {}));
  EXPECT_FALSE(port_.IsOpen());
}

TEST_F(SerialDeviceContract, TheCauseOfAFailedOpeningStandsUntilTheNextOne) {
  EXPECT_FALSE(port_.Open(contract::MissingPort(), SerialSettings{}, {}));
  port_.Close();
  EXPECT_EQ(port_.OpenError(), platform::kPortMissing);
  ASSERT_TRUE(Open());
  EXPECT_EQ(port_.OpenError(), 0);
  port_.Close();
  EXPECT_EQ(port_.OpenError(), 0);
}

TEST_F(SerialDeviceContract, SettingsThatThePortRefusesLeaveItClosedAndFree) {
  contract::WithRefusedSettings([this](const SerialSettings& settings) {
    EXPECT_FALSE(port_.Open(contract::DevicePort(), settings, {}));
    for (const std::int32_t other : {0, platform::kPortMissing, platform::kPortInUse}) {
      EXPECT_NE(port_.OpenError(), other);
    }
  });
  EXPECT_FALSE(port_.IsOpen());
  SerialPort other;
  EXPECT_TRUE(other.Open(contract::DevicePort(), SerialSettings{}, {}));
}

TEST_F(SerialDeviceContract, EveryByteReachesTheDeviceUnchanged) {
  ASSERT_TRUE(Open());
  // Among them the bytes that a driver might take for flow control, line ends or an end of file.
  const Bytes command{0xFE, 0x00, 0x11, 0x13, 0x0A, 0x0D, 0x1A, 0xFF, 0x7F, 0x03, 0x04, 0x1C};
  EXPECT_TRUE(port_.Write(command));
  EXPECT_EQ(contract::DeviceReceived(command.size()), command);
}

TEST_F(SerialDeviceContract, EveryByteOfTheReplyArrivesUnchanged) {
  const Bytes reply{0xA6, 0x00, 0x11, 0x13, 0x0A, 0x0D, 0x1A, 0xFF, 0x7F, 0x03, 0x04, 0x1C};
  ASSERT_TRUE(Open());
  contract::DeviceAnswers(reply);
  EXPECT_TRUE(port_.Write(kCommand));
  EXPECT_EQ(Read(1, kPlentyMs), Bytes{0xA6});
  EXPECT_EQ(Read(reply.size() - 1, kPlentyMs), Bytes(reply.begin() + 1, reply.end()));
}

TEST_F(SerialDeviceContract, WritingNothingSucceeds) {
  ASSERT_TRUE(Open());
  EXPECT_TRUE(port_.Write({}));
  EXPECT_EQ(contract::DeviceReceived(0), Bytes{});
}

TEST_F(SerialDeviceContract, WhatIsSentIsWaitedForUntilItHasPassedTheWire) {
  ASSERT_TRUE(Open());
  const double begin = MonotonicMs();
  EXPECT_TRUE(port_.Write(kLongCommand));
  EXPECT_TRUE(port_.Write(kCommand));
  EXPECT_TRUE(port_.AwaitSent());
  const double bytes = static_cast<double>(kLongCommand.size() + kCommand.size());
  EXPECT_GE(MonotonicMs() - begin, bytes * kByteMs - 1);
  EXPECT_LT(MonotonicMs() - begin, kPlentyMs / 2.0);
  EXPECT_EQ(contract::DeviceReceived(kLongCommand.size() + kCommand.size()).back(), kCommand[0]);
}

TEST_F(SerialDeviceContract, AWaitForNothingSentIsShort) {
  ASSERT_TRUE(Open());
  const double begin = MonotonicMs();
  EXPECT_TRUE(port_.AwaitSent());
  EXPECT_LT(MonotonicMs() - begin, kFirstByteMs);
}

TEST_F(SerialDeviceContract, WhatWasWaitedForOutlivesTheClosing) {
  contract::DeviceTakesItsTime();
  ASSERT_TRUE(Open());
  EXPECT_TRUE(port_.Write(kLongCommand));
  EXPECT_TRUE(port_.AwaitSent());
  port_.Close();
  EXPECT_EQ(contract::DeviceReceived(kLongCommand.size()), kLongCommand);
}

TEST_F(SerialDeviceContract, AVanishedPortHasNotSentWhatWasWritten) {
  ASSERT_TRUE(Open());
  EXPECT_TRUE(port_.Write(kCommand));
  contract::DeviceVanishes();
  EXPECT_FALSE(port_.AwaitSent());
}

TEST_F(SerialDeviceContract, AFullBufferEndsTheReadEarly) {
  ASSERT_TRUE(Open());
  contract::DeviceSends({1, 2, 3});
  const double begin = MonotonicMs();
  EXPECT_EQ(Read(2, kPlentyMs), (Bytes{1, 2}));
  EXPECT_LT(MonotonicMs() - begin, kPlentyMs / 2);
  EXPECT_EQ(Read(1, kPlentyMs), (Bytes{3}));
}

TEST_F(SerialDeviceContract, ASilentDeviceIsWaitedForUntilTheLimit) {
  ASSERT_TRUE(Open());
  const double begin = MonotonicMs();
  EXPECT_EQ(Read(1, kSilentMs), Bytes{});
  EXPECT_GE(MonotonicMs() - begin, kSilentMs - contract::kTickMs);
  EXPECT_LT(MonotonicMs() - begin, 2 * kSilentMs - contract::kTickMs);
}

TEST_F(SerialDeviceContract, AShortReplyIsHandedOverAtTheLimit) {
  ASSERT_TRUE(Open());
  contract::DeviceSends({1, 2, 3});
  const double begin = MonotonicMs();
  EXPECT_EQ(Read(19, kFirstByteMs), (Bytes{1, 2, 3}));
  EXPECT_GE(MonotonicMs() - begin, kFirstByteMs - contract::kTickMs);
}

TEST_F(SerialDeviceContract, AByteThatComesAfterTheLimitIsNotLost) {
  ASSERT_TRUE(Open());
  EXPECT_EQ(Read(1, kFirstByteMs), Bytes{});
  contract::DeviceSends({0x55});
  EXPECT_EQ(Read(1, kPlentyMs), Bytes{0x55});
}

TEST_F(SerialDeviceContract, WithoutALimitOnlyWhatIsThereIsRead) {
  ASSERT_TRUE(Open());
  EXPECT_EQ(Read(4, 0), Bytes{});
  contract::DeviceSends({7, 8});
  EXPECT_EQ(Read(1, kPlentyMs), Bytes{7});
  EXPECT_EQ(Read(4, 0), Bytes{8});
}

// The end of a wait may meet the arrival of a byte, each time at another moment.
TEST_F(SerialDeviceContract, WithoutALimitNothingIsLostAndNothingHangsHoweverOften) {
  ASSERT_TRUE(Open());
  for (int round = 0; round < 100; ++round) {
    ASSERT_EQ(Read(4, 0), Bytes{}) << round;
    contract::DeviceSends({7, 8});
    ASSERT_EQ(Read(1, kPlentyMs), Bytes{7}) << round;
    ASSERT_EQ(Read(4, 0), Bytes{8}) << round;
  }
}

TEST_F(SerialDeviceContract, ReadingIntoNothingReturnsAtOnce) {
  ASSERT_TRUE(Open());
  const double begin = MonotonicMs();
  EXPECT_EQ(Read(0, kPlentyMs), Bytes{});
  EXPECT_LT(MonotonicMs() - begin, kPlentyMs / 2);
}

TEST_F(SerialDeviceContract, ClearingDropsWhatHasNotBeenRead) {
  ASSERT_TRUE(Open());
  contract::DeviceSends({1, 2, 3});
  ASSERT_EQ(Read(1, kPlentyMs), Bytes{1});
  port_.ClearReceiveBuffer();
  EXPECT_EQ(Read(1, kFirstByteMs), Bytes{});
}

TEST_F(SerialDeviceContract, WhatWasSentBeforeThePortOpenedAgainIsNotRead) {
  ASSERT_TRUE(Open());
  contract::DeviceSends({1, 2, 3});
  ASSERT_EQ(Read(1, kPlentyMs), Bytes{1});
  port_.Close();
  ASSERT_TRUE(Open());
  port_.ClearReceiveBuffer();
  EXPECT_EQ(Read(1, kFirstByteMs), Bytes{});
}

TEST_F(SerialDeviceContract, AReadDispatchesNoMessage) {
  ASSERT_TRUE(Open());
  bool ran = false;
  contract::PostCall([&] { ran = true; });
  EXPECT_EQ(Read(1, kFirstByteMs), Bytes{});
  EXPECT_FALSE(ran);
  platform::YieldingWait().Turn(0);
  EXPECT_TRUE(ran);
}

TEST_F(SerialDeviceContract, AVanishedPortIsSilentAndSwallowsWhatIsWritten) {
  ASSERT_TRUE(Open());
  contract::DeviceVanishes();
  port_.ClearReceiveBuffer();
  port_.SetLines({true, false});
  port_.Write(kCommand);
  const double begin = MonotonicMs();
  EXPECT_EQ(Read(1, kFirstByteMs), Bytes{});
  EXPECT_GE(MonotonicMs() - begin, kFirstByteMs - contract::kTickMs);
  EXPECT_TRUE(port_.IsOpen());
}

TEST_F(SerialDeviceContract, AVanishedPortClosesAtOnce) {
  ASSERT_TRUE(Open());
  contract::DeviceVanishes();
  port_.Write(kCommand);
  const double begin = MonotonicMs();
  port_.Close();
  EXPECT_LT(MonotonicMs() - begin, kPlentyMs / 2);
  EXPECT_FALSE(port_.IsOpen());
}

TEST_F(SerialDeviceContract, AVanishedPortCannotBeOpenedUntilItIsBack) {
  ASSERT_TRUE(Open());
  contract::DeviceVanishes();
  port_.Close();
  EXPECT_FALSE(Open());
  EXPECT_EQ(port_.OpenError(), platform::kPortMissing);
  contract::DeviceComesBack();
  ASSERT_TRUE(Open());
  contract::DeviceSends({0x42});
  EXPECT_EQ(Read(1, kPlentyMs), Bytes{0x42});
}

TEST_F(SerialDeviceContract, APortStaysDeadUntilItIsOpenedAgain) {
  ASSERT_TRUE(Open());
  contract::DeviceVanishes();
  contract::DeviceComesBack();
  EXPECT_EQ(Read(1, kFirstByteMs), Bytes{});
  EXPECT_TRUE(Open());
}

TEST_F(SerialDeviceContract, TheLinesStandAsAskedAfterOpening) {
  for (const ModemLines lines : {ModemLines{false, false}, ModemLines{true, false},
                                 ModemLines{false, true}, ModemLines{true, true}}) {
    ASSERT_TRUE(Open(lines));
    EXPECT_TRUE(contract::DeviceSeesLines(lines)) << lines.dtr << lines.rts;
    port_.Close();
  }
}

TEST_F(SerialDeviceContract, OpeningWithTheLinesOffNeverPulsesThem) {
  ASSERT_TRUE(Open());
  ASSERT_TRUE(contract::DeviceSeesLines({}));
  port_.Close();
  contract::ResetDevice();
  ASSERT_TRUE(Open());
  ASSERT_TRUE(contract::DeviceSeesLines({}));
  for (const ModemLines lines : contract::LineHistoryAtDevice()) EXPECT_EQ(lines, ModemLines{});
}

TEST_F(SerialDeviceContract, OpeningAfterASessionWithTheLinesOnDoesNotPulseThemEither) {
  ASSERT_TRUE(Open({true, true}));
  port_.Close();
  ASSERT_TRUE(contract::DeviceSeesLines({}));
  const std::size_t before = contract::LineHistoryAtDevice().size();
  ASSERT_TRUE(Open());
  ASSERT_TRUE(contract::DeviceSeesLines({}));
  const auto history = contract::LineHistoryAtDevice();
  for (std::size_t i = before; i < history.size(); ++i) EXPECT_EQ(history[i], ModemLines{});
}

TEST_F(SerialDeviceContract, TheLinesGoOffWhenThePortCloses) {
  for (const ModemLines lines : {ModemLines{true, false}, ModemLines{true, true}}) {
    ASSERT_TRUE(Open(lines));
    ASSERT_TRUE(contract::DeviceSeesLines(lines));
    port_.Close();
    EXPECT_TRUE(contract::DeviceSeesLines({}));
  }
}

TEST_F(SerialDeviceContract, TheLinesFollowWhatIsSet) {
  ASSERT_TRUE(Open());
  for (const ModemLines lines : {ModemLines{true, false}, ModemLines{true, true},
                                 ModemLines{false, true}, ModemLines{false, false}}) {
    port_.SetLines(lines);
    EXPECT_TRUE(contract::DeviceSeesLines(lines)) << lines.dtr << lines.rts;
  }
}

TEST_F(SerialDeviceContract, TheLinesStandWhileBytesGoToAndFro) {
  constexpr ModemLines kSupply{true, false};
  ASSERT_TRUE(Open(kSupply));
  ASSERT_TRUE(contract::DeviceSeesLines(kSupply));
  contract::DeviceAnswers({1});
  EXPECT_TRUE(port_.Write(kCommand));
  EXPECT_EQ(Read(1, kPlentyMs), Bytes{1});
  port_.ClearReceiveBuffer();
  EXPECT_TRUE(contract::DeviceSeesLines(kSupply));
  EXPECT_EQ(contract::LineHistoryAtDevice().back(), kSupply);
}

}  // namespace
}  // namespace qmzentrel
