// The frames of sub-device messages: what each command sends, expects, and makes of a reply.
#include <limits>

#include "tests/core/telic2_test.h"

namespace qmzentrel::tests {
namespace {

class Telic2Frames : public Telic2Test<ZentrelTest> {
 protected:
  void SetUp() override {
    Telic2Test::SetUp();
    Open(true);
  }

  /// The only frame sent since the last call, as text.
  std::string Sent() {
    const auto frames = std::exchange(Port().written, {});
    EXPECT_EQ(frames.size(), 1U);
    return frames.empty() ? "" : fakes::Hex(frames[0]);
  }

  void ExpectRefused(ZentrelStatus status, const Telic2Command& command,
                     const Numbers& identifiers) {
    EXPECT_EQ(Run(command, identifiers), status);
    EXPECT_TRUE(Port().written.empty());
    EXPECT_EQ(data, Numbers(identifiers.size(), kUntouched));
  }

  /// Runs the command over all of `identifiers`, with `room` entries of data.
  ZentrelStatus RunWithRoom(const Telic2Command& command, const Numbers& identifiers,
                            std::size_t room) {
    ids = identifiers;
    data.assign(room, kUntouched);
    return RunOver(command, static_cast<std::int32_t>(ids.size()));
  }

  /// The command takes `expected` bytes as its reply, and one fewer as half of it.
  void ExpectReplyLength(std::size_t expected, const Telic2Command& command,
                         const Numbers& identifiers) {
    for (const std::size_t length : {expected - 1, expected}) {
      Port().Answer(Bytes(length, 0));
      EXPECT_EQ(RunWithRoom(command, identifiers, 33), length == expected ? S_OKAY : S_BAD_RESPONSE)
          << length;
    }
    Port().written.clear();
  }

