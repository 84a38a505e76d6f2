#include "tests/core/exchange_rules.h"

#include <algorithm>
#include <numeric>

namespace qmzentrel::tests::matrix {
namespace {

constexpr std::size_t kReply = 19;

Bytes Summed(Bytes bytes) {
  bytes.push_back(static_cast<std::uint8_t>(std::accumulate(bytes.begin(), bytes.end(), 0) & 0xFF));
  return bytes;
}

std::uint8_t LowByte(std::int64_t value) {
  return static_cast<std::uint8_t>(value & 0xFF);
}

// As the catalog of the test has them: what is sent with a message, what is replied to a test.
std::int32_t LengthOf(std::int32_t message, bool reply_of_test) {
  static const std::map<std::int32_t, std::int32_t> kLengths{{8, 2},  {9, 2},  {10, 1},
                                                             {11, 3}, {12, 4}, {17, 4}};
  if (message == 20 && reply_of_test) return -1;
  const auto found = kLengths.find(message);
  return found == kLengths.end() ? 0 : found->second;
}

Bytes Telic2Frame(Order order) {
  const Messages messages = MessagesOf(order);
  const bool answered = order != Order::kTelic2Send;
  const std::uint8_t command = order == Order::kTelic2Read    ? 0xC7
                               : order == Order::kTelic2Write ? 0xC6
                                                              : 0xC9;
  Bytes frame{0x7E, static_cast<std::uint8_t>(answered ? 0x20 : 0x00), command, 0};
  for (std::size_t i = 0; i < messages.identifiers.size(); ++i) {
    const std::int32_t message = messages.identifiers[i];
    frame.push_back(LowByte(message));
    const std::int32_t length = order == Order::kTelic2Read   ? 0
                                : order == Order::kTelic2Send ? 1
                                                              : LengthOf(message, false);
    for (std::int32_t byte = length - 1; byte >= 0; --byte) {
      frame.push_back(LowByte(messages.data[i] >> (8 * byte)));
    }
  }
  frame[3] = LowByte(static_cast<std::int64_t>(frame.size()) - 4);
  return frame;
}

Bytes Block1(const Command& command, const Bytes& record, const Bytes& box) {
  Bytes reply = record;
  reply.push_back(command.version);
  reply.insert(reply.end(), box.begin(), box.end());
  reply.resize(kReply - 1);
  return Summed(reply);
}

}  // namespace

Messages MessagesOf(Order order) {
  constexpr std::int32_t kNothingYet = 0x55555555;
  switch (order) {
    case Order::kTelic2Read:
      return {{8, 12, 10}, {kNothingYet, kNothingYet, kNothingYet}};
    case Order::kTelic2Write:
      return {{8, 12, 10}, {0x1234, -2, 0x7F}};
    case Order::kTelic2Test:
      return {{8, 12}, {0x4321, 0x01020304}};
    case Order::kTelic2Send:
      return {{20, 20}, {1, 2}};
    default:
      return {};
  }
}

Bytes ReplyOf(const Command& command, int step, std::uint8_t signature) {
  switch (command.order) {
    case Order::kBoxStatus:
    case Order::kDeviceInit:
      return Summed({0x32, 120, signature, 7, 0, 0});
    case Order::kTelic2Read:
      return {0x7E, 0x20, 0xC7, 10, 8, 0xBE, 0xEF, 12, 0x89, 0xAB, 0xCD, 0xEF, 10, 0x42};
    case Order::kTelic2Write:
      return Telic2Frame(command.order);
    case Order::kTelic2Test:
      return {0x7E, 0x20, 0xC9, 8, 8, 0x0F, 0x1E, 12, 0x2D, 0x3C, 0x4B, 0x5A};
    case Order::kTelic2Send:
      return {};
    default:
      break;
  }
  if (step == 1) {
    return Summed({0, 11, 12, 13, 14, 15, 16, 17, 55, 0, 0, 0, 0, 0, 0, 0, 0, 0});
  }
  return Block1(command, {0x2A, 99, 0x65, 0x43, 0x21, 0x93, 0x0F, 0x0E, 0x0D, 0x71, 9},
                {0x32, 120, signature, 7});
}

Bytes EarlierBoxStatus(std::uint8_t signature) {
  return Summed({0x21, 100, signature, 3, 0, 0});
}

// At version 8.0 and without secondary select the tamper count carries the leak flag.
Bytes EarlierBlock1(const Command& command, std::uint8_t signature) {
  return Block1(command, {0x15, 17, 0x12, 0x34, 0x56, 0x85, 0x00, 0xAB, 0xCD, 0x32, 4},
                {0x21, 100, signature, 3});
}

Bytes EarlierBlock2() {
  return Summed({0, 1, 2, 3, 4, 5, 6, 7, 33, 0, 0, 0, 0, 0, 0, 0, 0, 0});
}

Exchange Rules::ExchangeOf(int step) const {
  Exchange exchange{.frame = {},
                    .reply = ReplyOf(command_, step, signature_),
                    .summed = !command_.IsTelic2(),
                    .limit = Milliseconds(IsElectric() ? 500 : 2500)};
  switch (command_.order) {
    case Order::kBoxStatus:
    case Order::kDeviceInit:
      exchange.frame = {0x80};
      break;
    case Order::kReadXpdr:
      exchange.frame = {static_cast<std::uint8_t>(step == 0 ? 0x40 : 0x42)};
      break;
    case Order::kWriteXpdr:
      exchange.frame = WriteFrame(step);
      break;
    case Order::kResetXpdr:
      exchange.frame = {0xC0};
      break;
    default:
      exchange.frame = Telic2Frame(command_.order);
      break;
  }
  return exchange;
}

// An electric box is sent a command every half second for as long as the command allows.
int Rules::Attempts() const {
  if (!IsElectric()) return 1;
  switch (command_.order) {
    case Order::kBoxStatus:
    case Order::kDeviceInit:
      return 2;
    case Order::kResetXpdr:
      return 1;
    case Order::kWriteXpdr:
    case Order::kTelic2Write:
      return 6;
    default:
      return 26;
  }
}

void Rules::SetPower(bool on) {
  if (maintained_) {
    supplied = true;
    link.SetLine(true);
    outlook_.events.push_back(on);
  } else if (!on) {
    seconds_left = facts["PowerTimeout"];
  } else {
    seconds_left = 0;
    if (!supplied) {
      supplied = true;
      link.SetLine(true);
      outlook_.takes += Milliseconds(2500);
      outlook_.events.push_back(true);
    }
    if (rests_until <= now + outlook_.takes) return;
    outlook_.takes = rests_until - now;
    outlook_.waited_for_clock = true;
  }
}

// After a Box Status, answered or not. While the supply is maintained nobody waits for it.
void Rules::LetRest() {
  if (facts["signature 0"] == 0) rests_until = now + outlook_.takes + kRest;
}

Met Rules::OneSend(int step, int send) {
  const Exchange exchange = ExchangeOf(step);
  outlook_.sent.push_back(fakes::Hex(exchange.frame));
  if (link.gone) return Unsent(exchange);
  ++outlook_.to_port;
  outlook_.takes += link.write_takes;
  const bool here = where_ == Where::kBoth || (step == 0) == (where_ == Where::kFirst);
  const bool strikes = here && fault_->Befalls(send);
  const bool befallen = fault_->met && strikes;
  if (befallen && fault_->hits_sending && fault_->driver_room) {
    return fault_->met(link, exchange, send);
  }
  if (link.fed_by_line && !link.line) return Nothing(exchange);
  if (fault_->delay) {
    return AwaitAnswer(step, exchange, strikes ? fault_->delay(exchange) : Milliseconds{0});
  }
  if (!befallen || (exchange.reply.empty() && !fault_->hits_sending)) return Whole(exchange);
  return fault_->met(link, exchange, send);
}

// The first answer that comes is taken, to whichever send of this step it is. One to a send of the
// other step is not, and the time for the first byte begins anew.
Met Rules::AwaitAnswer(int step, const Exchange& exchange, Milliseconds delay) {
  const Microseconds sent = now + outlook_.takes;
  std::erase_if(coming_, [&](const Coming& answer) { return answer.at <= sent; });
  coming_.push_back({step, sent + delay, exchange.reply});
  Microseconds from = sent;
  while (!coming_.empty()) {
    const auto next = std::ranges::min_element(coming_, {}, &Coming::at);
    if (next->at > from + exchange.limit) break;
    const Coming answer = *next;
    coming_.erase(next);
    from = answer.at;
    if (answer.step != step && told_.at(static_cast<std::size_t>(answer.step)) == answer.reply)
      continue;
    Exchange answered = exchange;
    answered.reply = answer.reply;
    Met met = Whole(answered);
    met.takes = from - sent;
    return met;
  }
  return {S_TIMEOUT, {}, from + exchange.limit - sent};
}

Met Rules::Try(int step, int& send) {
  Met met{S_BAD_PORT, {}, {}};
  if (link.open) {
    SetPower(true);
    for (int attempts = Attempts(); attempts > 0; --attempts) {
      met = OneSend(step, send++);
      outlook_.takes += met.takes;
      if (met.status != S_TIMEOUT || ExchangeOf(step).reply.empty()) break;
    }
  }
  SetPower(false);
  return met;
}

Met Rules::TryTwice(int step) {
  int send = 0;
  Met met = Try(step, send);
  if (met.status == S_TIMEOUT) met = Try(step, send);
  if (met.status == S_OKAY) told_.at(static_cast<std::size_t>(step)) = met.reply;
  return met;
}

void Rules::TakeBoxFacts(const Bytes& reply, std::size_t at) {
  facts["box version"] = reply[at];
  facts["battery"] = reply[at + 1];
  facts["signature 0"] = reply[at + 2];
  facts["signature 1"] = reply[at + 3];
  facts["PowerTimeout"] = reply[at + 2] == 0xA5 ? 20 : 60;
}

void Rules::TakeBlock1(const Bytes& reply) {
  facts["DeviceMIF"] = reply[0] & 0x3F;
  facts["Util"] = reply[1];
  facts["Xpdr"] = reply[2] << 16 | reply[3] << 8 | reply[4];
  facts["Tamper"] = reply[5];
  facts["Reading"] = reply[6] << 16 | reply[7] << 8 | reply[8];
  facts["PLLWarmup"] = reply[9] >> 4;
  facts["TXI"] = reply[9] & 15;
  facts["MSI"] = reply[10] & 15;
  facts["version"] = reply[11];
  facts["HasLeak"] = reply[11] >= 0x80 && reply[5] >= 128;
  const bool select = (reply[0] & 0x20) != 0;
  if (facts["HasLeak"] != 0 && !select) facts["Tamper"] -= 128;
  TakeBoxFacts(reply, 12);
}

void Rules::ClearBlock1() {
  for (const char* name : {"DeviceMIF", "Util", "Xpdr", "Tamper", "Reading", "PLLWarmup", "TXI",
                           "MSI", "version", "HasLeak"}) {
    facts[name] = 0;
  }
}

void Rules::TakeBlock2(const Bytes& reply) {
  std::size_t at = 1;
  for (const char* name :
       {"Freq_MSB", "Freq_MID", "Freq_LSB", "BR_MSB", "BR_LSB", "PA_CTRL", "EOL_CTRL"}) {
    facts[name] = reply[at++];
  }
  facts["LeakThreshold"] = 255 - reply[at];
}

void Rules::ClearBlock2() {
  TakeBlock2({0, 0, 0, 0, 0, 0, 0, 23, 0});
}

bool Rules::HasBlock2() const {
  const std::int64_t version = facts.at("version");
  return version < 0x40 || version >= 0x80;
}

Bytes Rules::WriteFrame(int step) const {
  const auto is = [this](const char* name) { return facts.at(name); };
  if (step == 1) {
    Bytes frame{LowByte(is("DeviceMIF"))};
    for (const char* name :
         {"Freq_MSB", "Freq_MID", "Freq_LSB", "BR_MSB", "BR_LSB", "PA_CTRL", "EOL_CTRL"}) {
      frame.push_back(LowByte(is(name)));
    }
    frame.insert(frame.end(), {LowByte(255 - is("LeakThreshold")), 0, 0x20, 0});
    return frame;
  }
  return {LowByte(is("DeviceMIF")),     LowByte(is("Util")),
          LowByte(is("Xpdr") >> 16),    LowByte(is("Xpdr") >> 8),
          LowByte(is("Xpdr")),          LowByte(is("Tamper")),
          LowByte(is("Reading") >> 16), LowByte(is("Reading") >> 8),
          LowByte(is("Reading")),       LowByte(is("PLLWarmup") << 4 | is("TXI")),
          LowByte(is("MSI")),           0};
}

ZentrelStatus Rules::BoxStatus(int& send) {
  const Met met = Try(0, send);
  if (met.status == S_OKAY) TakeBoxFacts(met.reply, 0);
  LetRest();
  return met.status;
}

// A failed block 1 leaves no version, so that block 2 is read then, too.
ZentrelStatus Rules::Read() {
  Met met = TryTwice(0);
  if (met.status == S_OKAY) {
    TakeBlock1(met.reply);
  } else {
    ClearBlock1();
  }
  if (!HasBlock2()) return met.status;
  met = TryTwice(1);
  if (met.status == S_OKAY) {
    TakeBlock2(met.reply);
  } else {
    ClearBlock2();
  }
  return met.status;
}

ZentrelStatus Rules::Write() {
  const bool counts_leak = facts["Tamper"] >= 128;
  if (facts["HasLeak"] != 0 && !counts_leak) facts["Tamper"] += 128;
  if (facts["HasLeak"] == 0 && counts_leak) facts["Tamper"] -= 128;
  Met met = TryTwice(0);
  if (met.status != S_OKAY) return met.status;
  TakeBlock1(met.reply);
  if (!HasBlock2()) return met.status;
  met = TryTwice(1);
  if (met.status == S_OKAY) TakeBlock2(met.reply);
  return met.status;
}

// What a reply has beyond the client's entries is an error; the entries before it are filled.
void Rules::Unpack(const Bytes& reply) {
  const auto byte = [&](std::size_t at) { return at < reply.size() ? reply[at] : std::uint8_t{0}; };
  std::size_t index = 0;
  for (std::size_t at = 4; at < reply.size(); ++index) {
    std::uint32_t value = 0;
    const std::int32_t length = LengthOf(byte(at++), command_.order != Order::kTelic2Read);
    for (std::int32_t i = 0; i < length; ++i) value = value << 8 | byte(at++);
    if (index >= outlook_.data.size()) {
      outlook_.raises = true;
      return;
    }
    outlook_.data[index] = static_cast<std::int32_t>(value);
  }
}

Outlook Rules::Run(const Fault& fault, Where where) {
  fault_ = &fault;
  where_ = where;
  outlook_ = {};
  coming_.clear();
  told_ = {};
  outlook_.data = MessagesOf(command_.order).data;
  int send = 0;
  Met met;
  switch (command_.order) {
    case Order::kReadXpdr:
      outlook_.status = Read();
      break;
    case Order::kWriteXpdr:
      outlook_.status = Write();
      break;
    case Order::kDeviceInit:
      // A closed port is not even asked for.
      if (!link.open) {
        outlook_.status = S_BAD_PORT;
        break;
      }
      outlook_.status = BoxStatus(send);
      if (outlook_.status == S_TIMEOUT) outlook_.status = BoxStatus(send);
      break;
    case Order::kBoxStatus:
      outlook_.status = BoxStatus(send);
      break;
    default:
      met = Try(0, send);
      outlook_.status = met.status;
      if (met.status == S_OKAY && command_.IsTelic2() && command_.order != Order::kTelic2Write) {
        Unpack(met.reply);
      }
      break;
  }
  outlook_.facts = facts;
  outlook_.line = link.line;
  return outlook_;
}

}  // namespace qmzentrel::tests::matrix
