#include "tools/virtual_box/box_program.h"

#include <algorithm>
#include <span>

namespace qmzentrel::virtual_box {
namespace {

// How often the box looks for new bytes where it matters when they came.
constexpr std::chrono::milliseconds kLook{1};

}  // namespace

BoxProgram::BoxProgram(const Options& options)
    : PortProgram(options, &model_, Time::zero()),
      model_([this](const LogLine& line) { log_.Add(line); }) {}

// Supplied from the start where the box has a supply of its own; else it waits for its line.
void BoxProgram::BeforePlug(Time now) {
  model_.SetSupply(supply_.IsOn(), now);
}

void BoxProgram::Turn(Time now) {
  // A client may switch the supply on and send in one go: whatever it has switched before it sent
  // these bytes is seen now, and counts first.
  const Bytes received = port_.Read();
  const std::vector<LineChange> changes = port_.TakeLineChanges();
  const bool takes_time = model_.facts.intake != 0;
  if (takes_time) PutOnWire(received, changes);
  looked_ = now;
  TakeLines(changes, now);
  PassBytes(now);
  if (takes_time && !received.empty()) model_.KeepInputOpen(now);
  if (!takes_time && !received.empty()) model_.Receive(received, now);
  const BoxModel::Output output = model_.Advance(now);
  port_.Write(output.bytes);
  if (output.unplug) {
    port_.LetTake();
    Unplug();
  }
}

std::string BoxProgram::Condition() const {
  return model_.HasSupply() ? "supplied" : "unsupplied";
}

std::string BoxProgram::Plug() {
  if (IsPlugged()) return "plugged already";
  std::string reason = port_.Plug();
  if (reason.empty()) LogEvent("plugged, port " + port_.Name());
  return reason;
}

void BoxProgram::Unplug() {
  if (!IsPlugged()) return;
  const Time now = MonotonicNow();
  port_.Unplug();
  on_wire_.clear();
  model_.DropTraffic(now);
  LogEvent("unplugged");
  // The lines end with the cable.
  if (supply_.Standing().dtr || supply_.Standing().rts) supply_.Add({now, false, false});
  model_.SetSupply(supply_.IsOn(), now);
}

std::optional<Time> BoxProgram::NextDue() const {
  std::optional<Time> next = model_.NextDue();
  if (!on_wire_.empty()) next = Earlier(next, on_wire_.front().first);
  if (model_.facts.intake != 0) next = Earlier(next, looked_ + kLook);
  return next;
}

// Bytes that are found now may be as old as the last look. They count as that old, so that a box on
// a busy machine does not lose what a real one would have had in time; but a client sends when it
// has switched the supply on.
void BoxProgram::PutOnWire(const Bytes& bytes, const std::vector<LineChange>& changes) {
  Time sent = looked_;
  bool was_on = supply_.IsOn();
  for (const LineChange& change : changes) {
    const bool is_on = change.dtr || change.rts;
    if (is_on && !was_on) sent = std::max(sent, change.time);
    was_on = is_on;
  }
  for (const std::uint8_t byte : bytes) {
    wire_free_ = std::max(wire_free_, sent) + kByteTime;
    on_wire_.emplace_back(wire_free_, byte);
  }
}

void BoxProgram::PassBytes(Time until) {
  while (!on_wire_.empty() && on_wire_.front().first <= until) {
    const auto [passed, byte] = on_wire_.front();
    on_wire_.pop_front();
    model_.Receive(std::span(&byte, 1), passed);
  }
}

void BoxProgram::TakeLines(const std::vector<LineChange>& changes, Time now) {
  for (const LineChange& change : changes) {
    PassBytes(change.time);
    supply_.Add(change);
    model_.SetSupply(supply_.IsOn(), std::min(change.time, now));
  }
}

}  // namespace qmzentrel::virtual_box
