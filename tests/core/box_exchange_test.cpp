// One exchange with the box: sends, waits, resends, and the judgement of the reply.
#include "tests/core/core_test.h"
#include "tests/core/zentrel_access.h"

namespace qmzentrel::tests {
namespace {

constexpr std::uint8_t kElectric = 0xA6;
constexpr std::uint8_t kOther = 0xA5;

class BoxExchange : public ZentrelTest {
 protected:
  std::int32_t TxRx(std::int32_t expected, std::int32_t timeout) {
    tx[0] = 0x80;
    return ZentrelAccess::TxRx(*zentrel, tx, 1, rx, expected, timeout);
  }

  ZentrelStatus Command(std::int32_t expected, std::int32_t timeout = 500) {
    tx[0] = 0x80;
    return ZentrelAccess::Command(*zentrel, tx, 1, rx, expected, timeout);
  }

  std::vector<std::string> JournalOf(std::int32_t expected, std::int32_t timeout) {
    TheWorld().TakeJournal();
    TxRx(expected, timeout);
    return TheWorld().TakeJournal();
  }

  FrameBuffer tx;
  FrameBuffer rx;
};

using Journal = std::vector<std::string>;

TEST_F(BoxExchange, WithoutAnExpectedReplyTheCommandIsSentOnceAndTheCountIsZero) {
  OpenBox(true, kElectric);
  EXPECT_EQ(JournalOf(0, 12500), (Journal{"write 80", "sent"}));
  EXPECT_EQ(TxRx(0, 12500), 0);
}

TEST_F(BoxExchange, WithoutAnExpectedReplyTheCommandLastsUntilItsBytesHavePassedTheWire) {
  Open(true);
  const auto start = TheWorld().now;
  EXPECT_EQ(ZentrelAccess::TxRx(*zentrel, tx, 19, rx, 0, 500), 0);
  constexpr fakes::Microseconds kNineteenBytes{19 * 11 * 1'000'000 / 9600};
  EXPECT_EQ(TheWorld().now - start, kNineteenBytes);
}

TEST_F(BoxExchange, WithoutAnExpectedReplyACommandThatTheDriverDoesNotTakeWholeCountsAsATimeout) {
  OpenBox(true, kElectric);
  Port().driver_room = 3;
  EXPECT_EQ(ZentrelAccess::TxRx(*zentrel, tx, 4, rx, 0, 500), -1);
  EXPECT_EQ(ZentrelAccess::TxRx(*zentrel, tx, 3, rx, 0, 500), 0);
}

TEST_F(BoxExchange, WithoutAnExpectedReplyACommandToAPortThatIsGoneCountsAsATimeout) {
  OpenBox(true, kElectric);
  Port().device = [&](std::span<const std::uint8_t>) {
    Port().vanished = true;
    return fakes::Reaction{};
  };
  EXPECT_EQ(TxRx(0, 500), -1) << "it goes while the bytes are on the wire";
  EXPECT_EQ(TxRx(0, 500), -1) << "it has gone before";
}

TEST_F(BoxExchange, WithAnExpectedReplyNothingWaitsForTheWire) {
  OpenBox(true, kOther);
  const auto start = TheWorld().now;
  Port().Answer({1});
  EXPECT_EQ(TxRx(1, 500), 1);
  EXPECT_EQ(TheWorld().now, start);
}

TEST_F(BoxExchange, ANonElectricBoxIsSentACommandExactlyOnceWhateverTheTimeout) {
  OpenBox(true, kOther);
  EXPECT_EQ(JournalOf(7, 12500), (Journal{"write 80", "read 1 within 2500: nothing"}));
}

TEST_F(BoxExchange, AnElectricBoxWithATimeoutBelow500MillisecondsGetsOneAttempt) {
  OpenBox(true, kElectric);
  EXPECT_EQ(JournalOf(19, 10), (Journal{"write 80", "read 1 within 500: nothing"}));
}

TEST_F(BoxExchange, AnElectricBoxGetsOneAttemptMoreThanTheTimeoutHasHalfSeconds) {
  OpenBox(true, kElectric);
  for (const auto& [timeout, attempts] :
       {std::pair{499, 1}, {500, 2}, {999, 2}, {1000, 3}, {2500, 6}, {12500, 26}}) {
    Port().written.clear();
    const auto start = TheWorld().now;
    EXPECT_EQ(TxRx(19, timeout), -1);
    EXPECT_EQ(Port().written.size(), static_cast<std::size_t>(attempts)) << timeout;
    EXPECT_EQ(TheWorld().now - start, Milliseconds(500) * attempts) << timeout;
  }
}

TEST_F(BoxExchange, TheFirstByteEndsTheResending) {
  OpenBox(true, kElectric);
  Port().StaySilent(3);
  Port().Answer(WithSum({1, 2, 3}), Milliseconds(500));
  EXPECT_EQ(JournalOf(4, 12500),
            (Journal{"write 80", "read 1 within 500: nothing", "write 80",
                     "read 1 within 500: nothing", "write 80", "read 1 within 500: nothing",
                     "write 80", "read 1 within 500: 01", "read 3 within 12500: 02 03 06"}));
}

TEST_F(BoxExchange, AFirstByteThatComesAtTheLastMomentCounts) {
  OpenBox(true, kOther);
  Port().Answer(WithSum({1}), Milliseconds(2500));
  EXPECT_EQ(TxRx(2, 10), 2);
}

TEST_F(BoxExchange, AFirstByteThatComesAMillisecondLateDoesNotCount) {
  OpenBox(true, kOther);
  Port().Answer(WithSum({1}), Milliseconds(2501));
  EXPECT_EQ(TxRx(2, 10), -1);
}

TEST_F(BoxExchange, TheRemainderOfAReplyAlwaysGets12500Milliseconds) {
  for (const std::uint8_t signature : {kOther, kElectric}) {
    OpenBox(true, signature);
    Port().reactions.push_back({{{1}}, {{2, 3}, Milliseconds(12500)}});
    EXPECT_EQ(TxRx(3, 10), 3);
    Port().reactions.push_back({{{1}}, {{2, 3}, Milliseconds(12501)}});
    EXPECT_EQ(TxRx(3, 10), 1);
  }
}

TEST_F(BoxExchange, BytesLeftFromBeforeAreClearedBeforeEachSend) {
  OpenBox(true, kOther);
  Port().incoming.emplace(TheWorld().now, std::uint8_t{0xEE});
  Port().Answer(WithSum({1, 2}));
  EXPECT_EQ(TxRx(3, 500), 3);
  EXPECT_EQ(rx[0], 1);
}

TEST_F(BoxExchange, ALateReplyToAnEarlierSendIsTakenAsTheReply) {
  OpenBox(true, kElectric);
  Port().reactions.push_back({{{9, 9, 9}, Milliseconds(600)}});
  Port().StaySilent();
  Port().Answer(WithSum({1, 2}));
  EXPECT_EQ(TxRx(3, 1000), 3);  // the 9s arrived in the second wait
  EXPECT_EQ(rx[0], 9);
}

TEST_F(BoxExchange, TheReceiveBufferIsClearedBeforeEverySend) {
  OpenBox(true, 0xA6);
  Port().clears = 0;
  EXPECT_EQ(zentrel->ReadXpdr(), S_TIMEOUT);
  EXPECT_EQ(Port().clears, 4 * 26);
}

TEST_F(BoxExchange, AReplyOfOneByteNeedsNoRemainder) {
  OpenBox(true, kOther);
  Port().Answer({0});
  EXPECT_EQ(TxRx(1, 500), 1);
}

TEST_F(BoxExchange, TheWholeBufferCanBeReceived) {
  OpenBox(true, kOther);
  Port().Answer(Bytes(33, 1));
  EXPECT_EQ(TxRx(33, 500), 33);
}

TEST_F(BoxExchange, AReplyLongerThanTheBufferIsASubscriptErrorAndWritesNothingOutside) {
  OpenBox(true, kOther);
  Port().Answer(Bytes(40, 1));
  const ErrorReport report = ReportOf([&] { TxRx(34, 500); });
  EXPECT_EQ(report.ErrorNumber, 9);
  EXPECT_EQ(report.procedure, "ZentrelTxRx");
}

TEST_F(BoxExchange, AFaultShowsTheAttemptTheCountAndTheArguments) {
  OpenBox(true, kElectric);
  Port().StaySilent(2);
  Port().Answer({7});
  const ErrorReport report = ReportOf([&] { TxRx(40, 1500); });
  EXPECT_EQ(report.module, "Zentrel");
  EXPECT_EQ(report.local_variables, "<lngAttempt>2</lngAttempt>\r\n<lngRxCount>1</lngRxCount>\r\n");
  EXPECT_EQ(report.parameters,
            "<TxLength>1</TxLength>\r\n<RxExpected>40</RxExpected>\r\n"
            "<Timeout>1500</Timeout>\r\n");
}

TEST_F(BoxExchange, TheTraceLineIsTheMarkTwoBlanksAndEachByteWithABlank) {
  FrameBuffer bytes;
  bytes[0] = 0x0A;
  bytes[1] = 0xFF;
  EXPECT_EQ(ZentrelAccess::TraceBytes(">", bytes, 2), ">  0A FF ");
}

TEST_F(BoxExchange, TheTraceLineOfNothingIsTheMarkAndTheBlanks) {
  EXPECT_EQ(ZentrelAccess::TraceBytes("<", FrameBuffer(), 0), "<  ");
  EXPECT_EQ(ZentrelAccess::TraceBytes("<", FrameBuffer(), -1), "<  ");
}

TEST_F(BoxExchange, NothingOfTheExchangedBytesReachesTheLog) {
  OpenBox(true, kOther);
  TheWorld().debugger_lines.clear();
  Port().Answer(BoxStatusReply(0x21, 100, kOther, 0));
  zentrel->BoxStatus();
  EXPECT_TRUE(TheWorld().debugger_lines.empty());
}

// --- The command wrapper and the status ---

TEST_F(BoxExchange, OnAClosedPortTheStatusIs3NothingIsSentAndPowerIsStillSetToFalse) {
  EXPECT_EQ(Command(7), S_BAD_PORT);
  EXPECT_EQ(TheWorld().TakeJournal(), (Journal{"event False"}));
}

TEST_F(BoxExchange, NoReplyByteAtAllIsATimeout) {
  Open(true);
  EXPECT_EQ(Command(7), S_TIMEOUT);
}

TEST_F(BoxExchange, SixBytesWhereSevenWereExpectedAreABadResponseNotATimeout) {
  Open(true);
  Port().Answer({1, 2, 3, 4, 5, 6});
  EXPECT_EQ(Command(7), S_BAD_RESPONSE);
  for (int i = 0; i < 6; ++i) EXPECT_EQ(rx[i], i + 1) << "what arrived stays in the buffer";
}

TEST_F(BoxExchange, AFullReplyWithAWrongSumIsABadSumAndTheBufferKeepsIt) {
  Open(true);
  Port().Answer({1, 1, 1, 1, 1, 1, 7});
  EXPECT_EQ(Command(7), S_BAD_SUM);
  EXPECT_EQ(rx[6], 7);
}

TEST_F(BoxExchange, AFullReplyWithAMatchingSumIsOkay) {
  Open(true);
  Port().Answer({1, 1, 1, 1, 1, 1, 6});
  EXPECT_EQ(Command(7), S_OKAY);
}

TEST_F(BoxExchange, OnlyTheLowEightBitsOfTheSumCount) {
  Open(true);
  Port().Answer({0xFF, 0xFF, 0, 0, 0, 0, 0xFE});  // 0x1FE
  EXPECT_EQ(Command(7), S_OKAY);
}

TEST_F(BoxExchange, TheContentOfAReplyIsNotComparedWithTheCommand) {
  Open(true);
  Port().Answer(WithSum({0xC0, 1, 2, 3, 4, 5}));
  EXPECT_EQ(Command(7), S_OKAY);
}

TEST_F(BoxExchange, ASumIsRightWhenItEqualsTheBytesBeforeItForEveryValueOfTheLastByte) {
  FrameBuffer reply;
  reply[0] = 200;
  reply[1] = 100;  // 300 = 0x12C
  for (int sum = 0; sum < 256; ++sum) {
    reply[2] = static_cast<std::uint8_t>(sum);
    EXPECT_EQ(ZentrelAccess::CheckReplySum(*zentrel, reply, 3), sum == 0x2C ? S_OKAY : S_BAD_SUM);
  }
}

TEST_F(BoxExchange, PowerIsSwitchedOnBeforeAndOffAfterTheExchange) {
  Open(true);
  Port().Answer({0});
  Command(1);
  EXPECT_EQ(TheWorld().TakeJournal(),
            (Journal{"supply DTR", "event True", "write 80", "read 1 within 2500: 00",
                     "read 0 within 12500: nothing", "supply DTR", "event False"}));
}

TEST_F(BoxExchange, PowerIsSetToFalseAfterAFaultInTheExchangeToo) {
  Open(true);
  Port().Answer({0});
  ReportOf([&] { Command(40); });
  EXPECT_EQ(TheWorld().journal.back(), "event False");
}

TEST_F(BoxExchange, AReplyOfNothingHasNoSumToCheck) {
  Open(true);
  const ErrorReport report = ReportOf([&] { Command(0); });
  EXPECT_EQ(report.ErrorNumber, 9);
  EXPECT_EQ(report.procedure, "CheckReplySum");
}

TEST_F(BoxExchange, AFaultIsReportedEvenWhenSwitchingThePowerFailsAfterIt) {
  Open(false);
  zentrel->Power(true);
  TheWorld().out_of_timers = true;
  Port().Answer({1, 2});
  constexpr std::int32_t kMoreThanTheBuffer = 50;
  EXPECT_EQ(ErrorNumberOf([&] { Command(kMoreThanTheBuffer); }), 65535);
  const auto reports = TakeReports();
  ASSERT_EQ(reports.size(), 2U);
  EXPECT_EQ(reports[0].ErrorNumber, 9);
  EXPECT_EQ(reports[1].ErrorDescription, "No timers available");
}

TEST_F(BoxExchange, AClientThatClosesThePortInTheEventMakesTheExchangeATimeout) {
  Open(true);
  on_event = [&](bool on) {
    if (on) zentrel->DeviceClose();
  };
  EXPECT_EQ(Command(7), S_TIMEOUT);
  EXPECT_TRUE(Port().written.empty());
}

TEST_F(BoxExchange, APortThatVanishesDuringTheExchangeIsATimeout) {
  Open(true);
  Port().device = [&](std::span<const std::uint8_t>) {
    Port().vanished = true;
    return fakes::Reaction{};
  };
  EXPECT_EQ(Command(7), S_TIMEOUT);
}

// --- Status texts ---

TEST(StatusText, EachCodeHasItsText) {
  EXPECT_EQ(Zentrel::Status(S_OKAY), "OK");
  EXPECT_EQ(Zentrel::Status(S_TIMEOUT), "Timeout");
  EXPECT_EQ(Zentrel::Status(S_BAD_RESPONSE), "Invalid response");
  EXPECT_EQ(Zentrel::Status(S_BAD_PORT), "COM port invalid or not available");
  EXPECT_EQ(Zentrel::Status(S_BAD_SUM), "Invalid checksum in reply");
  EXPECT_EQ(Zentrel::Status(S_BAD_DATA), "Invalid data parameter for command");
  EXPECT_EQ(Zentrel::Status(S_MSG_TOO_LONG), "Command message too long");
  EXPECT_EQ(Zentrel::Status(S_BAD_PARAMETER), "Invalid data parameter for command");
}

TEST(StatusText, Codes5And7ShareOneText) {
  EXPECT_EQ(Zentrel::Status(5), Zentrel::Status(7));
}

TEST(StatusText, AnyOtherValueIsAnUnknownError) {
  for (const std::int32_t code : {8, -1, 255, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(Zentrel::Status(code), "Unknown error, report to VETRIS");
  }
}

TEST(StatusText, TheCodesHaveTheirPublishedValues) {
  EXPECT_EQ(static_cast<int>(S_OKAY), 0);
  EXPECT_EQ(static_cast<int>(S_TIMEOUT), 1);
  EXPECT_EQ(static_cast<int>(S_BAD_RESPONSE), 2);
  EXPECT_EQ(static_cast<int>(S_BAD_PORT), 3);
  EXPECT_EQ(static_cast<int>(S_BAD_SUM), 4);
  EXPECT_EQ(static_cast<int>(S_BAD_DATA), 5);
  EXPECT_EQ(static_cast<int>(S_MSG_TOO_LONG), 6);
  EXPECT_EQ(static_cast<int>(S_BAD_PARAMETER), 7);
}

// --- The buffer ---

TEST(FrameBuffer, HasTheIndices0To32AndNoOther) {
  FrameBuffer buffer;
  buffer[0] = 1;
  buffer[32] = 2;
  EXPECT_EQ(buffer[0], 1);
  EXPECT_EQ(buffer[32], 2);
  for (const std::int32_t index : {-1, 33, INT32_MIN, INT32_MAX}) {
    EXPECT_THROW(buffer[index] = 1, RunTimeError) << index;
    EXPECT_THROW(std::ignore = std::as_const(buffer)[index], RunTimeError) << index;
  }
}

TEST(FrameBuffer, ARangeLiesWhollyInside) {
  FrameBuffer buffer;
  EXPECT_EQ(buffer.Range(0, 33).size(), 33U);
  EXPECT_EQ(buffer.Range(33, 0).size(), 0U);
  EXPECT_THROW(buffer.Range(1, 33), RunTimeError);
  EXPECT_THROW(buffer.Range(-1, 1), RunTimeError);
  EXPECT_THROW(buffer.Range(0, -1), RunTimeError);
  EXPECT_THROW(buffer.Range(34, 0), RunTimeError);
  EXPECT_THROW(buffer.Range(2, INT32_MAX), RunTimeError);
}

}  // namespace
}  // namespace qmzentrel::tests
