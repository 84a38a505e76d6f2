// Every command that meets the box, under faults of the wire: a sample, on a real port and in real
// time, of what the core is held to in full.
#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "tests/clients/box_test.h"
#include "tests/clients/message_pump.h"
#include "tests/clients/port_openings.h"
#include "tests/clients/sub_device_messages.h"
#include "tests/clients/test_catalog.h"

namespace qmzentrel::clients {
namespace {

// A number of the record: what the transponder has, and what the client has.
struct RecordNumber {
  const char* fact;  // of the box
  BoxClient::LongGetter get;
  BoxClient::LongSetter let;
  LONG its;
  LONG own;
  bool in_block_2 = false;
};
// The leak flag is bit 7 of what the transponder counts.
constexpr LONG kLeakFlag = 0x80;
const std::vector<RecordNumber>& RecordNumbers() {
  static const std::vector<RecordNumber> numbers{
      {"mif", &_Zentrel::get_DeviceMIF, &_Zentrel::put_DeviceMIF, 0x12, 0x03},
      {"util", &_Zentrel::get_Util, &_Zentrel::put_Util, 99, 17},
      {"id", &_Zentrel::get_Xpdr, &_Zentrel::put_Xpdr, 0x654321, 0x123456},
      {"tamper", &_Zentrel::get_Tamper, &_Zentrel::put_Tamper, 5, 7},
      {"reading", &_Zentrel::get_Reading, &_Zentrel::put_Reading, 654321, 1193046},
      {"pll", &_Zentrel::get_PLLWarmup, &_Zentrel::put_PLLWarmup, 7, 3},
      {"txi", &_Zentrel::get_TXI, &_Zentrel::put_TXI, 11, 2},
      {"msi", &_Zentrel::get_MSI, &_Zentrel::put_MSI, 9, 4},
      {"freq-msb", &_Zentrel::get_Freq_MSB, &_Zentrel::put_Freq_MSB, 21, 31, true},
      {"freq-mid", &_Zentrel::get_Freq_MID, &_Zentrel::put_Freq_MID, 22, 32, true},
      {"freq-lsb", &_Zentrel::get_Freq_LSB, &_Zentrel::put_Freq_LSB, 23, 33, true},
      {"br-msb", &_Zentrel::get_BR_MSB, &_Zentrel::put_BR_MSB, 24, 34, true},
      {"br-lsb", &_Zentrel::get_BR_LSB, &_Zentrel::put_BR_LSB, 25, 35, true},
      {"pa", &_Zentrel::get_PA_CTRL, &_Zentrel::put_PA_CTRL, 26, 36, true},
      {"eol", &_Zentrel::get_EOL_CTRL, &_Zentrel::put_EOL_CTRL, 27, 37, true},
      {"leak-threshold", &_Zentrel::get_LeakThreshold, &_Zentrel::put_LeakThreshold, 28, 38, true},
  };
  return numbers;
}

// The messages of the sub-device, as it has them before each command.
constexpr LONG kItsShortMessage = 0x1234;
constexpr LONG kItsLongMessage = static_cast<LONG>(0x89ABCDEF);

// More sends than any command has.
constexpr int kForEver = 1'000;

// Over a transponder with two blocks.
struct WireCommand {
  const char* name;
  std::function<ZentrelStatus(BoxClient&)> run;
  int sends_in_a_try;  // to an electric box that stays silent
  int tries;
  std::size_t reply;  // bytes
  bool summed = true;
  bool two_blocks = false;
  bool reads = false;  // into the client's record

  int MostSends() const { return sends_in_a_try * tries; }
};

// The data that comes with the status: nothing of a failed exchange reaches the client's.
std::function<ZentrelStatus(BoxClient&)> MessagesOver(Messages::Command command,
                                                      const std::vector<LONG>& identifiers,
                                                      const std::vector<LONG>& data,
                                                      const std::vector<LONG>& received) {
  return [=](BoxClient& client) {
    Messages messages(identifiers, data);
    const ZentrelStatus status = messages.Run(client.Object(), command);
    EXPECT_EQ(messages.Received(), status == S_OKAY ? received : data);
    return status;
  };
}

const std::vector<WireCommand>& WireCommands() {
  static const std::vector<WireCommand> commands{
      {"BoxStatus", &BoxClient::BoxStatus, 2, 1, 7},
      {"DeviceInit", &BoxClient::Init, 2, 2, 7},
      {"ReadXpdr", &BoxClient::Read, 26, 2, 19, true, true, true},
      {"WriteXpdr", &BoxClient::Write, 6, 2, 19, true, true},
      {"ResetXpdr", &BoxClient::Reset, 1, 1, 19},
      {"TELIC2Read",
       MessagesOver(&_Zentrel::TELIC2Read, {8, 17}, {1, 2}, {kItsShortMessage, kItsLongMessage}),
       26, 1, 12, false},
      {"TELIC2Write", MessagesOver(&_Zentrel::TELIC2Write, {8, 17}, {1, 2}, {1, 2}), 6, 1, 12,
       false},
      {"TELIC2Test",
       MessagesOver(&_Zentrel::TELIC2Test, {0, 2}, {0, 0x0A0B0C0D}, {0xBEEF, 0x01020304}), 26, 1,
       12, false},
  };
  return commands;
}

// What has to come of the first block, and how often it has to be sent.
struct FirstBlock {
  ZentrelStatus status = S_OKAY;
  int sends = 1;

