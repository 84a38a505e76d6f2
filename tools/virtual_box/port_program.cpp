#include "tools/virtual_box/port_program.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <variant>

namespace qmzentrel::virtual_box {
namespace {

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

std::optional<Time> Earlier(std::optional<Time> one, std::optional<Time> other) {
  if (!one || !other) return one ? one : other;
  return std::min(*one, *other);
}

PortProgram::PortProgram(const Options& options, BoxModel* model, Time log_origin)
    : options_(options),
      log_(log_origin),
      supply_(options.supply),
      port_(options.port),
      control_(model, log_, supply_, *this) {}

PortProgram::~PortProgram() {
  std::error_code error;
  if (!options_.control_file.empty()) std::filesystem::remove(options_.control_file, error);
  if (log_file_ != nullptr) std::fclose(log_file_);
}

std::string PortProgram::Prepare() {
  for (const std::string& command : options_.commands) {
    const auto result = control_.Execute(command, MonotonicNow());
    const auto* const answer = std::get_if<ControlAnswer>(&result);
    if (answer == nullptr) return "not possible at the start: " + command;
    if (!answer->ok) return answer->text;
  }
  return {};
}

std::string PortProgram::Start() {
  if (!options_.log_file.empty()) {
    log_file_ = std::fopen(options_.log_file.c_str(), "w");
    if (log_file_ == nullptr) return "cannot write " + options_.log_file;
    log_.AddSink([this](const std::string& text) { PrintLine(log_file_, text); });
  }
  BeforePlug(MonotonicNow());
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

void PortProgram::Run() {
  EventWait wait;
  while (!quitting_ && !stop_.IsRaised()) {
    wait.Clear();
    wait.Add(stop_.Handle());
    port_.AddTo(wait);
    AddTo(wait);
    server_.AddTo(wait);
    wait.Until(Earlier(NextDue(), server_.NextDue()));

    server_.Collect();
    // Before the bytes are read: a box that loses its turn in between would take them for the
    // beginning of a command that stopped.
    const Time now = MonotonicNow();
    Turn(now);
    server_.Serve(control_, log_, now);
  }
}

void PortProgram::LogEvent(const std::string& meaning) {
  log_.Add({MonotonicNow(), Time::zero(), LogMark::kEvent, {}, meaning});
}

}  // namespace qmzentrel::virtual_box
