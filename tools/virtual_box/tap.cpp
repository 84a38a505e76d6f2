#include "tools/virtual_box/tap.h"

#include <algorithm>
#include <utility>

#include "tools/virtual_box/facts.h"
#include "tools/virtual_box/frame_text.h"
#include "tools/virtual_box/reply_frame.h"

namespace qmzentrel::virtual_box {
namespace {

// The pause that a box takes for the end of a command.
const Time kCommandPause = std::chrono::milliseconds(Facts().gap_ms);
// A box may stop for a while within a reply, and the reply is one all the same.
constexpr Time kReplyPause = std::chrono::milliseconds(500);

std::string Count(std::size_t count, const std::string& what) {
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

}  // namespace

Tap::Tap(LogSink log) : log_(std::move(log)) {}

void Tap::ToBox(std::span<const std::uint8_t> bytes, Time now) {
  Advance(now);
  for (const std::uint8_t byte : bytes) {
    if (!to_box_.HasRest()) {
      // The client does not wait for more of the reply.
      EndReply();
      to_box_span_.first = now;
    }
    to_box_span_.last = now;
    if (auto command = to_box_.Add(byte)) {
      Log(to_box_span_, LogMark::kToBox, command->bytes, CommandText(*command));
      unanswered_.reset();
      if (AsksForReply(*command)) unanswered_ = std::move(command);
    }
  }
}

void Tap::FromBox(std::span<const std::uint8_t> bytes, Time now) {
  Advance(now);
  for (const std::uint8_t byte : bytes) {
    if (from_box_.empty()) from_box_span_.first = now;
    from_box_span_.last = now;
    from_box_.push_back(byte);
    if (unanswered_ && IsReply(*unanswered_, from_box_)) EndReply();
  }
}

std::optional<Time> Tap::NextDue() const {
  std::optional<Time> next;
  if (to_box_.HasRest()) next = to_box_span_.last + kCommandPause;
  if (!from_box_.empty()) {
    const Time due = from_box_span_.last + kReplyPause;
    next = next ? std::min(*next, due) : due;
  }
  return next;
}

void Tap::Advance(Time now) {
  if (to_box_.HasRest() && now - to_box_span_.last >= kCommandPause) EndCommand();
  if (!from_box_.empty() && now - from_box_span_.last >= kReplyPause) EndReply();
}

void Tap::EndTraffic() {
  EndReply();
  EndCommand();
  unanswered_.reset();
}

void Tap::EndCommand() {
  if (!to_box_.HasRest()) return;
  const std::string meaning = to_box_.RestIsIncomplete() ? "incomplete command" : "no command";
  Log(to_box_span_, LogMark::kToBox, to_box_.TakeRest().bytes, meaning);
}

void Tap::EndReply() {
  if (from_box_.empty()) return;
  Log(from_box_span_, LogMark::kFromBox, from_box_, ReplyMeaning());
  from_box_.clear();
  unanswered_.reset();
}

std::string Tap::ReplyMeaning() const {
  if (!unanswered_) return "stray, no command is open";
  const std::string name(CommandName(unanswered_->kind));
  if (const auto before = BytesBeforeReply(*unanswered_, from_box_)) {
    const std::string text = ReplyText(*unanswered_, std::span(from_box_).subspan(*before));
    return *before == 0 ? text : Count(*before, "stray byte") + " and " + text;
  }
  const auto length = ReplyLength(*unanswered_, from_box_);
  const std::string held = Count(from_box_.size(), "byte");
  if (!length) return "no reply to " + name + ", " + held;
  if (from_box_.size() < *length) {
    return "incomplete reply to " + name + ", " + held + " of " + std::to_string(*length);
  }
  if (from_box_.size() > *length) {
    return "no reply to " + name + ", " + held + " instead of " + std::to_string(*length);
  }
  return name + " reply, wrong sum: " + HexText({from_box_.back()}) + " instead of " +
         HexText({SumOfOthers(from_box_)});
}

void Tap::Log(const Span& span, LogMark mark, const Bytes& bytes, std::string meaning) {
  if (last_) {
    // A box that answers late may do so into the next command.
    const Time pause = std::max(Time::zero(), span.first - *last_);
    meaning += " [" + MillisecondsText(pause) + " later]";
  }
  last_ = span.last;
  log_({span.first, span.last - span.first, mark, bytes, meaning});
}

}  // namespace qmzentrel::virtual_box
