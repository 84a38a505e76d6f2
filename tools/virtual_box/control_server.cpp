#include "tools/virtual_box/control_server.h"

#include <algorithm>
#include <utility>
#include <variant>

namespace qmzentrel::virtual_box {
namespace {

// Windows waits for at most 64 things at once, and the port needs a few of them.
constexpr std::size_t kMaxClients = 50;
// No command is as long; what is longer is no client of ours.
constexpr std::size_t kMaxLine = 65536;

}  // namespace

bool ControlServer::Listen(std::uint16_t port) {
  listener_ = Socket::Listen(port);
  return listener_.IsOpen();
}

void ControlServer::AddTo(EventWait& wait) const {
  if (listener_.IsOpen() && clients_.size() < kMaxClients) wait.Add(listener_.Handle());
  for (const Client& client : clients_) {
    wait.Add(client.socket.Handle(), !client.to_send.empty());
  }
}

std::optional<Time> ControlServer::NextDue() const {
  std::optional<Time> next;
  for (const Client& client : clients_) {
    if (!client.waiting) continue;
    next = next ? std::min(*next, client.waiting->deadline) : client.waiting->deadline;
  }
  return next;
}

void ControlServer::Collect() {
  while (listener_.IsOpen() && clients_.size() < kMaxClients) {
    Socket accepted = listener_.Accept();
    if (!accepted.IsOpen()) break;
    clients_.emplace_back().socket = std::move(accepted);
  }
  for (Client& client : clients_) {
    Socket::Received received = Socket::Received::kData;
    while (received == Socket::Received::kData) received = client.socket.Receive(client.received);
    client.gone = received == Socket::Received::kClosed;
  }
}

void ControlServer::Serve(Control& control, const FrameLog& log, Time now) {
  for (Client& client : clients_) ServeClient(client, control, log, now);
  clients_.remove_if([](const Client& client) { return client.gone; });
}

void ControlServer::ServeClient(Client& client, Control& control, const FrameLog& log, Time now) {
  if (client.waiting) AnswerWait(client, log, now);
  std::size_t end = 0;
  while (!client.waiting && (end = client.received.find('\n')) != std::string::npos) {
    const std::string line = client.received.substr(0, end);
    client.received.erase(0, end + 1);
    auto result = control.Execute(line, now);
    if (const auto* answer = std::get_if<ControlAnswer>(&result)) {
      client.to_send += answer->Wire();
    } else {
      client.waiting = std::get<FrameWait>(result);
      AnswerWait(client, log, now);
    }
  }
  client.gone =
      !client.socket.Send(client.to_send) || client.gone || client.received.size() > kMaxLine;
}

void ControlServer::AnswerWait(Client& client, const FrameLog& log, Time now) {
  const std::string count = std::to_string(log.FrameCount());
  ControlAnswer answer;
  if (log.FrameCount() >= client.waiting->frames) {
    answer.text = count;
  } else if (now >= client.waiting->deadline) {
    answer.ok = false;
    answer.text = "only " + count + " frames";
  } else {
    return;
  }
  client.to_send += answer.Wire();
  client.waiting.reset();
}

}  // namespace qmzentrel::virtual_box
