// What the port asks of its driver, and how it fares with one that has the habits of real drivers.
#include <gtest/gtest.h>

#include <array>
#include <string>

#include "platform/serial_port.h"
#include "tests/contract/driver_model.h"
#include "tests/contract/harness.h"

namespace qmzentrel {
namespace {

using contract::DriverModel;
using contract::MonotonicMs;
using platform::ModemLines;
using platform::SerialPort;
using platform::SerialSettings;
using Bytes = std::vector<std::uint8_t>;

constexpr std::int32_t kReadMs = 400;
constexpr std::int32_t kAmpleMs = 10'000;
constexpr double kWriteMs = 1000;
// For a driver that ends a request late, or not before it is cancelled; on a busy machine.
constexpr double kBackstopMs = 2500;
// A stuck driver is given up after that.
constexpr double kGivenUpMs = 5000;

const Bytes kFrame{0x7E, 0x00, 0xC9, 0x0F, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};

class SerialDriver : public testing::Test {
 protected:
  void SetUp() override {
    Driver().Reset();
    ASSERT_TRUE(Open());
  }
  void TearDown() override {
    Driver().SetHabits({});
    port.Close();
    Driver().Reset();
  }

  static DriverModel& Driver() { return DriverModel::The(); }
  bool Open(ModemLines lines = {}) {
    return port.Open(DriverModel::kPort, SerialSettings{}, lines);
  }
  Bytes Read(std::size_t count, std::int32_t timeout_ms) {
    Bytes buffer(count);
    buffer.resize(port.Read(buffer, timeout_ms));
    return buffer;
  }
  template <class Action>
  static double MsOf(Action action) {
    const double begin = MonotonicMs();
    action();
    return MonotonicMs() - begin;
  }

