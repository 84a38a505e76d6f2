// Processes of clients that end without a word: in the middle of a count-down or a command.
#include <memory>
#include <string>
#include <vector>

#include "tests/clients/box_client.h"
#include "tests/clients/box_crowd.h"
#include "tests/clients/client_process.h"
#include "tests/clients/event_sink.h"
#include "tests/clients/other_apartment.h"
#include "tests/clients/registered_library.h"
#include "tests/clients/test_catalog.h"

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

// What a library holds that ends after the component: the only pointer to an object, and more.
struct LeftToTheEnd {
  _Zentrel* object;
  IConnectionPoint* events;
  EventSink* sink;
  DWORD cookie;
  IEnumConnectionPoints* points;
  IClassFactory* factory;
  DISPID reading;
};
LeftToTheEnd g_left{};

// Nothing that raises an error: the start-up code of this program has ended, too.
void Demand(bool fulfilled, UINT otherwise) {
  if (!fulfilled) TerminateProcess(GetCurrentProcess(), otherwise);
}

HRESULT InvokeAtEnd(WORD flags, HRESULT& reason) {
  VARIANT value{};
  V_VT(&value) = VT_I4;
  DISPID let = DISPID_PROPERTYPUT;
  DISPPARAMS parameters{&value, &let, 1, 1};
  if (flags == DISPATCH_PROPERTYGET) parameters = {};
  VARIANT answered{};
  EXCEPINFO info{};
  const HRESULT result = g_left.object->Invoke(g_left.reading, IID_NULL, kEnglish, flags,
                                               &parameters, &answered, &info, nullptr);
  reason = info.scode;
  return result;
}

void UseMembersAtEnd() {
  auto status = S_OKAY;
  LONG signature = 0;
  Demand(g_left.object->BoxStatus(&status) == RPC_E_DISCONNECTED, 80);
  Demand(g_left.object->get_ZentrelSignature(99, &signature) == RPC_E_DISCONNECTED, 81);
  constexpr WORD kBoth[] = {DISPATCH_PROPERTYGET, DISPATCH_PROPERTYPUT};
  for (const WORD flags : kBoth) {
    HRESULT reason = S_OK;
    Demand(InvokeAtEnd(flags, reason) == DISP_E_EXCEPTION, 82);
    Demand(reason == RPC_E_DISCONNECTED, 83);
  }
}

void UseTheRestAtEnd() {
  Demand(g_left.events->Unadvise(g_left.cookie) == S_OK, 84);
  Demand(g_left.sink->References() == 1, 85);
  Demand(g_left.events->Advise(g_left.sink, &g_left.cookie) == RPC_E_DISCONNECTED, 86);
  Demand(g_left.sink->References() == 1, 87);
  IEnumConnections* connections = nullptr;
  Demand(g_left.events->EnumConnections(&connections) == RPC_E_DISCONNECTED, 88);
  IConnectionPoint* point = nullptr;
  Demand(g_left.points->Next(1, &point, nullptr) == S_OK && point == g_left.events, 89);
  point->Release();
  void* another = nullptr;
  Demand(g_left.factory->CreateInstance(nullptr, IID__Zentrel, &another) == RPC_E_DISCONNECTED, 90);
}

void LetGoAtEnd() {
  UseMembersAtEnd();
  UseTheRestAtEnd();
  g_left.factory->Release();
  g_left.points->Release();
  g_left.events->Release();
  Demand(g_left.object->Release() == 0, 91);
}

// Pointers that nobody owns: what owns would end before the component.
bool LeaveToTheEnd(_Zentrel* object) {
  g_left.object = object;
  object->AddRef();
  g_left.reading = IdOf(object, L"Reading");
  g_left.sink = new EventSink;
  const auto container = As<IConnectionPointContainer>(object, IID_IConnectionPointContainer);
  return container && SUCCEEDED(container->FindConnectionPoint(DIID___Zentrel, &g_left.events)) &&
         SUCCEEDED(g_left.events->Advise(g_left.sink, &g_left.cookie)) &&
         SUCCEEDED(container->EnumConnectionPoints(&g_left.points)) &&
         SUCCEEDED(CoGetClassObject(CLSID_Zentrel, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory,
                                    reinterpret_cast<void**>(&g_left.factory)));
}

using AtProcessEnd = void (*)(void (*)());

// Null without the library.
AtProcessEnd LibraryThatEndsLast() {
  const HMODULE plugin = LoadLibraryA("ending_plugin.dll");
  return reinterpret_cast<AtProcessEnd>(
      reinterpret_cast<void*>(GetProcAddress(plugin, "AtProcessEnd")));
}

int PlayReleaseAtEnd(const std::vector<std::string>& /*arguments*/) {
  const AtProcessEnd at_process_end = LibraryThatEndsLast();
  if (at_process_end == nullptr) return 7;
  const auto client = OpenClient();
  if (client == nullptr || client->BoxStatus() != S_OKAY) return 2;
  client->Let(&_Zentrel::put_PowerManagement, true);
  if (!LeaveToTheEnd(client->Object())) return 9;
  at_process_end(LetGoAtEnd);
  return kAsWanted;
}
const ClientPart kReleaseAtEnd("release-at-end", PlayReleaseAtEnd);

HWND g_dialog = nullptr;

// As a message box would that another library shows in its end.
void TellDialogAtEnd() {
  SendMessageW(g_dialog, WM_CLOSE, 0, 0);
  Demand(IsWindowVisible(g_dialog) != FALSE, 92);
}

__attribute__((force_align_arg_pointer)) void CALLBACK EndUnderDialog(HWND /*window*/,
                                                                      UINT /*message*/,
                                                                      UINT_PTR /*id*/,
                                                                      DWORD /*time*/) {
  g_dialog = FindWindowW(nullptr, L"Zentrel Simulator - Read");
  if (g_dialog != nullptr && IsWindowVisible(g_dialog) != FALSE) ExitProcess(kAsWanted);
}

int PlayEndUnderDialog(const std::vector<std::string>& /*arguments*/) {
  const AtProcessEnd at_process_end = LibraryThatEndsLast();
  if (at_process_end == nullptr) return 7;
  if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 2;
  BoxClient client(CreatedZentrel());
  at_process_end(TellDialogAtEnd);
  SetTimer(nullptr, 0, 50, EndUnderDialog);
  client.Read();
  return 3;
}
const ClientPart kEndUnderDialog("end-under-dialog", PlayEndUnderDialog);

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

TEST_F(EndingProcesses, LeaveTheSimulatorsDialogAsItIsInTheirVeryEnd) {
  FilledTestCatalog catalog;
  catalog.Simulator(true);
  ClientProcess process("end-under-dialog");
  ExpectEnd(process);
}

TEST_F(EndingProcesses, EndWhateverTheirThreadsAreAt) {
  ClientProcess processes[] = {ClientProcess("exit-at-work"), ClientProcess("exit-at-work"),
                               ClientProcess("exit-at-work"), ClientProcess("exit-at-work")};
  for (ClientProcess& process : processes) ExpectEnd(process);
}

}  // namespace
}  // namespace qmzentrel::clients
