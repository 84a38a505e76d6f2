// The diagnostic trace: what reaches the file, what reaches the debugger channel, and how it looks.
#include "support/CDebugLog.h"

#include <algorithm>

#include "tests/core/core_test.h"

namespace qmzentrel::tests {
namespace {

using Lines = std::vector<std::string>;

const std::string kPath = "C:\\logs\\zentrel.log";
const std::string kOtherPath = "C:\\logs\\other.log";
const std::string kStamp = "16 Nov 2026, 01:47:02";
const std::string kOpened = kStamp + "  INFO   **** Log opened. ****";
const std::string kClosed = kStamp + "  INFO   **** Log closed. ****";

class DebugLog : public CoreTest {
 protected:
  void SetUp() override {
    CoreTest::SetUp();
    // A quarter past the second, so that no rounding decides which second is shown.
    TheWorld().wall_start_days = 46342.0 + (1 * 3600 + 47 * 60 + 2.25) / 86400.0;
  }

  /// Starts the log afresh, with these masks, and forgets what the debugger saw of that.
  void Start(std::int32_t event_types = -1, std::int32_t debugger_event_types = -1) {
    log.StartLog(kPath, true, event_types, debugger_event_types);
    TakeDebuggerLines();
  }

  void Output(const std::string& text, std::int32_t event_type = CDebugLog::kInformation,
              bool force = false) {
    log.DebugOutput(text, event_type, force, false);
  }

  static std::string File(const std::string& path = kPath) { return TheWorld().files[path]; }

  /// The lines of the file after the opening line.
  static std::string Written() {
    const std::string opening = kOpened + "\r\n";
    EXPECT_TRUE(File().starts_with(opening)) << File();
    return File().substr(std::min(opening.size(), File().size()));
  }

  static Lines TakeDebuggerLines() { return std::exchange(TheWorld().debugger_lines, {}); }

