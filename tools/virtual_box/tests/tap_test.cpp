// What the tap makes of the bytes between a client and a box, in virtual time.
#include "tools/virtual_box/tap.h"

#include <gtest/gtest.h>

#include <random>

#include "tools/virtual_box/fault_command.h"
#include "tools/virtual_box/message_split.h"
#include "tools/virtual_box/tests/wire.h"

namespace qmzentrel::virtual_box {
namespace {

using std::chrono::milliseconds;

class TapLog : public ::testing::Test {
 protected:
  void Order(const std::string& fault) {
    std::string error;
    const auto command = ParseFault(fault, error);
    ASSERT_TRUE(command) << error;
    wire.box.faults.Add(command->fault, command->count);
  }

  void Exchange(const Bytes& command) {
    tap.ToBox(command, wire.now);
    const Time sent = wire.now;
    const Bytes reply = wire.Exchange(command);
    for (std::size_t i = 0; i < reply.size(); ++i) {
      tap.FromBox(std::span(&reply[i], 1), sent + wire.arrivals[i]);
    }
  }

  void Pause() {
    wire.Pass(milliseconds(1000));
    tap.Advance(wire.now);
  }

  // The meanings since the last call, without what they say of the time.
  std::vector<std::string> Meanings() {
    std::vector<std::string> meanings;
    for (; told_ < log.size(); ++told_) {
      const std::string& meaning = log[told_].meaning;
      meanings.push_back(meaning.substr(0, meaning.find(" [")));
    }
    return meanings;
  }

  std::vector<LogLine> log;
  Wire wire;
  Tap tap{[this](const LogLine& line) { log.push_back(line); }};

