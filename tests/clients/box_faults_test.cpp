// A box that does not answer as it should, on a real port and in real time.
#include <algorithm>

#include "tests/clients/box_test.h"

namespace qmzentrel::clients {
namespace {

class BoxFaults : public BoxTest {
 protected:
  // What the box answers to Box Status and to the reset of its transponder, as new.
  static constexpr const char* kBoxStatusReply = "< 21 85 A6 00 00 00 4C";

  // The wait for the first byte of a reply.
  static constexpr int kElectricMs = 500;
  static constexpr int kOtherMs = 2500;
  // The timer of the machine may end a wait a little early.
  static constexpr int kTimerMs = 16;

  // From the start of one entry of the log to the start of another.
  static int MsBetweenStarts(std::size_t earlier, std::size_t later) {
    const auto log = Box().FrameLog();
    const auto span = log.at(later).start - log.at(earlier).start;
    return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(span).count());
  }

  // A busy machine may take longer, but not as long as any other box is given.
  static void ExpectHalfASecond(int ms) {
    EXPECT_GE(ms, kElectricMs - kTimerMs);
    EXPECT_LT(ms, kOtherMs - kTimerMs);
  }

  BoxClient client;
};

// Where a box that has its command late is a wrong time.
class BoxFaultTimes : public BoxFaults {
 protected:
  static constexpr DWORD kSpareMs = kTimerMs;
};

BOX_TEST(BoxFaults, ASilentBoxIsATimeOut) {
  OpenElectric(client);
  Box().Tell("silence");
  const Stopwatch time;
  EXPECT_EQ(client.Reset(), S_TIMEOUT);
  EXPECT_GE(time.Ms(), DWORD{kElectricMs - kTimerMs});
  EXPECT_LT(time.Ms(), DWORD{kOtherMs});
  EXPECT_EQ(Box().Frames(), Journal{"> C0"});
}

BOX_TEST(BoxFaultTimes, AnElectricBoxIsAskedForItsStatusTwiceHalfASecondApart) {
  OpenElectric(client);
  Box().Tell("silence 2");
  EXPECT_EQ(client.BoxStatus(), S_TIMEOUT);
  EXPECT_EQ(Box().Frames(), (Journal{"> 80", "> 80"}));
  ExpectHalfASecond(MsBetweenStarts(0, 1));
  EXPECT_EQ(client.Signature(0), 0xA6) << "the facts of the box stay";
}

BOX_TEST(BoxFaultTimes, AnElectricBoxIsWokenByTheFourthSend) {
  OpenElectric(client);
  Box().Tell("set version 5.0");
  Box().Tell("answer-on 4");
  EXPECT_EQ(client.Read(), S_OKAY);
  const Journal frames = Box().Frames();
  ASSERT_EQ(frames.size(), 5U);
  for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(frames[i], "> 40") << i;
  for (std::size_t i = 1; i < 4; ++i) ExpectHalfASecond(MsBetweenStarts(i - 1, i));
}

BOX_TEST(BoxFaultTimes, AReadThatTimesOutIsTriedOnceMore) {
  Box().Tell("set signature0 0xA5 version 5.0");
  Open(client);
  Box().Tell("silence");
  EXPECT_EQ(client.Read(), S_OKAY);
  const Journal frames = Box().Frames();
  ASSERT_EQ(frames.size(), 3U);
  EXPECT_EQ(frames[0], "> 40");
  EXPECT_EQ(frames[1], "> 40");
  EXPECT_GE(MsBetweenStarts(0, 1), kOtherMs - kTimerMs);
}

BOX_TEST(BoxFaults, AWriteThatTimesOutIsTriedOnceMore) {
  Box().Tell("set signature0 0xA5 version 5.0");
  Open(client);
  client.Let(&_Zentrel::put_Util, 42);
  Box().Tell("silence");
  EXPECT_EQ(client.Write(), S_OKAY);
  const Journal frames = Box().Frames();
  ASSERT_EQ(frames.size(), 3U);
  EXPECT_EQ(frames[0], "> 00 2A 00 00 00 00 00 00 00 00 00 00");
  EXPECT_EQ(frames[1], frames[0]);
  EXPECT_EQ(Box().Tell("get util"), "42");
}

BOX_TEST(BoxFaults, ARestThatComesLateBelongsToTheReply) {
  OpenElectric(client);
  // Longer than an electric box has for its first byte.
  Box().Tell("split 1 800");
  EXPECT_EQ(client.BoxStatus(), S_OKAY);
  EXPECT_EQ(Box().Frames(), (Journal{"> 80", kBoxStatusReply}));
}

BOX_TEST(BoxFaults, AReplyInTwoPiecesIsWhole) {
  Box().Tell("set version 5.0 util 17");
  OpenElectric(client);
  Box().Tell("split 10 200");
  EXPECT_EQ(client.Read(), S_OKAY);
  EXPECT_EQ(client.Get(&_Zentrel::get_Util), 17);
}

BOX_TEST(BoxFaults, AReplyThatComesLateIsAwaited) {
  OpenElectric(client);
  Box().Tell("late 300");
  EXPECT_EQ(client.BoxStatus(), S_OKAY);
  EXPECT_EQ(Box().Frames(), (Journal{"> 80", kBoxStatusReply}));
}

// As behind a slow link: the second sending is answered, too, when block 2 has been asked for.
BOX_TEST(BoxFaults, ALateAnswerAboutBlock1IsNotTakenForBlock2) {
  Box().Tell("set version 8.0 util 17 id 1193046");
  OpenElectric(client);
  EXPECT_EQ(client.Read(), S_OKAY);
  const std::int32_t frequency = client.Get(&_Zentrel::get_Freq_MSB);
  ASSERT_NE(frequency, 17);
  Box().Tell("late 700 4");
  EXPECT_EQ(client.Read(), S_OKAY);
  EXPECT_EQ(client.Get(&_Zentrel::get_Util), 17);
  EXPECT_EQ(client.Get(&_Zentrel::get_Freq_MSB), frequency);
  const Journal frames = Box().Frames();
  EXPECT_EQ(std::ranges::count(frames, "> 40"), 3) << "the late one was sent twice";
}

BOX_TEST(BoxFaults, AWrongSumIsItsOwnStatusAndIsNotTriedAgain) {
  OpenElectric(client);
  Box().Tell("set battery 10");
  Box().Tell("wrong-sum");
  EXPECT_EQ(client.BoxStatus(), S_BAD_SUM);
  EXPECT_EQ(Box().Frames().size(), 2U);
  EXPECT_NEAR(client.BatteryVoltage(), 133 * 0.039, 1E-4) << "the facts of the box stay";
}

BOX_TEST(BoxFaults, GarbageOfTheRightLengthIsAWrongSum) {
  OpenElectric(client);
  Box().Tell("garbage 1 7");
  EXPECT_EQ(client.BoxStatus(), S_BAD_SUM);
}

BOX_TEST(BoxFaults, AFailedReadClearsTheRecordAndKeepsTheFactsOfTheBox) {
  OpenElectric(client);
  ASSERT_EQ(client.Read(), S_OKAY);
  ASSERT_EQ(client.Get(&_Zentrel::get_Xpdr), 0x123456);
  Box().Tell("log-clear");
  Box().Tell("wrong-sum 2");
  EXPECT_EQ(client.Read(), S_BAD_SUM);
  EXPECT_EQ(client.Get(&_Zentrel::get_Xpdr), 0);
  EXPECT_EQ(client.Get(&_Zentrel::get_Reading), 0);
  EXPECT_EQ(client.Get(&_Zentrel::get_TravonelVersion), L"0.0");
  EXPECT_EQ(client.Get(&_Zentrel::get_EOL_CTRL), 23);
  EXPECT_EQ(client.Get(&_Zentrel::get_LeakThreshold), 255);
  EXPECT_EQ(client.Get(&_Zentrel::get_ZentrelVersion), L"2.1");
  const Journal frames = Box().Frames();
  ASSERT_EQ(frames.size(), 4U);
  EXPECT_EQ(frames[2], "> 42") << "without a version the second block is tried as well";
}

BOX_TEST(BoxFaults, AFailedBlock1WithAGoodBlock2GivesTheStatusOfBlock2) {
  OpenElectric(client);
  Box().Tell("wrong-sum");
  EXPECT_EQ(client.Read(), S_OKAY);
  EXPECT_EQ(client.Get(&_Zentrel::get_Xpdr), 0);
  EXPECT_EQ(client.Get(&_Zentrel::get_EOL_CTRL), 31);
}

BOX_TEST(BoxFaults, AFailedWriteOfBlock1LeavesBlock2Alone) {
  OpenElectric(client);
  ASSERT_EQ(client.Read(), S_OKAY);
  Box().Tell("log-clear");
  Box().Tell("wrong-sum");
  EXPECT_EQ(client.Write(), S_BAD_SUM);
  EXPECT_EQ(Box().Frames().size(), 2U);
  EXPECT_EQ(client.Get(&_Zentrel::get_Xpdr), 0x123456) << "only a read clears the record";
}

BOX_TEST(BoxFaults, StrayBytesShiftOneReplyAndSpoilNoOther) {
  OpenElectric(client);
  Box().Tell("stray 55 AA");
  EXPECT_EQ(client.BoxStatus(), S_BAD_SUM);
  Box().AwaitFrames(2);  // until the bytes that were pushed out have come, too
  EXPECT_EQ(client.BoxStatus(), S_OKAY);
  EXPECT_EQ(Box().Frames(),
            (Journal{"> 80", "< 55 AA 21 85 A6 00 00 00 4C", "> 80", kBoxStatusReply}));
}

BOX_TEST(BoxFaults, AReplyThatComesAfterItsTimeOutSpoilsNoOther) {
  OpenElectric(client);
  Box().Tell("late 700");
  EXPECT_EQ(client.Reset(), S_TIMEOUT);
  Box().AwaitFrames(2);
  EXPECT_EQ(client.BoxStatus(), S_OKAY);
  EXPECT_EQ(client.Signature(0), 0xA6);
  const Journal frames = Box().Frames();
  ASSERT_EQ(frames.size(), 4U);
  EXPECT_EQ(frames[3], kBoxStatusReply);
}

BOX_TEST(BoxFaults, BytesThatNobodyAskedForAreNoReply) {
  OpenElectric(client);
  Box().Tell("send 01 02 03");
  Box().AwaitFrames(1);
  EXPECT_EQ(client.BoxStatus(), S_OKAY);
  EXPECT_EQ(Box().Frames(), (Journal{"< 01 02 03", "> 80", kBoxStatusReply}));
}

BOX_TEST(BoxFaults, ATransponderOutOfReachIsATimeOut) {
  OpenElectric(client);
  Box().Tell("set transponder 0");
  EXPECT_EQ(client.Reset(), S_TIMEOUT);
  EXPECT_EQ(client.BoxStatus(), S_OKAY) << "the box itself is there";
}

}  // namespace
}  // namespace qmzentrel::clients
