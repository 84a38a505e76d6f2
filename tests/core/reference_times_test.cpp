// How long a call holds its caller: the table of the reference (interface/reference/times.md) is
// what is measured here, row by row, and so is what it says beside the table.
#include <functional>
#include <new>
#include <set>
#include <sstream>

#include "simulator/simulator_values.h"
#include "tests/core/call_time.h"
#include "tests/core/fake_list_control.h"
#include "tests/core/member_calls.h"
#include "tests/core/reference_text.h"
#include "tests/core/telic2_test.h"

namespace qmzentrel::tests {
namespace {

constexpr std::uint8_t kAwakeBox = 0xA5;
constexpr std::uint8_t kElectricBox = 0xA6;
constexpr double kUsualVerifyDelay = 4;

// The limits of the exchange: for the first byte of a reply, and for its rest.
constexpr Milliseconds kLastMomentOfAwakeBox(2500 - 1);
constexpr Milliseconds kLastMomentOfElectricBox(500 - 1);
constexpr Milliseconds kLastMomentOfRest(12500 - 1);

// How near a measured time is to the one that the page has: the bytes on the line are left out.
constexpr double kNear = 0.1;

using TimedCall = std::function<void()>;
using CallNames = std::set<std::string>;

/// A call, and how often each kind of box is sent something before the call gives up.
struct TimedCommand {
  const char* name;
  TimedCall run;
  int sends;
  int electric_sends;
  int blocks = 1;  ///< each of which is sent as often
};

class ReferenceTimes : public Telic2Test<ZentrelTest> {
 protected:
  std::string Silence(const TimedCommand& command, std::uint8_t signature) {
    MakeReady(signature);
    return TimeOf(command.run);
  }

  /// The reply to the last block begins at the last moment and breaks off. That to a block before
  /// comes whole, for a write sends its second block only then, and its rest as late as its
  /// beginning. From there on the box is the kind that `told` says.
  std::string Most(const TimedCommand& command, std::uint8_t known, std::uint8_t told) {
    MakeReady(known);
    std::uint8_t signature = known;
    for (int block = 1; block <= command.blocks; ++block) {
      const bool is_electric = signature == kElectricBox;
      const Milliseconds moment = is_electric ? kLastMomentOfElectricBox : kLastMomentOfAwakeBox;
      Port().StaySilent((is_electric ? command.electric_sends : command.sends) - 1);
      if (block == command.blocks) {
        Port().Answer({1}, moment);
      } else {
        const Bytes reply = Block1Reply({.version = 0x80, .signature = told});
        Port().reactions.push_back(
            {{{reply.front()}, moment}, {{reply.begin() + 1, reply.end()}, kLastMomentOfRest}});
        signature = told;
      }
    }
    const std::string time = TimeOf(command.run);
    EXPECT_TRUE(Port().reactions.empty()) << command.name << " does not send as often";
    return time;
  }

  /// A new object, which has no verify delay to wait for, and a box that it knows.
  void MakeReady(std::uint8_t signature, bool maintain_supply = true) {
    MakeNew();
    OpenBox(maintain_supply, signature);
  }

  void MakeNew() {
    zentrel = Zentrel::Create();
    zentrel->TELIC2Device("Meter");
  }

  /// With supply on demand, which has gone off again within the hold-off.
  void MakeUnsupplied(std::uint8_t signature) {
    MakeReady(signature, false);
    zentrel->PowerTimeout(1);
    zentrel->Power(false);
    TheWorld().Pump(Milliseconds(1001));
    ASSERT_FALSE(Port().lines.dtr);
  }

  /// With arguments that none of them refuses.
  std::vector<MemberCall> AllMembers(bool boolean) {
    return CallsOfAllMembers({.Long = 8,
                              .Boolean = boolean,
                              .String = kMaker,
                              .Longs = LongArray(numbers, 0),
                              .Object = combo_box.Bound()});
  }

  /// What the page calls commands.
  CallNames NamesOfCommands() const {
    CallNames names;
    for (const TimedCommand& command : commands) names.insert(command.name);
    return names;
  }

  /// What has a time on top somewhere: a command, or one of the two that switch the supply.
  std::vector<std::pair<std::string, TimedCall>> SlowCalls(bool maintain_supply) const {
    std::vector<std::pair<std::string, TimedCall>> calls{
        {"DeviceOpen", [this, maintain_supply] { zentrel->DeviceOpen(kPort, maintain_supply); }},
        {"Power", [this] { zentrel->Power(true); }}};
    for (const TimedCommand& command : commands) calls.emplace_back(command.name, command.run);
    return calls;
  }