  /// Answers with messages behind a header.
  void AnswerMessages(const Bytes& messages) {
    Bytes reply{0x7E, 0x20, 0xC7, static_cast<std::uint8_t>(messages.size())};
    reply.insert(reply.end(), messages.begin(), messages.end());
    Port().Answer(reply);
  }
};

// --- Read ---

class Telic2Read : public Telic2Frames {
 protected:
  ZentrelStatus Read(const Numbers& identifiers) { return Run(kReadCommand, identifiers); }
};

TEST_F(Telic2Read, OfNoMessageSendsTheHeaderAndExpectsFourBytes) {
  Port().Answer({1, 2, 3, 4});
  EXPECT_EQ(Read({}), S_OKAY);
  EXPECT_EQ(Sent(), "7E 20 C7 00");
  Port().Answer({1, 2, 3});
  EXPECT_EQ(Read({}), S_BAD_RESPONSE);
}

TEST_F(Telic2Read, SendsOneIdentifierPerMessage) {
  Read({8, 12, 10});
  EXPECT_EQ(Sent(), "7E 20 C7 03 08 0C 0A");
}

TEST_F(Telic2Read, ExpectsTheHeaderAndEachIdentifierWithItsData) {
  ExpectReplyLength(4 + 3, kReadCommand, {8});
  ExpectReplyLength(4 + 3 + 5 + 2, kReadCommand, {8, 12, 10});
}

TEST_F(Telic2Read, GivesTheDataOfTheMessagesMostSignificantByteFirst) {
  AnswerMessages({10, 0x01, 11, 0x02, 0x03, 0x04, 12, 0x05, 0x06, 0x07, 0x08});
  EXPECT_EQ(Read({10, 11, 12}), S_OKAY);
  EXPECT_EQ(data, (Numbers{0x01, 0x020304, 0x05060708}));
}

TEST_F(Telic2Read, GivesFourBytesAsASignedNumberAndFewerAsAPositiveOne) {
  AnswerMessages({12, 0xFF, 0xFF, 0xFF, 0xFE, 11, 0xFF, 0xFF, 0xFF, 8, 0xFF, 0xFF, 10, 0xFF});
  EXPECT_EQ(Read({12, 11, 8, 10}), S_OKAY);
  EXPECT_EQ(data, (Numbers{-2, 0xFFFFFF, 0xFFFF, 0xFF}));
}

TEST_F(Telic2Read, GivesTheDataInTheOrderOfTheReplyWhateverWasAskedFor) {
  AnswerMessages({9, 0x12, 0x34, 8, 0xAB, 0xCD});
  EXPECT_EQ(Read({8, 9}), S_OKAY);
  EXPECT_EQ(data, (Numbers{0x1234, 0xABCD}));
  AnswerMessages({10, 0x12, 12, 1, 2, 3});
  EXPECT_EQ(Read({8, 9}), S_OKAY);
  EXPECT_EQ(data, (Numbers{0x12, 0x01020300})) << "what is missing at the end reads as 0";
}

TEST_F(Telic2Read, GivesAnUnknownMessageOfTheReply0AndGoesOnBehindIt) {
  AnswerMessages({7, 8, 0xAB, 0xCD, 7, 7});
  EXPECT_EQ(RunWithRoom(kReadCommand, {8, 9}, 5), S_OKAY);
  EXPECT_EQ(data, (Numbers{0, 0xABCD, 0, 0, kUntouched}));
}

TEST_F(Telic2Read, LooksAtTheLowByteOfAnIdentifierInTheReplyAlone) {
  SetMessage(0x108, 4);
  AnswerMessages({8, 0x12, 0x34, 10, 0x56});
  EXPECT_EQ(RunWithRoom(kReadCommand, {0x108}, 2), S_OKAY);
  EXPECT_EQ(Sent(), "7E 20 C7 01 08");
  EXPECT_EQ(data, (Numbers{0x1234, 0x56}));
}

TEST_F(Telic2Read, LeavesTheByteOfMinus1At0AndExpectsNoDataForIt) {
  Read({-1, 8, -1});
  EXPECT_EQ(Sent(), "7E 20 C7 03 00 08 00");
  ExpectReplyLength(4 + 1 + 3 + 1, kReadCommand, {-1, 8, -1});
  ExpectReplyLength(4 + 1, kReadCommand, {-1});
}

TEST_F(Telic2Read, DoesNotLookUpMinus1) {
  SetMessage(-1, 4);
  ExpectReplyLength(4 + 1, kReadCommand, {-1});
}

TEST_F(Telic2Read, TakesAnyOtherNegativeIdentifierAsAMessage) {
  ExpectRefused(S_BAD_PARAMETER, kReadCommand, {-2});
  SetMessage(-2, 1);
  Read({-2});
  EXPECT_EQ(Sent(), "7E 20 C7 01 FE");
}

TEST_F(Telic2Read, OfThreeMessagesOfFourBytesIsAcceptedAndOfFourIsTooLong) {
  ExpectReplyLength(19, kReadCommand, {12, 12, 12});
  ExpectRefused(S_MSG_TOO_LONG, kReadCommand, {12, 12, 12, 12});
}

TEST_F(Telic2Read, MayExpectTwentyBytesAndNoMore) {
  ExpectReplyLength(20, kReadCommand, {11, 11, 11, 11});
  ExpectRefused(S_MSG_TOO_LONG, kReadCommand, {11, 11, 11, 12});
  ExpectReplyLength(20, kReadCommand, Numbers(16, -1));
  ExpectRefused(S_MSG_TOO_LONG, kReadCommand, Numbers(17, -1));
}

TEST_F(Telic2Read, OfSixteenTimesNoMessageSendsTheLongestFrame) {
  Read(Numbers(16, -1));
  EXPECT_EQ(Sent(), "7E 20 C7 10 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00");
}

TEST_F(Telic2Read, TakesANegativeLengthAsItsAbsoluteValue) {
  SetMessage(18, -2);
  AnswerMessages({18, 0x12, 0x34});
  EXPECT_EQ(Read({18}), S_OKAY);
  EXPECT_EQ(data, (Numbers{0x1234}));
  ExpectReplyLength(4 + 3, kReadCommand, {18});
}

TEST_F(Telic2Read, OfAnImpossibleLengthIsTooLong) {
  for (const std::int32_t bytes : {17, 1000, std::numeric_limits<std::int32_t>::max(), kLeast}) {
    SetMessage(18, bytes);
    ExpectRefused(S_MSG_TOO_LONG, kReadCommand, {18});
    ExpectRefused(S_MSG_TOO_LONG, kReadCommand, Numbers(29, 18));
  }
}

TEST_F(Telic2Read, OfMoreThanFourBytesTakesFourAndTheNextAsAnIdentifier) {
  SetMessage(18, 6);
  ExpectReplyLength(4 + 7 + 1, kReadCommand, {18, -1});
  AnswerMessages({18, 1, 2, 3, 4, 10, 6, 7});
  EXPECT_EQ(RunWithRoom(kReadCommand, {18, -1}, 4), S_OKAY);
  EXPECT_EQ(data, (Numbers{0x01020304, 6, 0, kUntouched})) << "6 is the data of 10, 7 is unknown";
}

TEST_F(Telic2Read, StoresMoreMessagesThanWereAskedForWhereTheArrayHasRoom) {
  AnswerMessages({10, 1, 10, 2, 7});
  EXPECT_EQ(RunWithRoom(kReadCommand, {12}, 6), S_OKAY);
  EXPECT_EQ(data, (Numbers{1, 2, 0, kUntouched, kUntouched, kUntouched}));
}

TEST_F(Telic2Read, OfAReplyWithMoreMessagesThanTheArrayHoldsIsError9AfterPowerIsOff) {
  TheWorld().TakeJournal();
  AnswerMessages({10, 0x55, 7, 7, 7});
  const ErrorReport report = ReportOf([&] { Read({12}); });
  EXPECT_EQ(report.ErrorNumber, 9);
  EXPECT_EQ(report.procedure, "TELIC2Read");
  EXPECT_EQ(TheWorld().journal.back(), "event False");
  EXPECT_EQ(data, (Numbers{0x55})) << "what had room is there";
}

TEST_F(Telic2Read, AReplyIsInTheArrayWhenTheClientHearsThatPowerIsOff) {
  AnswerMessages({10, 0x55});
  Numbers heard;
  on_event = [&](bool on) {
    if (!on) heard = data;
  };
  EXPECT_EQ(Read({10}), S_OKAY);
  EXPECT_EQ(heard, (Numbers{0x55}));
}

TEST_F(Telic2Read, AnUnknownIdentifierInTheReplyIsLookedUpAtThatTime) {
  Port().device = [&](std::span<const std::uint8_t>) {
    SetMessage(30, 1);
    return fakes::Reaction{{{0x7E, 0x20, 0xC7, 0x04, 30, 0x77, 30, 0x78}}};
  };
  EXPECT_EQ(Read({10, 10}), S_OKAY);
  EXPECT_EQ(data, (Numbers{0x77, 0x78}));
}

// --- Write ---

class Telic2Write : public Telic2Frames {
 protected:
  ZentrelStatus Write(const Numbers& identifiers, const Numbers& values) {
    return Run(kWriteCommand, identifiers, values);
  }
};

TEST_F(Telic2Write, SendsEachIdentifierWithItsDataMostSignificantByteFirst) {
  Write({12, 11, 8, 10}, {0x01020304, 0x050607, 0x0809, 0x0A});
  EXPECT_EQ(Sent(), "7E 20 C6 0E 0C 01 02 03 04 0B 05 06 07 08 08 09 0A 0A");
}

TEST_F(Telic2Write, SendsTheLowBytesOfData) {
  Write({12, 11, 8, 10}, {-2, -3, 0x12345678, 0x1FF});
  EXPECT_EQ(Sent(), "7E 20 C6 0E 0C FF FF FF FE 0B FF FF FD 08 56 78 0A FF");
}

TEST_F(Telic2Write, SendsTheLowByteOfAnIdentifier) {
  SetMessage(0x1FE, 1);
  Write({0x1FE}, {5});
  EXPECT_EQ(Sent(), "7E 20 C6 02 FE 05");
}

TEST_F(Telic2Write, ExpectsAsManyBytesAsItSendsAndDoesNotCompareThem) {
  ExpectReplyLength(4 + 3, kWriteCommand, {8});
  ExpectReplyLength(4 + 5 + 2, kWriteCommand, {12, 10});
}

TEST_F(Telic2Write, LeavesTheClientsDataAlone) {
  Port().Answer({0x7E, 0x20, 0xC6, 0x03, 8, 0xFF, 0xFF});
  EXPECT_EQ(Write({8}, {0x12345678}), S_OKAY);
  EXPECT_EQ(data, (Numbers{0x12345678}));
}

TEST_F(Telic2Write, OfNoMessageSendsTheHeaderAndExpectsFourBytes) {
  Port().Answer({1, 2, 3, 4});
  EXPECT_EQ(Write({}, {}), S_OKAY);
  EXPECT_EQ(Sent(), "7E 20 C6 00");
}

TEST_F(Telic2Write, DoesNotSkipMinus1) {
  ExpectRefused(S_BAD_PARAMETER, kWriteCommand, {8, -1});
  SetMessage(-1, 1);
  Write({8, -1}, {0x1234, 0x56});
  EXPECT_EQ(Sent(), "7E 20 C6 05 08 12 34 FF 56");
}

TEST_F(Telic2Write, OfAnUnknownMessageIsABadParameter) {
  for (const Numbers& identifiers : {Numbers{7}, Numbers{8, 7}, Numbers{7, 8}}) {
    ExpectRefused(S_BAD_PARAMETER, kWriteCommand, identifiers);
  }
}

TEST_F(Telic2Write, MaySendTwentyBytesAndNoMore) {
  ExpectReplyLength(20, kWriteCommand, {11, 11, 11, 11});
  ExpectReplyLength(19, kWriteCommand, {12, 12, 12});
  ExpectRefused(S_MSG_TOO_LONG, kWriteCommand, {11, 11, 11, 12});
  ExpectRefused(S_MSG_TOO_LONG, kWriteCommand, {12, 12, 12, 12});
}

TEST_F(Telic2Write, TakesANegativeLengthAsItsAbsoluteValue) {
  SetMessage(18, -2);
  Write({18, 17}, {0x12345678, 0x12345678});
  EXPECT_EQ(Sent(), "7E 20 C6 08 12 56 78 11 12 34 56 78");
}

TEST_F(Telic2Write, SendsFourBytesOfALongerLengthAndZerosAtTheEnd) {
  SetMessage(18, 6);
  Write({18, 10}, {0x12345678, 0x55});
  EXPECT_EQ(Sent(), "7E 20 C6 09 12 12 34 56 78 0A 55 00 00");
  ExpectReplyLength(13, kWriteCommand, {18, 10});
}

TEST_F(Telic2Write, OfAnImpossibleLengthIsTooLong) {
  for (const std::int32_t bytes : {16, 1000, std::numeric_limits<std::int32_t>::max(), kLeast}) {
    SetMessage(18, bytes);
    ExpectRefused(S_MSG_TOO_LONG, kWriteCommand, {18});
    ExpectRefused(S_MSG_TOO_LONG, kWriteCommand, Numbers(29, 18));
  }
  SetMessage(18, 15);
  ExpectReplyLength(20, kWriteCommand, {18});
}

// --- Test ---

class Telic2TestFrames : public Telic2Frames {
 protected:
  ZentrelStatus Test(const Numbers& identifiers, const Numbers& values = {}) {
    return Run(kTestCommand, identifiers, values);
  }
};

TEST_F(Telic2TestFrames, WithOnlyMessagesThatHaveNoReplyHaveNoFlagAndExpectNothing) {
  EXPECT_EQ(Test({20, 20}, {0x12, 0x34}), S_OKAY);
  EXPECT_EQ(Sent(), "7E 00 C9 04 14 12 14 34");
  EXPECT_EQ(TheWorld().TakeJournal(),
            (std::vector<std::string>{"log TELIC2Test", "supply DTR", "event True",
                                      "write 7E 00 C9 04 14 12 14 34", "sent", "supply DTR",
                                      "event False"}));
  EXPECT_EQ(data, (Numbers{0x12, 0x34}));
}

TEST_F(Telic2TestFrames, WithoutAReplyAreSentOnceToAnElectricBoxToo) {
  OpenBox(true, 0xA6);
  Port().written.clear();
  EXPECT_EQ(Test({20}, {0x12}), S_OKAY);
  EXPECT_EQ(Sent(), "7E 00 C9 02 14 12");
}

TEST_F(Telic2TestFrames, WithAnyReplyHaveTheFlagAndExpectItsMessages) {
  Test({20, 10}, {0x12, 0x34});
  EXPECT_EQ(Sent(), "7E 20 C9 04 14 12 0A 34");
  ExpectReplyLength(4 + 2, kTestCommand, {20, 10});
  ExpectReplyLength(4 + 2 + 5, kTestCommand, {10, 12});
}

TEST_F(Telic2TestFrames, AReadLengthOf0IsNoReply) {
  SetTest("Meter", 21, 2, 0);
  EXPECT_EQ(Test({21}, {0x1234}), S_OKAY);
  EXPECT_EQ(Sent(), "7E 00 C9 03 15 12 34");
}

TEST_F(Telic2TestFrames, AnyNegativeReadLengthIsNoReply) {
  SetTest("Meter", 21, 0, -7);
  EXPECT_EQ(Test({21}), S_OKAY);
  EXPECT_EQ(Sent(), "7E 00 C9 01 15");
  ExpectReplyLength(4 + 2, kTestCommand, {21, 10});
}

TEST_F(Telic2TestFrames, PackWhatIsWrittenAndUnpackWhatIsRead) {
  SetTest("Meter", 21, 1, 4);
  SetTest("Meter", 22, 4, 1);
  AnswerMessages({21, 0x81, 0x02, 0x03, 0x04, 22, 0x05});
  EXPECT_EQ(Test({21, 22}, {0x11, 0x22334455}), S_OKAY);
  EXPECT_EQ(Sent(), "7E 20 C9 07 15 11 16 22 33 44 55");
  EXPECT_EQ(data, (Numbers{static_cast<std::int32_t>(0x81020304U), 0x05}));
}

TEST_F(Telic2TestFrames, DoNotUseTheLengthsOfMessages) {
  SetTest("Meter", 8, 1, 1);
  AnswerMessages({8, 0x55});
  EXPECT_EQ(Test({8}, {0x1234}), S_OKAY);
  EXPECT_EQ(Sent(), "7E 20 C9 02 08 34");
  EXPECT_EQ(data, (Numbers{0x55}));
}

TEST_F(Telic2TestFrames, AnUnknownTestIsSentAsItsIdentifierAlone) {
  EXPECT_EQ(Test({7}), S_OKAY);
  EXPECT_EQ(Sent(), "7E 00 C9 01 07");
  EXPECT_EQ(Test({-1}), S_OKAY);
  EXPECT_EQ(Sent(), "7E 00 C9 01 FF");
}

TEST_F(Telic2TestFrames, Test99IsABadParameterWhereverItStands) {
  SetTest("Meter", 99, 1, 1);
  for (const Numbers& identifiers : {Numbers{99}, Numbers{8, 99}, Numbers{99, 8}}) {
    ExpectRefused(S_BAD_PARAMETER, kTestCommand, identifiers);
  }
  Test({99 + 256});
  EXPECT_EQ(Sent(), "7E 00 C9 01 63") << "only the number itself is the marker";
}

TEST_F(Telic2TestFrames, AreThoseOfTheSelectedDevice) {
  SetTest("Valve", 8, 1, 0);
  zentrel->TELIC2Device("Valve");
  EXPECT_EQ(Test({8, 9}, {0x55, 0x66}), S_OKAY);
  EXPECT_EQ(Sent(), "7E 00 C9 03 08 55 09");
}

TEST_F(Telic2TestFrames, MaySendTwentyBytesAndNoMore) {
  SetTest("Meter", 21, 3, 0);
  SetTest("Meter", 22, 4, 0);
  EXPECT_EQ(Test({21, 21, 21, 21}), S_OKAY);
  EXPECT_EQ(Port().written.back().size(), 20U);
  Port().written.clear();
  ExpectRefused(S_MSG_TOO_LONG, kTestCommand, {21, 21, 21, 22});
}

TEST_F(Telic2TestFrames, TheLimitOfTwentyBytesIsNotThatOfTheReply) {
  SetTest("Meter", 21, 0, 20);
  ExpectReplyLength(25, kTestCommand, {21});
}

TEST_F(Telic2TestFrames, AReplyMayFillTheBufferAndNoMore) {
  SetTest("Meter", 21, 0, 28);
  SetTest("Meter", 22, 0, 29);
  Port().Answer(Bytes(33, 0));
  EXPECT_EQ(RunWithRoom(kTestCommand, {21}, 29), S_OKAY);
  EXPECT_EQ(data, Numbers(29, 0)) << "29 identifiers of an unknown test";
  Port().written.clear();
  ExpectRefused(S_MSG_TOO_LONG, kTestCommand, {22});
  SetTest("Meter", 22, 0, std::numeric_limits<std::int32_t>::max());
  ExpectRefused(S_MSG_TOO_LONG, kTestCommand, {22, 22});
}

TEST_F(Telic2TestFrames, AMessageThatBeginsWithTheLastByteOfTheBufferIsError9) {
  SetTest("Meter", 21, 0, 28);
  Bytes reply(33, 0);
  reply[32] = 10;  // has one byte of data
  Port().Answer(reply);
  const ErrorReport report = ReportOf([&] { RunWithRoom(kTestCommand, {21}, 40); });
  EXPECT_EQ(report.ErrorNumber, 9);
  EXPECT_EQ(report.procedure, "TELIC2Test");
  EXPECT_EQ(TheWorld().journal.back(), "event False");
}

TEST_F(Telic2TestFrames, OfAReplyWithMoreMessagesThanTheArrayHoldsAreError9AfterPowerIsOff) {
  AnswerMessages({20, 20, 20});
  const ErrorReport report = ReportOf([&] { Test({8}); });
  EXPECT_EQ(report.ErrorNumber, 9);
  EXPECT_EQ(report.procedure, "TELIC2Test");
  EXPECT_EQ(TheWorld().journal.back(), "event False");
  EXPECT_EQ(data, (Numbers{0}));
}

TEST_F(Telic2TestFrames, HaveTheReplyInTheArrayWhenTheClientHearsThatPowerIsOff) {
  AnswerMessages({20, 10, 0x55});
  Numbers heard;
  on_event = [&](bool on) {
    if (!on) heard = data;
  };
  EXPECT_EQ(RunWithRoom(kTestCommand, {8}, 2), S_OKAY);
  EXPECT_EQ(heard, (Numbers{0, 0x55}));
}

TEST_F(Telic2TestFrames, AMessageOfTheReplyThatHasNoneIs0) {
  AnswerMessages({20, 10, 0x55});
  EXPECT_EQ(RunWithRoom(kTestCommand, {8}, 2), S_OKAY);
  EXPECT_EQ(data, (Numbers{0, 0x55}));
}

TEST_F(Telic2TestFrames, SendFourBytesOfALongerLengthAndZerosAtTheEnd) {
  SetTest("Meter", 21, 6, 0);
  Test({21}, {0x12345678});
  EXPECT_EQ(Sent(), "7E 00 C9 07 15 12 34 56 78 00 00");
}

TEST_F(Telic2TestFrames, TakeFourBytesOfALongerReplyAndTheNextAsAnIdentifier) {
  SetTest("Meter", 21, 0, 6);
  AnswerMessages({21, 1, 2, 3, 4, 10, 6});
  EXPECT_EQ(RunWithRoom(kTestCommand, {21}, 3), S_OKAY);
  EXPECT_EQ(data, (Numbers{0x01020304, 6, kUntouched}));
}

TEST_F(Telic2TestFrames, ANegativeWriteLengthIsTakenOffTheLengthOfTheFrame) {
  SetTest("Meter", 21, -1, 0);
  Test({10, 21}, {0x55, 0});
  EXPECT_EQ(Sent(), "7E 20 C9 02 0A 55") << "its identifier is behind the end";
}

TEST_F(Telic2TestFrames, AFrameThatGetsShorterThanItsHeaderIsAnOverflow) {
  SetTest("Meter", 21, -2, 0);
  const ErrorReport report = ReportOf([&] { Test({21}); });
  EXPECT_EQ(report.ErrorNumber, 6);
  EXPECT_EQ(report.procedure, "TELIC2Test");
  EXPECT_TRUE(Port().written.empty());
}

TEST_F(Telic2TestFrames, NegativeLengthsDoNotLetMessagesBehindTheBuffer) {
  SetTest("Meter", 21, 4, 0);
  SetTest("Meter", 22, -30, 0);
  const ErrorReport report = ReportOf([&] { Test({21, 21, 21, 21, 21, 21, 22}); });
  EXPECT_EQ(report.ErrorNumber, 9);
  EXPECT_EQ(report.procedure, "TELIC2Test");
  EXPECT_TRUE(Port().written.empty());
  SetTest("Meter", 22, -1, 0);
  EXPECT_EQ(Test(Numbers(29, 22)), S_OKAY) << "29 identifiers just fill the buffer";
  EXPECT_EQ(Sent(), "7E 00 C9 00");
  ExpectRefused(S_MSG_TOO_LONG, kTestCommand, Numbers(30, 22));
}

}  // namespace
}  // namespace qmzentrel::tests
