#include "tests/clients/client_process.h"

#include <gtest/gtest.h>

#include <exception>
#include <stdexcept>

namespace qmzentrel::clients {
namespace {

// Far beyond what any part takes, on a busy machine, too.
constexpr DWORD kProcessPatienceMs = 60000;

constexpr char kPlays[] = "--plays";

// Exit codes that no part has.
constexpr int kNoSuchPart = 97;
constexpr int kPartHasThrown = 98;

ClientPart* g_parts = nullptr;

}  // namespace

ClientPart::ClientPart(const char* name, Play play) : name_(name), play_(play), next_(g_parts) {
  g_parts = this;
}

std::optional<int> PlayPart(int count, char** arguments) {
  if (count < 3 || arguments[1] != std::string(kPlays)) return std::nullopt;
  for (const ClientPart* part = g_parts; part != nullptr; part = part->next_) {
    if (part->name_ != std::string(arguments[2])) continue;
    try {
      return part->play_({arguments + 3, arguments + count});
    } catch (const std::exception& error) {
      std::fprintf(stderr, "%s: %s\n", part->name_, error.what());
      return kPartHasThrown;
    }
  }
  return kNoSuchPart;
}

ClientProcess::ClientProcess(const std::string& part, const std::vector<std::string>& arguments) {
  char path[MAX_PATH];
  GetModuleFileNameA(nullptr, path, MAX_PATH);
  std::string command = std::string("\"") + path + "\" " + kPlays + ' ' + part;
  for (const std::string& argument : arguments) command += ' ' + argument;
  STARTUPINFOA start{};
  start.cb = sizeof start;
  PROCESS_INFORMATION started{};
  if (CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start,
                     &started) == FALSE) {
    throw std::runtime_error("cannot start " + command);
  }
  CloseHandle(started.hThread);
  process_ = platform::OwnedHandle(started.hProcess);
}

ClientProcess::~ClientProcess() {
  TerminateProcess(process_.Get(), 1);
}

std::optional<DWORD> ClientProcess::ExitCode() {
  DWORD code = 0;
  if (WaitForSingleObject(process_.Get(), kProcessPatienceMs) != WAIT_OBJECT_0) {
    ADD_FAILURE() << "the process of a client hangs";
    return std::nullopt;
  }
  GetExitCodeProcess(process_.Get(), &code);
  return code;
}

}  // namespace qmzentrel::clients
