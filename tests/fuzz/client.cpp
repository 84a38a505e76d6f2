#include "tests/fuzz/client.h"

#include <algorithm>
#include <new>
#include <numeric>
#include <utility>

#include "support/modCOM_XTimerSupport.h"
#include "support/modErrorReportSupport.h"
#include "tests/core/catalog_writer.h"
#include "tests/fakes/fake_world.h"
#include "tests/fakes/hardware_fault.h"
#include "tests/fuzz/finding.h"
#include "tests/fuzz/properties.h"
#include "tests/fuzz/seen_text.h"
#include "tests/fuzz/sent_rules.h"
#include "tests/fuzz/session_catalog.h"

namespace qmzentrel::fuzz {
namespace {

using fakes::TheWorld;

constexpr std::int32_t kReported = 65535;
constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
constexpr std::uint32_t kAccessViolation = 0xC0000005;
constexpr int kNestedDepth = 3;

bool IsFlag(std::int32_t property) {
  return property == kIdToggle || property == kMifSelect || property == kHasLeak;
}

bool HasReply(const Call& call) {
  return call.what != What::kTelic2Test || Telic2Model(call, kSessionCatalog).Expected() > 0;
}

void InstallCatalog() {
  for (const Telic2Length& length : kSessionCatalog) {
    if (length.bytes != 0) tests::SetMessage(length.id, length.bytes);
    tests::SetTest(kTelic2Device, length.id, length.test_writes, length.test_reads);
  }
}

Bytes Summed(Bytes bytes) {
  bytes.push_back(static_cast<std::uint8_t>(std::accumulate(bytes.begin(), bytes.end(), 0)));
  return bytes;
}

// Client code takes whole steps.
void Align() {
  TheWorld().now = NextStep(TheWorld().now);
}

}  // namespace

Client::Client(FuzzedDataProvider& chance, std::span<const What> calls, bool breaks)
    : chance_(chance), calls_(calls), breaks_(breaks) {}

void Client::RunSession() {
  fakes::ResetWorld();
  TheWorld().keeps_journal = false;
  modErrorReportSupport::InitErrorReporting();
  Furnish();
  constexpr int kQuartersAnHour = 4 * 3600;
  const Time shift = kStep * Within(-9 * kQuartersAnHour, 10 * kQuartersAnHour);
  TheWorld().wall_shift = shift;
  SessionModel model(std::chrono::hours(10) + shift);
  if (breaks_) BreakAt(Within(0, 1500));
  try {
    object_ = Zentrel::Create();
    object_->TELIC2Device(kTelic2Device);
    object_->Events(this);
  } catch (const RunTimeError& error) {
    Require(error.number == kReported && reports_ > 0, "creation fails without a report");
    object_.reset();
  }
  constexpr int kMostCalls = 60;
  for (int i = 0; i < kMostCalls && object_ && chance_.remaining_bytes() > 0; ++i) {
    Act();
    if (broken_) {
      CheckSent();
    } else {
      model.Follow(seen_);
    }
    shown_before_ = shown_last_;
    seen_.clear();
    if (TheWorld().now > std::chrono::hours(2)) break;
  }
  if (broken_ && object_) CheckRecovery();
  object_.reset();
  CheckEnd();
  fakes::ResetWorld();
}

void Client::Furnish() {
  handler_.type_name = "Error";
  handler_.methods["ErrorHandler"] = [this](const auto&) {
    ++reports_;
    return 0;
  };
  handler_.gets["Action"] = [](const auto&) { return std::string("Continue"); };
  TheWorld().classes["QuenmoorCommunications.Error"] = [this] {
    return platform::HeldObject(platform::HeldObject(), &handler_);
  };
  TheWorld().at_stop_message = [this] { ++reports_; };
  for (const std::int32_t port : kPorts) {
    TheWorld().ports[port].device = [this](std::span<const std::uint8_t> sent) {
      return React(sent);
    };
  }
  InstallCatalog();
}

void Client::BreakAt(int call) {
  TheWorld().before_call = [this, left = std::make_shared<int>(call)](const std::string& name) {
    if (name == "ProcessLock") return;  // nothing is needed to take it
    if ((*left)-- != 0) return;
    broken_ = true;
    throw std::bad_alloc();
  };
}

void Client::CheckSent() const {
  // Calls from within may change what is sent.
  const auto is_nested = [this](const Seen& seen) {
    return seen.kind == Kind::kBegin && &seen != &seen_.front();
  };
  if (!shown_before_ || std::ranges::any_of(seen_, is_nested)) return;
  for (const Seen& seen : seen_) {
    Require(seen.kind != Kind::kSent || MaySend(seen_.front().call, *shown_before_, seen.bytes),
            [this] { return "nobody has asked for such a frame\n" + Text(seen_, seen_.size()); });
  }
}

// Memory is back, the ports are there, and the box is sound.
void Client::CheckRecovery() {
  fakes::World& world = TheWorld();
  world.before_call = nullptr;
  world.out_of_timers = false;
  for (const std::int32_t port : kPorts) {
    world.ports[port].vanished = world.ports[port].refuses_settings = false;
  }
  quiet_ = true;
  seen_.clear();
  constexpr std::uint8_t kShortSupply = 0xA5;
  const Bytes box_status = Summed({0x32, 120, kShortSupply, 7, 0, 0});
  const Bytes block_1 = Summed({0x2A, 99, 0x65, 0x43, 0x21, 0x93, 0x0F, 0x0E, 0x0D, 0x71, 9, 0x80,
                                0x32, 120, kShortSupply, 7, 0, 0});
  const Bytes block_2 = Summed({0, 11, 12, 13, 14, 15, 16, 17, 55, 0, 0, 0, 0, 0, 0, 0, 0, 0});
  sound_replies_ = {box_status, block_1, block_2};
  const auto run = [this](auto command) {
    const int reports = reports_;
    std::int32_t status = -1;
    try {
      status = command(*object_);
    } catch (const RunTimeError&) {
      Find("a call still fails");
    }
    Require(status == 0 && reports_ == reports, "a command still fails");
  };
  run([](Zentrel& object) { return object.DeviceOpen(kPorts.front(), true); });
  run([](Zentrel& object) { return object.BoxStatus(); });
  run([](Zentrel& object) { return object.ReadXpdr(); });
  std::vector<Bytes> sent;
  for (const Seen& seen : seen_) {
    if (seen.kind == Kind::kSent) sent.push_back(seen.bytes);
  }
  Require(sent == std::vector<Bytes>{{0x80}, {0x40}, {0x42}}, "something else is sent");
  Shown expected = ShownAfter(box_status, block_1, block_2);
  expected.power_timeout = 20;
  expected.verify_delay = object_->VDelay();
  Require(ShownBy(*object_) == expected,
          [&] { return "shows " + Text(ShownBy(*object_)) + "\ninstead of " + Text(expected); });
  seen_.clear();
}

void Client::CheckEnd() const {
  Require(modCOM_XTimerSupport::RunningTimers() == 0, "a timer is left");
  Require(TheWorld().timers.empty(), "a timer of the operating system is left");
  Require(!fakes::IsInProcedure(), "a frame is left");
  modCOM_XTimerSupport::ReleaseThread();
  modErrorReportSupport::ReleaseThread();
  Require(TheWorld().open_keys.empty(), "a registry key is left open");
  Require(TheWorld().quits_reposted.empty(), "nobody has quit");
  for (const std::int32_t number : kPorts) {
    const fakes::FakePort& port = TheWorld().ports.at(number);
    Require(!port.open, "a port is left open");
    Require(!port.lines.dtr && !port.lines.rts, "a line is left on");
  }
}

// --- What it does ---

void Client::Act() {
  Do(Draw());
}

Call Client::Draw() {
  Call call;
  call.what = calls_[static_cast<std::size_t>(Within(0, static_cast<int>(calls_.size()) - 1))];
  call.flag = chance_.ConsumeBool();
  const auto quarters = [this](int least, int most) {
    return Within(least, most) * static_cast<std::int32_t>(kStep / milliseconds(1));
  };
  switch (call.what) {
    case What::kOpen:
      call.number = chance_.PickValueInArray({7, 7, 7, 7, 9, 9, kNoPort});
      break;
    case What::kPowerTimeout:
      call.number = chance_.PickValueInArray({1, 2, 3, 4, 5, 20, 0, -1, kLeast, kMost});
      break;
    case What::kVerifyDelay:
      call.number = quarters(-4, 24);
      break;
    case What::kPost:
      call.number = quarters(0, 60);
      break;
    case What::kPump:
      call.number = chance_.ConsumeBool() ? quarters(1, 24) : quarters(20, 300);
      break;
    case What::kPlug:
    case What::kAccept:
      call.number = chance_.PickValueInArray(kPorts);
      call.flag = Within(0, 2) > 0;
      break;
    case What::kTimers:
      call.flag = Within(0, 2) > 0;
      break;
    case What::kSetClock:
      call.number = quarters(-40, 40);
      break;
    case What::kProperty:
      call.number = Within(0, kProperties - 1);
      call.value = chance_.PickValueInArray(
          {0, 1, 15, 16, 127, 128, 255, 256, -1, 0xFFFFFF, 0x1000000, 0x123456, kLeast, kMost});
      if (IsFlag(call.number) || Within(0, 2) > 0) call.value &= 15;
      if (IsFlag(call.number)) call.value &= 1;
      break;
    case What::kTelic2Read:
    case What::kTelic2Write:
    case What::kTelic2Test:
      DrawMessages(call);
      break;
    default:
      break;
  }
  return call;
}

void Client::DrawMessages(Call& call) {
  call.number = Within(0, 6);
  for (std::int32_t i = 0; i < call.number; ++i) {
    call.ids.push_back(
        chance_.PickValueInArray({8, 8, 9, 10, 10, 11, 12, 17, 20, 21, -1, 99, 0x10A}));
    call.data.push_back(chance_.ConsumeIntegral<std::int32_t>());
  }
  if (call.number > 0 && Within(0, 9) == 0) call.data.pop_back();
  // What has no reply ends between two steps; the next event brings it to the next one, but for
  // the start of a count-down.
  if (!HasReply(call) && !maintained_) call.what = What::kTelic2Read;
}

void Client::Do(Call call) {
  Note(Kind::kBegin).call = call;
  const int reports = reports_;
  const bool was_quiet = quiet_;
  const bool was_broken = broken_;
  bool fault = false;
  std::int32_t status = 0;
  if (call.what == What::kTelic2Test && !HasReply(call)) quiet_ = true;
  try {
    status = Perform(call);
  } catch (const RunTimeError& error) {
    Require(error.number == kReported,
            [&] { return "error " + std::to_string(error.number) + " leaves"; });
    // What breaks may be the report of something else.
    const bool breaks_now = broken_ && !was_broken;
    Require(reports_ > reports || breaks_now, "an error leaves without a report");
    fault = true;
  }
  quiet_ = was_quiet;
  Seen& end = Note(Kind::kEnd);
  end.call = std::move(call);
  end.fault = fault;
  end.status = status;
  shown_last_.reset();
  try {
    if (object_) end.shown = ShownBy(*object_);
    shown_last_ = end.shown;
  } catch (const RunTimeError&) {
    Require(broken_, "a property raises");
  }
}

std::int32_t Client::Perform(Call& call) {
  if (call.what >= What::kRelease) {
    Change(call);
    return 0;
  }
  const std::shared_ptr<Zentrel> held = object_;  // whoever calls holds the object
  Zentrel& object = *held;
  switch (call.what) {
    case What::kPowerManagement:
      maintained_ = !call.flag;
      object.PowerManagement(call.flag);
      return 0;
    case What::kPower:
      object.Power(call.flag);
      return 0;
    case What::kPowerTimeout:
      object.PowerTimeout(call.number);
      return 0;
    case What::kVerifyDelay:
      object.VDelay(call.number);
      return 0;
    case What::kProperty:
      kAccessors[call.number].let(object, call.value);
      for (const auto& [property, alias] : kAliases) {
        if (property == static_cast<Property>(call.number) && call.flag)
          alias.let(object, call.value);
        Require(alias.get(object) == kAccessors[property].get(object), "an alias has its own");
      }
      return 0;
    default:
      return PerformCommand(object, call);
  }
}

std::int32_t Client::PerformCommand(Zentrel& object, Call& call) {
  const auto run = [&](auto command) {
    return (object.*command)(call.number, LongArray(call.ids, 0), LongArray(call.data, 0));
  };
  switch (call.what) {
    case What::kOpen:
      maintained_ = call.flag;
      return object.DeviceOpen(call.number, call.flag);
    case What::kInit:
      return object.DeviceInit();
    case What::kBoxStatus:
      return object.BoxStatus();
    case What::kRead:
      return object.ReadXpdr();
    case What::kWrite:
      return object.WriteXpdr();
    case What::kReset:
      return object.ResetXpdr();
    case What::kClose:
      return object.DeviceClose();
    case What::kTelic2Read:
    case What::kTelic2Write:
    case What::kTelic2Test:
      reply_length_ = static_cast<std::size_t>(Telic2Model(call, kSessionCatalog).Expected());
      if (call.what == What::kTelic2Read) return run(&Zentrel::TELIC2Read);
      return call.what == What::kTelic2Write ? run(&Zentrel::TELIC2Write)
                                             : run(&Zentrel::TELIC2Test);
    default:
      return 0;
  }
}

// What is no call of the object.
void Client::Change(const Call& call) {
  fakes::World& world = TheWorld();
  switch (call.what) {
    case What::kRelease:
      object_.reset();
      return;
    case What::kPost:
      world.Post(milliseconds(call.number), [this] {
        Note(Kind::kMessage);
        DoNested();
      });
      return;
    case What::kPump:
      world.Pump(milliseconds(call.number));
      return;
    case What::kPlug:
      world.ports[call.number].vanished = !call.flag;
      return;
    case What::kAccept:
      world.ports[call.number].refuses_settings = !call.flag;
      return;
    case What::kTimers:
      world.out_of_timers = !call.flag;
      return;
    default:
      world.wall_shift += milliseconds(call.number);
  }
}

// What the client does while the component waits for it.
void Client::DoNested() {
  Align();
  ++depth_;
  while (object_ && !quiet_ && depth_ <= kNestedDepth && nested_left_ > 0 &&
         chance_.remaining_bytes() > 0 && Within(0, 3) == 0) {
    --nested_left_;
    Act();
  }
  --depth_;
  Note(Kind::kBack);
}

// --- What it sees ---

void Client::PowerStateChange(bool NewState) {
  Note(Kind::kEvent).state = NewState;
  DoNested();
}

Seen& Client::Note(Kind kind) {
  Seen& seen = seen_.emplace_back();
  seen.kind = kind;
  seen.at = TheWorld().now;
  for (std::size_t i = 0; i < kPorts.size(); ++i) {
    const platform::ModemLines lines = TheWorld().ports[kPorts[i]].lines;
    seen.lines[i] = lines.dtr || lines.rts;
  }
  return seen;
}

// --- The box ---

fakes::Reaction Client::React(std::span<const std::uint8_t> sent) {
  Seen& seen = Note(Kind::kSent);
  seen.bytes.assign(sent.begin(), sent.end());
  if (!sound_replies_.empty()) {
    const Bytes reply = std::move(sound_replies_.front());
    sound_replies_.pop_front();
    return {{reply, milliseconds(0)}};
  }
  const int kind = Within(0, 15);
  if (kind == 0) {
    seen.fault = true;
    if (chance_.ConsumeBool()) throw std::bad_alloc();
    fakes::RaiseHardwareFault(kAccessViolation);
  }
  if (kind <= 2) return {};
  Bytes reply = Reply(sent);
  if (kind == 3) reply.resize(static_cast<std::size_t>(Within(0, static_cast<int>(reply.size()))));
  if (kind == 4 && !reply.empty()) ++reply.back();
  if (kind == 5) reply.insert(reply.end(), 3, 0x55);
  fakes::Reaction reaction;
  const auto add = [&](std::size_t from, std::size_t to, int quarters) {
    const Bytes bytes(reply.begin() + static_cast<std::ptrdiff_t>(from),
                      reply.begin() + static_cast<std::ptrdiff_t>(to));
    reaction.push_back({bytes, milliseconds(250 * quarters)});
    seen.reaction.push_back({bytes, kStep * quarters});
  };
  const std::size_t first =
      kind >= 12 ? static_cast<std::size_t>(Within(0, static_cast<int>(reply.size()))) : 0;
  if (first > 0) add(0, first, Within(0, 12));
  add(first, reply.size(), kind >= 10 ? Within(0, 56) : 0);
  return reaction;
}

Bytes Client::Reply(std::span<const std::uint8_t> sent) {
  if (sent[0] == 0x80) return DrawReply(7);
  if (sent[0] == 0x7E) return DrawReply(reply_length_);
  return told_.Answer(sent, chance_, [this] { return DrawReply(19); });
}

Bytes Client::DrawReply(std::size_t length) {
  Bytes reply;
  for (std::size_t i = 0; i + 1 < length; ++i) {
    reply.push_back(chance_.ConsumeIntegral<std::uint8_t>());
  }
  const auto kind_of_box = [this] {
    return chance_.PickValueInArray<std::uint8_t>({0xA5, 0xA6, 0, 0x17});
  };
  if (length == 7) reply[2] = kind_of_box();
  if (length == 19) {
    reply[11] = chance_.PickValueInArray<std::uint8_t>({0x51, 0x80, 0x39, 0x40, 0xA0, 0x9F, 0x7F});
    reply[14] = kind_of_box();
  }
  return length > 0 ? Summed(std::move(reply)) : reply;
}

}  // namespace qmzentrel::fuzz
