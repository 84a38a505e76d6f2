// What the document for clients (docs/clients.md) promises beyond what single commands do: how long
// a call holds its caller, with the table of it, which waits dispatch messages, and what opening
// again, a good reply and a simulated read leave behind.
#include <chrono>
#include <cmath>
#include <fstream>
#include <functional>
#include <iterator>
#include <set>

#include "tests/core/simulator_test.h"
#include "tests/core/telic2_test.h"

namespace qmzentrel::tests {
namespace {

constexpr std::uint8_t kElectric = 0xA6;
constexpr std::uint8_t kOther = 0xA5;

std::string ReadClientsDocument() {
  std::ifstream file(QMZ_SOURCE_DIR "/docs/clients.md");
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// "2.5 s", to half a second: the document leaves out what the bytes take on the line.
std::string Text(double seconds) {
  const auto halves = std::lround(seconds * 2);
  return std::to_string(halves / 2) + (halves % 2 == 0 ? "" : ".5") + " s";
}

class ClientsDocument : public Telic2Test<ZentrelTest> {
 protected:
  using Call = std::function<void()>;

  static double SecondsOf(const Call& call) {
    const fakes::Microseconds start = TheWorld().now;
    call();
    return std::chrono::duration<double>(TheWorld().now - start).count();
  }
  static std::string TimeOf(const Call& call) { return Text(SecondsOf(call)); }

  /// What `call` takes with each kind of box, as the cells of a row. `before` makes each ready.
  std::string Cells(
      const Call& call, const Call& before = [] {}) {
    std::string cells;
    for (const std::uint8_t signature : {kOther, kElectric}) {
      OpenBox(true, signature);
      before();
      cells += TimeOf(call) + " | ";
      StartAnew();
    }
    return cells.substr(0, cells.size() - 1);
  }

  /// An object that has no verify delay to wait for and knows no box.
  void StartAnew() {
    zentrel = Zentrel::Create();
    zentrel->TELIC2Device("Meter");
  }

  void Expect(const std::string& calls, const std::string& cells) {
    const std::string row = "\n| " + calls + " | " + cells + "\n";
    EXPECT_TRUE(document.find(row) != std::string::npos) << "docs/clients.md has no row" << row;
    expected_.insert(row);
  }

  /// A transponder of version 8, which has a second block, is in the record from then on.
  void ReadVersion8(std::uint8_t signature) {
    Port().Answer(Block1Reply({.version = 0x80, .signature = signature}));
    Port().Answer(Block2Reply({1, 2, 3, 4, 5, 6, 7, 8}));
    ASSERT_EQ(zentrel->ReadXpdr(), S_OKAY);
  }

  /// The box answers the next command on its last sending, as late as counts.
  void AnswerLate(const Bytes& reply, int silent_sends, std::int32_t wait_ms) {
    Port().StaySilent(silent_sends);
    Port().Answer(reply, Milliseconds(wait_ms - 1));
  }

  std::size_t RowsExpected() const { return expected_.size(); }

  const std::string document = ReadClientsDocument();

 private:
  std::set<std::string> expected_;
};

TEST_F(ClientsDocument, HasATableOfWhatEachCallTakesWhenNothingAnswers) {
  Expect("`BoxStatus`", Cells([&] { zentrel->BoxStatus(); }));
  Expect("`DeviceInit`", Cells([&] { zentrel->DeviceInit(); }));
  Expect("`ResetXpdr`", Cells([&] { zentrel->ResetXpdr(); }));
  Expect("`ReadXpdr`", Cells([&] { zentrel->ReadXpdr(); }));
  Expect("`WriteXpdr`", Cells([&] { zentrel->WriteXpdr(); }));
  const Call failed_write = [&] { zentrel->WriteXpdr(); };
  Expect("`ReadXpdr` right after a write", Cells([&] { zentrel->ReadXpdr(); }, failed_write));
  Expect("`WriteXpdr` right after a write", Cells([&] { zentrel->WriteXpdr(); }, failed_write));
  Expect("`TELIC2Read`, `TELIC2Test`", Cells([&] { Run(kReadCommand, {8}); }));
  EXPECT_EQ(Cells([&] { Run(kTestCommand, {8}); }), Cells([&] { Run(kReadCommand, {8}); }));
  Expect("`TELIC2Write`", Cells([&] { Run(kWriteCommand, {8}); }));

  const std::string heading = "| call | any other box | an electric box |\n|---|---|---|\n";
  const std::size_t begin = document.find(heading);
  ASSERT_NE(begin, std::string::npos) << "docs/clients.md has no such table";
  std::size_t rows = 0;
  for (std::size_t line = begin + heading.size(); document[line] == '|'; ++rows) {
    line = document.find('\n', line) + 1;
  }
  EXPECT_EQ(rows, RowsExpected()) << "docs/clients.md has a row that nobody measures";
}

TEST_F(ClientsDocument, AWriteTakesTheMostWhenItsFirstBlockIsAnsweredLastAndItsSecondNotAtAll) {
  struct Kind {
    std::uint8_t signature;
    int sends;
    std::int32_t wait_ms;
    const char* time;
  };
  for (const Kind& kind : {Kind{kOther, 2, 2500, "14 s"}, Kind{kElectric, 12, 500, "16 s"}}) {
    OpenBox(true, kind.signature);
    ReadVersion8(kind.signature);
    AnswerLate(Block1Reply({.version = 0x80, .signature = kind.signature}), kind.sends - 1,
               kind.wait_ms);
    EXPECT_EQ(TimeOf([&] { EXPECT_EQ(zentrel->WriteXpdr(), S_TIMEOUT); }), kind.time);
    StartAnew();
  }
}

TEST_F(ClientsDocument, AReplyThatBreaksOffTakesTwelveAndAHalfSecondsMore) {
  OpenBox(true, kOther);
  Port().Answer({1, 2, 3});
  EXPECT_EQ(TimeOf([&] { EXPECT_EQ(zentrel->BoxStatus(), S_BAD_RESPONSE); }), "12.5 s");
}

TEST_F(ClientsDocument, OnDemandTheFirstCommandWaitsForTheBoxToStart) {
  EXPECT_EQ(TimeOf([&] { zentrel->DeviceOpen(kPort, false); }), "2.5 s");
  EXPECT_EQ(TimeOf([&] { zentrel->DeviceOpen(kPort, true); }), "0 s");
}

TEST_F(ClientsDocument, OnDemandABoxWithoutASignatureIsLeftAloneAfterABoxStatus) {
  OpenBox(false, 0);
  Port().Answer(Block1Reply({}));
  EXPECT_NEAR(SecondsOf([&] { EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY); }), 3.75, 0.1);
}

TEST_F(ClientsDocument, OnlyVerifyDelayAndHoldOffDispatchMessages) {
  int dispatched = 0;
  const auto dispatched_in = [&](Milliseconds due, const Call& call) {
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
  EXPECT_EQ(dispatched_in(soon, [&] { zentrel->DeviceInit(); }), 0);
  EXPECT_EQ(dispatched_in(soon, [&] { zentrel->ReadXpdr(); }), 0);
  EXPECT_EQ(dispatched_in(soon, [&] { zentrel->ResetXpdr(); }), 0);
  EXPECT_EQ(dispatched_in(soon, [&] { Run(kReadCommand, {8}); }), 0);
  EXPECT_EQ(dispatched_in(soon, [&] { Run(kWriteCommand, {8}); }), 0);
  EXPECT_EQ(dispatched_in(soon, [&] { Run(kTestCommand, {8}); }), 0);
  EXPECT_EQ(dispatched_in(soon, [&] { zentrel->WriteXpdr(); }), 0);
  EXPECT_EQ(dispatched_in(soon, [&] { zentrel->ReadXpdr(); }), 1) << "the verify delay";
}

// --- Opening again ---

TEST_F(ClientsDocument, ASecondMaintainedSessionWithAnElectricBoxMeetsABoxThatIsStillStarting) {
  constexpr Milliseconds kStartUp(2400);
  fakes::Microseconds supplied{0};
  Port().device = [&](std::span<const std::uint8_t>) -> fakes::Reaction {
    if (TheWorld().now - supplied < kStartUp) return {};
    return {{BoxStatusReply(0x21, 100, kElectric, 0), Milliseconds(0)}};
  };
  const auto open = [&] {
    supplied = TheWorld().now;
    EXPECT_EQ(zentrel->DeviceOpen(kPort, true), S_OKAY);
  };
  open();
  EXPECT_EQ(zentrel->DeviceInit(), S_OKAY) << "the first session waits longer, not knowing the box";
  zentrel->DeviceClose();
  open();
  EXPECT_EQ(zentrel->DeviceInit(), S_TIMEOUT);
  EXPECT_EQ(zentrel->DeviceInit(), S_OKAY);
}

TEST_F(ClientsDocument, AfterAWrongPortTheRightOneIsOpenedWithoutPauseOrEvent) {
  constexpr std::int32_t kNoPort = 99;
  EXPECT_EQ(zentrel->DeviceOpen(kNoPort, false), S_BAD_PORT);
  TheWorld().TakeJournal();
  EXPECT_EQ(TimeOf([&] { EXPECT_EQ(zentrel->DeviceOpen(kPort, false), S_OKAY); }), "0 s");
  for (const std::string& line : TheWorld().TakeJournal()) {
    EXPECT_FALSE(line.starts_with("event") || line.starts_with("pause")) << line;
  }

  EXPECT_EQ(zentrel->DeviceOpen(kNoPort, false), S_BAD_PORT);
  zentrel->DeviceClose();
  EXPECT_EQ(TimeOf([&] { zentrel->DeviceOpen(kPort, false); }), "2.5 s") << "closed in between";
}

// --- What replies leave behind ---

TEST_F(ClientsDocument, EveryGoodReplyWithTheFactsOfTheBoxReplacesThePowerTimeout) {
  Open(true);
  const auto timeout_after = [&](const Bytes& reply, const Call& call) {
    zentrel->PowerTimeout(7);
    Port().Answer(reply);
    call();
    return zentrel->PowerTimeout();
  };
  const Bytes record = Block1Reply({.signature = kOther});
  const Bytes box = BoxStatusReply(0x21, 100, kOther, 0);
  EXPECT_EQ(timeout_after(box, [&] { zentrel->BoxStatus(); }), 20);
  EXPECT_EQ(timeout_after(record, [&] { zentrel->ReadXpdr(); }), 20);
  EXPECT_EQ(timeout_after(record, [&] { zentrel->WriteXpdr(); }), 20);
  EXPECT_EQ(timeout_after(record, [&] { zentrel->ResetXpdr(); }), 7) << "nothing of it is read";
  EXPECT_EQ(timeout_after({1, 2, 3}, [&] { zentrel->BoxStatus(); }), 7) << "a bad reply";
}

class SimulatedReadInTheClientsDocument : public SimulatorTest {};

TEST_F(SimulatedReadInTheClientsDocument, AloneNamesAnInterfaceByTheIdSourceToggleToo) {
  SetInterfaces(0, 21, 1 << 5);
  SetName(kInterfaces, 21, "Register, other source");
  SetNumber(kSimulatorKey, "MIF", 5 | MIF_MASK_IDT | MIF_MASK_2IF);
  Read(Ok);
  EXPECT_EQ(zentrel->DeviceMIF(), 5 | MIF_MASK_IDT | MIF_MASK_2IF);
  EXPECT_EQ(zentrel->MIFName(), "Register, other source");
  zentrel->DeviceMIF(zentrel->DeviceMIF());
  EXPECT_EQ(zentrel->MIFName(), "Register");
}

}  // namespace
}  // namespace qmzentrel::tests
