#include "tools/virtual_box/box_model.h"

#include <gtest/gtest.h>

#include "tools/virtual_box/tests/wire.h"

namespace qmzentrel::virtual_box {
namespace {

using std::chrono::milliseconds;

const Bytes kBlock1Write = {0x25, 7, 0xAB, 0xCD, 0xEF, 0x85, 0x01, 0x02, 0x03, 0x4F, 0x0F, 0x00};
const Bytes kBlock2Write = {0x25, 1, 2, 3, 4, 5, 6, 7, 55, 0, 0x20, 0};

TEST(BoxModel, BoxStatusReportsTheFactsOfTheBoxInSevenBytesWithTheirSum) {
  Wire wire;
  wire.box.facts.box_version = 0x21;
  wire.box.facts.battery = 100;
  wire.box.facts.signature0 = 0xA5;
  wire.box.facts.signature1 = 0x12;
  wire.box.facts.filler = 0x5A;
  EXPECT_EQ(wire.Exchange({0x80}), (Bytes{0x21, 100, 0xA5, 0x12, 0x5A, 0x5A, 0xF0}));
}

TEST(BoxModel, TheSumIsTakenModulo256) {
  Wire wire;
  wire.box.facts.box_version = 0xFF;
  wire.box.facts.battery = 0xFF;
  wire.box.facts.signature0 = 0;
  EXPECT_EQ(wire.Exchange({0x80}), (Bytes{0xFF, 0xFF, 0, 0, 0, 0, 0xFE}));
}

TEST(BoxModel, ABlock1ReadCarriesRecordVersionAndBoxFacts) {
  Wire wire;
  Facts& facts = wire.box.facts;
  facts.mif = 0x31;
  facts.util = 9;
  facts.id = 0x123456;
  facts.tamper = 130;
  facts.reading = 0x00FFEE;
  facts.pll = 3;
  facts.txi = 12;
  facts.msi = 5;
  facts.version = 0x80;
  facts.battery = 133;
  const Bytes reply = wire.Exchange({0x40});
  EXPECT_EQ(reply, (Bytes{0x31, 9, 0x12, 0x34, 0x56, 130, 0x00, 0xFF, 0xEE, 0x3C, 5, 0x80, 0x21,
                          133, 0xA6, 0, 0, 0, reply.back()}));
  EXPECT_TRUE(EndsInItsSum(reply));
}

TEST(BoxModel, TheFillerStandsInEveryByteThatCarriesNothing) {
  Wire wire;
  wire.box.facts.filler = 0xE7;
  wire.box.facts.msi = 2;
  const Bytes block1 = wire.Exchange({0x40});
  EXPECT_EQ(block1[10], 0xE2);
  EXPECT_EQ(block1[16], 0xE7);
  EXPECT_EQ(block1[17], 0xE7);
  const Bytes block2 = wire.Exchange({0x42});
  EXPECT_EQ(block2[0], 0xE7);
  EXPECT_EQ(block2[9], 0xE7);
  EXPECT_TRUE(EndsInItsSum(block1));
  EXPECT_TRUE(EndsInItsSum(block2));
}

TEST(BoxModel, ABlock2ReadCarriesTheRadioSettingsAndTheThresholdFromTheOtherEnd) {
  Wire wire;
  wire.box.facts.leak_threshold = 200;
  const Bytes reply = wire.Exchange({0x42});
  EXPECT_EQ(reply.size(), 19U);
  EXPECT_EQ(Bytes(reply.begin() + 1, reply.begin() + 9),
            (Bytes{0x6C, 0x4E, 0x21, 0x01, 0x40, 5, 31, 55}));
  EXPECT_TRUE(EndsInItsSum(reply));
}

TEST(BoxModel, ABlock1WriteChangesTheRecordAndIsAnsweredByItsReadReply) {
  Wire wire;
  const Bytes reply = wire.Exchange(kBlock1Write);
  const Facts& facts = wire.box.facts;
  EXPECT_EQ(facts.mif, 0x25U);
  EXPECT_EQ(facts.util, 7U);
  EXPECT_EQ(facts.id, 0xABCDEFU);
  EXPECT_EQ(facts.tamper, 0x85U);
  EXPECT_EQ(facts.reading, 0x010203U);
  EXPECT_EQ(facts.pll, 4U);
  EXPECT_EQ(facts.txi, 15U);
  EXPECT_EQ(facts.msi, 15U);
  EXPECT_EQ(facts.version, 0x80U) << "the version cannot be written";
  EXPECT_EQ(reply, wire.Exchange({0x40}));
}

TEST(BoxModel, ABlock2WriteIsToldFromABlock1WriteByItsLastBytes) {
  Wire wire;
  const std::uint32_t id = wire.box.facts.id;
  const Bytes reply = wire.Exchange(kBlock2Write);
  EXPECT_EQ(wire.box.facts.freq_msb, 1U);
  EXPECT_EQ(wire.box.facts.eol, 7U);
  EXPECT_EQ(wire.box.facts.leak_threshold, 200U);
  EXPECT_EQ(wire.box.facts.id, id);
  EXPECT_EQ(reply, wire.Exchange({0x42}));
  EXPECT_EQ(wire.log.front().meaning, "write block 2");
}

TEST(BoxModel, AWriteFrameThatIsNeitherBlockIsIgnored) {
  Wire wire;
  Bytes frame = kBlock1Write;
  frame[10] = 16;
  EXPECT_TRUE(wire.Exchange(frame).empty());
  frame = kBlock2Write;
  frame[9] = 1;
  EXPECT_TRUE(wire.Exchange(frame).empty());
  frame = kBlock1Write;
  frame[11] = 1;
  EXPECT_TRUE(wire.Exchange(frame).empty());
  EXPECT_EQ(wire.log.size(), 3U);
  EXPECT_EQ(wire.log[2].meaning, "no command, ignored");
  EXPECT_EQ(wire.box.facts.id, Facts().id);
}

TEST(BoxModel, AResetClearsTheTamperCountAndShowsIt) {
  Wire wire;
  wire.box.facts.tamper = 77;
  const Bytes reply = wire.Exchange({0xC0});
  EXPECT_EQ(reply.size(), 19U);
  EXPECT_EQ(reply[5], 0);
  EXPECT_EQ(wire.box.facts.tamper, 0U);
  EXPECT_TRUE(EndsInItsSum(reply));
}

TEST(BoxModel, OnlyTranspondersBelowVersion4OrFrom8HaveABlock2) {
  for (const auto& [version, has_block2] :
       {std::pair{0x3Fu, true}, {0x40u, false}, {0x7Fu, false}, {0x80u, true}, {0x00u, true}}) {
    Wire wire;
    wire.box.facts.version = version;
    EXPECT_EQ(!wire.Exchange({0x42}).empty(), has_block2) << version;
    EXPECT_EQ(!wire.Exchange(kBlock2Write).empty(), has_block2) << version;
  }
}

TEST(BoxModel, WithoutATransponderOnlyTheBoxAnswers) {
  Wire wire;
  wire.box.facts.transponder = 0;
  EXPECT_EQ(wire.Exchange({0x80}).size(), 7U);
  EXPECT_TRUE(wire.Exchange({0x40}).empty());
  EXPECT_TRUE(wire.Exchange(kBlock1Write).empty());
  EXPECT_EQ(wire.box.facts.id, Facts().id);
}

// Framing.

TEST(BoxFraming, ACommandMayArriveByteByByte) {
  Wire wire;
  for (std::size_t i = 0; i + 1 < kBlock1Write.size(); ++i) {
    wire.box.Receive({&kBlock1Write[i], 1}, wire.now);
    wire.now += milliseconds(10);
  }
  EXPECT_EQ(wire.Exchange({kBlock1Write.back()}).size(), 19U);
}

TEST(BoxFraming, CommandsMayFollowEachOtherInOneBurst) {
  Wire wire;
  EXPECT_EQ(wire.Exchange({0x80, 0x40}).size(), 7U + 19U);
}

TEST(BoxFraming, APauseEndsAnIncompleteCommandAndTheNextOneIsUnderstood) {
  Wire wire;
  EXPECT_TRUE(wire.Exchange({0x01, 0x02, 0x03}).empty());
  ASSERT_EQ(wire.log.size(), 1U);
  EXPECT_EQ(wire.log[0].bytes, (Bytes{1, 2, 3}));
  EXPECT_EQ(wire.log[0].meaning, "incomplete command, dropped");
  EXPECT_EQ(wire.Exchange({0x80}).size(), 7U);
}

TEST(BoxFraming, APauseShorterThanTheGapEndsNothing) {
  Wire wire;
  wire.box.Receive({kBlock1Write.data(), 6}, wire.now);
  wire.Pass(milliseconds(99));
  wire.box.Receive({kBlock1Write.data() + 6, 6}, wire.now);
  EXPECT_EQ(wire.Settle().size(), 19U);
}

TEST(BoxFraming, WhatIsNoCommandIsIgnoredUpToTheNextPause) {
  Wire wire;
  EXPECT_TRUE(wire.Exchange({0x55, 0x80, 0x40}).empty());
  ASSERT_EQ(wire.log.size(), 1U);
  EXPECT_EQ(wire.log[0].bytes, (Bytes{0x55, 0x80, 0x40}));
  EXPECT_EQ(wire.Exchange({0x40}).size(), 19U);
}

TEST(BoxFraming, ASubDeviceFrameLongerThanTheBufferIsNoCommand) {
  Wire wire;
  Bytes longest(33, 0);
  longest[0] = 0x7E;
  longest[1] = 0x20;
  longest[2] = 0xC7;
  longest[3] = 29;
  EXPECT_FALSE(wire.Exchange(longest).empty());
  longest[3] = 30;
  longest.push_back(0);
  EXPECT_TRUE(wire.Exchange(longest).empty());
}

// Sub-device.

TEST(BoxSubDevice, AReadGivesEachIdentifierWithItsData) {
  Wire wire;
  wire.box.sub_device.Message(8) = {0x12, 0x34};
  wire.box.sub_device.Message(17) = {1, 2, 3, 4};
  EXPECT_EQ(wire.Exchange({0x7E, 0x20, 0xC7, 3, 8, 17, 8}),
            (Bytes{0x7E, 0x20, 0xC7, 11, 8, 0x12, 0x34, 17, 1, 2, 3, 4, 8, 0x12, 0x34}));
}

TEST(BoxSubDevice, AReadOfNothingAndAnEmptyEntryAreAnswered) {
  Wire wire;
  EXPECT_EQ(wire.Exchange({0x7E, 0x20, 0xC7, 0}), (Bytes{0x7E, 0x20, 0xC7, 0}));
  EXPECT_EQ(wire.Exchange({0x7E, 0x20, 0xC7, 1, 0}), (Bytes{0x7E, 0x20, 0xC7, 1, 0}));
}

TEST(BoxSubDevice, AWriteStoresTheDataAndIsEchoed) {
  Wire wire;
  const Bytes frame = {0x7E, 0x20, 0xC6, 8, 9, 0xBE, 0xEF, 17, 1, 2, 3, 4};
  EXPECT_EQ(wire.Exchange(frame), frame);
  EXPECT_EQ(wire.box.sub_device.Message(9), (Bytes{0xBE, 0xEF}));
  EXPECT_EQ(wire.box.sub_device.Message(17), (Bytes{1, 2, 3, 4}));
}

TEST(BoxSubDevice, AWriteThatEndsEarlyStoresWhatThereIs) {
  Wire wire;
  wire.box.sub_device.Message(9) = {1, 2};
  wire.Exchange({0x7E, 0x20, 0xC6, 2, 9, 0xAA});
  EXPECT_EQ(wire.box.sub_device.Message(9), (Bytes{0xAA, 2}));
}

TEST(BoxSubDevice, ATestAnswersOnlyItsMessagesThatYieldAReply) {
  Wire wire;
  wire.box.sub_device.Test(1) = {2, {0xAA}, {}};
  wire.box.sub_device.Test(2) = {0, {}, {}};
  EXPECT_EQ(wire.Exchange({0x7E, 0x20, 0xC9, 4, 1, 0x10, 0x20, 2}),
            (Bytes{0x7E, 0x20, 0xC9, 2, 1, 0xAA}));
  EXPECT_EQ(wire.box.sub_device.Test(1).written, (Bytes{0x10, 0x20}));
}

TEST(BoxSubDevice, ATestThatAsksForNoReplyIsCarriedOutSilently) {
  Wire wire;
  wire.box.sub_device.Test(1).write_length = 1;
  EXPECT_TRUE(wire.Exchange({0x7E, 0x00, 0xC9, 2, 1, 0x77}).empty());
  EXPECT_EQ(wire.box.sub_device.Test(1).written, (Bytes{0x77}));
  EXPECT_EQ(wire.log.back().meaning, "sub-device test (no reply asked for)");
}

// Pacing.

TEST(BoxPacing, AnExchangeTakesElevenBitsAByteBothWays) {
  Wire wire;
  wire.Exchange({0x80});
  ASSERT_EQ(wire.arrivals.size(), 7U);
  EXPECT_EQ(wire.arrivals.front(), 2 * kByteTime);
  EXPECT_EQ(wire.arrivals.back(), 8 * kByteTime);
  EXPECT_EQ(kByteTime, Time(1145833));
  wire.Exchange(kBlock1Write);
  EXPECT_EQ(wire.arrivals.front(), 13 * kByteTime);
  EXPECT_EQ(wire.arrivals.back(), 31 * kByteTime);
}

TEST(BoxPacing, WithoutPacingTheWholeReplyComesAtOnce) {
  Wire wire;
  wire.box.facts.pace = 0;
  wire.Exchange({0x40});
  ASSERT_EQ(wire.arrivals.size(), 19U);
  EXPECT_EQ(wire.arrivals.back(), Time::zero());
}

TEST(BoxPacing, TheAnsweringTimeStandsBetweenCommandAndReply) {
  Wire wire;
  wire.box.facts.answer_ms = 250;
  wire.Exchange({0x40});
  EXPECT_EQ(wire.arrivals.front(), milliseconds(250) + 2 * kByteTime);
}

TEST(BoxPacing, ASecondReplyWaitsUntilTheLineIsFree) {
  Wire wire;
  wire.Exchange({0x80, 0x80});
  ASSERT_EQ(wire.arrivals.size(), 14U);
  EXPECT_EQ(wire.arrivals[7], 9 * kByteTime);
}

TEST(BoxPacing, TheLogHoldsStartAndDurationOfAReply) {
  Wire wire;
  const Time sent = wire.now;
  wire.Exchange({0x80});
  ASSERT_EQ(wire.log.size(), 2U);
  EXPECT_EQ(wire.log[0].start, sent);
  EXPECT_EQ(wire.log[1].start, sent + 2 * kByteTime);
  EXPECT_EQ(wire.log[1].duration, 6 * kByteTime);
  EXPECT_EQ(wire.log[1].meaning, "Box Status reply");
}

// Supply.

TEST(BoxSupply, WithoutSupplyEverythingIsLost) {
  Wire wire;
  wire.box.SetSupply(false, wire.now);
  EXPECT_TRUE(wire.Exchange({0x80}).empty());
  EXPECT_TRUE(wire.Exchange(kBlock1Write).empty());
  EXPECT_EQ(wire.box.facts.id, Facts().id);
  EXPECT_EQ(wire.log.back().meaning, "lost, the box has no supply");
}

TEST(BoxSupply, TheBoxIsSilentForItsStartUpTime) {
  Wire wire;
  wire.box.SetSupply(false, wire.now);
  wire.box.SetSupply(true, wire.now);
  const Time on = wire.now;
  wire.now += milliseconds(1999);
  wire.box.Receive(Bytes{0x80}, wire.now);
  EXPECT_EQ(wire.log.back().meaning, "lost, the box is starting");
  EXPECT_TRUE(wire.Settle().empty());
  EXPECT_EQ(wire.now, on + milliseconds(2000)) << "the end of the start is an event of its own";
  EXPECT_EQ(wire.log.back().meaning, "ready");
  EXPECT_EQ(wire.Exchange({0x80}).size(), 7U);
}

TEST(BoxSupply, SwitchingOnTwiceDoesNotStartAgain) {
  Wire wire;
  wire.box.SetSupply(true, wire.now);
  EXPECT_EQ(wire.Exchange({0x80}).size(), 7U);
}

TEST(BoxSupply, SwitchingOffCutsTheReplyShort) {
  Wire wire;
  wire.box.Receive(Bytes{0x40}, wire.now);
  wire.now += 5 * kByteTime;
  EXPECT_EQ(wire.box.Advance(wire.now).bytes.size(), 4U);
  wire.box.SetSupply(false, wire.now);
  EXPECT_TRUE(wire.Settle().empty());
  EXPECT_EQ(wire.log[1].bytes.size(), 4U);
  EXPECT_EQ(wire.log[1].meaning, "read block 1 reply, cut off");
}

TEST(BoxSupply, SwitchingOffForgetsHalfACommand) {
  Wire wire;
  wire.box.facts.startup_ms = 0;
  wire.box.Receive({kBlock1Write.data(), 6}, wire.now);
  wire.box.SetSupply(false, wire.now);
  wire.box.SetSupply(true, wire.now);
  EXPECT_EQ(wire.Exchange({0x80}).size(), 7U);
}

TEST(BoxSupply, NothingIsSentUnaskedWithoutSupply) {
  Wire wire;
  wire.box.SetSupply(false, wire.now);
  EXPECT_FALSE(wire.box.SendUnasked({1}, wire.now));
}

}  // namespace
}  // namespace qmzentrel::virtual_box
