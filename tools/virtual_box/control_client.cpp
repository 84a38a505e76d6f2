#include "tools/virtual_box/control_client.h"

#include <utility>

namespace qmzentrel::virtual_box {

bool ControlClient::Connect(std::uint16_t port) {
  received_.clear();
  socket_ = Socket::Connect(port);
  return socket_.IsOpen();
}

ControlClient::Answer ControlClient::Command(const std::string& line,
                                             std::chrono::milliseconds limit) {
  if (!socket_.IsOpen()) return {false, "not connected", {}};
  // An answer that comes too late would be taken for that of the next command.
  const auto give_up = [this](const char* reason) {
    socket_ = Socket();
    return Answer{false, reason, {}};
  };
  socket_.SetTimeLimit(limit);
  std::string request = line + '\n';
  if (!socket_.Send(request) || !request.empty()) return give_up("connection lost");

  std::string first;
  if (!ReadLine(first)) return give_up("no answer");
  Answer answer;
  answer.ok = first == "ok" || first.starts_with("ok ");
  const std::size_t blank = first.find(' ');
  if (blank != std::string::npos) answer.text = first.substr(blank + 1);

  constexpr std::string_view kListMark = "lines=";
  if (answer.ok && answer.text.starts_with(kListMark)) {
    const auto count =
        ParseNumber(std::string_view(answer.text).substr(kListMark.size()), 0xFFFFFFFF);
    for (std::uint32_t i = 0; i < count.value_or(0); ++i) {
      std::string item;
      if (!ReadLine(item)) return give_up("answer cut short");
      answer.lines.push_back(std::move(item));
    }
  }
  return answer;
}

std::vector<LogLine> ControlClient::Log() {
  std::vector<LogLine> log;
  for (const std::string& text : Command("log").lines) {
    if (auto line = ParseLogLine(text)) log.push_back(std::move(*line));
  }
  return log;
}

bool ControlClient::ReadLine(std::string& line) {
  std::size_t end = 0;
  while ((end = received_.find('\n')) == std::string::npos) {
    if (socket_.Receive(received_) != Socket::Received::kData) return false;
  }
  line = received_.substr(0, end);
  received_.erase(0, end + 1);
  return true;
}

}  // namespace qmzentrel::virtual_box
