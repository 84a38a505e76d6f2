// The control channel: any number of clients on 127.0.0.1, each sending one command a line.
#pragma once

#include <cstdint>
#include <list>
#include <optional>
#include <string>

#include "tools/virtual_box/control.h"
#include "tools/virtual_box/event_wait.h"
#include "tools/virtual_box/socket.h"

namespace qmzentrel::virtual_box {

class ControlServer {
 public:
  /// Starts to listen; port 0 lets the system choose. False when the port is taken.
  bool Listen(std::uint16_t port);
  std::uint16_t Port() const { return listener_.IsOpen() ? listener_.LocalPort() : 0; }

  void AddTo(EventWait& wait) const;

  /// When the next waiting client has to be told that its time is over.
  std::optional<Time> NextDue() const;

  /// Takes in what the clients have sent. To be called before the port is looked at: what a client
  /// did to the port before it sent a command must have its effect before the command has.
  void Collect();

  /// Carries out what was taken in, and answers the waits that `log` has fulfilled.
  void Serve(Control& control, const FrameLog& log, Time now);

 private:
  struct Client {
    Socket socket;
    std::string received;
    std::string to_send;
    std::optional<FrameWait> waiting;
    bool gone = false;
  };

  static void ServeClient(Client& client, Control& control, const FrameLog& log, Time now);
  static void AnswerWait(Client& client, const FrameLog& log, Time now);

  Socket listener_;
  std::list<Client> clients_;
};

}  // namespace qmzentrel::virtual_box
