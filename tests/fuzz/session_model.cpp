#include "tests/fuzz/session_model.h"

#include <algorithm>
#include <utility>

#include "tests/fuzz/finding.h"
#include "tests/fuzz/seen_text.h"
#include "tests/fuzz/session_catalog.h"

namespace qmzentrel::fuzz {
namespace {

constexpr std::int32_t kBadPort = 3;
constexpr std::int32_t kBadData = 5;

constexpr std::int32_t kBlockReply = 19;

// 8 data bits, a start and two stop bits, at 9600 a second.
Time OnTheWire(std::size_t bytes) {
  constexpr std::int64_t kBits = 11;
  constexpr std::int64_t kRate = 9600;
  return Time(static_cast<std::int64_t>(bytes) * kBits * 1'000'000 / kRate);
}

}  // namespace

// --- What was seen ---

void SessionModel::Follow(const std::vector<Seen>& seen) {
  seen_ = &seen;
  place_ = 0;
  FollowCall();
  if (place_ != seen.size()) Fail("more was seen than there is");
}

bool SessionModel::NextIs(Kind kind) const {
  return place_ < seen_->size() && (*seen_)[place_].kind == kind;
}

const Seen& SessionModel::Next(Kind kind) {
  if (!NextIs(kind)) Fail("expected is " + Name(kind));
  const Seen& seen = (*seen_)[place_];
  if (seen.at != now_) Fail("expected at " + TimeText(now_));
  ++place_;
  return seen;
}

void SessionModel::Fail(const std::string& what) const {
  Require(false, what + '\n' + Text(*seen_, place_));
}

void SessionModel::CompareLines(const Seen& seen) const {
  for (std::size_t i = 0; i < kPorts.size(); ++i) {
    const bool line = open_port_ == kPorts[i] && power_.Line();
    if (seen.lines[i] == line) continue;
    Require(false, std::string("the line must be ") + (line ? "on\n" : "off\n") +
                       Text(*seen_, place_ - 1));
  }
}

// What the client does in an event or a message of its own.
void SessionModel::FollowClient() {
  now_ = NextStep(now_);
  while (NextIs(Kind::kBegin)) FollowCall();
  Next(Kind::kBack);
}

void SessionModel::RaiseEvent(bool state) {
  const Seen& seen = Next(Kind::kEvent);
  if (seen.state != state) {
    Require(false, std::string("the event must be ") + (state ? "True\n" : "False\n") +
                       Text(*seen_, place_ - 1));
  }
  CompareLines(seen);
  FollowClient();
}

void SessionModel::Yield(Time most) {
  Time next = now_ + most;
  if (power_.TickDue()) next = std::min(next, *power_.TickDue());
  if (!messages_.empty()) next = std::min(next, messages_.begin()->first);
  now_ = std::max(now_, next);
  Dispatch();
}

void SessionModel::Dispatch() {
  while (!messages_.empty() && messages_.begin()->first <= now_) {
    messages_.erase(messages_.begin());
    Next(Kind::kMessage);
    FollowClient();
  }
  if (!power_.TickDue() || *power_.TickDue() > now_) return;
  ++calls_;
  power_.Tick();
  --calls_;
  Leave();
}

void SessionModel::Pump(Time time) {
  const Time end = now_ + time;
  while (now_ < end) Yield(end - now_);
}

// --- Calls ---

void SessionModel::FollowCall() {
  Call call = Next(Kind::kBegin).call;
  bool fault = false;
  std::int32_t status = 0;
  ++calls_;
  try {
    status = Run(call);
  } catch (const Fault&) {
    fault = true;
  }
  --calls_;
  Leave();
  const Seen& end = Next(Kind::kEnd);
  if (end.fault != fault) Fail(fault ? "the call must raise" : "the call must not raise");
  if (!fault && end.status != status) Fail("the status must be " + std::to_string(status));
  if (call.data != end.call.data) Fail("other data must be stored");
  if (!released_ && end.shown != Showing()) Fail("must show " + Text(Showing()));
  CompareLines(end);
}

// The last one to hold a released object lets it go.
void SessionModel::Leave() {
  if (calls_ > 0 || !released_ || gone_) return;
  gone_ = true;
  power_.End();
  open_port_.reset();
}

std::int32_t SessionModel::Run(Call& call) {
  const Time time = milliseconds(call.number);
  switch (call.what) {
    case What::kPowerManagement:
      power_.PowerManagement(call.flag);
      return kOkay;
    case What::kPower:
      power_.Power(call.flag);
      return kOkay;
    case What::kPowerTimeout:
      power_.timeout = call.number;
      return kOkay;
    case What::kVerifyDelay:
      verify_delay_ = call.number;
      return kOkay;
    case What::kProperty:
      record_.Set(static_cast<Property>(call.number), call.value);
      return kOkay;
    case What::kRelease:
      released_ = true;
      return kOkay;
    case What::kPost:
      messages_.emplace(now_ + time, 0);
      return kOkay;
    case What::kPump:
      --calls_;  // no call of the object
      Pump(time);
      ++calls_;
      return kOkay;
    case What::kPlug:
      pulled_[call.number] = !call.flag;
      return kOkay;
    case What::kAccept:
      refuses_[call.number] = !call.flag;
      return kOkay;
    case What::kTimers:
      power_.timers_available = call.flag;
      return kOkay;
    case What::kSetClock:
      clock_ += time;
      return kOkay;
    default:
      return RunCommand(call);
  }
}

std::int32_t SessionModel::RunCommand(Call& call) {
  switch (call.what) {
    case What::kOpen:
      return Open(call.number, call.flag);
    case What::kInit:
      return Init();
    case What::kBoxStatus:
      return BoxStatus();
    case What::kRead:
      return Read();
    case What::kWrite:
      return Write();
    case What::kReset:
      return Command({0xC0}, kBlockReply, kResetTimeout).status;
    case What::kClose:
      return Close();
    default:
      return Telic2(call);
  }
}

std::int32_t SessionModel::Open(std::int32_t port, bool maintain) {
  power_.PowerManagement(!maintain);
  power_.LoadCountDown();
  open_port_.reset();
  incoming_.clear();
  wire_busy_ = now_;
  if (port != kNoPort && !pulled_[port] && !refuses_[port]) open_port_ = port;
  power_.Power(true);
  const std::int32_t status = open_port_ ? kOkay : kBadPort;
  power_.Power(false);
  return status;
}

std::int32_t SessionModel::Init() {
  if (!open_port_) return kBadPort;
  const std::int32_t status = BoxStatus();
  return status == kTimeout ? BoxStatus() : status;
}

std::int32_t SessionModel::Close() {
  power_.SwitchOff();
  open_port_.reset();
  wire_busy_ = now_;
  return kOkay;
}

std::int32_t SessionModel::BoxStatus() {
  const Reply reply = Command({0x80}, 7, kBoxStatusTimeout);
  if (reply.status == kOkay) {
    record_.TakeBoxFacts(reply.bytes.data());
    power_.TakeSignature(record_.Signature());
  }
  if (record_.Signature() == 0) power_.StartHoldOff();
  return reply.status;
}

std::int32_t SessionModel::Read() {
  WaitForStored();
  const Reply block_1 = Block(0, {0x40}, ReadTimeout(record_.IsElectric()));
  if (block_1.status == kOkay) {
    record_.TakeBlock1(block_1.bytes);
    power_.TakeSignature(record_.Signature());
  } else {
    record_.ClearBlock1();
  }
  if (!record_.HasBlock2()) return block_1.status;
  const Reply block_2 = Block(1, {0x42}, ReadTimeout(record_.IsElectric()));
  if (block_2.status == kOkay) {
    record_.TakeBlock2(block_2.bytes);
  } else {
    record_.ClearBlock2();
  }
  return block_2.status;
}

std::int32_t SessionModel::Write() {
  if (!record_.InRange()) return kBadData;
  record_.AdjustLeak();
  const Bytes frame = record_.Block1();
  WaitForStored();
  const Reply block_1 = Block(0, frame, kWriteTimeout);
  if (block_1.status == kOkay) {
    record_.TakeBlock1(block_1.bytes);
    power_.TakeSignature(record_.Signature());
  }
  StartVerifyDelay();
  if (block_1.status != kOkay || !record_.HasBlock2()) return block_1.status;
  const auto frame_2 = record_.Block2();
  if (!frame_2) throw Fault();
  WaitForStored();
  const Reply block_2 = Block(1, *frame_2, kWriteTimeout);
  if (block_2.status == kOkay) record_.TakeBlock2(block_2.bytes);
  StartVerifyDelay();
  return block_2.status;
}

std::int32_t SessionModel::Telic2(Call& call) {
  const Telic2Model request(call, kSessionCatalog);
  if (request.Refusal()) return *request.Refusal();
  if (request.Error() != 0) throw Fault();
  if (!open_port_) {
    power_.Power(false);
    return kBadPort;
  }
  Bytes reply;
  const auto expected = static_cast<std::int32_t>(request.Expected());
  const std::int32_t count =
      SuppliedExchange(request.Frame(), expected, request.Timeout(), reply, [&] {
        if (!request.Store(reply, call.data)) throw Fault();
      });
  if (count < 0) return kTimeout;
  return count == expected ? kOkay : kBadResponse;
}

// --- The wire ---

Reply SessionModel::Command(const Bytes& frame, std::int32_t expected, std::int32_t timeout,
                            std::optional<std::size_t> block) {
  if (!open_port_) {
    power_.Power(false);
    return {kBadPort, {}};
  }
  Bytes reply;
  SuppliedExchange(frame, expected, timeout, reply, {}, block);
  return Judged(std::move(reply), static_cast<std::size_t>(expected));
}

Reply SessionModel::Block(std::size_t block, const Bytes& frame, std::int32_t timeout) {
  Reply reply = WithRetry([&] { return Command(frame, kBlockReply, timeout, block); });
  if (reply.status == kOkay) late_.Take(block, reply.bytes);
  return reply;
}

// How many bytes came, -1 for none where some were expected. `take` is for a whole reply; `block`
// is the one that is asked for.
std::int32_t SessionModel::SuppliedExchange(const Bytes& frame, std::int32_t expected,
                                            std::int32_t timeout, Bytes& reply,
                                            const std::function<void()>& take,
                                            std::optional<std::size_t> block) {
  power_.Power(true);
  const Sendings sendings = SendingsTo(record_.IsElectric(), timeout);
  const auto length = static_cast<std::size_t>(expected);
  bool sent = true;
  bool in_vain = false;
  try {
    const auto receive = [&] {
      reply.clear();
      Receive(1, sendings.first_byte, reply);
      if (!reply.empty()) Receive(length - 1, kRestLimit, reply);
    };
    for (int left = sendings.most; left > 0; --left) {
      incoming_.erase(incoming_.begin(), incoming_.upper_bound(now_));
      sent = Send(frame);
      if (expected == 0) break;
      if (sent) late_.Send(block, now_);
      receive();
      while (reply.size() == length && late_.PassesOver(block, reply, now_)) receive();
      if (!reply.empty()) break;
      in_vain = true;
    }
    if (!reply.empty()) late_.Answer(now_);
    // What is still on the wire then is dropped.
    if (in_vain) wire_busy_ = std::min(wire_busy_, now_);
    if (expected == 0 && sent) now_ = std::max(now_, wire_busy_);
    if (expected == 0 ? sent : reply.size() == length) {
      if (take) take();
    }
  } catch (const Fault&) {
    power_.Power(false);
    throw;
  }
  power_.Power(false);
  if (expected == 0) return sent ? 0 : -1;
  return reply.empty() ? -1 : static_cast<std::int32_t>(reply.size());
}

bool SessionModel::Send(const Bytes& frame) {
  if (!open_port_ || pulled_[*open_port_]) return false;
  const Seen& sent = Next(Kind::kSent);
  if (sent.bytes != frame) {
    Require(false, "to be sent is " + Text(frame) + '\n' + Text(*seen_, place_ - 1));
  }
  CompareLines(sent);
  wire_busy_ = std::max(now_, wire_busy_) + OnTheWire(frame.size());
  if (sent.fault) throw Fault();
  Time time = now_;
  for (const Chunk& chunk : sent.reaction) {
    time += chunk.after;
    for (const std::uint8_t byte : chunk.bytes) incoming_.emplace(time, byte);
  }
  return true;
}

// A closed port keeps nobody waiting.
std::size_t SessionModel::Receive(std::size_t count, Time limit, Bytes& bytes) {
  if (!open_port_) return 0;
  const Time deadline = now_ + limit;
  std::size_t received = 0;
  while (!pulled_[*open_port_] && received < count && !incoming_.empty() &&
         incoming_.begin()->first <= deadline) {
    now_ = std::max(now_, incoming_.begin()->first);
    bytes.push_back(incoming_.begin()->second);
    incoming_.erase(incoming_.begin());
    ++received;
  }
  if (received < count) now_ = deadline;
  return received;
}

// Knows no midnight.
void SessionModel::WaitForStored() {
  while (Clock() < stored_) Yield(stored_ - Clock());
}

void SessionModel::StartVerifyDelay() {
  stored_ = Clock() + milliseconds(verify_delay_);
}

Shown SessionModel::Showing() const {
  Shown shown;
  record_.Show(shown);
  shown.power_timeout = power_.timeout;
  shown.verify_delay = verify_delay_;
  return shown;
}

}  // namespace qmzentrel::fuzz
