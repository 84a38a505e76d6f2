#include "tools/virtual_box/own_session.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace qmzentrel::virtual_box {
namespace {

int WaitForChild(pid_t child, const sigset_t& signals) {
  while (true) {
    int status = 0;
    if (waitpid(child, &status, WNOHANG) == child) {
      return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    const int received = sigwaitinfo(&signals, nullptr);
    if (received > 0 && received != SIGCHLD) kill(child, SIGTERM);
  }
}

}  // namespace

int RunInOwnSession(const std::function<int()>& work) {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGCHLD}) sigaddset(&signals, number);
  sigprocmask(SIG_BLOCK, &signals, nullptr);

  const pid_t parent = getpid();
  const pid_t child = fork();
  if (child < 0) {
    std::perror("fork");
    return EXIT_FAILURE;
  }
  if (child > 0) return WaitForChild(child, signals);

  prctl(PR_SET_PDEATHSIG, SIGTERM);
  // The parent may have died before the line above.
  if (getppid() != parent) return EXIT_FAILURE;
  setsid();
  // Every unplug hangs up the controlling terminal.
  signal(SIGHUP, SIG_IGN);
  // SIGINT and SIGTERM stay blocked until the stop signal is set up: none may slip through.
  sigdelset(&signals, SIGINT);
  sigdelset(&signals, SIGTERM);
  sigprocmask(SIG_UNBLOCK, &signals, nullptr);
  return work();
}

}  // namespace qmzentrel::virtual_box