  CDebugLog log;
};

// --- The line ---

TEST_F(DebugLog, ALineIsTheTimeStampTheLabelAndTheTextWithNothingBetween) {
  Output("ReadXpdr");
  EXPECT_EQ(TakeDebuggerLines(), (Lines{"16 Nov 2026, 01:47:02  INFO   ReadXpdr"}));
}

TEST_F(DebugLog, EachEventTypeHasALabelOfNineCharacters) {
  const std::pair<std::int32_t, std::string> labels[] = {
      {1, "  ERROR  "},  {2, "  WARN   "},  {4, "  INFO   "}, {8, "  WPROC  "},
      {16, "  *RES*  "}, {32, "  CHECK  "}, {3, "  CHECK  "},  // a combination of flags is no type
      {5, "  CHECK  "},  {64, "  CHECK  "}, {-1, "  CHECK  "}};
  for (const auto& [type, label] : labels) {
    Output("x", type);
    EXPECT_EQ(TakeDebuggerLines(), Lines{kStamp + label + "x"}) << type;
    EXPECT_EQ(label.size(), 9U);
  }
}

TEST_F(DebugLog, TheNamedEventTypesAreThePublishedFlags) {
  EXPECT_EQ(CDebugLog::kError, 1);
  EXPECT_EQ(CDebugLog::kWarning, 2);
  EXPECT_EQ(CDebugLog::kInformation, 4);
  EXPECT_EQ(CDebugLog::kWindowProcedure, 8);
  EXPECT_EQ(CDebugLog::kResource, 16);
}

TEST_F(DebugLog, TheTimeStampIsThatOfTheEvent) {
  Output("a");
  TheWorld().Advance(Milliseconds(3'000));
  Output("b");
  TheWorld().Advance(Milliseconds(24 * 3'600'000));
  Output("c");
  EXPECT_EQ(TakeDebuggerLines(),
            (Lines{"16 Nov 2026, 01:47:02  INFO   a", "16 Nov 2026, 01:47:05  INFO   b",
                   "17 Nov 2026, 01:47:05  INFO   c"}));
}

TEST_F(DebugLog, TheHoursAreThoseOfThe24HourClock) {
  TheWorld().SetClock(23 * 3600 + 5 * 60 + 9.25);
  Output("late");
  EXPECT_EQ(TakeDebuggerLines(), (Lines{"16 Nov 2026, 23:05:09  INFO   late"}));
}

TEST_F(DebugLog, TheTimeStampMaskCanBeReplaced) {
  log.TimeStampMask("yyyy");
  EXPECT_EQ(log.TimeStampMask(), "yyyy");
  Output("x");
  EXPECT_EQ(TakeDebuggerLines(), (Lines{"2026  INFO   x"}));
}

TEST_F(DebugLog, EveryTextIsFlattenedToOneLine) {
  const std::pair<std::string, std::string> texts[] = {{"a\r\nb", "a b"},    {"a\nb", "a b"},
                                                       {"a\rb", "a b"},      {"a\r\n\r\nb", "a  b"},
                                                       {"a\r\r\nb", "a  b"}, {"a\n\rb", "a  b"},
                                                       {"\r\na\r\n", " a "}, {"a\r", "a "},
                                                       {"a\tb", "a\tb"},     {"", ""}};
  for (const auto& [text, flat] : texts) {
    Output(text);
    EXPECT_EQ(TakeDebuggerLines(), Lines{kStamp + "  INFO   " + flat});
  }
}

TEST_F(DebugLog, ALineReachesFileAndDebuggerAlike) {
  Start();
  Output("a\r\nb", CDebugLog::kWarning);
  EXPECT_EQ(Written(), kStamp + "  WARN   a b\r\n");
  EXPECT_EQ(TakeDebuggerLines(), Lines{kStamp + "  WARN   a b"});
}

TEST_F(DebugLog, ALineIsInTheAnsiCodePage) {
  Start();
  Output("caf\xC3\xA9");
  EXPECT_EQ(Written(), kStamp + "  INFO   caf\xE9\r\n");
  EXPECT_EQ(TakeDebuggerLines(), Lines{kStamp + "  INFO   caf\xE9"});
}

// --- The masks ---

TEST_F(DebugLog, AFreshLogPassesEveryTypeToTheDebuggerAndHasNoFile) {
  EXPECT_EQ(log.EventTypes(), -1);
  EXPECT_EQ(log.DebuggerEventTypes(), -1);
  EXPECT_EQ(log.AssertEventTypes(), -1);
  EXPECT_EQ(log.TimeStampMask(), "dd mmm yyyy, Hh:Nn:Ss");
  for (const std::int32_t type : {1, 2, 4, 8, 16, 32, 0x40000000}) Output("x", type);
  EXPECT_EQ(TakeDebuggerLines().size(), 7U);
  EXPECT_TRUE(TheWorld().files.empty());
}

TEST_F(DebugLog, AnEventTypeWithoutABitPassesNoMask) {
  Start();
  Output("x", 0);
  EXPECT_EQ(Written(), "");
  EXPECT_EQ(TakeDebuggerLines(), Lines{});
}

TEST_F(DebugLog, StartLogLeavesTheMaskOfTheFileAsGiven) {
  Start(-1);
  EXPECT_EQ(log.EventTypes(), -1);
  Start(0);
  EXPECT_EQ(log.EventTypes(), 0);
  Start(6);
  EXPECT_EQ(log.EventTypes(), 6);
}

TEST_F(DebugLog, StartLogWithoutTheOtherMasksSendsTypes1To16ToTheDebuggerAndStopsOnErrors) {
  log.StartLog(kPath, true, 6);
  EXPECT_EQ(log.DebuggerEventTypes(), 31);
  EXPECT_EQ(log.AssertEventTypes(), 1);
}

TEST_F(DebugLog, StartLogTakesTheOtherMasksAsGiven) {
  log.StartLog(kPath, true, 6, 2, 0);
  EXPECT_EQ(log.DebuggerEventTypes(), 2);
  EXPECT_EQ(log.AssertEventTypes(), 0);
  log.StartLog(kPath, true, 6, 0, 16);
  EXPECT_EQ(log.DebuggerEventTypes(), 0);
  EXPECT_EQ(log.AssertEventTypes(), 16);
}

TEST_F(DebugLog, AStartedLogKeepsTypesFrom32OnFromTheDebugger) {
  Start();
  Output("x", 16);
  Output("y", 32);
  EXPECT_EQ(TakeDebuggerLines(), Lines{kStamp + "  *RES*  x"});
  EXPECT_EQ(Written(), kStamp + "  *RES*  x\r\n" + kStamp + "  CHECK  y\r\n");
}

TEST_F(DebugLog, OneBitInCommonWithAMaskIsEnough) {
  Start(2, 2);
  Output("x", 3);
  EXPECT_EQ(Written(), kStamp + "  CHECK  x\r\n");
  EXPECT_EQ(TakeDebuggerLines(), Lines{kStamp + "  CHECK  x"});
}

TEST_F(DebugLog, FileAndDebuggerAreMaskedIndependently) {
  Start(1, 2);
  Output("for the file", 1);
  Output("for the debugger", 2);
  Output("for nobody", 4);
  EXPECT_EQ(Written(), kStamp + "  ERROR  for the file\r\n");
  EXPECT_EQ(TakeDebuggerLines(), Lines{kStamp + "  WARN   for the debugger"});
}

TEST_F(DebugLog, AForcedEntryPassesBothMasks) {
  Start(0, 0);
  Output("masked");
  EXPECT_EQ(Written(), "");
  EXPECT_EQ(TakeDebuggerLines(), Lines{});
  Output("forced", 4, true);
  Output("forced without a type", 0, true);
  EXPECT_EQ(Written(),
            kStamp + "  INFO   forced\r\n" + kStamp + "  CHECK  forced without a type\r\n");
  EXPECT_EQ(TakeDebuggerLines().size(), 2U);
}

TEST_F(DebugLog, TheMasksCanBeChangedWhileTheLogIsOpen) {
  Start(0, 0);
  log.EventTypes(4);
  Output("a");
  log.EventTypes(0);
  log.DebuggerEventTypes(4);
  Output("b");
  EXPECT_EQ(log.EventTypes(), 0);
  EXPECT_EQ(log.DebuggerEventTypes(), 4);
  EXPECT_EQ(Written(), kStamp + "  INFO   a\r\n");
  EXPECT_EQ(TakeDebuggerLines(), Lines{kStamp + "  INFO   b"});
}

TEST_F(DebugLog, StopOnErrorAndTheAssertMaskChangeNothingOfTheOutput) {
  Start();
  log.AssertEventTypes(0);
  log.DebugOutput("a", 1, false, true);
  log.AssertEventTypes(-1);
  EXPECT_EQ(log.AssertEventTypes(), -1);
  log.DebugOutput("b", 1, false, true);
  log.DebugOutput("c", 1, false, false);
  EXPECT_EQ(Written(),
            kStamp + "  ERROR  a\r\n" + kStamp + "  ERROR  b\r\n" + kStamp + "  ERROR  c\r\n");
  EXPECT_EQ(TakeDebuggerLines().size(), 3U);
}

// --- Opening and closing ---

TEST_F(DebugLog, StartLogWritesTheOpeningLine) {
  log.StartLog(kPath, true, -1);
  EXPECT_EQ(File(), kOpened + "\r\n");
  EXPECT_EQ(TakeDebuggerLines(), Lines{kOpened});
}

TEST_F(DebugLog, TheOpeningAndTheClosingLinePassEveryMask) {
  log.StartLog(kPath, true, 0, 0);
  log.CloseLog();
  EXPECT_EQ(File(), kOpened + "\r\n" + kClosed + "\r\n");
  EXPECT_EQ(TakeDebuggerLines(), (Lines{kOpened, kClosed}));
}

TEST_F(DebugLog, AppendingToAFileThatHoldsSomethingBeginsWithAnEmptyLine) {
  for (const std::string before : {"before\r\n", "\n"}) {
    TheWorld().files[kPath] = before;
    log.StartLog(kPath, false, -1);
    EXPECT_EQ(File(), before + "\r\n" + kOpened + "\r\n");
    log.CloseLog();
  }
}

TEST_F(DebugLog, AppendingToAnEmptyOrANewFileBeginsAtOnce) {
  TheWorld().files[kPath] = "";
  log.StartLog(kPath, false, -1);
  EXPECT_EQ(File(), kOpened + "\r\n");
  log.StartLog(kOtherPath, false, -1);
  EXPECT_EQ(File(kOtherPath), kOpened + "\r\n");
}

TEST_F(DebugLog, OverwritingDropsWhatTheFileHeld) {
  TheWorld().files[kPath] = "before\r\n";
  log.StartLog(kPath, true, -1);
  EXPECT_EQ(File(), kOpened + "\r\n");
}

TEST_F(DebugLog, StartLogTwiceClosesTheFirstFileBeforeTheSecondIsOpened) {
  log.StartLog(kPath, true, -1);
  log.StartLog(kOtherPath, true, -1);
  Output("x");
  EXPECT_EQ(File(), kOpened + "\r\n" + kClosed + "\r\n");
  EXPECT_EQ(File(kOtherPath), kOpened + "\r\n" + kStamp + "  INFO   x\r\n");
  EXPECT_EQ(TakeDebuggerLines(), (Lines{kOpened, kClosed, kOpened, kStamp + "  INFO   x"}));
}

TEST_F(DebugLog, StartLogTwiceOnTheSameFileKeepsTheRunsApart) {
  log.StartLog(kPath, true, -1);
  log.StartLog(kPath, false, -1);
  EXPECT_EQ(File(), kOpened + "\r\n" + kClosed + "\r\n\r\n" + kOpened + "\r\n");
}

TEST_F(DebugLog, CloseLogWithoutStartLogDoesNothing) {
  log.CloseLog();
  EXPECT_EQ(TakeDebuggerLines(), Lines{});
  EXPECT_TRUE(TheWorld().files.empty());
}

TEST_F(DebugLog, CloseLogTwiceWritesOneClosingLine) {
  Start();
  log.CloseLog();
  log.CloseLog();
  EXPECT_EQ(Written(), kClosed + "\r\n");
  EXPECT_EQ(TakeDebuggerLines(), Lines{kClosed});
}

TEST_F(DebugLog, TheFileIsHeldFromStartLogToCloseLog) {
  log.StartLog(kPath, true, -1);
  EXPECT_TRUE(TheWorld().open_files.contains(kPath));
  log.StartLog(kOtherPath, true, -1);
  EXPECT_FALSE(TheWorld().open_files.contains(kPath));
  log.CloseLog();
  EXPECT_TRUE(TheWorld().open_files.empty());
}

TEST_F(DebugLog, AClosedLogStillFeedsTheDebuggerByItsMask) {
  Start(-1, 2);
  log.CloseLog();
  TakeDebuggerLines();
  Output("a", 2);
  Output("b", 4);
  EXPECT_EQ(Written(), kClosed + "\r\n");
  EXPECT_EQ(TakeDebuggerLines(), Lines{kStamp + "  WARN   a"});
}

TEST_F(DebugLog, ADestroyedLogEndsWithTheClosingLine) {
  {
    CDebugLog short_lived;
    short_lived.StartLog(kPath, true, -1);
    TakeDebuggerLines();
  }
  EXPECT_EQ(Written(), kClosed + "\r\n");
  EXPECT_EQ(TakeDebuggerLines(), Lines{kClosed});
}

TEST_F(DebugLog, ADestroyedLogThatWasNeverStartedWritesNothing) {
  { const CDebugLog short_lived; }
  EXPECT_EQ(TakeDebuggerLines(), Lines{});
}

// --- Failures ---

TEST_F(DebugLog, APathThatCannotBeOpenedLeavesTheDebuggerOutputAtWork) {
  TheWorld().unwritable = {kPath};
  log.StartLog(kPath, true, -1);
  Output("x");
  log.CloseLog();
  EXPECT_EQ(TakeDebuggerLines(), (Lines{kOpened, kStamp + "  INFO   x", kClosed}));
  EXPECT_FALSE(TheWorld().files.contains(kPath));
}

TEST_F(DebugLog, APathThatCannotBeOpenedIsKeptWithAFileNumberAndTheMasks) {
  TheWorld().unwritable = {kPath};
  log.StartLog(kPath, true, 6, 2, 4);
  EXPECT_EQ(log.DumpFields(),
            "<m_lngFileNum>1</m_lngFileNum>\r\n"
            "<m_strFilePath>C:\\logs\\zentrel.log</m_strFilePath>\r\n"
            "<m_lngEventTypes>6</m_lngEventTypes>\r\n"
            "<m_lngDebuggerEventTypes>2</m_lngDebuggerEventTypes>\r\n"
            "<m_lngAssertEventTypes>4</m_lngAssertEventTypes>\r\n"
            "<m_strTimeStampMask>dd mmm yyyy, Hh:Nn:Ss</m_strTimeStampMask>\r\n");
}

TEST_F(DebugLog, AfterAPathThatCannotBeOpenedAnotherCanBeStarted) {
  TheWorld().unwritable = {kPath};
  log.StartLog(kPath, true, -1);
  log.StartLog(kOtherPath, true, -1);
  EXPECT_EQ(File(kOtherPath), kOpened + "\r\n");
}

TEST_F(DebugLog, AfterAnotherFileAPathThatCannotBeOpenedReceivesNothingAndNeitherDoesTheFirst) {
  Start();
  TheWorld().unwritable = {kOtherPath};
  log.StartLog(kOtherPath, true, -1);
  Output("x");
  EXPECT_EQ(Written(), kClosed + "\r\n");
}

TEST_F(DebugLog, ADiskThatRefusesALineDoesNotKeepItFromTheDebugger) {
  Start();
  TheWorld().unwritable = {kPath};
  Output("lost");
  TheWorld().unwritable.clear();
  Output("written");
  EXPECT_EQ(Written(), kStamp + "  INFO   written\r\n");
  EXPECT_EQ(TakeDebuggerLines(), (Lines{kStamp + "  INFO   lost", kStamp + "  INFO   written"}));
}

class DebugLogFault : public DebugLog, public testing::WithParamInterface<const char*> {};

TEST_P(DebugLogFault, IsSkippedAndTheLogGoesOnWorking) {
  TheWorld().out_of_memory_in = {GetParam()};
  EXPECT_NO_THROW(log.StartLog(kPath, true, 6, 6));
  EXPECT_NO_THROW(Output("x"));
  EXPECT_NO_THROW(log.CloseLog());
  EXPECT_NE(log.DumpFields().find("<m_lngFileNum>0<"), std::string::npos);
  EXPECT_EQ(log.EventTypes(), 6);
  TheWorld().out_of_memory_in.clear();
  Start();
  Output("y");
  EXPECT_EQ(Written(), kStamp + "  INFO   y\r\n");
}

INSTANTIATE_TEST_SUITE_P(InEachCall, DebugLogFault,
                         testing::Values("FormatDate", "DebuggerOutput", "TextFile::Open",
                                         "TextFile::WriteLine", "TextFile::Close"));

TEST_F(DebugLog, AFaultInTheFileDoesNotKeepALineFromTheDebugger) {
  Start();
  TheWorld().out_of_memory_in = {"TextFile::WriteLine"};
  Output("x");
  EXPECT_EQ(TakeDebuggerLines(), Lines{kStamp + "  INFO   x"});
}

TEST_F(DebugLog, AFileThatCouldNotBeClosedIsWrittenNoMore) {
  Start();
  TheWorld().out_of_memory_in = {"TextFile::Close"};
  log.CloseLog();
  Output("x");
  EXPECT_EQ(Written(), kClosed + "\r\n");
}

TEST_F(DebugLog, AFaultInTheDebuggerChannelDoesNotKeepALineFromTheFile) {
  Start();
  TheWorld().out_of_memory_in = {"DebuggerOutput"};
  Output("x");
  EXPECT_EQ(Written(), kStamp + "  INFO   x\r\n");
}

// --- The fields ---

TEST_F(DebugLog, TheFieldsAreShownInDeclaredOrder) {
  EXPECT_EQ(log.DumpFields(),
            "<m_lngFileNum>0</m_lngFileNum>\r\n"
            "<m_strFilePath></m_strFilePath>\r\n"
            "<m_lngEventTypes>-1</m_lngEventTypes>\r\n"
            "<m_lngDebuggerEventTypes>-1</m_lngDebuggerEventTypes>\r\n"
            "<m_lngAssertEventTypes>-1</m_lngAssertEventTypes>\r\n"
            "<m_strTimeStampMask>dd mmm yyyy, Hh:Nn:Ss</m_strTimeStampMask>\r\n");
}

TEST_F(DebugLog, TheFileNumberIsZeroAgainAfterClosingAndThePathIsKept) {
  Start();
  EXPECT_TRUE(log.DumpFields().starts_with("<m_lngFileNum>1</m_lngFileNum>\r\n"));
  log.CloseLog();
  EXPECT_TRUE(
      log.DumpFields().starts_with("<m_lngFileNum>0</m_lngFileNum>\r\n"
                                   "<m_strFilePath>" +
                                   kPath + "</m_strFilePath>\r\n"));
}

}  // namespace
}  // namespace qmzentrel::tests
