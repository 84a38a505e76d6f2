// Processes of clients that end without a word: in the middle of a count-down or a command.
#include <memory>
#include <string>
#include <vector>

#include "tests/clients/box_client.h"
#include "tests/clients/box_crowd.h"
#include "tests/clients/client_process.h"
#include "tests/clients/other_apartment.h"
#include "tests/clients/registered_library.h"

namespace qmzentrel::clients {
namespace {

constexpr DWORD kEndPatienceMs = 30000;

// The exit code of a client that ends as it wanted to.
constexpr int kAsWanted = 42;

/// A sign from process to process.
class NamedEvent {
 public:
  explicit NamedEvent(const wchar_t* name) : event_(CreateEventW(nullptr, FALSE, FALSE, name)) {}
  void Set() const { SetEvent(event_.Get()); }
  bool Wait() const { return WaitForSingleObject(event_.Get(), kEndPatienceMs) == WAIT_OBJECT_0; }

 private:
  platform::OwnedHandle event_;
};

constexpr const wchar_t* kGo = L"QmZentrelTestGo";

std::unique_ptr<BoxClient> OpenClient() {
  if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return nullptr;
  auto client = std::make_unique<BoxClient>(CreatedZentrel());
  return client->Open(CrowdPort(0), true) == S_OKAY ? std::move(client) : nullptr;
}

int PlayCountDown(const std::vector<std::string>& arguments) {
  // Never freed: the process ends with the object as it stands.
  BoxClient* const client = OpenClient().release();
  if (client == nullptr || client->BoxStatus() != S_OKAY) return 1;
  client->Let(&_Zentrel::put_PowerManagement, true);
  if (arguments.front() == "uninitialise") CoUninitialize();
  if (arguments.front() == "terminate") TerminateProcess(GetCurrentProcess(), kAsWanted);
  return kAsWanted;
}
const ClientPart kCountDown("count-down", PlayCountDown);

__attribute__((force_align_arg_pointer)) DWORD WINAPI ExitOnSign(void* /*argument*/) {
  ExitProcess(NamedEvent(kGo).Wait() ? kAsWanted : 1);
}

int PlayExitInCommand(const std::vector<std::string>& /*arguments*/) {
  const auto client = OpenClient();
  if (client == nullptr) return 2;
  CloseHandle(CreateThread(nullptr, 0, ExitOnSign, nullptr, 0, nullptr));
  while (client->Read() == S_TIMEOUT) {
  }
  return 3;
}
const ClientPart kExitInCommand("exit-in-command", PlayExitInCommand);

int PlayUnloadInCommand(const std::vector<std::string>& /*arguments*/) {
  const auto client = OpenClient();
  if (client == nullptr) return 2;
  // The system asks whether the library may go, and takes it away where it may.
  client->OnEvent([](bool) {
    for (int i = 0; i < 2; ++i) CoFreeUnusedLibrariesEx(0, 0);
  });
  if (client->Read() != S_OKAY) return 3;
  return client->StatusText(S_TIMEOUT) == L"Timeout" ? kAsWanted : 4;
}
const ClientPart kUnloadInCommand("unload-in-command", PlayUnloadInCommand);

__attribute__((force_align_arg_pointer)) DWORD WINAPI WorkForEver(void* started) {
  if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) ExitProcess(5);
  for (bool first = true;; first = false) {
    BoxClient client(CreatedZentrel());
    for (short i = 0; i < 10; ++i) client.StatusText(S_TIMEOUT);
    if (first) ReleaseSemaphore(started, 1, nullptr);
  }
}

int PlayExitAtWork(const std::vector<std::string>& /*arguments*/) {
  constexpr int kThreads = 4;
  const HANDLE started = CreateSemaphoreW(nullptr, 0, kThreads, nullptr);
  for (int i = 0; i < kThreads; ++i) {
    CloseHandle(CreateThread(nullptr, 0, WorkForEver, started, 0, nullptr));
  }
  for (int i = 0; i < kThreads; ++i) {
    if (WaitForSingleObject(started, kEndPatienceMs) != WAIT_OBJECT_0) return 6;
  }
  return kAsWanted;
}
const ClientPart kExitAtWork("exit-at-work", PlayExitAtWork);

// The only pointer to an object, in a library that ends after the component.
_Zentrel* g_last = nullptr;

// Nothing that raises an error: the start-up code of this program has ended, too.
void LetGoOfTheLast() {
  auto status = S_OKAY;
  LONG signature = 0;
  const bool refused = g_last->BoxStatus(&status) == RPC_E_DISCONNECTED &&
                       g_last->get_ZentrelSignature(99, &signature) == RPC_E_DISCONNECTED;
  const bool is_last = g_last->Release() == 0;
  if (!refused || !is_last) TerminateProcess(GetCurrentProcess(), 8);
}

int PlayReleaseAtEnd(const std::vector<std::string>& /*arguments*/) {
  const HMODULE plugin = LoadLibraryA("ending_plugin.dll");
  if (plugin == nullptr) return 7;
  using AtProcessEnd = void (*)(void (*)());
  const auto at_process_end = reinterpret_cast<AtProcessEnd>(
      reinterpret_cast<void*>(GetProcAddress(plugin, "AtProcessEnd")));
  const auto client = OpenClient();
  if (client == nullptr || client->BoxStatus() != S_OKAY) return 2;
  client->Let(&_Zentrel::put_PowerManagement, true);
  g_last = client->Object();
  g_last->AddRef();
  at_process_end(LetGoOfTheLast);
  return kAsWanted;
}
const ClientPart kReleaseAtEnd("release-at-end", PlayReleaseAtEnd);

class EndingProcesses : public WithRegisteredLibrary {
 protected:
  static void ExpectEnd(ClientProcess& process) {
    EXPECT_EQ(process.ExitCode(), static_cast<DWORD>(kAsWanted));
  }

