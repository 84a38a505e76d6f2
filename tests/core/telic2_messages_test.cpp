// Sub-device messages: their lengths, and what reading, writing and testing have in common.
#include <algorithm>
#include <array>
#include <limits>
#include <new>

#include "interface/telic2_frame.h"
#include "simulator/simulator_values.h"
#include "tests/core/registry_faults.h"
#include "tests/core/telic2_test.h"

namespace qmzentrel::tests {
namespace {

using Journal = std::vector<std::string>;

// --- Lengths ---

class Telic2Lengths : public Telic2Test<ZentrelTest> {};

TEST_F(Telic2Lengths, OfAMessageAreItsBytesWithTheirSign) {
  EXPECT_EQ(zentrel->TELIC2_Length(8), 2);
  EXPECT_EQ(zentrel->TELIC2_Length(12), 4);
  EXPECT_EQ(zentrel->TELIC2_Length(17), -4);
  SetText(kMessages + "\\8", "Bytes", "3");
  EXPECT_EQ(zentrel->TELIC2_Length(8), 3);
}

TEST_F(Telic2Lengths, OfAnUnknownMessageAre0) {
  EXPECT_EQ(zentrel->TELIC2_Length(7), 0);
  EXPECT_EQ(zentrel->TELIC2_Length(-1), 0);
  SetText(kMessages + "\\7", "", "has a name, but no bytes");
  EXPECT_EQ(zentrel->TELIC2_Length(7), 0);
  SetText(kMessages + "\\7", "Bytes", "few");
  EXPECT_EQ(zentrel->TELIC2_Length(7), 0);
}

TEST_F(Telic2Lengths, DoNotDependOnTheDevice) {
  zentrel->TELIC2Device("Valve");
  EXPECT_EQ(zentrel->TELIC2_Length(8), 2);
}

TEST_F(Telic2Lengths, OfATestAreWhatItReadsAndWhatItWrites) {
  SetTest("Meter", 30, 3, 7);
  EXPECT_EQ(zentrel->TELIC2Test_RdLength(30), 7);
  EXPECT_EQ(zentrel->TELIC2Test_WrLength(30), 3);
  EXPECT_EQ(zentrel->TELIC2Test_RdLength(20), -1);
  EXPECT_EQ(zentrel->TELIC2Test_WrLength(20), 1);
  SetTest("Meter", 31, -3, -7);
  EXPECT_EQ(zentrel->TELIC2Test_RdLength(31), -7);
  EXPECT_EQ(zentrel->TELIC2Test_WrLength(31), -3);
}

TEST_F(Telic2Lengths, OfAnUnknownTestAre0) {
  for (const std::int32_t unknown : {7, -1, 99, kMost, kLeast}) {
    EXPECT_EQ(zentrel->TELIC2Test_RdLength(unknown), 0);
    EXPECT_EQ(zentrel->TELIC2Test_WrLength(unknown), 0);
  }
}

TEST_F(Telic2Lengths, OfATestAreThoseOfTheSelectedDevice) {
  SetTest("Valve", 8, 1, 3);
  zentrel->TELIC2Device("Valve\\");
  EXPECT_EQ(zentrel->TELIC2Test_RdLength(8), 3);
  EXPECT_EQ(zentrel->TELIC2Test_WrLength(8), 1);
  EXPECT_EQ(zentrel->TELIC2Test_RdLength(9), 0);
}

TEST_F(Telic2Lengths, OfATestWithoutADeviceAreLookedForBesideTheTypes) {
  zentrel->TELIC2Device("");
  EXPECT_EQ(zentrel->TELIC2Test_RdLength(8), 0);
  const std::string key = kDeviceTypes + "\\TestMessages\\8";
  SetNumber(key, "RBytes", 3);
  SetNumber(key, "PBytes", 4);
  EXPECT_EQ(zentrel->TELIC2Test_RdLength(8), 3);
  EXPECT_EQ(zentrel->TELIC2Test_WrLength(8), 4);
}

TEST_F(Telic2Lengths, ThatCannotBeReadAre0AndNothingIsReported) {
  for (const char* call : {"RegOpenKeyEx", "RegQueryValueEx"}) {
    FailRegistry(call);
    EXPECT_EQ(zentrel->TELIC2_Length(8), 0) << call;
    EXPECT_EQ(zentrel->TELIC2Test_RdLength(8), 0) << call;
    EXPECT_EQ(zentrel->TELIC2Test_WrLength(8), 0) << call;
  }
}

TEST_F(Telic2Lengths, AFaultIsReportedWithTheProcedureAndTheIndex) {
  TheWorld().registry_fault = [](const std::string&,
                                 const std::string&) -> std::optional<std::int32_t> {
    throw std::bad_alloc();
  };
  const auto expect = [&](const char* procedure, auto get) {
    const ErrorReport report = ReportOf(get);
    EXPECT_EQ(report.ErrorNumber, 7);
    EXPECT_EQ(report.procedure, procedure);
    EXPECT_EQ(report.parameters, "<Index>8</Index>\r\n");
  };
  expect("TELIC2_Length", [&] { zentrel->TELIC2_Length(8); });
  expect("TELIC2Test_RdLength", [&] { zentrel->TELIC2Test_RdLength(8); });
  expect("TELIC2Test_WrLength", [&] { zentrel->TELIC2Test_WrLength(8); });
}

TEST_F(Telic2Lengths, EveryTestIsValidBut99) {
  for (const std::int32_t test : {0, -1, 1, 98, 100, 0x63 + 256, kMost, kLeast}) {
    EXPECT_TRUE(telic2::IsValidTestMessage(test)) << test;
  }
  EXPECT_FALSE(telic2::IsValidTestMessage(99));
}

// --- What the three commands have in common ---

class AnyTelic2Command : public Telic2Test<ZentrelTest>,
                         public testing::WithParamInterface<Telic2Command> {
 protected:
  ZentrelStatus Run(const Numbers& identifiers, const Numbers& given = {}) {
    return Telic2Test::Run(GetParam(), identifiers, given);
  }
  ZentrelStatus RunWith(std::int32_t count, const LongArray& identifiers, const LongArray& values) {
    return (zentrel.get()->*GetParam().run)(count, identifiers, values);
  }

  bool IsRead() const { return GetParam().name == std::string("TELIC2Read"); }
  bool IsWrite() const { return GetParam().name == std::string("TELIC2Write"); }
  bool IsTest() const { return GetParam().name == std::string("TELIC2Test"); }

  /// The line that stands first in the journal of every call.
  std::string Logged() const { return std::string("log ") + GetParam().name; }

  /// Nothing but the log line has come of the call.
  void ExpectNothingDone() {
    EXPECT_EQ(TheWorld().TakeJournal(), Journal{Logged()});
    EXPECT_TRUE(Port().written.empty());
  }

  /// The reply to messages 8 and 9, the same length for all three.
  const Bytes reply{0x7E, 0x20, 0xC7, 0x06, 8, 0x12, 0x34, 9, 0xAB, 0xCD};
};

INSTANTIATE_TEST_SUITE_P(Each, AnyTelic2Command,
                         testing::Values(kReadCommand, kWriteCommand, kTestCommand),
                         [](const auto& test) { return std::string(test.param.name); });

// --- Statuses ---

TEST_P(AnyTelic2Command, AFullReplyIsOkay) {
  Open(true);
  Port().Answer(reply);
  EXPECT_EQ(Run({8, 9}), S_OKAY);
}

TEST_P(AnyTelic2Command, NoReplyIsATimeoutAndLeavesTheData) {
  Open(true);
  EXPECT_EQ(Run({8, 9}), S_TIMEOUT);
  EXPECT_EQ(data, Numbers(2, kUntouched));
}

TEST_P(AnyTelic2Command, AShortReplyOfAnyLengthIsABadResponseAndLeavesTheData) {
  Open(true);
  for (std::size_t length = 1; length < reply.size(); ++length) {
    Port().Answer(Bytes(reply.begin(), reply.begin() + static_cast<std::ptrdiff_t>(length)));
    EXPECT_EQ(Run({8, 9}), S_BAD_RESPONSE) << length;
    EXPECT_EQ(data, Numbers(2, kUntouched));
  }
}

TEST_P(AnyTelic2Command, AReplyNeedsNoSum) {
  Open(true);
  for (int last = 0; last < 256; last += 51) {
    Bytes changed = reply;
    changed.back() = static_cast<std::uint8_t>(last);
    Port().Answer(changed);
    EXPECT_EQ(Run({8, 9}), S_OKAY) << last;
  }
}

TEST_P(AnyTelic2Command, TheHeaderOfAReplyIsNotJudged) {
  Open(true);
  Bytes changed = reply;
  std::fill_n(changed.begin(), 4, std::uint8_t{0});
  Port().Answer(changed);
  EXPECT_EQ(Run({8, 9}), S_OKAY);
}

TEST_P(AnyTelic2Command, OnAClosedPortIsABadPortAndPowerIsStillSetToFalse) {
  EXPECT_EQ(Run({8, 9}), S_BAD_PORT);
  Journal expected{Logged()};
  if (IsRead()) expected.emplace_back("log TELIC2Read - PortOpen is bad");
  expected.emplace_back("event False");
  EXPECT_EQ(TheWorld().TakeJournal(), expected);
  EXPECT_EQ(data, Numbers(2, kUntouched));
}

TEST_P(AnyTelic2Command, ANegativeNumberOfMessagesIsABadParameterAndNothingIsLookedUp) {
  Open(true);
  ids = {8};
  data = {0};
  for (const std::int32_t count : {-1, -29, kLeast}) {
    TheWorld().registry_calls.clear();
    EXPECT_EQ(RunOver(GetParam(), count), S_BAD_PARAMETER) << count;
    ExpectNothingDone();
    EXPECT_TRUE(TheWorld().registry_calls.empty());
  }
}

TEST_P(AnyTelic2Command, MoreMessagesThanAFrameCarriesAreTooLongAndNothingIsSent) {
  Open(true);
  for (const std::size_t count : {17U, 28U, 29U, 30U, 31U, 100U}) {
    EXPECT_EQ(Run(Numbers(count, 10)), S_MSG_TOO_LONG) << count;
    ExpectNothingDone();
    EXPECT_EQ(data, Numbers(count, kUntouched));
  }
}

TEST_P(AnyTelic2Command, ACountBeyondTheArraysIsTooLongBeforeTheArraysAreChecked) {
  Open(true);
  ids = {10};
  data = {0};
  for (const std::int32_t count : {30, 1000, kMost - 4, kMost}) {
    EXPECT_EQ(RunOver(GetParam(), count), S_MSG_TOO_LONG) << count;
    EXPECT_EQ(RunWith(count, LongArray(), LongArray()), S_MSG_TOO_LONG) << count;
  }
}

TEST_P(AnyTelic2Command, AtMost29MessagesAreLookedAt) {
  Open(true);
  const std::int32_t unknown = IsTest() ? 99 : 7;
  Numbers identifiers(30, 10);
  identifiers[29] = unknown;
  EXPECT_EQ(Run(identifiers), S_MSG_TOO_LONG);
  identifiers[29] = 10;
  identifiers[28] = unknown;
  EXPECT_EQ(Run(identifiers), S_BAD_PARAMETER);
  EXPECT_EQ(RunOver(GetParam(), kMost), S_BAD_PARAMETER);
}

TEST_P(AnyTelic2Command, AnUnknownMessageIsABadParameterBeforeTheLengthIsTested) {
  Open(true);
  const std::int32_t unknown = IsTest() ? 99 : 7;
  for (const Numbers& identifiers :
       {Numbers{unknown}, Numbers{8, unknown}, Numbers{12, 12, 12, 12, 12, unknown}}) {
    EXPECT_EQ(Run(identifiers), S_BAD_PARAMETER);
    ExpectNothingDone();
  }
}

TEST_P(AnyTelic2Command, StatusesComeBeforeThePortIsAskedFor) {
  EXPECT_EQ(Run({IsTest() ? 99 : 7}), S_BAD_PARAMETER);
  ExpectNothingDone();
  EXPECT_EQ(Run(Numbers(17, 10)), S_MSG_TOO_LONG);
  ExpectNothingDone();
}

// --- The arrays ---

TEST_P(AnyTelic2Command, WithoutMessagesTheHeaderIsSentAndNoArrayIsNeeded) {
  Open(true);
  Port().Answer({1, 2, 3, 4});
  EXPECT_EQ(RunWith(0, LongArray(), LongArray()), S_OKAY);
  const auto command = static_cast<std::uint8_t>(std::stoi(GetParam().byte, nullptr, 16));
  EXPECT_EQ(
      Port().written,
      (std::vector<Bytes>{{0x7E, static_cast<std::uint8_t>(IsTest() ? 0 : 0x20), command, 0}}));
}

TEST_P(AnyTelic2Command, EntriesBeyondTheMessagesAreLeftAlone) {
  Open(true);
  Port().Answer(reply);
  ids = {8, 9, 7, 7};
  data = {1, 2, 3, 4};
  EXPECT_EQ(RunOver(GetParam(), 2), S_OKAY);
  EXPECT_EQ(ids, (Numbers{8, 9, 7, 7}));
  EXPECT_EQ(data[2], 3);
  EXPECT_EQ(data[3], 4);
}

TEST_P(AnyTelic2Command, TheIdentifiersAreLeftAlone) {
  Open(true);
  Port().Answer({0x7E, 0x20, 0xC7, 0x06, 9, 0x12, 0x34, 8, 0xAB, 0xCD});
  EXPECT_EQ(Run({8, 9}), S_OKAY);
  EXPECT_EQ(ids, (Numbers{8, 9}));
}

class FaultyArray : public AnyTelic2Command {
 protected:
  /// The call fails with `number` and nothing has come of it.
  ErrorReport ExpectError(std::int32_t number, std::int32_t count, const LongArray& identifiers,
                          const LongArray& values) {
    const ErrorReport report = ReportOf([&] { RunWith(count, identifiers, values); });
    EXPECT_EQ(report.ErrorNumber, number);
    EXPECT_EQ(report.module, "Zentrel");
    EXPECT_EQ(report.procedure, GetParam().name);
    ExpectNothingDone();
    EXPECT_EQ(numbers, (Numbers{8, 9, 8}));
    return report;
  }