  int Exchanges(const WireCommand& command) const {
    return (sends + command.sends_in_a_try - 1) / command.sends_in_a_try;
  }
};

bool Any(const WireCommand& /*command*/) {
  return true;
}

struct WireFault {
  const char* name;
  std::function<std::string(const WireCommand&)> tell;
  std::function<FirstBlock(const WireCommand&)> rule;
  std::function<bool(const WireCommand&)> concerns = &Any;
  bool unplugs = false;
  bool ends_supply = false;
  std::size_t frames_before = 0;
  bool is_slow = false;
};

void PrintTo(const WireFault& fault, std::ostream* stream) {
  *stream << fault.name;
}

std::function<std::string(const WireCommand&)> Always(const char* text) {
  return [text](const WireCommand&) { return text; };
}

FirstBlock Okay(const WireCommand& /*command*/) {
  return {};
}

// A box that is silent is asked again while the command allows.
std::function<FirstBlock(const WireCommand&)> SilentFor(int sends) {
  return [sends](const WireCommand& command) -> FirstBlock {
    if (sends >= command.MostSends()) return {S_TIMEOUT, command.MostSends()};
    return {S_OKAY, sends + 1};
  };
}

bool HasSum(const WireCommand& command) {
  return command.summed;
}
bool HasOneBlock(const WireCommand& command) {
  return !command.two_blocks;
}
bool HasSumAndOneBlock(const WireCommand& command) {
  return HasSum(command) && HasOneBlock(command);
}
// The rest of a reply is awaited for 12.5 s: one command for each length of a reply.
bool IsFirstOfItsLength(const WireCommand& command) {
  return &command == &*std::ranges::find(WireCommands(), command.reply, &WireCommand::reply);
}
// Waits of half a second add up.
bool IsShort(const WireCommand& command) {
  return command.MostSends() <= 4;
}

const std::vector<WireFault>& WireFaults() {
  constexpr auto kBadSum = [](const WireCommand&) { return FirstBlock{S_BAD_SUM}; };
  static const std::vector<WireFault> faults{
      {"NothingWrong", Always("clear"), &Okay},
      {"SilentOnce", Always("silence"), SilentFor(1)},
      {"SilentTwice", Always("silence 2"), SilentFor(2), &IsShort},
      {"AWrongSum", Always("wrong-sum"), kBadSum, &HasSum},
      {"GarbageOfTheRightLength",
       [](const WireCommand& command) { return "garbage 1 " + std::to_string(command.reply); },
       kBadSum, &HasSum},
      // More than any frame has.
      {"AFlood", Always("garbage 1 300"), kBadSum, &HasSumAndOneBlock},
      {"StrayBytesAhead", Always("stray 55 AA"), kBadSum, &HasSumAndOneBlock},
      {"StrayBytesWithin", Always("stray-after 3 55 AA"), kBadSum, &HasSumAndOneBlock},
      {"StrayBytesBehind", Always("stray-after 1000 55 AA"), &Okay, &HasOneBlock},
      {"ALateReply", Always("late 60"), &Okay},
      {"AReplyInTwoPieces", Always("split 3 60"), &Okay},
      {"ADribble", Always("dribble 30"), &Okay},
      {"BytesLeftFromBefore", Always("send 55 AA 55"), &Okay, &Any, false, false, 1},
      {.name = "AReplyCutShort",
       .tell = Always("truncate 1 6"),
       .rule = [](const WireCommand&) { return FirstBlock{S_BAD_RESPONSE}; },
       .concerns = &IsFirstOfItsLength,
       .is_slow = true},
      // The box hangs on another line then.
      {"TheSupplyLost", Always("supply rts"), SilentFor(kForEver), &IsShort, false, true},
      {"UnpluggedBefore", Always("unplug"), SilentFor(kForEver), &IsShort, true},
      {"UnpluggedBehindTheReply",
       [](const WireCommand& command) { return "unplug-at " + std::to_string(command.reply); },
       &Okay, &HasOneBlock, true},
  };
  return faults;
}

using Raised = std::vector<bool>;

class WireFaultTest : public BoxTest {
 protected:
  explicit WireFaultTest(bool maintain_supply) : maintains_supply_(maintain_supply) {}

