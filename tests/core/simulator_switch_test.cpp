// The switch of the simulator, and what each command does while it is on.
#include "simulator/simulator_switch.h"

#include <algorithm>

#include "simulator/simulator_values.h"
#include "tests/contract/registry_codes.h"
#include "tests/core/core_test.h"
#include "tests/fakes/fake_dialog.h"

namespace qmzentrel::tests {
namespace {

using Journal = std::vector<std::string>;
using simulator::SimulatorEnabled;
using namespace std::string_literals;

const std::string kKey = "SOFTWARE\\QuenmoorComms\\QMC Software Library\\Zentrel\\Simulator";

class SimulatorSwitch : public ZentrelTest {
 protected:
  static void Switch(bool on) { TheWorld().SetNumber(kKey, "", on ? 0xFFFFFFFF : 0); }
  static bool EnabledWith(std::uint32_t type, const std::string& bytes) {
    TheWorld().registry[kKey][""] = {type, bytes};
    return SimulatorEnabled();
  }

  static int SwitchReads() {
    return static_cast<int>(std::ranges::count(TheWorld().opened_paths, kKey));
  }
};

// --- The switch ---

TEST_F(SimulatorSwitch, WithoutItsKeyItIsOff) {
  EXPECT_FALSE(SimulatorEnabled());
}

TEST_F(SimulatorSwitch, WithoutItsValueItIsOff) {
  TheWorld().SetNumber(kKey, "State", 1);
  EXPECT_FALSE(SimulatorEnabled());
}

TEST_F(SimulatorSwitch, AnyNumberButZeroIsOn) {
  for (const std::uint32_t number : {1U, 2U, 0x80000000U, 0xFFFFFFFFU}) {
    TheWorld().SetNumber(kKey, "", number);
    EXPECT_TRUE(SimulatorEnabled()) << number;
  }
  TheWorld().SetNumber(kKey, "", 0);
  EXPECT_FALSE(SimulatorEnabled());
}

TEST_F(SimulatorSwitch, ATextIsTheNumberThatItReadsAs) {
  EXPECT_TRUE(EnabledWith(kRegSz, "1\0"s));
  EXPECT_TRUE(EnabledWith(kRegSz, "-1\0"s));
  EXPECT_FALSE(EnabledWith(kRegSz, "0\0"s));
  EXPECT_FALSE(EnabledWith(kRegSz, "yes\0"s));
  EXPECT_FALSE(EnabledWith(kRegSz, ""s));
}

TEST_F(SimulatorSwitch, AnythingElseIsOff) {
  EXPECT_FALSE(EnabledWith(3, "\1\1\1\1"s));  // binary
  EXPECT_FALSE(EnabledWith(7, "1\0\0"s));     // list of texts
  EXPECT_FALSE(EnabledWith(4, "\1\0"s));      // half a number
  EXPECT_FALSE(EnabledWith(11, "\1\1\1\1\1\1\1\1"s));
}

TEST_F(SimulatorSwitch, WhenItCannotBeReadItIsOff) {
  Switch(true);
  TheWorld().open_result = 5;
  EXPECT_FALSE(SimulatorEnabled());
  TheWorld().open_result.reset();
  TheWorld().query_result = 5;
  EXPECT_FALSE(SimulatorEnabled());
}

TEST_F(SimulatorSwitch, ItIsReadAfreshEachTime) {
  EXPECT_FALSE(SimulatorEnabled());
  Switch(true);
  EXPECT_TRUE(SimulatorEnabled());
  Switch(false);
  EXPECT_FALSE(SimulatorEnabled());
}

// --- The commands that the switch turns away from the port ---

struct Command {
  const char* name;
  ZentrelStatus (Zentrel::*run)();
  const char* dialog;  ///< that it shows, if it does
};

void PrintTo(const Command& command, std::ostream* stream) {
  *stream << command.name;
}

class SimulatedCommand : public SimulatorSwitch, public testing::WithParamInterface<Command> {
 protected:
  void SetUp() override {
    SimulatorSwitch::SetUp();
    simulator::ForgetUnsavedSimulatorValues();
    TheWorld().dialog_user = [](fakes::FakeDialog& dialog) {
      dialog.Press(platform::DialogButton::cmdNoXpdr);
    };
  }