  // The port is free, and nothing of the one before is on its way.
  void ExpectCleanBox() {
    box.Tell("clear");
    box.Tell("log-clear");
    BoxClient client;
    EXPECT_EQ(client.Open(CrowdPort(0), true), S_OKAY);
    EXPECT_EQ(client.BoxStatus(), S_OKAY);
    EXPECT_EQ(box.Frames().size(), 2U);
  }

  CrowdBox box{0};
  NamedEvent go{kGo};
};

TEST_F(EndingProcesses, EndInTheMiddleOfACountDown) {
  for (const char* end : {"exit", "uninitialise", "terminate"}) {
    ClientProcess process("count-down", {end});
    ExpectEnd(process);
    ExpectCleanBox();
  }
}

TEST_F(EndingProcesses, EndFromAnotherThreadWhileACommandIsAtWork) {
  box.Tell("silence 1000");
  ClientProcess process("exit-in-command");
  box.AwaitFrames(1);
  go.Set();
  ExpectEnd(process);
  ExpectCleanBox();
}

TEST_F(EndingProcesses, KeepTheLibraryWhileACommandIsAtWork) {
  box.Tell("set version 5.0");
  ClientProcess process("unload-in-command");
  ExpectEnd(process);
  ExpectCleanBox();
}

TEST_F(EndingProcesses, MayLetGoOfAnObjectInTheirVeryEnd) {
  ClientProcess process("release-at-end");
  ExpectEnd(process);
  ExpectCleanBox();
}

TEST_F(EndingProcesses, EndWhateverTheirThreadsAreAt) {
  ClientProcess processes[] = {ClientProcess("exit-at-work"), ClientProcess("exit-at-work"),
                               ClientProcess("exit-at-work"), ClientProcess("exit-at-work")};
  for (ClientProcess& process : processes) ExpectEnd(process);
}

}  // namespace
}  // namespace qmzentrel::clients
