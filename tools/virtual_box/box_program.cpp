#include "tools/virtual_box/box_program.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <span>
#include <system_error>
#include <variant>

#include "tools/virtual_box/event_wait.h"
#include "tools/virtual_box/stop_signal.h"

namespace qmzentrel::virtual_box {
namespace {

// How often the box looks for new bytes where it matters when they came.
constexpr std::chrono::milliseconds kLook{1};

void PrintLine(std::FILE* file, const std::string& text) {
  std::fprintf(file, "%s\n", text.c_str());
  std::fflush(file);
}

// Written aside and renamed: whoever finds the file finds the whole number in it.
bool WriteNumber(const std::string& path, unsigned number) {
  const std::string fresh = path + ".new";
  std::FILE* file = std::fopen(fresh.c_str(), "w");
  if (file == nullptr) return false;
  PrintLine(file, std::to_string(number));
  std::fclose(file);
  std::error_code error;
  std::filesystem::rename(fresh, path, error);
  return !error;
}

}  // namespace

BoxProgram::BoxProgram(const Options& options)
    : options_(options),
      model_([this](const LogLine& line) { log_.Add(line); }),
      supply_(options.supply),
      port_(options.port),
      control_(model_, log_, supply_, *this) {}

BoxProgram::~BoxProgram() {
  std::error_code error;
  if (!options_.control_file.empty()) std::filesystem::remove(options_.control_file, error);
  if (log_file_ != nullptr) std::fclose(log_file_);
}

std::string BoxProgram::Prepare() {
  for (const std::string& command : options_.commands) {
    const auto result = control_.Execute(command, MonotonicNow());
    const auto* const answer = std::get_if<ControlAnswer>(&result);
    if (answer == nullptr) return "not possible at the start: " + command;
    if (!answer->ok) return answer->text;
  }
  return {};
}

std::string BoxProgram::Start() {
  if (!options_.log_file.empty()) {
    log_file_ = std::fopen(options_.log_file.c_str(), "w");
    if (log_file_ == nullptr) return "cannot write " + options_.log_file;
    log_.AddSink([this](const std::string& text) { PrintLine(log_file_, text); });
  }
  // Supplied from the start where the box has a supply of its own; else it waits for its line.
  model_.SetSupply(supply_.IsOn(), MonotonicNow());
  std::string reason = Plug();
  if (!reason.empty()) return reason;
  if (supply_.Choice() != SupplyChoice::kNone && !port_.HasLines()) {
    return "the port " + port_.Name() + " shows no modem lines: use --supply none";
  }
  std::string ready = "ready port=" + port_.Name();
  if (options_.control_port) {
    if (!server_.Listen(*options_.control_port)) {
      return "cannot listen on port " + std::to_string(*options_.control_port);
    }
    ready += " control=" + std::to_string(server_.Port());
    if (!options_.control_file.empty() && !WriteNumber(options_.control_file, server_.Port())) {
      return "cannot write " + options_.control_file;
    }
  }
  PrintLine(stdout, ready);
  if (options_.trace) {
    for (const std::string& text : log_.Lines()) PrintLine(stdout, text);
    log_.AddSink([](const std::string& text) { PrintLine(stdout, text); });
  }
  return {};
}

void BoxProgram::Run() {
  const StopSignal stop;
  EventWait wait;
  while (!quitting_ && !stop.IsRaised()) {
    wait.Clear();
    wait.Add(stop.Handle());
    port_.AddTo(wait);
    server_.AddTo(wait);
    wait.Until(NextDue());

    server_.Collect();
    // Before the bytes are read: a box that loses its turn in between would take them for the
    // beginning of a command that stopped.
    const Time now = MonotonicNow();
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
    server_.Serve(control_, log_, now);
  }
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
  const auto consider = [&next](std::optional<Time> time) {
    if (time) next = next ? std::min(*next, *time) : *time;
  };
  consider(server_.NextDue());
  if (!on_wire_.empty()) consider(on_wire_.front().first);
  if (model_.facts.intake != 0) consider(looked_ + kLook);
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

void BoxProgram::LogEvent(const std::string& meaning) {
  log_.Add({MonotonicNow(), Time::zero(), LogMark::kEvent, {}, meaning});
}

}  // namespace qmzentrel::virtual_box
