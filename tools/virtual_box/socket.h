// One TCP socket on 127.0.0.1, the same on Linux and Windows.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tools/virtual_box/basics.h"
#include "tools/virtual_box/wait_handle.h"

namespace qmzentrel::virtual_box {

class Socket {
 public:
  Socket() = default;
  ~Socket();
  Socket(Socket&& other) noexcept;
  Socket& operator=(Socket&& other) noexcept;
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;

  /// A listening socket that is ready for waits; port 0 lets the system choose. Closed when the
  /// port is taken.
  static Socket Listen(std::uint16_t port);

  /// A connected socket whose calls block; closed when nobody listens there.
  static Socket Connect(std::uint16_t port);

  bool IsOpen() const { return handle_ != kNone; }
  std::uint16_t LocalPort() const;

  /// The next client, ready for waits; closed when there is none.
  Socket Accept() const;

  /// Becomes signalled when there is something to accept, to receive, or room to send again. Only
  /// for sockets that are ready for waits.
  WaitHandle Handle() const;

  enum class Received { kData, kNothing, kClosed };

  /// Appends what has arrived to `data`. A blocking socket waits for something, at most
  /// `SetTimeLimit`.
  Received Receive(std::string& data) const;

  /// Sends from the front of `data` what goes, and takes it off; false when the other end is gone.
  bool Send(std::string& data) const;

  /// How long a blocking Receive waits.
  void SetTimeLimit(std::chrono::milliseconds limit) const;

 private:
#ifdef _WIN32
  using Native = std::uintptr_t;
#else
  using Native = int;
#endif
  static constexpr Native kNone = static_cast<Native>(-1);

  explicit Socket(Native handle) : handle_(handle) {}
  static Socket MakeStream();
  bool MakeWaitable();
  void Close();

  Native handle_ = kNone;
#ifdef _WIN32
  void* event_ = nullptr;  // signalled by the system for `handle_`
#endif
};

}  // namespace qmzentrel::virtual_box
