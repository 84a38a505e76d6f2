// A transponder's record between its fields and the frames of the box.
#include "interface/transponder_record.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "interface/box_facts.h"
#include "support/run_time_error.h"

namespace qmzentrel::tests {
namespace {

using Bytes = std::vector<std::uint8_t>;

FrameBuffer FrameOf(const Bytes& bytes) {
  FrameBuffer frame;
  std::ranges::copy(bytes, frame.Range(0, static_cast<std::int32_t>(bytes.size())).begin());
  return frame;
}

Bytes First(const FrameBuffer& frame, std::int32_t count) {
  const auto bytes = frame.Range(0, count);
  return {bytes.begin(), bytes.end()};
}

const Bytes kBlock1 = {0x35, 17, 0x12, 0x34, 0x56, 9, 0x65, 0x43, 0x21, 0xA7, 0xF4, 0x51};

TEST(TransponderRecord, Block1HasEveryValueInItsPlace) {
  TransponderRecord record;
  record.ParseBlock1(FrameOf(kBlock1));
  EXPECT_EQ(record.m_lngMIF, 5);
  EXPECT_TRUE(record.m_blnIDToggle);
  EXPECT_TRUE(record.m_blnMIFSelect);
  EXPECT_EQ(record.m_lngUtil, 17);
  EXPECT_EQ(record.m_lngXpdrID, 0x123456);
  EXPECT_EQ(record.m_lngTamperCount, 9);
  EXPECT_EQ(record.m_lngReading, 0x654321);
  EXPECT_EQ(record.m_lngPLLWarmup, 10);
  EXPECT_EQ(record.m_lngTXI, 7);
  EXPECT_EQ(record.m_lngMSI, 4);
  EXPECT_EQ(record.m_strXpdrVersion, "5.1");
}

TEST(TransponderRecord, WhatWasReadIsWrittenBackByteByByte) {
  TransponderRecord record;
  record.ParseBlock1(FrameOf(kBlock1));
  Bytes written = kBlock1;
  written[10] = 4;  // the high nibble means nothing
  written[11] = 0;  // the version is not written
  EXPECT_EQ(First(record.Block1Frame(), 12), written);
}

TEST(TransponderRecord, EveryByteOfBlock1ReadsAndWritesTheSame) {
  for (std::size_t place = 0; place <= 10; ++place) {
    for (int value = 0; value < 256; ++value) {
      Bytes block(12);
      block[11] = 0x40;  // a version that carries no leak flag
      block[place] = static_cast<std::uint8_t>(value);
      TransponderRecord record;
      record.ParseBlock1(FrameOf(block));
      EXPECT_TRUE(record.IsInRange()) << place << " " << value;
      if (place == 0) block[0] &= 0x3F;
      if (place == 10) block[10] &= 0x0F;
      block[11] = 0;
      EXPECT_EQ(First(record.Block1Frame(), 12), block) << place << " " << value;
    }
  }
}

TEST(TransponderRecord, IsInRangeUpToTheGreatestNumberOfEachField) {
  struct Field {
    std::int32_t TransponderRecord::*number;
    std::int32_t greatest;
  };
  constexpr Field kFields[] = {
      {&TransponderRecord::m_lngUtil, 255},         {&TransponderRecord::m_lngMIF, 63},
      {&TransponderRecord::m_lngXpdrID, 0xFFFFFF},  {&TransponderRecord::m_lngTamperCount, 255},
      {&TransponderRecord::m_lngReading, 0xFFFFFF}, {&TransponderRecord::m_lngPLLWarmup, 15},
      {&TransponderRecord::m_lngTXI, 15},           {&TransponderRecord::m_lngMSI, 15}};
  for (const Field& field : kFields) {
    TransponderRecord record;
    for (const std::int32_t number : {0, field.greatest}) {
      record.*field.number = number;
      EXPECT_TRUE(record.IsInRange()) << number;
    }
    for (const std::int32_t number : {-1, field.greatest + 1, INT32_MIN, INT32_MAX}) {
      record.*field.number = number;
      EXPECT_FALSE(record.IsInRange()) << number;
    }
  }
}

TEST(TransponderRecord, Block2CarriesTheSettingsAndTheThresholdTheOtherWayRound) {
  TransponderRecord record;
  record.DeviceMIF(0x21);
  record.radio.Parse(FrameOf({0, 1, 2, 3, 4, 5, 6, 7, 200}));
  EXPECT_EQ(record.radio.m_lngEOL_CTRL, 7);
  EXPECT_EQ(record.radio.m_lngLeakTHold, 55);
  EXPECT_EQ(First(record.Block2Frame(), 12), (Bytes{0x21, 1, 2, 3, 4, 5, 6, 7, 200, 0, 0x20, 0}));
}

TEST(TransponderRecord, ASettingThatIsNoByteGoesIntoNoFrame) {
  for (const std::int32_t number : {-1, 256}) {
    TransponderRecord record;
    record.radio.m_lngPA_CTRL = number;
    EXPECT_THROW(record.Block2Frame(), RunTimeError) << number;
  }
}

TEST(TransponderRecord, TheLeakFlagLeavesTheCountAndComesBackToIt) {
  TransponderRecord record;
  record.m_lngTamperCount = 130;
  record.TakeLeakFlag(true);
  EXPECT_TRUE(record.radio.m_blnHasLeak);
  EXPECT_EQ(record.m_lngTamperCount, 2);
  record.PutLeakFlag();
  EXPECT_EQ(record.m_lngTamperCount, 130);
}

TEST(BoxFacts, ThatReachBeyondTheBufferAreError9) {
  BoxFacts facts;
  EXPECT_THROW(facts.Parse(FrameBuffer(), 30), RunTimeError);
  EXPECT_NO_THROW(facts.Parse(FrameBuffer(), 29));
}

TEST(BoxFacts, TellTheKindOfBoxByItsFirstSignatureByteAlone) {
  BoxFacts facts;
  for (int signature = 0; signature < 256; ++signature) {
    facts.Parse(FrameOf({0x21, 100, static_cast<std::uint8_t>(signature), 0xA6}), 0);
    EXPECT_EQ(facts.m_blnIsElectric, signature == 0xA6) << signature;
    EXPECT_EQ(facts.HasShortSupply(), signature == 0xA5) << signature;
  }
}

}  // namespace
}  // namespace qmzentrel::tests
