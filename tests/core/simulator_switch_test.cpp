// The switch of the simulator, and what each command does while it is on.
#include "simulator/simulator_switch.h"

#include <algorithm>
#include <functional>

#include "tests/core/core_test.h"

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
  constexpr std::uint32_t kRegSz = 1;
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
  std::function<ZentrelStatus(Zentrel&)> run;
};

void PrintTo(const Command& command, std::ostream* stream) {
  *stream << command.name;
}

class SimulatedCommand : public SimulatorSwitch, public testing::WithParamInterface<Command> {
 protected:
  ZentrelStatus Run() { return GetParam().run(*zentrel); }

  void ExpectRefusal() {
    try {
      Run();
      ADD_FAILURE() << "nothing was raised";
    } catch (const Refusal& refusal) {
      EXPECT_EQ(refusal.number, 445);
      EXPECT_EQ(refusal.description,
                "The simulator is switched on, but this build has no simulator.");
    }
  }
};

INSTANTIATE_TEST_SUITE_P(
    Each, SimulatedCommand,
    testing::Values(Command{"BoxStatus", [](Zentrel& z) { return z.BoxStatus(); }},
                    Command{"ReadXpdr", [](Zentrel& z) { return z.ReadXpdr(); }},
                    Command{"ResetXpdr", [](Zentrel& z) { return z.ResetXpdr(); }},
                    Command{"WriteXpdr", [](Zentrel& z) { return z.WriteXpdr(); }}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_P(SimulatedCommand, IsRefusedUnreportedAndTouchesNothing) {
  Open(true);
  Switch(true);
  zentrel->HasLeak(true);  // a write to a box would mark the tamper count
  const std::string before = zentrel->DumpFields();
  ExpectRefusal();
  EXPECT_TRUE(TakeReports().empty());
  EXPECT_EQ(TheWorld().TakeJournal(), Journal{});
  EXPECT_EQ(zentrel->DumpFields(), before);
}

TEST_P(SimulatedCommand, IsRefusedWithAClosedPortToo) {
  Switch(true);
  ExpectRefusal();
  EXPECT_EQ(TheWorld().TakeJournal(), Journal{});
}

TEST_P(SimulatedCommand, IsRefusedBeforeAnyOtherCheck) {
  Switch(true);
  zentrel->Util(256);
  zentrel->DeviceMIF(0);
  ExpectRefusal();
}

TEST_P(SimulatedCommand, TakesTheRealPathWhileTheSwitchIsOff) {
  Open(true);
  EXPECT_EQ(Run(), S_TIMEOUT);
  EXPECT_FALSE(Port().written.empty());
}

TEST_P(SimulatedCommand, ReadsTheSwitchOnceEachTime) {
  Open(true);
  TheWorld().opened_paths.clear();
  Run();
  EXPECT_EQ(SwitchReads(), 1);
  Switch(true);
  ExpectRefusal();
  EXPECT_EQ(SwitchReads(), 2);
}

TEST_P(SimulatedCommand, WorksAgainOnceTheSwitchIsOff) {
  Open(true);
  Switch(true);
  ExpectRefusal();
  Switch(false);
  EXPECT_EQ(Run(), S_TIMEOUT);
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

TEST_F(SimulatedSession, DeviceInitWithAnOpenPortPassesTheRefusalOfItsBoxStatus) {
  Open(true);
  Switch(true);
  EXPECT_THROW(zentrel->DeviceInit(), Refusal);
  EXPECT_TRUE(TakeReports().empty());
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