  /// The calls that take so much longer in one state than in another. Any other difference than
  /// that or none fails the test.
  CallNames ThoseThatTakeLonger(double seconds, bool maintain_supply,
                                const std::function<void()>& state,
                                const std::function<void()>& other_state) {
    CallNames longer;
    for (const auto& [name, call] : SlowCalls(maintain_supply)) {
      other_state();
      const double alone = DurationOf(call);
      state();
      const double on_top = DurationOf(call) - alone;
      if (on_top < kNear) {
        EXPECT_NEAR(on_top, 0, kNear) << name;
        continue;
      }
      EXPECT_NEAR(on_top, seconds, kNear) << name;
      longer.insert(name);
    }
    return longer;
  }

  /// The calls in the last cell of a row of what comes on top.
  CallNames NamedInRow(const std::string& what) const {
    const std::string page = ReferenceText("times");
    const std::size_t begin = page.find("| " + what);
    if (begin == std::string::npos) {
      ADD_FAILURE() << "interface/reference/times.md has no row of: " << what;
      return {};
    }
    const std::string row = page.substr(begin, page.find('\n', begin) - begin);
    const std::string cell = row.substr(row.rfind('|', row.size() - 2));
    CallNames names = NamesIn(cell.substr(0, cell.find(';')));
    if (cell.find("every command") != std::string::npos) names.merge(NamesOfCommands());
    return names;
  }

  static CallNames NamesInTables() {
    CallNames names;
    std::istringstream page(ReferenceText("times"));
    for (std::string line; std::getline(page, line);) {
      if (line.starts_with('|')) names.merge(NamesIn(line));
    }
    return names;
  }

  /// What stands in the text as code.
  static CallNames NamesIn(const std::string& text) {
    CallNames names;
    for (std::size_t begin = text.find('`'); begin != std::string::npos;) {
      const std::size_t end = text.find('`', begin + 1);
      names.insert(text.substr(begin + 1, end - begin - 1));
      begin = text.find('`', end + 1);
    }
    return names;
  }

  void TearDown() override {
    zentrel.reset();
    simulator::ForgetUnsavedSimulatorValues();
    Telic2Test<ZentrelTest>::TearDown();
  }

  Numbers numbers = Numbers(8, 8);
  FakeListControl combo_box;