  void SetUp() override {
    AnyTelic2Command::SetUp();
    Open(true);
  }

  Numbers numbers{8, 9, 8};
  const LongArray three{numbers, 0};
};

INSTANTIATE_TEST_SUITE_P(Each, FaultyArray,
                         testing::Values(kReadCommand, kWriteCommand, kTestCommand),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(FaultyArray, ThatIsTooShortIsError9) {
  const LongArray two({numbers.data(), 2}, 0);
  ExpectError(9, 3, two, three);
  ExpectError(9, 3, three, two);
  ExpectError(9, 4, three, three);
}

TEST_P(FaultyArray, ThatIsTooShortIsError9AlsoForATestThatWritesNothing) {
  SetMessage(21, 2);
  SetTest("Meter", 21, 0, 2);
  Numbers identifiers{21, 21};
  Numbers one{0};
  ExpectError(9, 2, LongArray(identifiers, 0), LongArray(one, 0));
}

TEST_P(FaultyArray, ThatIsNotDimensionedIsError9) {
  ExpectError(9, 1, LongArray(), three);
  ExpectError(9, 1, three, LongArray());
}

TEST_P(FaultyArray, ThatBeginsAt1IsError9) {
  const LongArray from_1(numbers, 1);
  ExpectError(9, 1, from_1, three);
  ExpectError(9, 3, three, from_1);
}

TEST_P(FaultyArray, ThatEndsBelow0IsError9) {
  ExpectError(9, 1, LongArray(numbers, -3), three);
  ExpectError(9, 1, three, LongArray(numbers, -3));
}

TEST_P(FaultyArray, AtTheEndOfAllIndicesIsError9) {
  ExpectError(9, 1, LongArray(numbers, kMost - 2), three);
  ExpectError(9, 1, three, LongArray(numbers, kLeast));
}

TEST_P(FaultyArray, IsToldFromItsOwnIndicesInTheReport) {
  const ErrorReport report = ExpectError(9, 2, three, LongArray(numbers, 1));
  EXPECT_EQ(report.parameters,
            "<NumMessages>2</NumMessages>\r\n"
            "<MessageIDs Index=\"0\">8</MessageIDs>\r\n<MessageIDs Index=\"1\">9</MessageIDs>\r\n"
            "<MessageIDs Index=\"2\">8</MessageIDs>\r\n"
            "<MessageData Index=\"1\">8</MessageData>\r\n"
            "<MessageData Index=\"2\">9</MessageData>\r\n"
            "<MessageData Index=\"3\">8</MessageData>\r\n");
}

TEST_P(FaultyArray, ComesAfterEveryStatus) {
  EXPECT_EQ(RunWith(-1, three, LongArray()), S_BAD_PARAMETER);
  EXPECT_EQ(RunWith(30, three, LongArray()), S_MSG_TOO_LONG);
  numbers[2] = IsTest() ? 99 : 7;
  EXPECT_EQ(RunWith(3, three, LongArray()), S_BAD_PARAMETER);
  EXPECT_EQ(RunWith(5, LongArray(numbers, 1), three), S_BAD_PARAMETER)
      << "those that are there are looked at";
}

TEST_P(FaultyArray, ComesBeforeTheSimulatorAndBeforeAClosedPort) {
  TheWorld().SetNumber(kSimulatorKey, "", 1);
  ExpectError(9, 3, LongArray(), three);
  TheWorld().registry.erase(kSimulatorKey);
  zentrel->DeviceClose();
  TheWorld().TakeJournal();
  ExpectError(9, 3, LongArray(), three);
}

TEST_P(AnyTelic2Command, AnArrayMayBeginBelow0) {
  Open(true);
  Port().Answer(reply);
  Numbers identifiers{7, 7, 8, 9};
  Numbers values{1, 2, 3, 4};
  EXPECT_EQ(RunWith(2, LongArray(identifiers, -2), LongArray(values, -2)), S_OKAY);
  EXPECT_EQ(Port().written[0][4], 8);
  EXPECT_EQ(values[0], 1);
  EXPECT_EQ(values[1], 2);
  if (!IsWrite()) {
    EXPECT_EQ(values[2], 0x1234);
    EXPECT_EQ(values[3], 0xABCD);
  }
}

TEST_P(AnyTelic2Command, MarksTheEntriesThatAReplyHasFilledAndNoOther) {
  Open(true);
  ids = {8, 9, 8};
  data = {0x1234, 0xABCD, 0};
  std::array<bool, 3> stored{};
  const LongArray values(data, 0, stored);
  EXPECT_EQ(RunWith(2, LongArray(ids, 0), values), S_TIMEOUT);
  EXPECT_EQ(stored, (std::array{false, false, false}));
  Port().Answer(reply);
  EXPECT_EQ(RunWith(2, LongArray(ids, 0), values), S_OKAY);
  EXPECT_EQ(stored, (std::array{!IsWrite(), !IsWrite(), false}));
}

TEST_P(AnyTelic2Command, MarksNothingWhenItEndsInAStatusBeforeItSends) {
  std::array<bool, 17> stored{};
  Numbers values(17);
  Numbers identifiers(17, 10);
  const LongArray marked(values, 0, stored);
  EXPECT_EQ(RunWith(17, LongArray(identifiers, 0), marked), S_MSG_TOO_LONG);
  EXPECT_EQ(RunWith(-1, LongArray(identifiers, 0), marked), S_BAD_PARAMETER);
  EXPECT_EQ(RunWith(1, LongArray(identifiers, 0), marked), S_BAD_PORT);
  EXPECT_EQ(std::ranges::count(stored, true), 0);
}

// --- The simulator ---

TEST_P(AnyTelic2Command, MarksWhatTheSimulatorHasFilled) {
  TheWorld().SetNumber(kSimulatorKey, "", 1);
  ids = {8, 9};
  data = {0, 0};
  std::array<bool, 2> stored{};
  EXPECT_EQ(RunWith(1, LongArray(ids, 0), LongArray(data, 0, stored)), S_OKAY);
  EXPECT_EQ(stored, (std::array{IsRead(), false}));
}

TEST_P(AnyTelic2Command, IsAnsweredFromTheRegistryWithTheSimulatorOnAndTouchesNothingElse) {
  Open(true);
  TheWorld().SetNumber(kSimulatorKey, "", 1);
  SetNumber(kSimulatorKey, "TELIC2\\8", 0x12345678);
  SetNumber(kSimulatorKey, "TELIC2\\9", -2);
  EXPECT_EQ(Run({8, 9}, {5, 6}), S_OKAY);
  ExpectNothingDone();
  EXPECT_EQ(ids, (Numbers{8, 9}));
  EXPECT_EQ(data, IsRead() ? (Numbers{0x12345678, -2}) : (Numbers{5, 6}));
  EXPECT_EQ(TheWorld().dialogs_shown, 0);
}

TEST_P(AnyTelic2Command, IsAnsweredFromTheRegistryWithTheSimulatorOnBeforeAClosedPort) {
  TheWorld().SetNumber(kSimulatorKey, "", 1);
  EXPECT_EQ(Run({8, 9}), S_OKAY);
  ExpectNothingDone();
}

TEST_P(AnyTelic2Command, OnlyASimulatedWriteChangesTheRegistry) {
  simulator::ForgetUnsavedSimulatorValues();
  TheWorld().SetNumber(kSimulatorKey, "", 1);
  EXPECT_EQ(Run({8, 9}, {5, -1}), S_OKAY);
  const auto& stored = TheWorld().registry[kSimulatorKey];
  EXPECT_EQ(stored.size(), IsWrite() ? 3U : 1U);
  EXPECT_EQ(TheWorld().registry.count(kSimulatorKey + "\\TELIC2"), 0U);
  if (!IsWrite()) return;
  const fakes::StoredValue& eight = stored.at("TELIC2\\8");
  EXPECT_EQ(eight.type, 4U);
  EXPECT_EQ(eight.bytes, std::string("\5\0\0\0", 4));
  EXPECT_EQ(stored.at("TELIC2\\9").bytes, "\xFF\xFF\xFF\xFF");
}

TEST_P(AnyTelic2Command, WithoutMessagesTheSimulatorNeedsNoArray) {
  TheWorld().SetNumber(kSimulatorKey, "", 1);
  EXPECT_EQ(RunWith(0, LongArray(), LongArray()), S_OKAY);
}

TEST_P(AnyTelic2Command, TheSimulatorLeavesEntriesBeyondTheMessagesAlone) {
  TheWorld().SetNumber(kSimulatorKey, "", 1);
  ids = {8, 9};
  data = {1, 2};
  EXPECT_EQ(RunOver(GetParam(), 1), S_OKAY);
  EXPECT_EQ(data[1], 2);
  EXPECT_FALSE(TheWorld().registry[kSimulatorKey].contains("TELIC2\\9"));
}

class SimulatedMessages : public Telic2Test<ZentrelTest> {
 protected:
  void SetUp() override {
    Telic2Test<ZentrelTest>::SetUp();
    simulator::ForgetUnsavedSimulatorValues();
    TheWorld().SetNumber(kSimulatorKey, "", 1);
  }
};

TEST_F(SimulatedMessages, ThatWereNeverWrittenReadAs0) {
  EXPECT_EQ(Run(kReadCommand, {8, 12}), S_OKAY);
  EXPECT_EQ(data, (Numbers{0, 0}));
}

TEST_F(SimulatedMessages, ReadAsTheyWereWrittenWhateverTheirLength) {
  const Numbers written{kMost, kLeast, -1, 0x123456};
  EXPECT_EQ(Run(kWriteCommand, {8, 9, 10, 11}, written), S_OKAY);
  EXPECT_EQ(Run(kReadCommand, {8, 9, 10, 11}), S_OKAY);
  EXPECT_EQ(data, written);
}

TEST_F(SimulatedMessages, OfAnObjectAreReadByAnother) {
  EXPECT_EQ(Run(kWriteCommand, {12}, {77}), S_OKAY);
  zentrel = Zentrel::Create();
  EXPECT_EQ(Run(kReadCommand, {12}), S_OKAY);
  EXPECT_EQ(data, (Numbers{77}));
}

TEST_F(SimulatedMessages, NoMessageReadsAsAnyOtherIdentifier) {
  SetNumber(kSimulatorKey, "TELIC2\\-1", 9);
  EXPECT_EQ(Run(kReadCommand, {-1, 8}), S_OKAY);
  EXPECT_EQ(data, (Numbers{9, 0}));
}

TEST_F(SimulatedMessages, TheLastOfTwoWritesOfOneMessageStands) {
  EXPECT_EQ(Run(kWriteCommand, {8, 8}, {1, 2}), S_OKAY);
  EXPECT_EQ(Run(kReadCommand, {8, 8}), S_OKAY);
  EXPECT_EQ(data, (Numbers{2, 2}));
}

TEST_F(SimulatedMessages, StoredAsTextAreItsNumberAndAnythingElseIs0) {
  SetText(kSimulatorKey, "TELIC2\\8", "17");
  SetText(kSimulatorKey, "TELIC2\\9", "many");
  TheWorld().registry[kSimulatorKey]["TELIC2\\10"] = {3, "\1\1\1\1"};
  EXPECT_EQ(Run(kReadCommand, {8, 9, 10}), S_OKAY);
  EXPECT_EQ(data, (Numbers{17, 0, 0}));
}

TEST_F(SimulatedMessages, ThatCannotBeReadAre0) {
  SetNumber(kSimulatorKey, "TELIC2\\8", 5);
  TheWorld().registry_fault = [](const std::string&, const std::string& subject) {
    return subject == "TELIC2\\8" ? std::optional<std::int32_t>(5) : std::nullopt;
  };
  EXPECT_EQ(Run(kReadCommand, {8}), S_OKAY);
  EXPECT_EQ(data, (Numbers{0}));
}

TEST_P(AnyTelic2Command, EveryStatusComesBeforeTheSimulator) {
  TheWorld().SetNumber(kSimulatorKey, "", 1);
  EXPECT_EQ(Run({IsTest() ? 99 : 7}), S_BAD_PARAMETER);
  EXPECT_EQ(Run(Numbers(17, 10)), S_MSG_TOO_LONG);
  EXPECT_EQ(RunOver(GetParam(), -1), S_BAD_PARAMETER);
}

TEST_P(AnyTelic2Command, AsksForTheSimulatorOnceAfterEveryStatus) {
  Open(true);
  const auto asked = [&](const Numbers& identifiers) {
    TheWorld().opened_paths.clear();
    Run(identifiers);
    return std::ranges::count(TheWorld().opened_paths, kSimulatorKey);
  };
  EXPECT_EQ(asked({8, 9}), 1);
  EXPECT_EQ(asked({IsTest() ? 99 : 7}), 0);
  EXPECT_EQ(asked(Numbers(17, 10)), 0);
}

// --- The exchange ---

TEST_P(AnyTelic2Command, ABoxThatIsNotElectricGetsTheFrameOnce) {
  OpenBox(true, 0xA5);
  Port().written.clear();
  const auto start = TheWorld().now;
  EXPECT_EQ(Run({8, 9}), S_TIMEOUT);
  EXPECT_EQ(Port().written.size(), 1U);
  EXPECT_EQ(TheWorld().now - start, Milliseconds(2500));
}

TEST_P(AnyTelic2Command, AnElectricBoxIsWokenByResendingTheFrame) {
  OpenBox(true, 0xA6);
  Port().written.clear();
  const auto start = TheWorld().now;
  EXPECT_EQ(Run({8, 9}), S_TIMEOUT);
  EXPECT_EQ(Port().written.size(), static_cast<std::size_t>(GetParam().electric_sends));
  EXPECT_EQ(TheWorld().now - start, Milliseconds(500) * GetParam().electric_sends);
  for (const Bytes& frame : Port().written) EXPECT_EQ(frame, Port().written[0]);

  Port().written.clear();
  Port().StaySilent(3);
  Port().Answer(reply);
  EXPECT_EQ(Run({8, 9}), S_OKAY);
  EXPECT_EQ(Port().written.size(), 4U);
}

TEST_P(AnyTelic2Command, TheRestOfAReplyGets12500Milliseconds) {
  Open(true);
  const Bytes rest(reply.begin() + 1, reply.end());
  Port().reactions.push_back({{{reply[0]}}, {rest, Milliseconds(12500)}});
  EXPECT_EQ(Run({8, 9}), S_OKAY);
  Port().reactions.push_back({{{reply[0]}}, {rest, Milliseconds(12501)}});
  EXPECT_EQ(Run({8, 9}), S_BAD_RESPONSE);
}

TEST_P(AnyTelic2Command, AFaultInTheExchangeIsReportedOnceAndStillSwitchesPowerOff) {
  Open(true);
  Port().device = [](std::span<const std::uint8_t>) -> fakes::Reaction { throw std::bad_alloc(); };
  const ErrorReport report = ReportOf([&] { Run({8, 9}); });
  EXPECT_EQ(report.ErrorNumber, 7);
  EXPECT_EQ(report.procedure, "ZentrelTxRx");
  EXPECT_EQ(TheWorld().journal.back(), "event False");
}

TEST_P(AnyTelic2Command, AfterAFaultInTheExchangeOnDemandTheSupplyGoesOffInTheEnd) {
  Open(false);
  Port().device = [](std::span<const std::uint8_t>) -> fakes::Reaction { throw std::bad_alloc(); };
  ReportOf([&] { Run({8, 9}); });
  EXPECT_TRUE(Port().lines.dtr);
  TheWorld().Pump(Milliseconds(60'000));
  EXPECT_FALSE(Port().lines.dtr);
}

TEST_P(AnyTelic2Command, APortThatVanishesDuringTheExchangeIsATimeout) {
  Open(true);
  Port().device = [&](std::span<const std::uint8_t>) {
    Port().vanished = true;
    return fakes::Reaction{};
  };
  EXPECT_EQ(Run({8, 9}), S_TIMEOUT);
}

TEST_P(AnyTelic2Command, AClientThatClosesThePortInTheEventMakesItATimeout) {
  Open(true);
  on_event = [&](bool on) {
    if (on) zentrel->DeviceClose();
  };
  EXPECT_EQ(Run({8, 9}), S_TIMEOUT);
  EXPECT_TRUE(Port().written.empty());
}

TEST_P(AnyTelic2Command, ACallFromWithinTheEventIsServedAndTheOuterOneGoesOn) {
  Open(true);
  Port().Answer(reply);
  Port().Answer(reply);
  ZentrelStatus inner = S_BAD_PORT;
  Numbers inner_ids{8, 9};
  Numbers inner_data{0, 0};
  bool nested = false;
  on_event = [&](bool) {
    if (std::exchange(nested, true)) return;
    inner = RunWith(2, LongArray(inner_ids, 0), LongArray(inner_data, 0));
  };
  EXPECT_EQ(Run({8, 9}), S_OKAY);
  EXPECT_EQ(inner, S_OKAY);
  EXPECT_EQ(Port().written.size(), 2U);
}

// --- The catalog ---

TEST_P(AnyTelic2Command, EachLengthIsLookedUpOnceACommand) {
  Open(true);
  TheWorld().opened_paths.clear();
  Port().Answer({0x7E, 0x20, 0xC7, 0x08, 8, 0, 1, 8, 0, 2, 10, 0});
  Run({8, 8, 10});
  const std::string parent = IsTest() ? TestMessages("Meter") : kMessages;
  const auto lookups = [&](const char* message) {
    return std::ranges::count(TheWorld().opened_paths, parent + '\\' + message);
  };
  // A test has two lengths.
  EXPECT_EQ(lookups("8"), IsTest() ? 2 : 1);
  EXPECT_EQ(lookups("10"), IsTest() ? 2 : 1);
}

TEST_P(AnyTelic2Command, ACatalogThatChangesInTheMiddleChangesNothing) {
  Open(true);
  Port().device = [&](std::span<const std::uint8_t>) {
    TheWorld().registry.clear();
    return fakes::Reaction{{reply}};
  };
  EXPECT_EQ(Run({8, 9}, {1, 2}), S_OKAY);
  EXPECT_EQ(data, IsWrite() ? (Numbers{1, 2}) : (Numbers{0x1234, 0xABCD}));
}

TEST_P(AnyTelic2Command, ACatalogThatChangesBetweenJudgingAndPackingChangesNothing) {
  Open(true);
  Port().Answer(reply);
  int queries = 0;
  const int lengths = IsTest() ? 4 : 2;
  TheWorld().before_query = [&] {
    if (++queries != lengths) return;
    // From the length of the second message on.
    SetMessage(8, 4);
    SetTest("Meter", 8, 4, 4);
  };
  EXPECT_EQ(Run({8, 9}, {1, 2}), S_OKAY);
  EXPECT_EQ(Port().written[0].size(), IsRead() ? 6U : 10U);
  EXPECT_EQ(data, IsWrite() ? (Numbers{1, 2}) : (Numbers{0x1234, 0xABCD}));
}

TEST_P(AnyTelic2Command, ACatalogThatCannotBeReadMakesMessagesUnknown) {
  Open(true);
  TheWorld().open_result = 5;
  EXPECT_EQ(Run({8, 9}), IsTest() ? S_OKAY : S_BAD_PARAMETER);
}

}  // namespace
}  // namespace qmzentrel::tests
