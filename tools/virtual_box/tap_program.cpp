#include "tools/virtual_box/tap_program.h"

namespace qmzentrel::virtual_box {
namespace {

// How often the tap looks whether a box that has disappeared is back.
constexpr std::chrono::milliseconds kTryEvery{100};

}  // namespace

TapProgram::TapProgram(const Options& options)
    : PortProgram(options, nullptr, MonotonicNow()),
      tap_([this](const LogLine& line) { log_.Add(line); }),
      box_(options.tap, options.port.lines_dir) {}

TapProgram::~TapProgram() {
  tap_.EndTraffic();
}

std::string TapProgram::Plug() {
  if (IsPlugged()) return "plugged already";
  // The box first: a client is to find no port without a box.
  std::string reason = box_.Open();
  if (!reason.empty()) return reason;
  reason = port_.Plug();
  if (!reason.empty()) {
    box_.Close();
    return reason;
  }
  next_try_.reset();
  // A client's port that shows no lines cannot say when the box is to be fed: it is fed always.
  if (!port_.HasLines()) box_.SetLines(true, true);
  const bool passes_lines = port_.HasLines() && box_.HasLines();
  LogEvent("plugged, port " + port_.Name() + ", box at " + box_.Name() +
           (passes_lines ? "" : ", no modem lines"));
  return {};
}

void TapProgram::Unplug() {
  next_try_.reset();
  if (IsPlugged()) Disconnect("unplugged");
}

std::string TapProgram::Condition() const {
  return "box=" + (box_.IsOpen() ? box_.Name() : "");
}

void TapProgram::AddTo(EventWait& wait) {
  box_.AddTo(wait);
}

std::optional<Time> TapProgram::NextDue() const {
  return Earlier(tap_.NextDue(), next_try_);
}

void TapProgram::Turn(Time now) {
  tap_.Advance(now);
  if (next_try_ && now >= *next_try_) {
    next_try_ = now + kTryEvery;
    Plug();
  }
  // From the box first: what the client sends now it may send because of a reply, but a reply to
  // that cannot be there yet.
  const Bytes from_box = box_.Read();
  port_.Write(from_box);
  tap_.FromBox(from_box, now);

  const Bytes to_box = port_.Read();
  const std::vector<LineChange> changes = port_.TakeLineChanges();
  const std::size_t before_bytes = ChangesBeforeBytes(supply_.Standing(), changes);
  for (std::size_t i = 0; i < before_bytes; ++i) PassLines(changes[i]);
  box_.Write(to_box);
  tap_.ToBox(to_box, now);
  for (std::size_t i = before_bytes; i < changes.size(); ++i) PassLines(changes[i]);

  if (box_.IsGone()) {
    port_.LetTake();
    Disconnect("the port of the box is gone");
    next_try_ = now + kTryEvery;
  }
}

void TapProgram::PassLines(const LineChange& change) {
  supply_.Add(change);
  box_.SetLines(change.dtr, change.rts);
}

void TapProgram::Disconnect(const std::string& why) {
  tap_.EndTraffic();
  box_.Close();
  port_.Unplug();
  // The lines end with the cable.
  if (supply_.Standing().dtr || supply_.Standing().rts) {
    supply_.Add({MonotonicNow(), false, false});
  }
  LogEvent(why);
}

}  // namespace qmzentrel::virtual_box