  void SetUp() override {
    BoxTest::SetUp();
    catalog_.Fill();
  }

  // As often as it takes; the first time, and after one that was for nothing, with everything as
  // new.
  void Run(const std::function<void()>& attempt) {
    UnlessHeldUp(kSpareMs, [&] {
      if (!prepared_) Prepare();
      prepared_ = false;
      attempt();
    });
    prepared_ = !HasFailure();
  }

  // Befalls each command that it concerns.
  void RunCases(const WireFault& fault) {
    fault_ = &fault;
    int cases = 0;
    for (const WireCommand& command : WireCommands()) {
      if (!fault.concerns(command)) continue;
      Run([&] { RunCase(command); });
      ++cases;
    }
    EXPECT_GE(cases, 3);
  }

  // What has been raised since it was called last.
  Raised NewEvents() {
    const Raised& all = client_.Events();
    const Raised fresh(all.begin() + told_, all.end());
    told_ += static_cast<std::ptrdiff_t>(fresh.size());
    return fresh;
  }

  // On demand the supply goes off some time after the last command, once.
  void ExpectSupplyToGoOff() {
    constexpr DWORD kTickPatienceMs = 10'000;
    client_.Let(&_Zentrel::put_PowerTimeout, 1);
    ASSERT_EQ(client_.Reset(), S_OKAY);
    EXPECT_EQ(NewEvents(), Raised());
    const std::size_t before = client_.Events().size();
    EXPECT_TRUE(PumpUntil([&] { return client_.Events().size() > before; }, kTickPatienceMs));
    EXPECT_EQ(NewEvents(), Raised{false});
    EXPECT_TRUE(Box().Lines().back().starts_with("dtr=0")) << Box().Lines().back();
  }

  const bool maintains_supply_;
  BoxClient client_;

 private:
  void Prepare() {
    client_.Close();
    Box().Reset();
    mended_ = false;
    Box().Tell("set version 8.0");
    Box().Tell("test 0 0 BEEF");
    Box().Tell("test 2 4 01020304");
    MakeUnlike();
    OpenElectric(client_, maintains_supply_);
    ASSERT_EQ(Let(client_.Object(), L"TELIC2Device", Value::Text(L"1")).result, S_OK);
    client_.Let(&_Zentrel::put_VDelay, 0);
    ASSERT_EQ(client_.Read(), S_OKAY);
    NewEvents();
  }

  // Whatever a command before has brought or written, client and transponder differ.
  void MakeUnlike() {
    for (const RecordNumber& number : RecordNumbers()) {
      client_.Let(number.let, number.own);
      const LONG flag = std::string(number.fact) == "tamper" ? kLeakFlag : 0;
      Box().Tell("set " + std::string(number.fact) + " " + std::to_string(number.its | flag));
    }
    client_.Let(&_Zentrel::put_HasLeak, false);
    Box().Tell("message 8 1234");
    Box().Tell("message 17 89ABCDEF");
  }

  void RunCase(const WireCommand& command) {
    SCOPED_TRACE(std::string(command.name) + ", " + fault_->name);
    MakeUnlike();
    Box().Tell("log-clear");
    Box().Tell(fault_->tell(command));
    if (fault_->frames_before > 0) Box().AwaitFrames(fault_->frames_before);
    Expect(command, fault_->rule(command));
    if (fault_->unplugs) {
      AwaitUnplugged();
      EXPECT_EQ(client_.Open(Port(), maintains_supply_), S_BAD_PORT);
      Box().Tell("plug");
      EXPECT_EQ(client_.Open(Port(), maintains_supply_), S_OKAY);
    }
    if (fault_->ends_supply) Box().Tell("supply dtr");
    Box().Tell("clear");
    Box().Tell("log-clear");
    MakeUnlike();
    mended_ = true;
    Expect(command, {});
    mended_ = false;
  }

  // A read asks for block 2 whatever has become of block 1; a write sends it after a good one.
  void Expect(const WireCommand& command, const FirstBlock& first) {
    const bool okay = first.status == S_OKAY;
    const bool second = command.two_blocks && (okay || command.reads);
    NewEvents();
    EXPECT_EQ(command.run(client_), second ? S_OKAY : first.status);
    EXPECT_EQ(NewEvents(), EventsOf(first.Exchanges(command) + (second ? 1 : 0)));
    ExpectRecord(command.reads, okay);
    // What the port swallowed, or came without supply, no box has seen.
    if ((fault_->unplugs || fault_->ends_supply) && !mended_) return;
    // Until what a fault has pushed out behind the reply has come, too.
    const int sends = first.sends + (second ? 1 : 0);
    const int replies = (first.status == S_TIMEOUT ? 0 : 1) + (second ? 1 : 0);
    Box().AwaitFrames(static_cast<std::size_t>(sends + replies));
    EXPECT_EQ(Sends(), sends);
  }

