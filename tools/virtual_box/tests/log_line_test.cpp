#include "tools/virtual_box/log_line.h"

#include <gtest/gtest.h>

#include "tools/virtual_box/frame_log.h"

namespace qmzentrel::virtual_box {
namespace {

const LogLine kFrame{
    Time(81236412345), Time(6875000), LogMark::kFromBox, {0x21, 0xA6}, "Box Status reply"};
const LogLine kSupplyOn{Time(1), Time(0), LogMark::kEvent, {}, "supply on"};

TEST(LogLineText, ShowsTimesDirectionBytesAndMeaning) {
  EXPECT_EQ(FormatLogLine(kFrame), "81236.412 +6.875 < 21 A6 ; Box Status reply");
  EXPECT_EQ(FormatLogLine(kSupplyOn), "0.000 +0.000 ! ; supply on");
}

TEST(LogLineText, IsReadBack) {
  const auto frame = ParseLogLine(FormatLogLine(kFrame));
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->start, std::chrono::microseconds(81236412));
  EXPECT_EQ(frame->duration, std::chrono::microseconds(6875));
  EXPECT_EQ(frame->mark, LogMark::kFromBox);
  EXPECT_EQ(frame->bytes, kFrame.bytes);
  EXPECT_EQ(frame->meaning, kFrame.meaning);
  EXPECT_TRUE(frame->IsFrame());
  const auto event = ParseLogLine(FormatLogLine(kSupplyOn));
  ASSERT_TRUE(event);
  EXPECT_FALSE(event->IsFrame());
}

TEST(LogLineText, IsRefusedWhenItIsNone) {
  for (const char* text : {"", "81236.412 +6.875 < 21", "x +1.000 < 21 ; m", "1.000 +1.000 ? ; m",
                           "1.000 +1.000 < 2 ; m", "1.0 +1.000 < ; m", "1,000 +1.000 < ; m"}) {
    EXPECT_FALSE(ParseLogLine(text)) << text;
  }
}

TEST(FrameLogKeeping, CountsFramesAndNotEvents) {
  FrameLog log;
  std::vector<std::string> seen;
  log.AddSink([&seen](const std::string& text) { seen.push_back(text); });
  log.Add(kFrame);
  log.Add(kSupplyOn);
  EXPECT_EQ(log.FrameCount(), 1U);
  EXPECT_EQ(log.Lines().size(), 2U);
  EXPECT_EQ(seen.size(), 2U);
  log.Clear();
  EXPECT_EQ(log.FrameCount(), 0U);
  EXPECT_TRUE(log.Lines().empty());
}

TEST(FrameLogKeeping, ForgetsTheOldestLinesBeforeItFillsTheMemory) {
  FrameLog log;
  log.Add(kSupplyOn);
  for (std::size_t i = 0; i < FrameLog::kKeptLines; ++i) log.Add(kFrame);
  EXPECT_EQ(log.Lines().size(), FrameLog::kKeptLines);
  EXPECT_EQ(log.Lines().front(), FormatLogLine(kFrame));
  EXPECT_EQ(log.FrameCount(), FrameLog::kKeptLines);
}

}  // namespace
}  // namespace qmzentrel::virtual_box