  const std::vector<TimedCommand> commands = {
      {"BoxStatus", [this] { zentrel->BoxStatus(); }, 1, 2},
      {"DeviceInit", [this] { zentrel->DeviceInit(); }, 2, 4},
      {"ReadXpdr", [this] { zentrel->ReadXpdr(); }, 2, 52, 2},
      {"WriteXpdr", [this] { zentrel->WriteXpdr(); }, 2, 12, 2},
      {"ResetXpdr", [this] { zentrel->ResetXpdr(); }, 1, 1},
      {"TELIC2Read", [this] { Run(kReadCommand, {8}); }, 1, 26},
      {"TELIC2Write", [this] { Run(kWriteCommand, {8}); }, 1, 6},
      {"TELIC2Test", [this] { Run(kTestCommand, {8}); }, 1, 26},
  };
};

TEST_F(ReferenceTimes, HaveATableOfWhatEachCallTakesWithoutAnAnswerAndAtMost) {
  std::string table;
  for (const TimedCommand& command : commands) {
    table += "| `" + std::string(command.name) + "` |";
    for (const std::string& cell :
         {Silence(command, kAwakeBox), Silence(command, kElectricBox),
          Most(command, kAwakeBox, kAwakeBox), Most(command, kElectricBox, kElectricBox),
          Most(command, kAwakeBox, kElectricBox)}) {
      table += " " + cell + " |";
    }
    table += "\n";
  }
  const std::string head =
      "| call | no answer | no answer, electric box | at most | at most, electric box | "
      "at most, electric box not known yet |\n"
      "|---|---|---|---|---|---|\n";
  const std::string page = ReferenceText("times");
  EXPECT_TRUE(page.find(head + table + "\n") != std::string::npos)
      << "interface/reference/times.md has no such table:\n"
      << head << table;
}

// --- On top ---

TEST_F(ReferenceTimes, AReadOrWriteAfterAWriteWaitsForTheVerifyDelayOnTop) {
  constexpr double kLeft = 1;
  const auto after_write = [this] {
    MakeReady(kAwakeBox);
    zentrel->WriteXpdr();
  };
  const CallNames named = NamedInRow("the transponder stores what was written");
  EXPECT_EQ(named, ThoseThatTakeLonger(kUsualVerifyDelay, true, after_write,
                                       [this] { MakeReady(kAwakeBox); }));
  EXPECT_EQ(named, ThoseThatTakeLonger(
                       kLeft, true,
                       [&] {
                         after_write();
                         TheWorld().Pump(Milliseconds(3000));
                       },
                       [this] { MakeReady(kAwakeBox); }))
      << "what is left of it";
}

TEST_F(ReferenceTimes, OnDemandEveryCommandWaitsForTheBoxToStart) {
  constexpr double kStart = 2.5;
  EXPECT_EQ(NamedInRow("supply on demand: the box starts"),
            ThoseThatTakeLonger(
                kStart, false, [this] { MakeUnsupplied(kAwakeBox); },
                [this] { MakeReady(kAwakeBox, false); }));
  MakeNew();
  EXPECT_EQ(TimeOf([&] { zentrel->DeviceOpen(kPort, false); }), "2.5 s");
  MakeNew();
  EXPECT_EQ(TimeOf([&] { zentrel->DeviceOpen(kPort, true); }), "0 s");
}

TEST_F(ReferenceTimes, OnDemandABoxWithoutASignatureIsLeftAloneAfterABoxStatus) {
  constexpr double kRest = 3.75;
  EXPECT_EQ(NamedInRow("supply on demand: the rest of a box without signature"),
            ThoseThatTakeLonger(
                kRest, false, [this] { MakeReady(0, false); },
                [this] {
                  MakeReady(0, false);
                  TheWorld().Pump(Milliseconds(3800));
                }));
  EXPECT_EQ(CallNames(), ThoseThatTakeLonger(
                             kRest, true, [this] { MakeReady(0); },
                             [this] {
                               MakeReady(0);
                               TheWorld().Pump(Milliseconds(3800));
                             }))
      << "with the supply maintained";
}

// How long one sending is held up is the platform's; how often it is, is ours.
TEST_F(ReferenceTimes, ADriverThatTakesNoMoreBytesHoldsUpEachSending) {
  CallNames held_up;
  for (const auto& [name, call] : SlowCalls(true)) {
    MakeReady(kAwakeBox);
    const double alone = DurationOf(call);
    MakeReady(kAwakeBox);
    Port().driver_room = 0;
    const std::size_t before = Port().written.size();
    const double seconds = DurationOf(call);
    const auto sendings = static_cast<double>(Port().written.size() - before);
    Port().driver_room.reset();
    EXPECT_NEAR(seconds - alone, sendings, kNear) << name;
    if (sendings > 0) held_up.insert(name);
  }
  EXPECT_EQ(NamedInRow("a driver that takes no more bytes"), held_up);
}

TEST_F(ReferenceTimes, AnswersToWhatWasSentBeforeArePassedOver) {
  const CallNames named = NamedInRow("answers to what was sent before");
  EXPECT_EQ(named, (CallNames{"ReadXpdr", "WriteXpdr"}));
  for (const std::uint8_t signature : Bytes{kAwakeBox, kElectricBox}) {
    const Milliseconds moment =
        signature == kElectricBox ? kLastMomentOfElectricBox : kLastMomentOfAwakeBox;
    const Bytes block1 = Block1Reply({.version = 0x80, .signature = signature});
    const Bytes block2 = Block2Reply({1, 2, 3, 4, 5, 6, 7, 8});
    for (const auto& [name, call] : SlowCalls(true)) {
      if (!named.contains(name)) continue;
      const auto seconds = [&, &run = call](bool late) {
        MakeReady(signature);
        zentrel->VDelay(0);
        // What was sent before: its answer comes only when block 2 has been asked for.
        Port().StaySilent();
        EXPECT_EQ(zentrel->ResetXpdr(), S_TIMEOUT);
        Port().Answer(block1);
        fakes::Reaction answers;
        if (late) answers.push_back({block1, moment});
        answers.push_back({block2, moment});
        Port().reactions.push_back(answers);
        return DurationOf(run);
      };
      const double without = seconds(false);
      EXPECT_NEAR(seconds(true) - without, signature == kElectricBox ? 0.5 : 2.5, kNear) << name;
    }
  }
}

TEST_F(ReferenceTimes, TheDialogOfTheSimulatorHoldsItsCommandsUntilItIsClosed) {
  constexpr Milliseconds kLooking(7000);
  SetNumber(kSimulatorKey, "", -1);
  EXPECT_EQ(NamedInRow("the simulator's dialog"),
            ThoseThatTakeLonger(
                std::chrono::duration<double>(kLooking).count(), true,
                [&] {
                  MakeNew();
                  TheWorld().dialog_user = [=](fakes::FakeDialog& dialog) {
                    dialog.Wait(kLooking);
                  };
                },
                [this] {
                  MakeNew();
                  TheWorld().dialog_user = nullptr;
                }));
}

TEST_F(ReferenceTimes, TheMessageBoxAboutAFaultHoldsWhateverFailsUntilItIsClosed) {
  constexpr Milliseconds kReading(7000);
  TheWorld().classes.clear();
  TheWorld().at_stop_message = [=] { TheWorld().Pump(kReading); };
  std::vector<std::string> failed;
  for (const MemberCall& member : AllMembers(true)) {
    MakeNew();
    TheWorld().before_call = [](const std::string& call) {
      if (call != "procedure") return;
      TheWorld().before_call = nullptr;
      throw std::bad_alloc();
    };
    std::int32_t error = 0;
    const double seconds =
        DurationOf([&] { error = ErrorNumberOf([&] { member.run(*zentrel); }); });
    TheWorld().before_call = nullptr;
    EXPECT_EQ(seconds, error == 0 ? 0 : 7) << member.name;
    EXPECT_TRUE(error == 0 || error == 65535) << member.name;
    EXPECT_EQ(TheWorld().stop_messages.size(), error == 0 ? 0U : 1U) << member.name;
    TheWorld().stop_messages.clear();
    if (error != 0) failed.push_back(member.name);
  }
  // Of a property one half, where it is there twice. All others only keep or give a value.
  EXPECT_EQ(failed, (std::vector<std::string>{"BoxStatus",
                                              "ReadXpdr",
                                              "ResetXpdr",
                                              "WriteXpdr",
                                              "MIFName",
                                              "PLLWarmUpName",
                                              "TXIName",
                                              "ZentrelSignature",
                                              "VDelay",
                                              "PowerManagement",
                                              "DeviceOpen",
                                              "DeviceInit",
                                              "DeviceClose",
                                              "Power",
                                              "Name",
                                              "TELIC2Read",
                                              "TELIC2Write",
                                              "TELIC2Test",
                                              "TELIC2Device",
                                              "TELIC2EnumDevices",
                                              "TELIC2EnumMessages",
                                              "TELIC2_Length",
                                              "TELIC2EnumTestMessages",
                                              "TELIC2Test_RdLength",
                                              "TELIC2Test_WrLength"}));
}

TEST_F(ReferenceTimes, AreMeasuredOfEveryMemberThatThePageHasInATable) {
  CallNames measured;
  for (const auto& [name, call] : SlowCalls(true)) measured.insert(name);
  EXPECT_EQ(NamesInTables(), measured);
  for (const MemberCall& member : AllMembers(true)) measured.erase(member.name);
  EXPECT_EQ(measured, CallNames()) << "are no members";
}

// --- Beside the tables ---

// In whatever state the commands wait, those of the table of members that the page does not name
// do not.
TEST_F(ReferenceTimes, AllOtherMembersReturnAtOnce) {
  SetInterfaces(0, 0, -1);
  SetName(kInterfaces, 0, "Pulse");
  SetRange(kIntervals, 0, 0);
  SetText(kIntervals, "0", "1 h");
  const std::vector<std::pair<std::string, std::function<void()>>> states{
      {"without a port", [this] { MakeNew(); }},
      {"after a write to an electric box, with a driver that takes no more bytes",
       [this] {
         MakeReady(kElectricBox);
         zentrel->WriteXpdr();
         Port().driver_room = 0;
       }},
      {"in the rest of a box", [this] { MakeReady(0, false); }},
      {"with the supply off", [this] { MakeUnsupplied(0); }},
      {"with the simulator", [this] {
         SetNumber(kSimulatorKey, "", -1);
         MakeNew();
         TheWorld().dialog_user = [](fakes::FakeDialog& dialog) {
           dialog.Wait(Milliseconds(7000));
         };
       }}};
  const CallNames slow = NamesInTables();
  for (const auto& [state, make] : states) {
    for (const bool boolean : {false, true}) {
      for (const MemberCall& member : AllMembers(boolean)) {
        if (slow.contains(member.name)) continue;
        make();
        EXPECT_EQ(DurationOf([&] { member.run(*zentrel); }), 0) << member.name << ' ' << state;
        Port().driver_room.reset();
      }
    }
  }
}

TEST_F(ReferenceTimes, OnlyVerifyDelayAndHoldOffDispatchMessages) {
  int dispatched = 0;
  const auto dispatched_in = [&](Milliseconds due, const TimedCall& call) {
    dispatched = 0;
    TheWorld().Post(due, [&] { ++dispatched; });
    call();
    const int in_call = dispatched;
    TheWorld().Pump(Milliseconds(1));
    return in_call;
  };
  const Milliseconds soon(100);
  EXPECT_EQ(dispatched_in(soon, [&] { zentrel->DeviceOpen(kPort, false); }), 0);
  EXPECT_EQ(dispatched_in(soon, [&] { zentrel->DeviceInit(); }), 1) << "the hold-off";
  zentrel->DeviceOpen(kPort, true);
  for (const TimedCommand& command : commands) {
    EXPECT_EQ(dispatched_in(soon, [&] { command.run(); }), 0) << command.name;
    if (command.name == std::string("WriteXpdr")) {
      EXPECT_EQ(dispatched_in(soon, [&] { zentrel->ReadXpdr(); }), 1) << "the verify delay";
    }
  }
}

}  // namespace
}  // namespace qmzentrel::tests