  ZentrelStatus Run() { return (zentrel.get()->*GetParam().run)(); }

  bool ShowsNothing() const { return GetParam().dialog == nullptr; }

  /// What the simulator answers to a user who presses No Xpdr.
  ZentrelStatus Answer() const {
    const bool has_no_reply = ShowsNothing() || GetParam().run == &Zentrel::ResetXpdr;
    return has_no_reply ? S_OKAY : S_TIMEOUT;
  }

  /// All that comes of a simulated command.
  Journal Simulated() const {
    if (ShowsNothing()) return {};
    return {"pointer arrow", std::string("dialog Zentrel Simulator - ") + GetParam().dialog,
            "pointer hourglass"};
  }
};

INSTANTIATE_TEST_SUITE_P(Each, SimulatedCommand,
                         testing::Values(Command{"BoxStatus", &Zentrel::BoxStatus, nullptr},
                                         Command{"ReadXpdr", &Zentrel::ReadXpdr, "Read"},
                                         Command{"ResetXpdr", &Zentrel::ResetXpdr, "Factory Test"},
                                         Command{"WriteXpdr", &Zentrel::WriteXpdr, "Write"}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(SimulatedCommand, IsAnsweredByTheDialogAndTouchesNeitherPortNorSupplyNorLog) {
  Open(true);
  Switch(true);
  EXPECT_EQ(Run(), Answer());
  EXPECT_EQ(TheWorld().TakeJournal(), Simulated());
  EXPECT_TRUE(Port().written.empty());
  EXPECT_TRUE(Port().open);
}

TEST_P(SimulatedCommand, IsAnsweredByTheDialogWithAClosedPortToo) {
  Switch(true);
  EXPECT_EQ(Run(), Answer());
  EXPECT_EQ(TheWorld().TakeJournal(), Simulated());
}

TEST_P(SimulatedCommand, IsAnsweredByTheDialogBeforeAnyOtherCheck) {
  Switch(true);
  zentrel->Util(256);
  zentrel->DeviceMIF(0);
  EXPECT_EQ(Run(), Answer());
}

TEST_P(SimulatedCommand, LeavesTheFieldsThatNoReplyCarries) {
  Switch(true);
  zentrel->PowerTimeout(33);
  zentrel->Freq_MSB(1);
  zentrel->PA_CTRL(2);
  Run();
  EXPECT_EQ(zentrel->PowerTimeout(), 33);
  EXPECT_EQ(zentrel->Freq_MSB(), 1);
  EXPECT_EQ(zentrel->PA_CTRL(), 2);
}

TEST_P(SimulatedCommand, NeitherWaitsForTheVerifyDelayNorStartsOne) {
  Open(true);
  Port().Answer(Block1Reply({}));
  ASSERT_EQ(zentrel->WriteXpdr(), S_OKAY);
  const float mark = SecondsIn(*zentrel, "m_sngVDelayTimeout");
  TheWorld().TakeJournal();
  Switch(true);
  EXPECT_EQ(Run(), Answer());
  EXPECT_EQ(TheWorld().TakeJournal(), Simulated());
  EXPECT_EQ(SecondsIn(*zentrel, "m_sngVDelayTimeout"), mark);
}

TEST_P(SimulatedCommand, TakesTheRealPathWhileTheSwitchIsOff) {
  Open(true);
  EXPECT_EQ(Run(), S_TIMEOUT);
  EXPECT_FALSE(Port().written.empty());
  EXPECT_EQ(TheWorld().dialogs_shown, 0);
}

TEST_P(SimulatedCommand, TakesTheRealPathWithTheDialogsOwnValuesButNoSwitch) {
  Open(true);
  TheWorld().SetNumber(kKey, "MIF", 5);
  EXPECT_EQ(Run(), S_TIMEOUT);
  EXPECT_FALSE(Port().written.empty());
}

TEST_P(SimulatedCommand, AsksForTheSwitchOnceEachTime) {
  Open(true);
  const auto asked = [&] {
    TheWorld().registry_calls.clear();
    Run();
    return std::ranges::count(TheWorld().registry_calls, std::string("RegQueryValueEx "));
  };
  for (const bool on : {false, true}) {
    Switch(on);
    EXPECT_EQ(asked(), 1) << on;
  }
}

TEST_P(SimulatedCommand, FollowsTheSwitchBetweenTwoCalls) {
  Open(true);
  for (int turn = 0; turn < 2; ++turn) {
    Switch(true);
    EXPECT_EQ(Run(), Answer());
    EXPECT_TRUE(Port().written.empty());
    Switch(false);
    EXPECT_EQ(Run(), S_TIMEOUT);
    EXPECT_FALSE(Port().written.empty());
    Port().written.clear();
  }
}

// --- The session ---

class SimulatedSession : public SimulatorSwitch {};

TEST_F(SimulatedSession, DeviceOpenIsOkayAndTouchesNeitherPortNorSupplyNorFields) {
  Switch(true);
  const std::string before = zentrel->DumpFields();
  EXPECT_EQ(zentrel->DeviceOpen(kPort, false), S_OKAY);
  EXPECT_EQ(TheWorld().TakeJournal(), (Journal{"log Zentrel_DeviceOpen"}));
  EXPECT_EQ(zentrel->DumpFields(), before);
  EXPECT_FALSE(Port().open);
}

TEST_F(SimulatedSession, DeviceOpenOfAPortThatIsNotThereIsOkay) {
  Switch(true);
  EXPECT_EQ(zentrel->DeviceOpen(99, true), S_OKAY);
  EXPECT_EQ(zentrel->DeviceOpen(-1, true), S_OKAY);
}

TEST_F(SimulatedSession, DeviceOpenLeavesAPortThatIsOpenAsItIs) {
  Open(true);
  Switch(true);
  EXPECT_EQ(zentrel->DeviceOpen(12, true), S_OKAY);
  EXPECT_TRUE(Port().open);
  EXPECT_EQ(TheWorld().TakeJournal(), (Journal{"log Zentrel_DeviceOpen"}));
}

TEST_F(SimulatedSession, DeviceOpenOpensThePortOnceTheSwitchIsOff) {
  Switch(true);
  EXPECT_EQ(zentrel->DeviceOpen(kPort, true), S_OKAY);
  Switch(false);
  EXPECT_EQ(zentrel->DeviceOpen(kPort, true), S_OKAY);
  EXPECT_TRUE(Port().open);
}

TEST_F(SimulatedSession, DeviceInitWithoutAnOpenPortIsABadPortAndDoesNotAskForTheSwitch) {
  Switch(true);
  EXPECT_EQ(zentrel->DeviceOpen(kPort, true), S_OKAY);
  TheWorld().opened_paths.clear();
  EXPECT_EQ(zentrel->DeviceInit(), S_BAD_PORT);
  EXPECT_EQ(SwitchReads(), 0);
}

TEST_F(SimulatedSession, DeviceInitWithAPortThatIsStillOpenIsTheSimulatedBoxStatus) {
  Open(true);
  Switch(true);
  EXPECT_EQ(zentrel->DeviceInit(), S_OKAY);
  EXPECT_EQ(TheWorld().TakeJournal(), (Journal{"log Zentrel_DeviceInit"}));
  TheWorld().dialog_user = [](fakes::FakeDialog& dialog) {
    dialog.Press(platform::DialogButton::cmdNoZentrel);
  };
  EXPECT_EQ(zentrel->ReadXpdr(), S_TIMEOUT);
  EXPECT_EQ(zentrel->DeviceInit(), S_TIMEOUT);
  EXPECT_TRUE(Port().written.empty());
}

TEST_F(SimulatedSession, DeviceCloseIsOkayWithAndWithoutAnOpenPort) {
  Switch(true);
  EXPECT_EQ(zentrel->DeviceClose(), S_OKAY);
  Switch(false);
  Open(true);
  Switch(true);
  TheWorld().opened_paths.clear();
  EXPECT_EQ(zentrel->DeviceClose(), S_OKAY);
  EXPECT_FALSE(Port().open);
  EXPECT_EQ(SwitchReads(), 0);
}

TEST_F(SimulatedSession, CreatingAndReleasingAnObjectWorksAsUsual) {
  Switch(true);
  auto another = Zentrel::Create();
  EXPECT_EQ(another->PowerTimeout(), 60);
  another.reset();
  EXPECT_TRUE(TakeReports().empty());
}

}  // namespace
}  // namespace qmzentrel::tests