 private:
  std::size_t told_ = 0;
};

using Texts = std::vector<std::string>;

const Bytes kStatus = {0x80};

TEST_F(TapLog, TellsWhatEachCommandAndItsReplySay) {
  wire.box.facts.util = 42;
  wire.box.facts.tamper = 130;
  Exchange(kStatus);
  EXPECT_EQ(Meanings(), (Texts{"Box Status",
                               "Box Status reply: box-version=2.1 battery=133 signature0=0xA6 "
                               "signature1=0x00"}));
  const std::string box =
      " version=8.0 box-version=2.1 battery=133 signature0=0xA6 signature1=0x00";
  Exchange({0x40});
  EXPECT_EQ(Meanings(), (Texts{"read block 1",
                               "read block 1 reply: mif=0x01 util=42 id=0x123456 tamper=130 "
                               "reading=1234 pll=3 txi=2 msi=0" +
                                   box}));
  Exchange({0xC0});
  EXPECT_EQ(Meanings(), (Texts{"reset",
                               "reset reply: mif=0x01 util=42 id=0x123456 tamper=0 reading=1234 "
                               "pll=3 txi=2 msi=0" +
                                   box}));
  Exchange({0x25, 7, 0xAB, 0xCD, 0xEF, 0x85, 1, 2, 3, 0x4F, 0x0E, 0});
  const std::string record =
      " mif=0x25 util=7 id=0xABCDEF tamper=133 reading=66051 pll=4 txi=15 msi=14";
  EXPECT_EQ(Meanings(), (Texts{"write block 1:" + record, "write block 1 reply:" + record + box}));
  Exchange({0x42});
  EXPECT_EQ(Meanings(), (Texts{"read block 2",
                               "read block 2 reply: freq-msb=0x6C freq-mid=0x4E freq-lsb=0x21 "
                               "br-msb=0x01 br-lsb=0x40 pa=5 eol=31 leak-threshold=100"}));
  Exchange({0x25, 1, 2, 3, 4, 5, 6, 7, 55, 0, 0x20, 0});
  const std::string radio =
      " freq-msb=0x01 freq-mid=0x02 freq-lsb=0x03 br-msb=0x04 br-lsb=0x05 pa=6 eol=7 "
      "leak-threshold=200";
  EXPECT_EQ(Meanings(), (Texts{"write block 2: mif=0x25" + radio, "write block 2 reply:" + radio}));
}

TEST_F(TapLog, TellsTheMessagesOfTheSubDevice) {
  wire.box.sub_device.Message(8) = {0x12, 0x34};
  Exchange({0x7E, 0x20, 0xC7, 2, 8, 17});
  EXPECT_EQ(Meanings(), (Texts{"sub-device read: messages 8 17",
                               "sub-device read reply: message 8=12 34, message 17=00 00 00 00"}));
  Exchange({0x7E, 0x20, 0xC6, 3, 8, 1, 2});
  EXPECT_EQ(Meanings(), (Texts{"sub-device write: message 8 and behind it 01 02",
                               "sub-device write reply: message 8 and behind it 01 02"}));
  wire.box.sub_device.Test(5) = {0, {0xAA}, {}};
  Exchange({0x7E, 0x20, 0xC9, 1, 5});
  EXPECT_EQ(Meanings(), (Texts{"sub-device test: message 5",
                               "sub-device test reply: message 5 and behind it AA"}));
  Exchange({0x7E, 0, 0xC9, 1, 5});
  Exchange(kStatus);
  EXPECT_EQ(Meanings()[1], "Box Status") << "a test that asks for no reply has none";
}

TEST_F(TapLog, SaysWhatIsWrongWithAReply) {
  const struct {
    const char* fault;
    Bytes command;
    Texts meanings;
  } kCases[] = {
      {"truncate 1 3", kStatus, {"Box Status", "incomplete reply to Box Status, 3 bytes of 7"}},
      {"truncate 1 1",
       {0x7E, 0x20, 0xC7, 1, 8},
       {"sub-device read: message 8", "no reply to sub-device read, 1 byte"}},
      {"truncate 1 5",
       {0x7E, 0x20, 0xC7, 1, 8},
       {"sub-device read: message 8", "incomplete reply to sub-device read, 5 bytes of 7"}},
      {"wrong-sum", kStatus, {"Box Status", "Box Status reply, wrong sum: B3 instead of 4C"}},
      {"garbage 1 9", kStatus, {"Box Status", "no reply to Box Status, 9 bytes instead of 7"}},
      {"silence", kStatus, {"Box Status"}},
      {"unplug-at 2", kStatus, {"Box Status", "incomplete reply to Box Status, 2 bytes of 7"}},
  };
  for (const auto& c : kCases) {
    Order(c.fault);
    Exchange(c.command);
    Pause();
    EXPECT_EQ(Meanings(), c.meanings) << c.fault;
  }
}

TEST_F(TapLog, FindsAReplyBehindStrayBytesAndAcrossAPause) {
  const std::string status =
      "Box Status reply: box-version=2.1 battery=133 signature0=0xA6 signature1=0x00";
  Order("stray AA BB");
  Exchange(kStatus);
  Pause();
  EXPECT_EQ(Meanings(), (Texts{"Box Status", "2 stray bytes and " + status}));
  Order("split 3 200");
  Exchange(kStatus);
  EXPECT_EQ(Meanings(), (Texts{"Box Status", status}));
  Order("late 3000");
  Exchange(kStatus);
  EXPECT_EQ(Meanings(), (Texts{"Box Status", status}));
  tap.FromBox(Bytes{0xAA}, wire.now);
  Pause();
  EXPECT_EQ(Meanings(), Texts{"stray, no command is open"});
}

TEST_F(TapLog, TakesNoReplyForThatToAnotherCommandOfTheSubDevice) {
  tap.ToBox(Bytes{0x7E, 0x20, 0xC7, 1, 8}, wire.now);
  tap.FromBox(Bytes{0x7E, 0x20, 0xC6, 1, 8}, wire.now);
  Pause();
  EXPECT_EQ(Meanings(),
            (Texts{"sub-device read: message 8", "no reply to sub-device read, 5 bytes"}));
}

TEST_F(TapLog, SaysWhatIsNoCommand) {
  Exchange({1, 2, 3});
  Exchange({0x7F, 0x80});
  Pause();
  EXPECT_EQ(Meanings(), (Texts{"incomplete command", "no command"}));
}

TEST_F(TapLog, EndsAReplyWhenTheClientGoesOn) {
  Order("truncate 1 3");
  Exchange(kStatus);
  EXPECT_EQ(log.size(), 1U);
  Exchange(kStatus);
  EXPECT_EQ(Meanings()[1], "incomplete reply to Box Status, 3 bytes of 7");
}

TEST_F(TapLog, EndsWhatIsIncompleteWithTheLine) {
  tap.ToBox(kStatus, wire.now);
  tap.FromBox(Bytes{1, 2}, wire.now);
  tap.ToBox(Bytes{3}, wire.now);
  tap.FromBox(Bytes{4}, wire.now);
  tap.EndTraffic();
  EXPECT_EQ(log.size(), 4U);
  EXPECT_FALSE(tap.NextDue());
}

TEST_F(TapLog, ShowsThePausesBetweenTheFrames) {
  tap.ToBox(kStatus, milliseconds(1000));
  const Bytes reply = {0x21, 133, 0xA6, 0, 0, 0, 0x4C};
  tap.FromBox(std::span(reply).first(3), milliseconds(1003));
  tap.FromBox(std::span(reply).subspan(3), milliseconds(1010));
  tap.ToBox(kStatus, milliseconds(1500));
  ASSERT_EQ(log.size(), 3U);
  EXPECT_EQ(log[0].meaning, "Box Status");
  EXPECT_EQ(log[1].start, milliseconds(1003));
  EXPECT_EQ(log[1].duration, milliseconds(7));
  EXPECT_TRUE(log[1].meaning.ends_with(" [3.000 later]")) << log[1].meaning;
  EXPECT_EQ(log[2].meaning, "Box Status [490.000 later]");
}

TEST_F(TapLog, HoldsTheFramesThatTheBoxHasInItsLog) {
  wire.box.sub_device.Test(5) = {1, {0xAA, 0xBB}, {}};
  for (const char* fault : {"late 0", "silence", "truncate 1 4", "wrong-sum", "stray AA",
                            "late 700", "split 2 300", "garbage 1 21", "late 300 + wrong-sum"}) {
    for (const Bytes& command : std::vector<Bytes>{kStatus,
                                                   {0x40},
                                                   {0x42},
                                                   {0xC0},
                                                   {0x25, 7, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0},
                                                   {0x25, 1, 2, 3, 4, 5, 6, 7, 55, 0, 0x20, 0},
                                                   {0x7E, 0x20, 0xC7, 2, 8, 17},
                                                   {0x7E, 0x20, 0xC6, 3, 9, 1, 2},
                                                   {0x7E, 0x20, 0xC9, 2, 5, 1},
                                                   {1, 2, 3},
                                                   {0x7F, 1}}) {
      Order(fault);
      Exchange(command);
      Pause();
      wire.box.faults.Clear();
    }
  }
  ASSERT_EQ(log.size(), wire.log.size());
  EXPECT_GT(log.size(), 150U);
  for (std::size_t i = 0; i < log.size(); ++i) {
    EXPECT_EQ(log[i].mark, wire.log[i].mark) << i;
    EXPECT_EQ(log[i].bytes, wire.log[i].bytes) << wire.log[i].meaning;
    EXPECT_EQ(log[i].start, wire.log[i].start) << wire.log[i].meaning;
    EXPECT_EQ(log[i].duration, wire.log[i].duration) << wire.log[i].meaning;
  }
}

TEST_F(TapLog, LosesNoByteHoweverTheyCome) {
  std::mt19937 random(1);
  const Bytes likely = {0x80, 0x40, 0x42, 0xC0, 0x7E, 0x20, 0xC7, 0xC6, 0xC9, 0, 1, 2, 0x21, 0xFF};
  Bytes passed[2];
  for (int i = 0; i < 20000; ++i) {
    wire.now += milliseconds(random() % 8 == 0 ? random() % 700 : random() % 3);
    Bytes bytes;
    for (unsigned count = random() % 6; count > 0; --count) {
      bytes.push_back(likely[random() % likely.size()]);
    }
    const bool to_box = random() % 3 == 0;
    Bytes& sum = passed[to_box ? 0 : 1];
    sum.insert(sum.end(), bytes.begin(), bytes.end());
    if (to_box) {
      tap.ToBox(bytes, wire.now);
    } else {
      tap.FromBox(bytes, wire.now);
    }
  }
  tap.EndTraffic();
  Bytes logged[2];
  for (const LogLine& line : log) {
    Bytes& sum = logged[line.mark == LogMark::kToBox ? 0 : 1];
    sum.insert(sum.end(), line.bytes.begin(), line.bytes.end());
  }
  EXPECT_EQ(logged[0], passed[0]);
  EXPECT_EQ(logged[1], passed[1]);
}

TEST(MessageSplit, IsToldWhereThereIsOneWayOnly) {
  using Places = std::vector<std::size_t>;
  EXPECT_EQ(SplitMessages(Bytes{8, 9}, Bytes{8, 1, 2, 9, 3}), (Places{0, 3}));
  EXPECT_EQ(SplitMessages(Bytes{8, 9}, Bytes{8, 9}), (Places{0, 1}));
  EXPECT_EQ(SplitMessages(Bytes{8}, Bytes{8, 8, 8}), Places{0});
  EXPECT_EQ(SplitMessages(Bytes{8, 9, 8}, Bytes{8, 1, 9, 8}), (Places{0, 2, 3}));
  EXPECT_FALSE(SplitMessages(Bytes{8, 9}, Bytes{8, 9, 9, 3})) << "two ways";
  EXPECT_FALSE(SplitMessages(Bytes{8, 9}, Bytes{8, 1, 2})) << "one is missing";
  EXPECT_FALSE(SplitMessages(Bytes{8}, Bytes{9, 8})) << "another ahead";
  EXPECT_FALSE(SplitMessages(Bytes{8}, Bytes{}));
  EXPECT_FALSE(SplitMessages(Bytes{}, Bytes{8}));
  // As many ways as there could be: the answer must not take as long.
  Bytes many(250, 8);
  EXPECT_FALSE(SplitMessages(Bytes(100, 8), many));
  many.back() = 9;
  EXPECT_FALSE(SplitMessages(Bytes(100, 8), many));
}

}  // namespace
}  // namespace qmzentrel::virtual_box
