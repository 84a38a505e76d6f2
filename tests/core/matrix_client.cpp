#include "tests/core/matrix_client.h"

#include <algorithm>
#include <cmath>
#include <sstream>

namespace qmzentrel::tests::matrix {
namespace {

// As text, for a comparison that names what differs.
template <class Values>
std::string Listed(const Values& values) {
  std::ostringstream text;
  std::size_t repeated = 0;
  for (auto value = values.begin(); value != values.end(); ++value) {
    ++repeated;
    const auto next = std::next(value);
    if (next != values.end() && *next == *value) continue;
    text << *value << " x " << repeated << "; ";
    repeated = 0;
  }
  return text.str();
}

std::string Differences(const Outlook& wanted, const Outlook& seen) {
  std::ostringstream text;
  const auto compare = [&text](const std::string& what, const auto& is_wanted, const auto& is) {
    if (is != is_wanted) text << "\n  " << what << ": " << is << " instead of " << is_wanted;
  };
  compare("raises", wanted.raises, seen.raises);
  if (!wanted.raises) {
    compare("status", static_cast<int>(wanted.status), static_cast<int>(seen.status));
  }
  compare("sends", wanted.sent.size(), seen.sent.size());
  compare("sent", Listed(wanted.sent), Listed(seen.sent));
  compare("events", Listed(wanted.events), Listed(seen.events));
  const bool as_exact_as_the_clock =
      wanted.waited_for_clock && abs(seen.takes - wanted.takes) <= kClockError;
  if (!as_exact_as_the_clock) compare("microseconds", wanted.takes.count(), seen.takes.count());
  compare("message data", Listed(wanted.data), Listed(seen.data));
  compare("supply line", wanted.line, seen.line);
  for (const auto& [name, value] : wanted.facts) compare(name, value, seen.facts.at(name));
  return text.str();
}

// The members of the class that carry a number, but for those of the box.
struct NumberMember {
  const char* name;
  std::int32_t (Zentrel::*get)() const;
};
constexpr std::array kNumberMembers{
    NumberMember{"DeviceMIF", &Zentrel::DeviceMIF},
    NumberMember{"Util", &Zentrel::Util},
    NumberMember{"Xpdr", &Zentrel::Xpdr},
    NumberMember{"Tamper", &Zentrel::Tamper},
    NumberMember{"Reading", &Zentrel::Reading},
    NumberMember{"PLLWarmup", &Zentrel::PLLWarmup},
    NumberMember{"TXI", &Zentrel::TXI},
    NumberMember{"MSI", &Zentrel::MSI},
    NumberMember{"Freq_MSB", &Zentrel::Freq_MSB},
    NumberMember{"Freq_MID", &Zentrel::Freq_MID},
    NumberMember{"Freq_LSB", &Zentrel::Freq_LSB},
    NumberMember{"BR_MSB", &Zentrel::BR_MSB},
    NumberMember{"BR_LSB", &Zentrel::BR_LSB},
    NumberMember{"PA_CTRL", &Zentrel::PA_CTRL},
    NumberMember{"EOL_CTRL", &Zentrel::EOL_CTRL},
    NumberMember{"LeakThreshold", &Zentrel::LeakThreshold},
    NumberMember{"PowerTimeout", &Zentrel::PowerTimeout},
};

// "2.1" is 0x21; no version yet is none.
std::int64_t VersionByte(const std::string& text) {
  return text.size() == 3 ? std::stoi(text.substr(0, 1) + text.substr(2), nullptr, 16) : -1;
}

}  // namespace

std::ostream& operator<<(std::ostream& stream, const Case& one) {
  constexpr std::array kWheres{", first step", ", second step", ""};
  constexpr std::array kModes{"supply maintained", "on demand, still on", "on demand, off"};
  return stream << one.command.name << ", " << one.fault->name
                << kWheres[static_cast<std::size_t>(one.where)] << ", "
                << kModes[static_cast<std::size_t>(one.mode)]
                << (one.signature == 0xA6   ? ", electric box"
                    : one.signature == 0xA5 ? ", other box"
                                            : ", box without a signature");
}

const std::vector<Command>& Commands() {
  static const std::vector<Command> commands{
      {"BoxStatus", Order::kBoxStatus},
      {"DeviceInit", Order::kDeviceInit},
      {"ReadXpdr", Order::kReadXpdr},
      {"ReadXpdr with block 2", Order::kReadXpdr, 0x80},
      {"WriteXpdr", Order::kWriteXpdr},
      {"WriteXpdr with block 2", Order::kWriteXpdr, 0x80},
      {"ResetXpdr", Order::kResetXpdr},
      {"TELIC2Read", Order::kTelic2Read},
      {"TELIC2Write", Order::kTelic2Write},
      {"TELIC2Test", Order::kTelic2Test},
      {"TELIC2Test without a reply", Order::kTelic2Send},
  };
  return commands;
}

std::vector<Where> WheresOf(const Command& command, const Fault& fault) {
  if (!fault.react) return {Where::kBoth};
  const bool reads = command.order == Order::kReadXpdr;
  std::vector<Where> wheres{Where::kFirst};
  if (command.HasBlock2()) wheres.push_back(Where::kSecond);
  const bool both = (command.HasBlock2() || reads) && !fault.one_step_only && !fault.takes_turns;
  if (both) wheres.push_back(Where::kBoth);
  return wheres;
}

// The table needs only its lengths.
std::vector<Fault> FaultsOf(const Command& command) {
  const std::size_t sent = command.order == Order::kWriteXpdr ? 12 : command.IsTelic2() ? 4 : 1;
  return FaultsOf(Exchange{.frame = Bytes(sent), .reply = ReplyOf(command, 0, 0), .limit{}});
}

void MatrixClient::RunCase(const Case& one) {
  std::ostringstream name;
  name << one;
  SCOPED_TRACE(name.str());
  case_ = &one;
  ASSERT_NO_FATAL_FAILURE(Prepare());
  Rules rules(one.command, one.signature, IsMaintained(), SeenFacts());
  rules.supplied = one.mode != Mode::kOnDemandOff;
  rules.link.line = rules.supplied;
  rules.seconds_left = one.mode == Mode::kOnDemandStillOn ? kPowerTimeout : 0;
  rules.rests_until = rests_until_;
  Strike(rules);
  rules.now = TheWorld().now;
  Compare("the command", rules.Run(*one.fault, one.where));
  if (MustRest()) {
    PassASecond(rules);  // and no more: it is still resting
  } else {
    AwaitSupplyOff(rules);
  }
  Mend(rules);
  rules.now = TheWorld().now;
  Compare("the next command", rules.Run(kNoFault, Where::kBoth));
  if (MustRest()) AwaitSupplyOff(rules);
}

// An object that has met the box and the transponder before.
void MatrixClient::Prepare() {
  zentrel.reset();
  ResetPort();
  own_supply_ = false;
  TheWorld().SetClock(60);  // soon after midnight a Single is good for microseconds
  MakeObject();
  zentrel->TELIC2Device("Meter");
  zentrel->VDelay(0);
  zentrel->PowerTimeout(kPowerTimeout);
  ASSERT_EQ(zentrel->DeviceOpen(PortNumber(), IsMaintained()), S_OKAY);
  Port().Answer(EarlierBoxStatus(case_->signature));
  Port().Answer(EarlierBlock1(case_->command, case_->signature));
  Port().Answer(EarlierBlock2());
  ASSERT_EQ(zentrel->BoxStatus(), S_OKAY);
  ASSERT_EQ(zentrel->ReadXpdr(), S_OKAY);
  Port().reactions.clear();  // a transponder without block 2 leaves one
  if (MustRest()) {
    Port().Answer(EarlierBoxStatus(case_->signature));
    ASSERT_EQ(zentrel->BoxStatus(), S_OKAY);
  }
  rests_until_ = MustRest() ? TheWorld().now + kRest : Microseconds{0};
  if (case_->mode == Mode::kOnDemandOff) {
    zentrel->PowerTimeout(1);
    zentrel->PowerManagement(true);
    TheWorld().Pump(Milliseconds{1'000});
    EXPECT_FALSE(LineIs(false));
  }
  zentrel->PowerTimeout(kPowerTimeout);
  TheWorld().Advance(Milliseconds{100});  // nothing of it is on the wire any more
}

void MatrixClient::Meet(const Rules& rules, const Fault& fault) {
  const std::array exchanges{rules.ExchangeOf(0), rules.ExchangeOf(1)};
  Port().device = [this, &fault, exchanges, sends = std::array{0, 0}](
                      std::span<const std::uint8_t> frame) mutable -> fakes::Reaction {
    const bool block_2 = frame[0] == 0x42 || (frame.size() == 12 && frame[10] == 0x20);
    const std::size_t step = block_2 ? 1 : 0;
    const int send = sends[step]++;
    if (!own_supply_ && !Port().lines.dtr) return {};
    const bool here = case_->where == Where::kBoth || block_2 == (case_->where == Where::kSecond);
    if (here && fault.react && fault.Befalls(send)) {
      return fault.react(Port(), exchanges[step], send);
    }
    return {{exchanges[step].reply}};
  };
}

void MatrixClient::Reopen(Rules& rules, ZentrelStatus status) {
  EXPECT_EQ(zentrel->DeviceOpen(PortNumber(), IsMaintained()), status);
  rules.link.open = status == S_OKAY;
  rules.link.gone = false;
  rules.link.line = rules.link.open && !rules.link.lines_refused;
  rules.supplied = true;
  rules.seconds_left = IsMaintained() ? 0 : zentrel->PowerTimeout();
}

// Runs the command, and says what is not as it has to be.
void MatrixClient::Compare(const char* which, const Outlook& wanted) {
  TheWorld().TakeJournal();
  const Microseconds begin = TheWorld().now;
  Outlook seen;
  const std::int32_t error = ErrorNumberOf([&] { seen.status = RunCommand(); });
  EXPECT_TRUE(error == 0 || error == 65535) << error;
  seen.raises = error != 0;
  seen.takes = TheWorld().now - begin;
  EXPECT_EQ(TakeReports().size(), wanted.raises ? 1U : 0U);
  for (const std::string& line : TheWorld().TakeJournal()) {
    if (line.starts_with("write ")) seen.sent.push_back(line.substr(6));
    if (line.starts_with("event ")) seen.events.push_back(line == "event True");
  }
  seen.facts = SeenFacts();
  if (case_->command.IsTelic2()) seen.data = data;
  seen.line = LineIs(wanted.line);
  LookAtPort(wanted, seen);
  EXPECT_EQ(Differences(wanted, seen), "") << which;
}

ZentrelStatus MatrixClient::RunCommand() {
  const Messages messages = MessagesOf(case_->command.order);
  switch (case_->command.order) {
    case Order::kBoxStatus:
      return zentrel->BoxStatus();
    case Order::kDeviceInit:
      return zentrel->DeviceInit();
    case Order::kReadXpdr:
      return zentrel->ReadXpdr();
    case Order::kWriteXpdr:
      return zentrel->WriteXpdr();
    case Order::kResetXpdr:
      return zentrel->ResetXpdr();
    case Order::kTelic2Read:
      return Run(kReadCommand, messages.identifiers, messages.data);
    case Order::kTelic2Write:
      return Run(kWriteCommand, messages.identifiers, messages.data);
    case Order::kTelic2Test:
    case Order::kTelic2Send:
      return Run(kTestCommand, messages.identifiers, messages.data);
  }
  return S_OKAY;
}

Facts MatrixClient::SeenFacts() const {
  Facts facts;
  for (const NumberMember& member : kNumberMembers) {
    facts[member.name] = (zentrel.get()->*member.get)();
  }
  facts["HasLeak"] = zentrel->HasLeak();
  facts["version"] = VersionByte(zentrel->TravonelVersion());
  facts["box version"] = VersionByte(zentrel->ZentrelVersion());
  facts["battery"] = std::lround(zentrel->BatteryVoltage() / 0.039);
  facts["signature 0"] = zentrel->ZentrelSignature(0);
  facts["signature 1"] = zentrel->ZentrelSignature(1);
  return facts;
}

void MatrixClient::PassASecond(Rules& rules) {
  TheWorld().Pump(std::chrono::seconds(1));
  if (rules.seconds_left > 0) --rules.seconds_left;
  EXPECT_EQ(LineIs(rules.link.line), rules.link.line);
}

// On demand the supply goes off to the second, with an event; maintained it stays.
void MatrixClient::AwaitSupplyOff(Rules& rules) {
  const auto events = [] {
    return static_cast<int>(std::ranges::count(TheWorld().TakeJournal(), "event False"));
  };
  const Milliseconds left = std::chrono::seconds(rules.seconds_left);
  if (left.count() > 0) {
    TheWorld().Pump(left - Milliseconds{1});
    EXPECT_EQ(events(), 0) << "the supply must stay on";
    EXPECT_EQ(LineIs(rules.link.line), rules.link.line);
    TheWorld().Pump(Milliseconds{1});
    EXPECT_EQ(events(), 1) << "the supply must go off";
    rules.supplied = false;
    rules.seconds_left = 0;
    rules.link.SetLine(false);
  }
  TheWorld().Pump(kLongTime);
  EXPECT_EQ(events(), 0);
  EXPECT_EQ(LineIs(rules.link.line), rules.link.line);
}

}  // namespace qmzentrel::tests::matrix