  SerialPort port;
};

// --- What is asked of every driver ---

// As the operating system wants its ports opened.
TEST_F(SerialDriver, IsOpenedToReadAndToWriteForOneProgramAlone) {
  const DriverModel::Opening expected{.access = GENERIC_READ | GENERIC_WRITE,
                                      .share_mode = 0,
                                      .disposition = OPEN_EXISTING,
                                      .flags = FILE_FLAG_OVERLAPPED};
  EXPECT_EQ(Driver().Seen().openings, std::vector{expected});
}

TEST_F(SerialDriver, IsToldEverySettingAndInheritsNone) {
  const auto blocks = Driver().Seen().control_blocks;
  ASSERT_EQ(blocks.size(), 1u);
  DCB expected{};
  expected.DCBlength = sizeof expected;
  expected.BaudRate = CBR_9600;
  expected.fBinary = TRUE;
  expected.ByteSize = 8;
  expected.Parity = NOPARITY;
  expected.StopBits = TWOSTOPBITS;
  expected.XonChar = 0x11;
  expected.XoffChar = 0x13;
  const auto bytes_of = [](const DCB& block) {
    return std::string(reinterpret_cast<const char*>(&block), sizeof block);
  };
  EXPECT_EQ(bytes_of(blocks[0]), bytes_of(expected));
}

TEST_F(SerialDriver, IsToldTheParityOfTheLink) {
  ASSERT_TRUE(port.Open(DriverModel::kPort, SerialSettings{.parity = EVENPARITY}, {}));
  EXPECT_EQ(Driver().Seen().control_blocks.back().Parity, EVENPARITY);
}

TEST_F(SerialDriver, HasLimitsOfItsOwnForReadsAndWritesFromTheStart) {
  const COMMTIMEOUTS limits = Driver().Limits();
  EXPECT_EQ(limits.ReadIntervalTimeout, 0u);
  EXPECT_EQ(limits.ReadTotalTimeoutMultiplier, 0u);
  EXPECT_GT(limits.ReadTotalTimeoutConstant, 0u);
  EXPECT_EQ(limits.WriteTotalTimeoutMultiplier, 0u);
  EXPECT_EQ(limits.WriteTotalTimeoutConstant, kWriteMs);
}

TEST_F(SerialDriver, IsHandedEachLineOnlyWhenItIsOnOrGoesOff) {
  struct {
    ModemLines lines;
    std::vector<DWORD> calls;
  } const kSteps[] = {{{}, {}},
                      {{.dtr = true}, {SETDTR}},
                      {{.dtr = true}, {SETDTR}},  // a driver may have dropped it meanwhile
                      {{.dtr = true, .rts = true}, {SETDTR, SETRTS}},
                      {{.rts = true}, {CLRDTR, SETRTS}},
                      {{}, {CLRRTS}},
                      {{}, {}}};
  std::vector<DWORD> expected;
  for (const auto& step : kSteps) {
    port.SetLines(step.lines);
    expected.insert(expected.end(), step.calls.begin(), step.calls.end());
    EXPECT_EQ(Driver().Seen().line_functions, expected);
  }
}

constexpr ModemLines kSupplied{.dtr = true};
constexpr ModemLines kBothLines{.dtr = true, .rts = true};

// The port while a command sets the lines before its exchange and after it.
class SuppliedPort : public SerialDriver {
 protected:
  // Whether the driver is told of them.
  bool Sets(ModemLines lines) {
    const auto before = Driver().Seen().line_functions.size();
    port.SetLines(lines);
    return Driver().Seen().line_functions.size() > before;
  }
  // Of `count` bytes, of which the device sends `sent`.
  void Exchange(std::size_t count, std::size_t sent) {
    Driver().AnswerNext(Bytes(sent, 1));
    port.ClearReceiveBuffer();
    port.Write(Bytes{contract::kDeviceCommand});
    Read(count, kReadMs);
  }
  void Answered() { Exchange(7, 7); }
};

TEST_F(SuppliedPort, IsNotSetOnceMoreWhenAWholeReplyHasJustCome) {
  int spared = 0;
  for (int command = 0; command < 10; ++command) {
    EXPECT_TRUE(Sets(kSupplied)) << "at the start of every command";
    Answered();
    if (!Sets(kSupplied)) ++spared;
  }
  EXPECT_GE(spared, 5) << "not all: a busy machine may let too long pass";
  EXPECT_TRUE(Sets(kSupplied));
}

TEST_F(SuppliedPort, IsSetAgainForTheNextCommandWhenTheDriverHasDroppedIt) {
  EXPECT_TRUE(Sets(kSupplied));
  Answered();
  Driver().DropLines();
  Sets(kSupplied);
  EXPECT_TRUE(Sets(kSupplied));
  EXPECT_EQ(Driver().Lines(), kSupplied);
}

TEST_F(SuppliedPort, IsSetAgainSomeTimeAfterAReply) {
  Sets(kSupplied);
  Answered();
  Driver().DropLines();
  Sleep(400);
  EXPECT_TRUE(Sets(kSupplied));
  EXPECT_EQ(Driver().Lines(), kSupplied);
}

TEST_F(SuppliedPort, IsSetAgainAfterAReplyThatIsNotWhole) {
  for (const std::size_t sent : {std::size_t{0}, std::size_t{6}}) {
    Sets(kSupplied);
    Answered();
    Exchange(7, sent);
    EXPECT_TRUE(Sets(kSupplied)) << sent;
  }
}

TEST_F(SuppliedPort, IsSetToOtherLinesAfterAReply) {
  Sets(kSupplied);
  Answered();
  EXPECT_TRUE(Sets(kBothLines));
  Answered();
  EXPECT_TRUE(Sets({}));
  EXPECT_EQ(Driver().Lines(), ModemLines{});
}

TEST_F(SuppliedPort, IsSetAgainAfterAReplyWhenTheDriverHasRefused) {
  Sets(kSupplied);
  Driver().DropLines();
  Driver().SetHabits({.refuses_lines = true});
  Sets(kSupplied);
  Driver().SetHabits({});
  Answered();
  EXPECT_TRUE(Sets(kSupplied));
  EXPECT_EQ(Driver().Lines(), kSupplied);
}

TEST_F(SuppliedPort, IsSetAgainWhenItIsOpenedAgain) {
  Sets(kSupplied);
  Answered();
  port.Close();
  ASSERT_TRUE(Open());
  EXPECT_TRUE(Sets(kSupplied));
  Answered();
  ASSERT_TRUE(Open(kSupplied));
  EXPECT_EQ(Driver().Lines(), kSupplied);
}

TEST_F(SuppliedPort, IsSetAgainWhenItWasGone) {
  Sets(kSupplied);
  Answered();
  Driver().Vanish();
  Sets(kSupplied);
  Driver().ComeBack();
  port.Close();
  ASSERT_TRUE(Open());
  EXPECT_TRUE(Sets(kSupplied));
  EXPECT_EQ(Driver().Lines(), kSupplied);
}

// A client leaves the supply on between its commands, and sets nothing before one.
TEST_F(SuppliedPort, HasItsLinesBackForACommandWhenTheDriverHasDroppedThemMeanwhile) {
  Sets(kBothLines);
  Answered();
  Driver().DropLines();
  Sleep(400);
  Answered();
  EXPECT_EQ(Driver().Lines(), kBothLines);
}

TEST_F(SuppliedPort, HasLinesForTheNextCommandThatTheDriverDidNotTakeAtOnce) {
  Driver().SetHabits({.refuses_lines = true});
  Sets(kSupplied);
  Driver().SetHabits({});
  Sleep(400);
  Answered();
  EXPECT_EQ(Driver().Lines(), kSupplied);
}

TEST_F(SuppliedPort, IsNotSetByACommandRightAfterItWasSetOrHasAnswered) {
  int spared = 0;
  for (int command = 0; command < 10; ++command) {
    Sets(kSupplied);
    const auto before = Driver().Seen().line_functions.size();
    Answered();
    Answered();
    if (Driver().Seen().line_functions.size() == before) ++spared;
  }
  EXPECT_GE(spared, 5) << "not all: a busy machine may let too long pass";
}

TEST_F(SuppliedPort, KeepsItsLinesOffInACommand) {
  Sets(kSupplied);
  Sets({});
  Sleep(400);
  const auto before = Driver().Seen().line_functions.size();
  Answered();
  EXPECT_EQ(Driver().Seen().line_functions.size(), before);
  EXPECT_EQ(Driver().Lines(), ModemLines{});
}

// A program that is ended by force closes nothing.
TEST_F(SerialDriver, NeverGetsAControlBlockWithALineOn) {
  ASSERT_TRUE(Open({.dtr = true, .rts = true}));
  EXPECT_EQ(Driver().Lines(), (ModemLines{.dtr = true, .rts = true}));
  const auto before = Driver().Seen().control_blocks.size();
  port.Close();
  const auto blocks = Driver().Seen().control_blocks;
  EXPECT_EQ(blocks.size(), before + 1) << "one more before the closing";
  for (const DCB& block : blocks) {
    EXPECT_EQ(block.fDtrControl, DWORD{DTR_CONTROL_DISABLE});
    EXPECT_EQ(block.fRtsControl, DWORD{RTS_CONTROL_DISABLE});
  }
}

TEST_F(SerialDriver, IsAskedNothingBeyondItsWorkInAnExchange) {
  Driver().AnswerNext({1, 2, 3, 4, 5, 6, 7});
  ASSERT_TRUE(port.Write(Bytes{contract::kDeviceCommand}));
  EXPECT_EQ(Read(1, 2500), Bytes{1});
  EXPECT_EQ(Read(6, 12500), (Bytes{2, 3, 4, 5, 6, 7}));
  const auto seen = Driver().Seen();
  EXPECT_EQ(seen.writes, 1);
  EXPECT_EQ(seen.reads, 2);
  EXPECT_EQ(seen.limit_changes, 1) << "at the opening";
  EXPECT_EQ(seen.status_questions, 0);
  EXPECT_EQ(seen.cancels, 0);
}

TEST_F(SerialDriver, HasNoLongerLimitThanAShortWait) {
  EXPECT_EQ(Read(1, 100), Bytes{});
  EXPECT_LE(Driver().Limits().ReadTotalTimeoutConstant, 100u);
}

TEST_F(SerialDriver, HasItsUsualLimitsBackAfterAWaitThatRanOut) {
  EXPECT_EQ(Read(1, 3), Bytes{});
  Driver().SetHabits({.most_held = 0});
  EXPECT_FALSE(port.Write(kFrame));
  Driver().SetHabits({});
  const int before = Driver().Seen().reads;
  Driver().AnswerNext({1, 2, 3, 4, 5, 6, 7});
  ASSERT_TRUE(port.Write(Bytes{contract::kDeviceCommand}));
  EXPECT_EQ(Driver().Limits().WriteTotalTimeoutConstant, kWriteMs);
  EXPECT_EQ(Read(1, 2500), Bytes{1});
  EXPECT_GE(Driver().Limits().ReadTotalTimeoutConstant, 500u);
  EXPECT_EQ(Driver().Seen().reads - before, 1);
}

// --- Openings ---

TEST_F(SerialDriver, ThatRefusesItsSettingsHasItsReasonKept) {
  port.Close();
  Driver().SetHabits({.refuses_settings = ERROR_NOT_READY});
  EXPECT_FALSE(Open());
  EXPECT_EQ(port.OpenError(), ERROR_NOT_READY);
}

TEST_F(SerialDriver, ThatGivesNoReasonHasFailedAllTheSame) {
  port.Close();
  Driver().SetHabits({.refuses_settings = ERROR_SUCCESS});
  EXPECT_FALSE(Open());
  EXPECT_FALSE(port.IsOpen());
  EXPECT_EQ(port.OpenError(), ERROR_GEN_FAILURE);
}

TEST_F(SerialDriver, ThatTakesNoFlowLimitsButItsOwnIsToldEverythingElse) {
  port.Close();
  const auto before = Driver().Seen().control_blocks.size();
  Driver().SetHabits({.takes_other_flow_limits = false});
  ASSERT_TRUE(Open()) << port.OpenError();
  const auto blocks = Driver().Seen().control_blocks;
  ASSERT_EQ(blocks.size(), before + 1);
  EXPECT_EQ(blocks.back().BaudRate, DWORD{CBR_9600});
  EXPECT_EQ(blocks.back().StopBits, TWOSTOPBITS);
  EXPECT_EQ(blocks.back().fDtrControl, DWORD{DTR_CONTROL_DISABLE});
  Driver().Send({7});
  EXPECT_EQ(Read(1, kAmpleMs), Bytes{7});
}

// --- Reads ---

TEST_F(SerialDriver, EndsAReadByItsOwnLimitSoThatNothingThatCameIsLost) {
  Driver().Send({1, 2, 3});
  EXPECT_EQ(Read(19, kReadMs), (Bytes{1, 2, 3}));
  EXPECT_EQ(Driver().Seen().cancels, 0);
}

TEST_F(SerialDriver, IsAskedOnceOrTwiceInASilentWaitHoweverLong) {
  for (const std::int32_t limit : {2500, 500, 20, 1200}) {
    const auto before = Driver().Seen();
    const double waited = MsOf([&] { EXPECT_EQ(Read(1, limit), Bytes{}); });
    EXPECT_GE(waited, limit - contract::kTickMs);
    EXPECT_LT(waited, limit + kBackstopMs);
    const auto after = Driver().Seen();
    EXPECT_LE(after.reads - before.reads, 2) << limit;
    EXPECT_LE(after.status_questions - before.status_questions, 1) << "between them " << limit;
  }
  EXPECT_EQ(Driver().Seen().cancels, 0);
}

// As ports at the other end of a network do, whose requests end with an error at their limit.
TEST_F(SerialDriver, ThatCannotTellItsStatusIsWaitedForToTheEnd) {
  struct Later {
    static DWORD WINAPI Run(void*) {
      Sleep(700);  // in the second request of the wait
      Driver().Send({5});
      return 0;
    }
  };
  for (const bool fails : {false, true}) {
    Driver().SetHabits({.fails_at_its_limits = fails, .refuses_status = ERROR_IO_DEVICE});
    const HANDLE thread = CreateThread(nullptr, 0, &Later::Run, nullptr, 0, nullptr);
    EXPECT_EQ(Read(1, 2500), Bytes{5}) << fails;
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
  }
}

// A machine may stand still at any place, and a port at the other end of a network answers late.
// What came in time must count all the same.
TEST_F(SerialDriver, IsAskedForWhatCameInTimeWhereTheLimitHasPassedSinceItWasAskedLast) {
  // Between the first request, which ends after 500 ms, and the end of the wait.
  Driver().SetHabits({.status_ms = 900, .arrives_then = 5});
  EXPECT_EQ(Read(1, 1000), Bytes{5});
  EXPECT_EQ(Driver().Seen().reads, 2);
}

// As some in software do, whatever limits they were told.
TEST_F(SerialDriver, WhoseReadsNeverWaitIsAskedAgainAtItsEaseUntilAllHasCome) {
  struct Batches {
    static DWORD WINAPI Run(void*) {
      for (std::uint8_t first = 1; first < 20; first += 5) {
        Sleep(50);
        Driver().Send({first, 0, 0, 0, 0});
      }
      return 0;
    }
  };
  Driver().SetHabits({.reads_wait = false});
  const HANDLE thread = CreateThread(nullptr, 0, &Batches::Run, nullptr, 0, nullptr);
  EXPECT_EQ(Read(1, 2500), Bytes{1});
  EXPECT_EQ(Read(19, 12500).size(), 19U);
  WaitForSingleObject(thread, INFINITE);
  CloseHandle(thread);
  const int before = Driver().Seen().reads;
  EXPECT_GE(MsOf([&] { EXPECT_EQ(Read(1, kReadMs), Bytes{}); }), kReadMs - contract::kTickMs);
  EXPECT_LE(Driver().Seen().reads - before, kReadMs / 5);
}

TEST_F(SerialDriver, ThatKnowsNoLimitsHasItsReadCancelled) {
  Driver().SetHabits({.cancelled_reads_give_nothing = false, .keeps_its_limits = false});
  Driver().Send({1, 2, 3});
  Bytes got;
  const double waited = MsOf([&] { got = Read(19, kReadMs); });
  EXPECT_EQ(got, (Bytes{1, 2, 3}));
  EXPECT_GE(waited, kReadMs - contract::kTickMs);
  EXPECT_LT(waited, kReadMs + kBackstopMs);
  EXPECT_GT(Driver().Seen().cancels, 0);
}

TEST_F(SerialDriver, ThatLosesACancelIsAskedAgain) {
  Driver().SetHabits({.keeps_its_limits = false, .loses_cancels = 2});
  EXPECT_LT(MsOf([&] { EXPECT_EQ(Read(1, kReadMs), Bytes{}); }), kReadMs + kBackstopMs);
  Driver().SetHabits({});
  Driver().Send({7});
  EXPECT_EQ(Read(1, kAmpleMs), Bytes{7});
}

TEST_F(SerialDriver, ThatNeverEndsARequestDoesNotHoldTheClient) {
  Driver().SetHabits({.keeps_its_limits = false, .never_ends_cancelled = true});
  EXPECT_LT(MsOf([&] { EXPECT_EQ(Read(1, kReadMs), Bytes{}); }), kReadMs + kGivenUpMs);

  // Dead, like a port that has vanished, until it is opened again.
  const auto seen = Driver().Seen();
  EXPECT_GE(MsOf([&] { EXPECT_EQ(Read(1, kReadMs), Bytes{}); }), kReadMs - contract::kTickMs);
  EXPECT_FALSE(port.Write(kFrame));
  EXPECT_FALSE(port.AwaitSent());
  EXPECT_EQ(Driver().Seen().reads, seen.reads);
  EXPECT_EQ(Driver().Seen().writes, seen.writes);
  EXPECT_TRUE(port.IsOpen());
  EXPECT_LT(MsOf([&] { port.Close(); }), kBackstopMs);

  Driver().SetHabits({});
  ASSERT_TRUE(Open());
  Driver().Send({7});
  EXPECT_EQ(Read(1, kAmpleMs), Bytes{7});
  EXPECT_TRUE(Driver().EndStuckRequests()) << "its memory must still be there";
  Driver().Send({8});
  EXPECT_EQ(Read(1, kAmpleMs), Bytes{8});
}

TEST_F(SerialDriver, ThatNeverEndsAWriteDoesNotHoldTheClient) {
  Driver().SetHabits({.keeps_its_limits = false, .never_ends_cancelled = true, .most_held = 0});
  EXPECT_LT(MsOf([&] { EXPECT_FALSE(port.Write(kFrame)); }), kWriteMs + kGivenUpMs);
  port.Close();
  EXPECT_TRUE(Driver().EndStuckRequests());
}

TEST_F(SerialDriver, ThatCannotDropWhatCameHasItReadAwayBeforeACommand) {
  for (const bool fails : {false, true}) {
    Driver().SetHabits({.fails_at_its_limits = fails, .purges = false});
    for (const std::size_t late : {std::size_t{1}, std::size_t{19}, std::size_t{200}}) {
      Driver().Send(Bytes(late, 0xEE));
      Driver().AnswerNext({1, 2, 3});
      port.ClearReceiveBuffer();
      ASSERT_TRUE(port.Write(Bytes{contract::kDeviceCommand}));
      EXPECT_EQ(Read(1, kAmpleMs), Bytes{1}) << late;
      EXPECT_EQ(Read(2, kAmpleMs), (Bytes{2, 3})) << late;
    }
  }
}

TEST_F(SerialDriver, ThatCannotDropAndIsNeverSilentDoesNotHoldACommand) {
  Driver().SetHabits({.purges = false});
  Driver().Send(Bytes(100'000, 0xEE));
  port.ClearReceiveBuffer();
  EXPECT_LE(Driver().Seen().reads, 100) << "of 64 bytes each";
}

TEST_F(SerialDriver, ThatHasVanishedHasNothingToDrop) {
  Driver().Vanish();
  EXPECT_LT(MsOf([&] { port.ClearReceiveBuffer(); }), kBackstopMs);
}

// Which the compiler's headers do not have.
constexpr long kErrorNoSuchDevice = 433;

// What drivers say of a device that was pulled out, or that the machine has lost in its sleep.
TEST_F(SerialDriver, ThatHasLostItsDeviceIsLeftAtOnceWhateverItSays) {
  for (const auto reason :
       {ERROR_INVALID_FUNCTION, ERROR_ACCESS_DENIED, ERROR_INVALID_HANDLE, ERROR_NOT_READY,
        ERROR_BAD_COMMAND, ERROR_GEN_FAILURE, ERROR_NOT_SUPPORTED, ERROR_DEV_NOT_EXIST,
        ERROR_INVALID_PARAMETER, ERROR_CALL_NOT_IMPLEMENTED, ERROR_SEM_TIMEOUT, kErrorNoSuchDevice,
        ERROR_OPERATION_ABORTED, ERROR_IO_DEVICE, ERROR_DEVICE_NOT_CONNECTED,
        ERROR_DEVICE_REMOVED}) {
    Driver().SetHabits({.reason_when_gone = static_cast<DWORD>(reason)});
    Driver().Vanish();
    EXPECT_LT(MsOf([&] { EXPECT_FALSE(port.Write(kFrame)); }), kWriteMs / 2) << reason;
    EXPECT_LT(MsOf([&] { EXPECT_FALSE(port.AwaitSent()); }), kWriteMs / 2) << reason;
    const int reads = Driver().Seen().reads;
    EXPECT_GE(MsOf([&] { EXPECT_EQ(Read(1, kReadMs), Bytes{}); }), kReadMs - contract::kTickMs);
    EXPECT_LE(Driver().Seen().reads - reads, 1) << reason;
    Driver().ComeBack();
    ASSERT_TRUE(Open()) << reason;
    EXPECT_TRUE(port.Write(kFrame)) << reason;
  }
}

// --- Line errors ---

TEST_F(SerialDriver, ThatEndsAReadOnALineErrorIsAskedAgainWithinTheLimit) {
  struct Later {
    static DWORD WINAPI Run(void*) {
      Sleep(50);
      Driver().FailLine();
      Sleep(50);
      Driver().Send({1, 2});
      return 0;
    }
  };
  const HANDLE thread = CreateThread(nullptr, 0, &Later::Run, nullptr, 0, nullptr);
  EXPECT_EQ(Read(2, kAmpleMs), (Bytes{1, 2}));
  WaitForSingleObject(thread, INFINITE);
  CloseHandle(thread);
}

TEST_F(SerialDriver, ThatRefusesEverythingAfterALineErrorIsCleared) {
  Driver().FailLine();
  EXPECT_TRUE(port.Write(kFrame));
  EXPECT_EQ(Driver().Received(kFrame.size()), kFrame);
  Driver().FailLine();
  Driver().Send({9});
  EXPECT_EQ(Read(1, kAmpleMs), Bytes{9});
  Driver().FailLine();
  EXPECT_GE(MsOf([&] { EXPECT_EQ(Read(1, kReadMs), Bytes{}); }), kReadMs - contract::kTickMs);
}

TEST_F(SerialDriver, ThatCannotBeClearedCostsNoProcessorTime) {
  Driver().SetHabits({.refuses_status = ERROR_INVALID_FUNCTION});
  Driver().FailLine();
  EXPECT_EQ(Read(1, kReadMs), Bytes{});
  EXPECT_LE(Driver().Seen().reads, kReadMs / 5);
}

// --- Writes ---

TEST_F(SerialDriver, ThatTakesAWriteInPartsIsHandedTheRest) {
  Driver().SetHabits({.most_of_a_write = 5});
  EXPECT_TRUE(port.Write(kFrame));
  EXPECT_EQ(Driver().Received(kFrame.size()), kFrame);
}

TEST_F(SerialDriver, ThatTakesNothingEndsAWriteAfterASecondByItsOwnLimit) {
  Driver().SetHabits({.most_held = 0});
  const double waited = MsOf([&] { EXPECT_FALSE(port.Write(kFrame)); });
  EXPECT_GE(waited, kWriteMs - contract::kTickMs);
  EXPECT_LT(waited, kWriteMs + kBackstopMs);
  EXPECT_EQ(Driver().Seen().cancels, 0);
  EXPECT_LE(Driver().Seen().writes, 2);
  EXPECT_EQ(Driver().Received(0), Bytes{});
}

TEST_F(SerialDriver, ThatTakesNothingAndKnowsNoLimitsHasItsWriteCancelled) {
  Driver().SetHabits({.keeps_its_limits = false, .most_held = 0});
  const double waited = MsOf([&] { EXPECT_FALSE(port.Write(kFrame)); });
  EXPECT_GE(waited, kWriteMs - contract::kTickMs);
  EXPECT_LT(waited, kWriteMs + kBackstopMs);
}

TEST_F(SerialDriver, IsWaitedForWhileItStillHoldsBytes) {
  Driver().SetHabits({.byte_ms = 5});
  ASSERT_TRUE(port.Write(kFrame));
  EXPECT_TRUE(port.AwaitSent());
  EXPECT_EQ(Driver().Received(0), kFrame) << "all have passed already";
}

// Most of the bytes are still to be sent when it is asked first, and all when it is asked again.
TEST_F(SerialDriver, ThatBeginsLateIsWaitedForUntilItsChipHasSentTheLastBytesToo) {
  Driver().SetHabits({.on_the_way_ms = 200, .uncounted = 16});
  const Bytes bytes(200, 0x55);
  ASSERT_TRUE(port.Write(bytes));
  EXPECT_TRUE(port.AwaitSent());
  EXPECT_EQ(Driver().Received(0), bytes);
}

TEST_F(SerialDriver, ThatNeverSendsWhatItHoldsIsWaitedForASecond) {
  Driver().SetHabits({.sends_nothing = true});
  ASSERT_TRUE(port.Write(kFrame));
  const double waited = MsOf([&] { EXPECT_FALSE(port.AwaitSent()); });
  EXPECT_GE(waited, kWriteMs - contract::kTickMs);
  EXPECT_LT(waited, kWriteMs + kBackstopMs);
  EXPECT_LT(MsOf([&] { port.Close(); }), kBackstopMs) << "what it holds is dropped";
}

TEST_F(SerialDriver, ThatStillHoldsBytesIsClosedAtOnce) {
  Driver().SetHabits({.sends_nothing = true});
  ASSERT_TRUE(port.Write(kFrame));
  EXPECT_LT(MsOf([&] { port.Close(); }), kBackstopMs);
}

TEST_F(SerialDriver, SendsNothingLaterOfWhatCountedAsNotSent) {
  Driver().SetHabits({.sends_nothing = true});
  ASSERT_TRUE(port.Write(kFrame));
  EXPECT_FALSE(port.AwaitSent());
  Driver().SetHabits({});
  const Bytes next{1, 2, 3};
  ASSERT_TRUE(port.Write(next));
  EXPECT_TRUE(port.AwaitSent());
  EXPECT_EQ(Driver().Received(next.size()), next);
}

TEST_F(SerialDriver, SendsNothingLaterOfWhatIsDropped) {
  Driver().SetHabits({.sends_nothing = true});
  ASSERT_TRUE(port.Write(kFrame));
  port.DropUnsent();
  Driver().SetHabits({});
  const Bytes next{1, 2, 3};
  ASSERT_TRUE(port.Write(next));
  EXPECT_TRUE(port.AwaitSent());
  EXPECT_EQ(Driver().Received(next.size()), next);
}

TEST_F(SerialDriver, SendsNothingLaterOfAFrameThatItTookOnlyInPart) {
  Driver().SetHabits({.most_held = 5, .sends_nothing = true});
  EXPECT_FALSE(port.Write(kFrame));
  Driver().SetHabits({});
  const Bytes next{1, 2, 3};
  ASSERT_TRUE(port.Write(next));
  EXPECT_TRUE(port.AwaitSent());
  EXPECT_EQ(Driver().Received(next.size()), next);
}

TEST_F(SerialDriver, ThatDoesNotCountWhatItHoldsIsGivenTheTimeOfTheWire) {
  for (const auto reason : {ERROR_INVALID_FUNCTION, ERROR_IO_DEVICE, ERROR_GEN_FAILURE}) {
    Driver().SetHabits({.refuses_status = static_cast<DWORD>(reason)});
    const std::size_t before = Driver().Received(0).size();
    ASSERT_TRUE(port.Write(kFrame));
    EXPECT_TRUE(port.AwaitSent()) << reason;
    EXPECT_EQ(Driver().Received(0).size() - before, kFrame.size()) << reason;
  }
}

}  // namespace
}  // namespace qmzentrel
