#include "tools/virtual_box/box_model.h"

#include <algorithm>
#include <utility>

#include "tools/virtual_box/record_frame.h"
#include "tools/virtual_box/reply_frame.h"

namespace qmzentrel::virtual_box {
namespace {

std::uint8_t Low(std::uint32_t value) {
  return static_cast<std::uint8_t>(value & 0xFF);
}

void PutThreeBytes(Bytes& bytes, std::size_t at, std::uint32_t value) {
  bytes[at] = Low(value >> 16);
  bytes[at + 1] = Low(value >> 8);
  bytes[at + 2] = Low(value);
}

bool NeedsTransponder(CommandKind kind) {
  return kind != CommandKind::kBoxStatus;
}

std::string WithRemark(const std::string& text, const std::string& remark) {
  return remark.empty() ? text : text + " (" + remark + ")";
}

// The four bytes of the box that a Box Status reply begins with and a transponder reply carries
// too.
void PutBoxFacts(Bytes& reply, std::size_t first, const Facts& facts) {
  reply[first] = Low(facts.box_version);
  reply[first + 1] = Low(facts.battery);
  reply[first + 2] = Low(facts.signature0);
  reply[first + 3] = Low(facts.signature1);
}

}  // namespace

BoxModel::BoxModel(LogSink log) : log_(std::move(log)) {}

void BoxModel::Receive(std::span<const std::uint8_t> bytes, Time now) {
  EndStaleInput(now);
  if (!IsReady(now)) {
    log_({now, Time::zero(), LogMark::kToBox, Bytes(bytes.begin(), bytes.end()),
          supplied_ ? "lost, the box is starting" : "lost, the box has no supply"});
    return;
  }
  for (const std::uint8_t byte : bytes) {
    if (!splitter_.HasRest()) first_received_ = now;
    last_received_ = now;
    receive_line_free_ = std::max(receive_line_free_, now) + ByteTime();
    if (const auto command = splitter_.Add(byte)) Handle(*command);
  }
}

void BoxModel::KeepInputOpen(Time now) {
  if (splitter_.HasRest()) last_received_ = std::max(last_received_, now);
}

void BoxModel::SetSupply(bool on, Time now) {
  if (on == supplied_) return;
  if (!on) DropTraffic(now);
  supplied_ = on;
  starting_ = on && facts.startup_ms > 0;
  ready_ = now + std::chrono::milliseconds(facts.startup_ms);
  LogEvent(now, on ? "supply on" : "supply off");
}

bool BoxModel::SendUnasked(const Bytes& bytes, Time now) {
  if (!IsReady(now)) return false;
  Schedule(bytes, "sent unasked", {}, now);
  return true;
}

std::optional<Time> BoxModel::NextDue() const {
  std::optional<Time> next;
  const auto consider = [&next](Time time) { next = next ? std::min(*next, time) : time; };
  if (starting_) consider(ready_);
  if (splitter_.HasRest()) consider(last_received_ + std::chrono::milliseconds(facts.gap_ms));
  if (!sending_.empty()) {
    const Sending& sending = sending_.front();
    consider(sending.due.empty() ? sending.end : sending.due.front());
  }
  return next;
}

BoxModel::Output BoxModel::Advance(Time now) {
  if (starting_ && now >= ready_) {
    starting_ = false;
    LogEvent(ready_, "ready");
  }
  EndStaleInput(now);
  Output output;
  while (!sending_.empty() && !output.unplug) {
    Sending& sending = sending_.front();
    while (!sending.due.empty() && sending.due.front() <= now) {
      if (sending.sent == 0) sending.first_sent = now;
      output.bytes.push_back(sending.bytes[sending.sent++]);
      sending.due.pop_front();
    }
    if (!sending.due.empty() || now < sending.end) break;
    output.unplug = sending.unplug;
    LogSent(sending, now, sending.meaning);
    sending_.pop_front();
  }
  return output;
}

void BoxModel::DropTraffic(Time now) {
  EndInput();
  for (const Sending& sending : sending_) LogSent(sending, now, sending.meaning + ", cut off");
  sending_.clear();
  send_line_free_ = now;
  receive_line_free_ = now;
}

void BoxModel::EndStaleInput(Time now) {
  if (splitter_.HasRest() && now - last_received_ >= std::chrono::milliseconds(facts.gap_ms)) {
    EndInput();
  }
}

void BoxModel::EndInput() {
  if (!splitter_.HasRest()) return;
  const std::string meaning =
      splitter_.RestIsIncomplete() ? "incomplete command, dropped" : "no command, ignored";
  log_({first_received_, last_received_ - first_received_, LogMark::kToBox,
        splitter_.TakeRest().bytes, meaning});
}

void BoxModel::Handle(const CommandFrame& command) {
  const Misbehaviour fault = faults.Take(command.bytes);
  std::string remark = fault.Text();
  std::optional<Reply> reply;
  if (!fault.silent) {
    reply = CarryOut(command, remark);
    if (reply) Spoil(*reply, fault);
  }
  const std::string name{CommandName(command.kind)};
  log_({first_received_, last_received_ - first_received_, LogMark::kToBox, command.bytes,
        WithRemark(name, reply ? "" : remark)});
  if (!reply) return;
  Schedule(std::move(reply->bytes), WithRemark(name + " reply", remark), fault,
           receive_line_free_ + std::chrono::milliseconds(facts.answer_ms) + fault.late);
}

std::optional<BoxModel::Reply> BoxModel::CarryOut(const CommandFrame& command,
                                                  std::string& remark) {
  if (NeedsTransponder(command.kind) && facts.transponder == 0) {
    remark = "no transponder, not answered";
    return std::nullopt;
  }
  const bool wants_block2 =
      command.kind == CommandKind::kReadBlock2 || command.kind == CommandKind::kWriteBlock2;
  if (wants_block2 && !TransponderHasBlock2()) {
    remark = "this transponder has no block 2, not answered";
    return std::nullopt;
  }
  switch (command.kind) {
    case CommandKind::kBoxStatus:
      return Reply{BoxStatusReply()};
    case CommandKind::kReadBlock1:
      return Reply{Block1Reply()};
    case CommandKind::kReadBlock2:
      return Reply{Block2Reply()};
    case CommandKind::kReset:
      facts.tamper = 0;
      return Reply{Block1Reply()};
    case CommandKind::kWriteBlock1:
      TakeBlock1(command.bytes, facts);
      return Reply{Block1Reply()};
    case CommandKind::kWriteBlock2:
      TakeBlock2(command.bytes, facts);
      return Reply{Block2Reply()};
    case CommandKind::kSubDeviceRead:
    case CommandKind::kSubDeviceWrite:
    case CommandKind::kSubDeviceTest: {
      auto bytes = sub_device.Answer(command);
      if (bytes) return Reply{std::move(*bytes), false};
      remark = "no reply asked for";
      return std::nullopt;
    }
    case CommandKind::kUnknown:
      break;
  }
  return std::nullopt;
}

bool BoxModel::TransponderHasBlock2() const {
  const std::uint32_t major = facts.version >> 4;
  return major < 4 || major >= 8;
}

Bytes BoxModel::BoxStatusReply() const {
  Bytes reply(kBoxStatusReplyLength, Low(facts.filler));
  PutBoxFacts(reply, 0, facts);
  reply.back() = SumOfOthers(reply);
  return reply;
}

Bytes BoxModel::Block1Reply() const {
  Bytes reply(kTransponderReplyLength, Low(facts.filler));
  reply[0] = Low(facts.mif);
  reply[1] = Low(facts.util);
  PutThreeBytes(reply, 2, facts.id);
  reply[5] = Low(facts.tamper);
  PutThreeBytes(reply, 6, facts.reading);
  reply[9] = Low((facts.pll << 4) | facts.txi);
  reply[10] = Low((facts.filler & 0xF0) | facts.msi);
  reply[11] = Low(facts.version);
  PutBoxFacts(reply, 12, facts);
  reply.back() = SumOfOthers(reply);
  return reply;
}

Bytes BoxModel::Block2Reply() const {
  Bytes reply(kTransponderReplyLength, Low(facts.filler));
  reply[1] = Low(facts.freq_msb);
  reply[2] = Low(facts.freq_mid);
  reply[3] = Low(facts.freq_lsb);
  reply[4] = Low(facts.br_msb);
  reply[5] = Low(facts.br_lsb);
  reply[6] = Low(facts.pa);
  reply[7] = Low(facts.eol);
  reply[8] = Low(255 - facts.leak_threshold);
  reply.back() = SumOfOthers(reply);
  return reply;
}

void BoxModel::Spoil(Reply& reply, const Misbehaviour& fault) {
  Bytes& bytes = reply.bytes;
  if (fault.wrong_sum && reply.has_sum) bytes.back() ^= 0xFF;
  if (fault.garbage) {
    bytes.resize(*fault.garbage);
    for (std::uint8_t& byte : bytes) {
      // The multiplier and increment of the common 32-bit congruential generator; its high bits
      // look random, and every run has the same garbage.
      noise_ = noise_ * 1664525 + 1013904223;
      byte = Low(noise_ >> 24);
    }
    if (!bytes.empty() && bytes.back() == SumOfOthers(bytes)) bytes.back() ^= 0xFF;
  }
  if (fault.truncate_to) bytes.resize(std::min(bytes.size(), *fault.truncate_to));
  if (fault.unplug_after) bytes.resize(std::min(bytes.size(), *fault.unplug_after));
}

void BoxModel::Schedule(Bytes bytes, std::string meaning, const Misbehaviour& fault,
                        Time earliest) {
  Sending sending;
  sending.meaning = std::move(meaning);
  sending.unplug = fault.unplug_after.has_value();
  Time time = std::max(earliest, send_line_free_);
  const auto put = [&](std::uint8_t byte) {
    time += ByteTime();
    sending.due.push_back(time);
    sending.bytes.push_back(byte);
  };
  const std::size_t stray_after = std::min(fault.stray_after, bytes.size());
  for (std::size_t i = 0; i <= bytes.size(); ++i) {
    if (i == stray_after) std::ranges::for_each(fault.stray, put);
    if (i == bytes.size()) break;
    if (i == fault.split_after) time += fault.split_pause;
    if (i > 0) time += fault.dribble;
    put(bytes[i]);
  }
  sending.end = time;
  send_line_free_ = time;
  sending_.push_back(std::move(sending));
}

void BoxModel::LogSent(const Sending& sending, Time now, const std::string& meaning) {
  const bool any = sending.sent > 0;
  const Time start = any ? sending.first_sent : now;
  log_({start, now - start, any ? LogMark::kFromBox : LogMark::kEvent,
        Bytes(sending.bytes.begin(),
              sending.bytes.begin() + static_cast<std::ptrdiff_t>(sending.sent)),
        meaning});
}

void BoxModel::LogEvent(Time now, const std::string& meaning) {
  log_({now, Time::zero(), LogMark::kEvent, {}, meaning});
}

}  // namespace qmzentrel::virtual_box
