// How long a call holds its caller: the table of the reference (interface/reference/times.md) is
// what is measured here, row by row, and so is what it says beside the table.
#include <functional>

#include "tests/core/call_time.h"
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

using TimedCall = std::function<void()>;

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
  void MakeReady(std::uint8_t signature) {
    zentrel = Zentrel::Create();
    zentrel->TELIC2Device("Meter");
    OpenBox(true, signature);
  }

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

TEST_F(ReferenceTimes, AReadOrWriteAfterAWriteWaitsForTheVerifyDelayOnTop) {
  for (const TimedCommand& command : {commands[2], commands[3]}) {
    MakeReady(kAwakeBox);
    const double alone = DurationOf(command.run);
    MakeReady(kAwakeBox);
    zentrel->WriteXpdr();
    EXPECT_NEAR(DurationOf(command.run), alone + kUsualVerifyDelay, 0.1) << command.name;
  }
}

TEST_F(ReferenceTimes, OnDemandTheFirstCommandWaitsForTheBoxToStart) {
  EXPECT_EQ(TimeOf([&] { zentrel->DeviceOpen(kPort, false); }), "2.5 s");
  EXPECT_EQ(TimeOf([&] { zentrel->DeviceOpen(kPort, true); }), "0 s");
}

TEST_F(ReferenceTimes, OnDemandABoxWithoutASignatureIsLeftAloneAfterABoxStatus) {
  OpenBox(false, 0);
  Port().Answer(Block1Reply({}));
  EXPECT_NEAR(DurationOf([&] { EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY); }), 3.75, 0.1);
}

TEST_F(ReferenceTimes, AllOtherMembersReturnAtOnce) {
  Open(true);
  EXPECT_EQ(DurationOf([&] {
              zentrel->PowerManagement(true);
              zentrel->PowerManagement(false);
              zentrel->PLLWarmUpName();
              zentrel->Name("SOFTWARE", 0);
              zentrel->TELIC2_Length(8);
              zentrel->DeviceClose();
            }),
            0);
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
