#include "tests/clients/box_control.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>

#include "tools/virtual_box/environment.h"

namespace qmzentrel::clients {
namespace {

using virtual_box::LogLine;
using virtual_box::LogMark;

// For what the box does at once, however busy the machine is.
constexpr const char* kFramesPatienceMs = "10000";

std::string FrameText(const LogLine& line) {
  return static_cast<char>(line.mark) + (' ' + virtual_box::HexText(line.bytes));
}

}  // namespace

BoxControl::BoxControl(const char* variable) {
  const auto port = virtual_box::NumberFromEnvironment(variable);
  if (!port || !client_.Connect(*port)) {
    throw std::runtime_error(std::string("no virtual box answers at ") + variable);
  }
  beginning_ = "set";
  for (std::string fact : List("get")) {
    std::ranges::replace(fact, '=', ' ');
    beginning_ += ' ' + fact;
  }
  supply_ = Tell("supply");
}

std::string BoxControl::Tell(const std::string& command) {
  const auto answer = client_.Command(command);
  if (!answer.ok) throw std::runtime_error("virtual box: " + command + ": " + answer.text);
  return answer.text;
}

std::vector<std::string> BoxControl::List(const std::string& command) {
  auto answer = client_.Command(command);
  if (!answer.ok) throw std::runtime_error("virtual box: " + command + ": " + answer.text);
  return std::move(answer.lines);
}

void BoxControl::Reset() {
  Tell("unplug");
  Tell("clear");
  Tell(beginning_);
  Tell("set startup-ms 0");
  Tell("supply " + supply_);
  Tell("plug");
  Tell("lines-clear");
  Tell("log-clear");
}

Journal BoxControl::Frames() {
  Journal frames;
  for (const LogLine& line : FrameLog()) frames.push_back(FrameText(line));
  return frames;
}

std::vector<LogLine> BoxControl::FrameLog() {
  auto log = client_.Log();
  std::erase_if(log, [](const LogLine& line) { return !line.IsFrame(); });
  return log;
}

void BoxControl::AwaitFrames(std::size_t count) {
  Tell("wait-frames " + std::to_string(count) + ' ' + kFramesPatienceMs);
}

Journal BoxControl::Supply() {
  constexpr std::string_view kEvent = "supply ";
  Journal states;
  for (const LogLine& line : client_.Log()) {
    if (line.mark == LogMark::kEvent && line.meaning.starts_with(kEvent)) {
      states.push_back(line.meaning.substr(kEvent.size()));
    }
  }
  return states;
}

Journal BoxControl::Lines() {
  Journal states;
  for (const std::string& entry : List("lines")) {
    states.push_back(entry.substr(entry.find(' ') + 1));
  }
  states.erase(std::unique(states.begin(), states.end()), states.end());
  return states;
}

}  // namespace qmzentrel::clients
