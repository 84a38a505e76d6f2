// The diagnostic trace on the real platform, as the bytes that its file then holds.
#include <gtest/gtest.h>
#include <windows.h>

#include <memory>
#include <string>

#include "support/CDebugLog.h"
#include "tests/contract/harness.h"

namespace qmzentrel {
namespace {

using contract::FileBytes;
using contract::FreshFilePath;

// A stamp of one length that no clock changes.
constexpr const char* kStamp = "\"stamp\"";
const std::string kOpened = "stamp  INFO   **** Log opened. ****\r\n";
const std::string kClosed = "stamp  INFO   **** Log closed. ****\r\n";

class DebugLogFile : public testing::Test {
 protected:
  static std::unique_ptr<CDebugLog> Started(const std::string& path, bool overwrite,
                                            std::int32_t event_types = -1) {
    auto log = std::make_unique<CDebugLog>();
    log->TimeStampMask(kStamp);
    log->StartLog(path, overwrite, event_types);
    return log;
  }
};

TEST_F(DebugLogFile, HoldsEachLineWithCarriageReturnAndLineFeedAtOnce) {
  const std::string path = FreshFilePath("lines.log");
  const auto log = Started(path, true);
  EXPECT_EQ(FileBytes(path), kOpened);
  log->DebugOutput("a\r\nb\nc\rd", CDebugLog::kError, false, false);
  EXPECT_EQ(FileBytes(path), kOpened + "stamp  ERROR  a b c d\r\n");
  log->DebugOutput("", CDebugLog::kResource, false, false);
  EXPECT_EQ(FileBytes(path), kOpened + "stamp  ERROR  a b c d\r\nstamp  *RES*  \r\n");
  log->CloseLog();
  EXPECT_EQ(FileBytes(path), kOpened + "stamp  ERROR  a b c d\r\nstamp  *RES*  \r\n" + kClosed);
}

TEST_F(DebugLogFile, IsContinuedAfterAnEmptyLine) {
  const std::string path = FreshFilePath("continued.log");
  Started(path, false).reset();
  EXPECT_EQ(FileBytes(path), kOpened + kClosed);
  Started(path, false).reset();
  EXPECT_EQ(FileBytes(path), kOpened + kClosed + "\r\n" + kOpened + kClosed);
}

TEST_F(DebugLogFile, IsBegunAfreshWhenItIsToBeOverwritten) {
  const std::string path = FreshFilePath("overwritten.log");
  auto log = Started(path, false);
  log->DebugOutput("of the run before", CDebugLog::kError, false, false);
  log.reset();
  Started(path, true).reset();
  EXPECT_EQ(FileBytes(path), kOpened + kClosed);
}

TEST_F(DebugLogFile, TakesTheEventTypesOfItsMaskAndForcedEntries) {
  const std::string path = FreshFilePath("masked.log");
  const auto log = Started(path, true, CDebugLog::kError | CDebugLog::kResource);
  for (const std::int32_t type : {1, 2, 4, 8, 16}) log->DebugOutput("x", type, false, false);
  log->EventTypes(CDebugLog::kWarning);
  for (const std::int32_t type : {1, 2}) log->DebugOutput("y", type, false, false);
  log->EventTypes(0);
  log->DebugOutput("z", CDebugLog::kWindowProcedure, true, false);
  EXPECT_EQ(FileBytes(path), kOpened + "stamp  ERROR  x\r\nstamp  *RES*  x\r\n" +
                                 "stamp  WARN   y\r\nstamp  WPROC  z\r\n");
}

TEST_F(DebugLogFile, OfASecondStartFollowsTheClosingLineOfTheFirst) {
  const std::string first = FreshFilePath("first_run.log");
  const std::string second = FreshFilePath("second_run.log");
  const auto log = Started(first, true);
  log->StartLog(second, true, -1);
  EXPECT_EQ(FileBytes(first), kOpened + kClosed);
  EXPECT_EQ(FileBytes(second), kOpened);
}

TEST_F(DebugLogFile, CarriesTheTimeOfTheEvent) {
  const std::string path = FreshFilePath("stamped.log");
  CDebugLog log;
  log.StartLog(path, true, -1);
  const std::string bytes = FileBytes(path).value_or("");
  // "22 Nov 2026, 01:02:03" and the line; the month is as the user's locale has it.
  ASSERT_TRUE(bytes.ends_with("  INFO   **** Log opened. ****\r\n")) << bytes;
  SYSTEMTIME now;
  GetLocalTime(&now);
  EXPECT_NE(bytes.find(std::to_string(now.wYear) + ", "), std::string::npos) << bytes;
  EXPECT_EQ(bytes[bytes.find(", ") + 4], ':') << bytes;
}

}  // namespace
}  // namespace qmzentrel