  // A read that failed leaves nothing of block 1; block 2 comes in every case.
  void ExpectRecord(bool is_read, bool okay) {
    for (const RecordNumber& number : RecordNumbers()) {
      const LONG read = okay || number.in_block_2 ? number.its : 0;
      EXPECT_EQ(client_.Get(number.get), is_read ? read : number.own) << number.fact;
    }
    EXPECT_EQ(client_.Get(&_Zentrel::get_HasLeak), is_read && okay);
    EXPECT_EQ(client_.Get(&_Zentrel::get_TravonelVersion), is_read && !okay ? L"0.0" : L"8.0");
  }

  // Maintained, the line stays on, but each exchange has its pair. On demand it is on from the
  // opening, and the time until it goes off begins anew with each exchange.
  Raised EventsOf(int exchanges) const {
    Raised events;
    for (int i = 0; maintains_supply_ && i < exchanges; ++i) {
      events.insert(events.end(), {true, false});
    }
    return events;
  }

  // The box pulls the plug when the client has had its time to take the reply.
  static void AwaitUnplugged() {
    constexpr DWORD kPlugPatienceMs = 10'000;
    const Stopwatch time;
    while (!Box().Tell("state").starts_with("unplugged") && time.Ms() < kPlugPatienceMs) Sleep(1);
  }

  static int Sends() {
    int sends = 0;
    for (const std::string& frame : Box().Frames()) sends += frame.starts_with("> ") ? 1 : 0;
    return sends;
  }

  const WireFault* fault_ = nullptr;
  TestCatalog catalog_;
  std::ptrdiff_t told_ = 0;  // events
  bool mended_ = false;
  bool prepared_ = false;
};

class BoxFaultMatrix : public WireFaultTest, public testing::WithParamInterface<WireFault> {
 protected:
  BoxFaultMatrix() : WireFaultTest(true) {}
};

TEST_P(BoxFaultMatrix, EndsAsTheRulesSay) {
  RunCases(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Faults, BoxFaultMatrix, testing::ValuesIn(WireFaults()),
                         [](const auto& fault) { return fault.param.name; });

// The supply is on throughout: it takes its time to come and to go.
class BoxFaultMatrixOnDemand : public WireFaultTest {
 protected:
  BoxFaultMatrixOnDemand() : WireFaultTest(false) {}
};

TEST_F(BoxFaultMatrixOnDemand, EndsAsTheRulesSay) {
  for (const WireFault& fault : WireFaults()) {
    if (!fault.is_slow) RunCases(fault);
  }
  Run([&] { ExpectSupplyToGoOff(); });
}

// A port that another program has, and was there before.
class BoxBusyPort : public WireFaultTest, public testing::WithParamInterface<bool> {
 protected:
  BoxBusyPort() : WireFaultTest(GetParam()) {}

  void ExpectBadPorts() {
    PortOpenings openings(LoadedLibrary().module);
    openings.Refuse(ERROR_ACCESS_DENIED);
    NewEvents();
    EXPECT_EQ(client_.Open(Port(), maintains_supply_), S_BAD_PORT);
    EXPECT_EQ(NewEvents(), maintains_supply_ ? (Raised{true, true, false}) : Raised());
    for (const WireCommand& command : WireCommands()) {
      SCOPED_TRACE(command.name);
      Box().Tell("log-clear");
      EXPECT_EQ(command.run(client_), S_BAD_PORT);
      const bool asks_first = std::string(command.name) == "DeviceInit";
      // A read that has no block 1 tries block 2.
      const Raised each = command.reads ? Raised{false, false} : Raised{false};
      EXPECT_EQ(NewEvents(), maintains_supply_ && !asks_first ? each : Raised());
      EXPECT_TRUE(Box().Frames().empty());
    }
    openings.Allow();
    EXPECT_EQ(client_.Open(Port(), maintains_supply_), S_OKAY);
    NewEvents();
    EXPECT_EQ(client_.Reset(), S_OKAY);
    if (!maintains_supply_) ExpectSupplyToGoOff();
  }
};

TEST_P(BoxBusyPort, LeavesEveryCommandABadPort) {
  Run([this] { ExpectBadPorts(); });
}

INSTANTIATE_TEST_SUITE_P(Modes, BoxBusyPort, testing::Bool(),
                         [](const auto& mode) { return mode.param ? "Maintained" : "OnDemand"; });

}  // namespace
}  // namespace qmzentrel::clients
