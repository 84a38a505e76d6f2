#include "tools/virtual_box/control.h"

#include <gtest/gtest.h>

namespace qmzentrel::virtual_box {
namespace {

using std::chrono::milliseconds;

class FakeHost : public BoxHost {
 public:
  std::string Plug() override {
    if (plugged) return "plugged already";
    plugged = true;
    return {};
  }
  void Unplug() override { plugged = false; }
  bool IsPlugged() const override { return plugged; }
  std::string Condition() const override { return condition; }
  std::string PortName() const override { return plugged ? "port" : ""; }
  std::string PortSettings() const override { return settings; }
  bool HasLines() const override { return has_lines; }
  void Quit() override { quit = true; }

  bool plugged = true;
  bool has_lines = true;
  bool quit = false;
  std::string condition = "supplied";
  std::string settings = "9600 8 N 2";
};

class ControlChannel : public ::testing::Test {
 protected:
  std::string Do(const std::string& line) {
    const auto result = control.Execute(line, now);
    const auto* const answer = std::get_if<ControlAnswer>(&result);
    return answer != nullptr ? answer->Wire() : "waiting\n";
  }

  Time now = std::chrono::seconds(1);
  FrameLog log;
  BoxModel model{[this](const LogLine& line) { log.Add(line); }};
  SupplyLine supply{SupplyChoice::kDtr};
  FakeHost host;
  Control control{&model, log, supply, host};
};

TEST_F(ControlChannel, EveryFactCanBeSetToItsMaximumAndReadBackAsItIsShown) {
  for (const FactField& field : FactFields()) {
    const std::string name(field.name);
    Facts facts;
    facts.*field.member = field.max;
    const std::string text = FactText(facts, field);
    EXPECT_EQ(Do("set " + name + ' ' + text), "ok\n") << name;
    EXPECT_EQ(Do("get " + name), "ok " + text + '\n');
    EXPECT_EQ(model.facts.*field.member, field.max);
  }
}

TEST_F(ControlChannel, AVersionIsWrittenWithItsPointOrAsAByte) {
  EXPECT_EQ(Do("set version 1.A"), "ok\n");
  EXPECT_EQ(model.facts.version, 0x1AU);
  EXPECT_EQ(Do("set version 0x45"), "ok\n");
  EXPECT_EQ(Do("get version"), "ok 4.5\n");
  EXPECT_EQ(Do("set version 8"), "error not a value of version: 8\n");
}

TEST_F(ControlChannel, AWrongValueChangesNothingAtAll) {
  EXPECT_EQ(Do("set util 9 id 0x1000000"), "error not a value of id: 0x1000000\n");
  EXPECT_EQ(model.facts.util, Facts().util);
  EXPECT_EQ(Do("set mif 64"), "error not a value of mif: 64\n");
  EXPECT_EQ(Do("set nothing 1"), "error unknown name: nothing\n");
  EXPECT_EQ(Do("set util 1 id"), "error a value is missing\n");
}

TEST_F(ControlChannel, AGroupIsAListWithItsLength) {
  EXPECT_EQ(Do("get box"),
            "ok lines=5\nbox-version=2.1\nbattery=133\nsignature0=0xA6\nsignature1=0x00\n"
            "filler=0x00\n");
  EXPECT_EQ(Do("get everything"), "error unknown name: everything\n");
}

TEST_F(ControlChannel, FaultsAreOrderedListedAndCleared) {
  EXPECT_EQ(Do("silence 2"), "ok\n");
  EXPECT_EQ(Do("late 300 + wrong-sum"), "ok\n");
  EXPECT_EQ(Do("faults"), "ok lines=2\n2 x not answered\n1 x 300 ms late, wrong sum\n");
  EXPECT_EQ(Do("clear"), "ok\n");
  EXPECT_EQ(Do("faults"), "ok lines=0\n");
  EXPECT_EQ(Do("late"), "error usage: late MS [N]            the next N replies MS ms late\n");
}

TEST_F(ControlChannel, SubDeviceDataIsSetAndShown) {
  EXPECT_EQ(Do("message 8 12 34"), "ok 12 34\n");
  EXPECT_EQ(Do("message 8"), "ok 12 34\n");
  EXPECT_EQ(Do("test 5 1 AABB"), "ok length=1 reply=AA BB written=\n");
  EXPECT_EQ(model.sub_device.Test(5).reply, (Bytes{0xAA, 0xBB}));
  EXPECT_EQ(Do("message 256"), "error not a message\n");
  EXPECT_EQ(Do("message 8 XY"), "error not a message\n");
}

TEST_F(ControlChannel, TheSupplyLineCanBeChosen) {
  supply.Add({now, false, true});
  model.SetSupply(false, now);
  EXPECT_EQ(Do("supply"), "ok dtr\n");
  EXPECT_EQ(Do("supply rts"), "ok rts\n");
  EXPECT_TRUE(model.HasSupply());
  EXPECT_EQ(Do("supply both"), "ok both\n");
  EXPECT_FALSE(model.HasSupply());
  EXPECT_EQ(Do("supply none"), "ok none\n");
  EXPECT_TRUE(model.HasSupply());
  host.has_lines = false;
  EXPECT_EQ(Do("supply dtr"), "error this port shows no modem lines\n");
}

TEST_F(ControlChannel, LinesTellsHowTheModemLinesStood) {
  supply.Add({std::chrono::microseconds(1500), true, false});
  EXPECT_EQ(Do("lines"), "ok lines=1\n1.500 dtr=1 rts=0\n");
  EXPECT_EQ(Do("lines-clear"), "ok\n");
  EXPECT_EQ(Do("lines"), "ok lines=0\n");
  EXPECT_TRUE(supply.IsOn()) << "forgetting the history switches nothing";
}

TEST_F(ControlChannel, TheLogIsListedAndCleared) {
  model.Receive(Bytes{0x80}, now);
  model.Advance(now + std::chrono::seconds(1));
  const std::string text = Do("log");
  EXPECT_TRUE(text.starts_with("ok lines=2\n1000.000 +0.000 > 80 ; Box Status\n")) << text;
  EXPECT_EQ(Do("log-clear"), "ok\n");
  EXPECT_EQ(Do("log"), "ok lines=0\n");
}

TEST_F(ControlChannel, WaitFramesIsAWaitWithItsDeadline) {
  const auto result = control.Execute("wait-frames 2 500", now);
  const auto* const wait = std::get_if<FrameWait>(&result);
  ASSERT_NE(wait, nullptr);
  EXPECT_EQ(wait->frames, 2U);
  EXPECT_EQ(wait->deadline, now + milliseconds(500));
  EXPECT_TRUE(Do("wait-frames 2").starts_with("error usage: "));
}

TEST_F(ControlChannel, PortAndProgramAreTheHostsBusiness) {
  EXPECT_EQ(Do("port-settings"), "ok 9600 8 N 2\n");
  EXPECT_EQ(Do("state"), "ok plugged supplied port=port\n");
  EXPECT_EQ(Do("unplug"), "ok\n");
  EXPECT_EQ(Do("send AA"), "error unplugged\n");
  EXPECT_EQ(Do("plug"), "ok port=port\n");
  EXPECT_EQ(Do("plug"), "error plugged already\n");
  EXPECT_EQ(Do("quit"), "ok\n");
  EXPECT_TRUE(host.quit);
}

TEST_F(ControlChannel, NonsenseIsAnErrorWithAReason) {
  EXPECT_EQ(Do(""), "error empty command\n");
  EXPECT_EQ(Do("fly"), "error unknown command: fly\n");
  EXPECT_TRUE(Do("quit now").starts_with("error usage: "));
  EXPECT_TRUE(Do("help").starts_with("ok lines="));
}

TEST(ControlChannelOfATap, ShowsTimesFromTheBeginningOfTheLog) {
  FrameLog log(milliseconds(5000));
  SupplyLine supply(SupplyChoice::kNone);
  FakeHost host;
  Control control(nullptr, log, supply, host);
  supply.Add({milliseconds(6500), true, false});
  log.Add({milliseconds(7250), Time::zero(), LogMark::kEvent, {}, "plugged"});
  const auto answered = [&](const std::string& line) {
    return std::get<ControlAnswer>(control.Execute(line, milliseconds(8000))).Wire();
  };
  EXPECT_EQ(answered("lines"), "ok lines=1\n1500.000 dtr=1 rts=0\n");
  EXPECT_EQ(answered("log"), "ok lines=1\n2250.000 +0.000 ! ; plugged\n");
  EXPECT_EQ(answered("now"), "ok 3000.000\n");
}

}  // namespace
}  // namespace qmzentrel::virtual_box
