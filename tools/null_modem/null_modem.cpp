// A null-modem cable between two pseudo-terminals: what is written to one is read from the other.
// Usage: null_modem LINK LINK        (symbolic links to its ends, there while it runs)
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "tools/virtual_box/file_descriptor.h"
#include "tools/virtual_box/own_session.h"
#include "tools/virtual_box/port.h"
#include "tools/virtual_box/stop_signal.h"

namespace {

using namespace qmzentrel::virtual_box;

/// One end of the cable, until a stop signal comes or the other end has gone.
int ServeEnd(const std::string& link, const FileDescriptor& cable) {
  PortOptions options;
  options.link = link;
  Port port(options);
  const std::string reason = port.Plug();
  if (!reason.empty()) {
    std::fprintf(stderr, "null_modem: %s\n", reason.c_str());
    return EXIT_FAILURE;
  }
  const StopSignal stop;
  EventWait wait;
  wait.Add(stop.Handle());
  wait.Add(cable.Get());
  port.AddTo(wait);
  while (!stop.IsRaised()) {
    wait.Until(std::nullopt);
    const Bytes sent = port.Read();
    if (!sent.empty() && send(cable.Get(), sent.data(), sent.size(), MSG_NOSIGNAL) < 0) break;
    std::uint8_t buffer[256];
    const ssize_t count = recv(cable.Get(), buffer, sizeof buffer, MSG_DONTWAIT);
    if (count == 0) break;
    if (count > 0) port.Write({buffer, static_cast<std::size_t>(count)});
  }
  return EXIT_SUCCESS;
}

}  // namespace

int main(int count, char** arguments) {
  int ends[2];
  if (count != 3 || socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
    std::fputs("usage: null_modem LINK LINK\n", stderr);
    return EXIT_FAILURE;
  }
  FileDescriptor near(ends[0]);
  FileDescriptor far(ends[1]);
  // A terminal controls a session, and a session has one: each end is a process of its own. The
  // far one ends with the near one, when nobody holds the other side of the cable any more.
  const bool is_far = fork() == 0;
  FileDescriptor& kept = is_far ? far : near;
  (is_far ? near : far).Reset();
  const int code = RunInOwnSession([&] { return ServeEnd(arguments[is_far ? 2 : 1], kept); });
  kept.Reset();
  if (!is_far) wait(nullptr);
  return code;
}
