#include "tools/virtual_box/misbehaviour.h"

#include <gtest/gtest.h>

#include "tools/virtual_box/fault_command.h"
#include "tools/virtual_box/tests/wire.h"

namespace qmzentrel::virtual_box {
namespace {

using std::chrono::milliseconds;

class BoxFault : public ::testing::Test {
 protected:
  void Order(const std::string& text) {
    std::string error;
    const auto command = ParseFault(text, error);
    ASSERT_TRUE(command) << error;
    wire.box.faults.Add(command->fault, command->count);
  }

  Wire wire;
};

TEST_F(BoxFault, SilenceSwallowsTheNextCommandsAndTheirEffect) {
  Order("silence 2");
  wire.box.facts.tamper = 5;
  EXPECT_TRUE(wire.Exchange({0xC0}).empty());
  EXPECT_EQ(wire.box.facts.tamper, 5U);
  EXPECT_TRUE(wire.Exchange({0x80}).empty());
  EXPECT_EQ(wire.Exchange({0x80}).size(), 7U);
  EXPECT_EQ(wire.log.front().meaning, "reset (not answered)");
}

TEST_F(BoxFault, AnswerOnLetsTheFirstSendsOfACommandPass) {
  Order("answer-on 4");
  for (int send = 1; send <= 3; ++send) EXPECT_TRUE(wire.Exchange({0x40}).empty()) << send;
  EXPECT_EQ(wire.Exchange({0x40}).size(), 19U);
  EXPECT_EQ(wire.Exchange({0x40}).size(), 19U) << "one command was meant";
}

TEST_F(BoxFault, AnswerOnCountsEachCommandAfresh) {
  Order("answer-on 3");
  wire.Exchange({0x40});
  wire.Exchange({0x40});
  EXPECT_TRUE(wire.Exchange({0x80}).empty());
  EXPECT_TRUE(wire.Exchange({0x80}).empty());
  EXPECT_EQ(wire.Exchange({0x80}).size(), 7U);
}

TEST_F(BoxFault, AnswerOnHoldsForSeveralCommands) {
  Order("answer-on 2 2");
  for (int command = 0; command < 2; ++command) {
    EXPECT_TRUE(wire.Exchange({0x80}).empty());
    EXPECT_FALSE(wire.Exchange({0x80}).empty());
  }
  EXPECT_FALSE(wire.Exchange({0x80}).empty());
}

TEST_F(BoxFault, TruncateGivesTheBeginningOfTheReply) {
  Order("truncate 1 5");
  const Bytes cut = wire.Exchange({0x80});
  const Bytes whole = wire.Exchange({0x80});
  ASSERT_EQ(whole.size(), 7U);
  EXPECT_EQ(cut, Bytes(whole.begin(), whole.begin() + 5));
}

TEST_F(BoxFault, AReplyCutToNothingIsACommandCarriedOutWithoutAnswer) {
  Order("truncate 1 0");
  wire.box.facts.tamper = 5;
  EXPECT_TRUE(wire.Exchange({0xC0}).empty());
  EXPECT_EQ(wire.box.facts.tamper, 0U);
}

TEST_F(BoxFault, WrongSumChangesTheLastByteOnly) {
  Order("wrong-sum 1");
  Bytes wrong = wire.Exchange({0x40});
  const Bytes right = wire.Exchange({0x40});
  EXPECT_FALSE(EndsInItsSum(wrong));
  wrong.back() = right.back();
  EXPECT_EQ(wrong, right);
}

TEST_F(BoxFault, GarbageHasTheLengthAskedForAndNeverARightSum) {
  Order("garbage 200 7");
  for (int i = 0; i < 200; ++i) {
    const Bytes reply = wire.Exchange({0x80});
    EXPECT_EQ(reply.size(), 7U);
    EXPECT_FALSE(EndsInItsSum(reply));
  }
  EXPECT_TRUE(EndsInItsSum(wire.Exchange({0x80})));
}

TEST_F(BoxFault, StrayBytesComeAheadOfTheReply) {
  Order("stray AA BB");
  const Bytes reply = wire.Exchange({0x80});
  ASSERT_EQ(reply.size(), 9U);
  EXPECT_EQ(reply[0], 0xAA);
  EXPECT_EQ(reply[1], 0xBB);
  EXPECT_TRUE(EndsInItsSum(Bytes(reply.begin() + 2, reply.end())));
}

TEST_F(BoxFault, StrayBytesComeWithinTheReply) {
  const Bytes whole = wire.Exchange({0x80});
  Order("stray-after 3 AA BB");
  Bytes reply = wire.Exchange({0x80});
  ASSERT_EQ(reply.size(), 9U);
  EXPECT_EQ(Bytes(reply.begin() + 3, reply.begin() + 5), (Bytes{0xAA, 0xBB}));
  reply.erase(reply.begin() + 3, reply.begin() + 5);
  EXPECT_EQ(reply, whole);
}

TEST_F(BoxFault, StrayBytesBeyondTheReplyComeBehindIt) {
  Bytes expected = wire.Exchange({0x80});
  expected.insert(expected.end(), {0xAA, 0xBB});
  Order("stray-after 1000 AA BB");
  EXPECT_EQ(wire.Exchange({0x80}), expected);
}

TEST_F(BoxFault, DribblePausesBetweenAnyTwoBytes) {
  Order("dribble 40");
  wire.Exchange({0x80});
  EXPECT_EQ(wire.arrivals.front(), 2 * kByteTime);
  EXPECT_EQ(wire.arrivals.back(), 6 * milliseconds(40) + 8 * kByteTime);
}

TEST_F(BoxFault, LateDelaysTheWholeReply) {
  Order("late 300");
  wire.Exchange({0x80});
  EXPECT_EQ(wire.arrivals.front(), milliseconds(300) + 2 * kByteTime);
  EXPECT_EQ(wire.arrivals.back(), milliseconds(300) + 8 * kByteTime);
}

TEST_F(BoxFault, SplitPausesInsideTheReply) {
  Order("split 3 200");
  wire.Exchange({0x80});
  EXPECT_EQ(wire.arrivals[2], 4 * kByteTime);
  EXPECT_EQ(wire.arrivals[3], milliseconds(200) + 5 * kByteTime);
}

TEST_F(BoxFault, UnplugAtSendsTheBeginningAndAsksForTheUnplug) {
  Order("unplug-at 3");
  EXPECT_EQ(wire.Exchange({0x80}).size(), 3U);
  EXPECT_TRUE(wire.unplugged);
}

TEST_F(BoxFault, UnplugAtNothingStillAsksForTheUnplugWhenTheReplyIsDue) {
  Order("unplug-at 0 + late 100");
  const Time sent = wire.now;
  EXPECT_TRUE(wire.Exchange({0x80}).empty());
  EXPECT_TRUE(wire.unplugged);
  EXPECT_EQ(wire.now - sent, milliseconds(100) + kByteTime);
}

TEST_F(BoxFault, FaultsAreUsedUpInTheOrderGiven) {
  Order("silence 1");
  Order("truncate 1 2");
  Order("wrong-sum 1");
  EXPECT_TRUE(wire.Exchange({0x80}).empty());
  EXPECT_EQ(wire.Exchange({0x80}).size(), 2U);
  EXPECT_FALSE(EndsInItsSum(wire.Exchange({0x80})));
  EXPECT_TRUE(EndsInItsSum(wire.Exchange({0x80})));
}

TEST_F(BoxFault, JoinedFaultsBefallTheSameReply) {
  Order("late 50 2 + wrong-sum 2 + stray 00");
  for (int i = 0; i < 2; ++i) {
    const Bytes reply = wire.Exchange({0x80});
    EXPECT_EQ(reply.size(), 8U);
    EXPECT_FALSE(EndsInItsSum(reply));
    EXPECT_EQ(wire.arrivals.front(), milliseconds(50) + 2 * kByteTime);
  }
  EXPECT_EQ(wire.log[1].meaning, "Box Status reply (stray bytes ahead, 50 ms late, wrong sum)");
}

TEST_F(BoxFault, ClearingMakesTheBoxBehave) {
  Order("silence 5");
  wire.Exchange({0x80});
  EXPECT_EQ(wire.box.faults.Lines(), std::vector<std::string>{"4 x not answered"});
  wire.box.faults.Clear();
  EXPECT_EQ(wire.Exchange({0x80}).size(), 7U);
}

TEST_F(BoxFault, ASubDeviceReplyHasNoSumToSpoil) {
  Order("wrong-sum 1");
  EXPECT_EQ(wire.Exchange({0x7E, 0x20, 0xC7, 0}), (Bytes{0x7E, 0x20, 0xC7, 0}));
}

TEST(FaultCommandText, IsRefusedWithAReason) {
  for (const char* text :
       {"", "silence 0", "silence x", "silence 1 2", "truncate 1", "late", "late -1", "late 600001",
        "stray", "stray A", "stray XY", "nonsense", "stray-after", "stray-after 3",
        "stray-after AA BB", "dribble", "silence +", "answer-on 0", "late 5 2 + wrong-sum 3"}) {
    std::string error;
    EXPECT_FALSE(ParseFault(text, error)) << text;
    EXPECT_FALSE(error.empty()) << text;
  }
}

}  // namespace
}  // namespace qmzentrel::virtual_box
