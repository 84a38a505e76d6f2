#include "tools/virtual_box/socket.h"

#ifdef _WIN32
#include <winsock2.h>
#else
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#endif

#include <utility>

namespace qmzentrel::virtual_box {
namespace {

#ifdef _WIN32
using Length = int;
constexpr int kSendFlags = 0;

bool StartNetwork() {
  static const bool started = [] {
    WSADATA data;
    return WSAStartup(MAKEWORD(2, 2), &data) == 0;
  }();
  return started;
}

bool WouldBlock() {
  return WSAGetLastError() == WSAEWOULDBLOCK;
}
bool Interrupted() {
  return false;
}
#else
using Length = socklen_t;
// A client that went away is an error of the call, not a signal to the program.
constexpr int kSendFlags = MSG_NOSIGNAL;

bool StartNetwork() {
  return true;
}
bool WouldBlock() {
  return errno == EAGAIN || errno == EWOULDBLOCK;
}
bool Interrupted() {
  return errno == EINTR;
}
#endif

sockaddr_in LocalAddress(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

}  // namespace

Socket::~Socket() {
  Close();
}

Socket::Socket(Socket&& other) noexcept {
  *this = std::move(other);
}

Socket& Socket::operator=(Socket&& other) noexcept {
  if (this != &other) {
    Close();
    handle_ = std::exchange(other.handle_, kNone);
#ifdef _WIN32
    event_ = std::exchange(other.event_, nullptr);
#endif
  }
  return *this;
}

Socket Socket::Listen(std::uint16_t port) {
  Socket socket = MakeStream();
  if (!socket.IsOpen()) return {};
#ifndef _WIN32
  // A port that the last run has just left counts as free. Windows would share a port in use.
  const int on = 1;
  setsockopt(socket.handle_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
#endif
  const sockaddr_in address = LocalAddress(port);
  if (bind(socket.handle_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      listen(socket.handle_, SOMAXCONN) != 0 || !socket.MakeWaitable()) {
    return {};
  }
  return socket;
}

Socket Socket::Connect(std::uint16_t port) {
  Socket socket = MakeStream();
  if (!socket.IsOpen()) return {};
  const sockaddr_in address = LocalAddress(port);
  if (connect(socket.handle_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    return {};
  }
  return socket;
}

Socket Socket::MakeStream() {
  if (!StartNetwork()) return {};
#ifdef _WIN32
  return Socket(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
#else
  return Socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP));
#endif
}

std::uint16_t Socket::LocalPort() const {
  sockaddr_in address{};
  Length length = sizeof address;
  if (getsockname(handle_, reinterpret_cast<sockaddr*>(&address), &length) != 0) return 0;
  return ntohs(address.sin_port);
}

Socket Socket::Accept() const {
#ifdef _WIN32
  WSAResetEvent(event_);
#endif
  Socket client(::accept(handle_, nullptr, nullptr));
  if (client.IsOpen() && !client.MakeWaitable()) return {};
  return client;
}

WaitHandle Socket::Handle() const {
#ifdef _WIN32
  return event_;
#else
  return handle_;
#endif
}

// NOLINTNEXTLINE(readability-make-member-function-const): under Windows it makes an event.
bool Socket::MakeWaitable() {
  // Commands and answers are short lines that the other side waits for.
  const int on = 1;
  setsockopt(handle_, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof on);
#ifdef _WIN32
  event_ = WSACreateEvent();
  return event_ != nullptr &&
         WSAEventSelect(handle_, event_, FD_ACCEPT | FD_READ | FD_WRITE | FD_CLOSE) == 0;
#else
  return fcntl(handle_, F_SETFL, O_NONBLOCK) == 0 && fcntl(handle_, F_SETFD, FD_CLOEXEC) == 0;
#endif
}

Socket::Received Socket::Receive(std::string& data) const {
#ifdef _WIN32
  // Reset first: data that arrives after the call below signals the event again.
  if (event_ != nullptr) WSAResetEvent(event_);
#endif
  char buffer[4096];
  while (true) {
    const auto count = recv(handle_, buffer, sizeof buffer, 0);
    if (count > 0) {
      data.append(buffer, static_cast<std::size_t>(count));
      return Received::kData;
    }
    if (count == 0) return Received::kClosed;
    if (WouldBlock()) return Received::kNothing;
    if (!Interrupted()) return Received::kClosed;
  }
}

bool Socket::Send(std::string& data) const {
  while (!data.empty()) {
    const auto count = send(handle_, data.data(), static_cast<Length>(data.size()), kSendFlags);
    if (count < 0) {
      if (Interrupted()) continue;
      return WouldBlock();
    }
    data.erase(0, static_cast<std::size_t>(count));
  }
  return true;
}

void Socket::SetTimeLimit(std::chrono::milliseconds limit) const {
#ifdef _WIN32
  const DWORD value = static_cast<DWORD>(limit.count());
  setsockopt(handle_, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&value), sizeof value);
#else
  timeval value{};
  value.tv_sec = limit.count() / 1000;
  value.tv_usec = limit.count() % 1000 * 1000;
  setsockopt(handle_, SOL_SOCKET, SO_RCVTIMEO, &value, sizeof value);
#endif
}

void Socket::Close() {
#ifdef _WIN32
  if (event_ != nullptr) WSACloseEvent(std::exchange(event_, nullptr));
  if (handle_ != kNone) closesocket(std::exchange(handle_, kNone));
#else
  if (handle_ != kNone) close(std::exchange(handle_, kNone));
#endif
}

}  // namespace qmzentrel::virtual_box
