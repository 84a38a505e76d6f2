// A client that asks for the class in whatever place the system has it: compiled for 64 bits it
// gets the system's surrogate process, for 32 bits the library in its own. Its script registers and
// fills the catalog.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "QmZentrel_h.h"
#include "platform/win32/com_pointer.h"
#include "platform/win32/handle.h"
#include "tests/automation/scripted_object.h"
#include "tests/clients/com_client.h"
#include "tests/clients/event_sink.h"
#include "tests/clients/message_pump.h"
#include "tests/com_box/played_box.h"
#include "tests/surrogate/surrogates.h"
#include "tools/virtual_box/control_client.h"
#include "tools/virtual_box/environment.h"

namespace qmzentrel::clients {
namespace {

using com_box::PlayedBox;

constexpr HRESULT kReportedFault = static_cast<HRESULT>(0x800AFFFF);
constexpr bool kWide = sizeof(void*) == 8;
constexpr DWORD kPatienceMs = 30000;

HRESULT Create(ComPointer<_Zentrel>& object, DWORD context = CLSCTX_ALL) {
  return CoCreateInstance(CLSID_Zentrel, nullptr, context, IID__Zentrel, object.ReceiveVoid());
}

short Port() {
  return static_cast<short>(std::atoi(std::getenv("QMZ_PORT")));
}

bool IsWine() {
  return GetProcAddress(GetModuleHandleW(L"ntdll"), "wine_get_version") != nullptr;
}

// What the system answers for a process that has gone: which of them depends on the moment.
bool IsOfAGoneServer(HRESULT result) {
  constexpr std::array kAnswers = {HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE),
                                   HRESULT_FROM_WIN32(RPC_S_CALL_FAILED),
                                   HRESULT_FROM_WIN32(RPC_S_CALL_FAILED_DNE),
                                   RPC_E_DISCONNECTED,
                                   RPC_E_SERVER_DIED,
                                   RPC_E_SERVER_DIED_DNE,
                                   CO_E_OBJNOTCONNECTED};
  return std::ranges::find(kAnswers, result) != kAnswers.end();
}

void ExpectOfAGoneServer(const char* call, HRESULT result, HRESULT under_wine) {
  EXPECT_TRUE(IsOfAGoneServer(result)) << call << ": " << std::hex << result;
  if (IsWine()) {
    EXPECT_EQ(result, under_wine) << call;
  } else {
    std::printf("%s: 0x%08lX\n", call, static_cast<unsigned long>(result));
  }
}

// `create` with no surrogate there. Right after one has been ended the system may send the client
// to it once more.
HRESULT InNewSurrogate(const std::function<HRESULT()>& create) {
  EndSurrogates();
  HRESULT result = E_UNEXPECTED;
  int attempts = 0;
  PumpUntil(
      [&] {
        ++attempts;
        result = create();
        return !IsOfAGoneServer(result) && result != CO_E_SERVER_EXEC_FAILURE;
      },
      kPatienceMs);
  if (attempts > 1) std::printf("A new object only at attempt %d\n", attempts);
  return result;
}

HRESULT CreateInNewSurrogate(ComPointer<_Zentrel>& object) {
  return InNewSurrogate([&] { return Create(object); });
}

// A box for commands, and one that hears nothing.
PlayedBox AnsweringBox() {
  return PlayedBox({"set startup-ms 0", "message 8 1234", "message 9 5678"});
}
PlayedBox SilentBox() {
  return PlayedBox({"silence 100"});
}

// Whether the box, whoever plays it, has been sent a command since this was made.
class HeardByBox {
 public:
  explicit HeardByBox(const PlayedBox& box) {
    const std::uint16_t port =
        box.ControlPort() != 0
            ? box.ControlPort()
            : virtual_box::NumberFromEnvironment("QMZ_BOX_CONTROL").value_or(std::uint16_t{0});
    EXPECT_TRUE(control_.Connect(port));
    EXPECT_TRUE(control_.Command("log-clear").ok);
  }
  bool Await() {
    const std::string patience = std::to_string(kPatienceMs);
    return control_.Command("wait-frames 1 " + patience, std::chrono::milliseconds{2 * kPatienceMs})
        .ok;
  }

 private:
  virtual_box::ControlClient control_;
};

// --- Where the object is ---

// Else there would be two of them, and the tests would end somebody's.
TEST(SurrogateOfOthers, IsNotThere) {
  EXPECT_EQ(LibrariesOfSurrogates(), std::set<std::wstring>{});
}

// One that runs may serve on, whatever is registered.
TEST(SurrogateUnregistered, IsNoClass) {
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  EndSurrogates();
  HRESULT result = E_UNEXPECTED;
  PumpUntil(
      [&] {
        ComPointer<_Zentrel> object;
        result = Create(object);
        return result == REGDB_E_CLASSNOTREG;
      },
      kPatienceMs);
  EXPECT_EQ(result, REGDB_E_CLASSNOTREG);
}

std::string ApartmentName(const testing::TestParamInfo<DWORD>& kind) {
  return kind.param == COINIT_MULTITHREADED ? "Multi" : "Single";
}

// In a single-threaded apartment and in the multithreaded one.
class SurrogateClient : public testing::TestWithParam<DWORD> {
 protected:
  SurrogateClient() { EXPECT_EQ(CoInitializeEx(nullptr, GetParam()), S_OK); }
  ~SurrogateClient() override {
    object.Reset();
    CoUninitialize();
  }
  void SetUp() override { ASSERT_EQ(Create(object), S_OK); }

  ComPointer<_Zentrel> object;
};
INSTANTIATE_TEST_SUITE_P(Apartments, SurrogateClient,
                         testing::Values(COINIT_APARTMENTTHREADED, COINIT_MULTITHREADED),
                         ApartmentName);

TEST_P(SurrogateClient, HasTheLibraryInItsOwnProcessExactlyWhereThatCanBe) {
  EXPECT_EQ(GetModuleHandleW(L"QmZentrel.dll") != nullptr, !kWide);
  if (kWide) {
    const std::set<std::wstring> files = LibrariesOfSurrogates();
    EXPECT_FALSE(files.empty());
    for (const std::wstring& file : files) EXPECT_TRUE(IsSameFile(file, LibraryPath())) << file;
  }
}

TEST_P(SurrogateClient, SetsAndReadsProperties) {
  ASSERT_EQ(object->put_Util(17), S_OK);
  LONG util = 0;
  EXPECT_EQ(object->get_Util(&util), S_OK);
  EXPECT_EQ(util, 17);
  EXPECT_EQ(Let(object.Get(), L"Util", Value::Short(42)).result, S_OK);
  EXPECT_EQ(Get(object.Get(), L"Util").value.AsLong(), 42);
  VARIANT_BOOL toggle = VARIANT_FALSE;
  EXPECT_EQ(object->put_IDToggle(VARIANT_TRUE), S_OK);
  EXPECT_EQ(object->get_IDToggle(&toggle), S_OK);
  EXPECT_EQ(toggle, VARIANT_TRUE);
}

TEST_P(SurrogateClient, GetsTheTextOfAStatus) {
  BSTR text = nullptr;
  ASSERT_EQ(object->Status(static_cast<ZentrelStatus>(1), &text), S_OK);
  EXPECT_EQ(Taken(text), L"Timeout");
  EXPECT_EQ(Call(object.Get(), L"Status", {Value::Long(1)}).value.AsText(), L"Timeout");
}

TEST_P(SurrogateClient, GetsAnErrorWithSourceAndDescription) {
  Value identifiers = Value::LongArray({8});
  Value data = Value::LongArray({1});
  const Outcome late =
      Call(object.Get(), L"TELIC2Read",
           {Value::Long(2), Value::ReferenceTo(identifiers), Value::ReferenceTo(data)});
  EXPECT_EQ(late.result, DISP_E_EXCEPTION);
  EXPECT_EQ(late.scode, kReportedFault);
  EXPECT_EQ(late.source, L"QmZentrel");
  EXPECT_FALSE(late.description.empty());
  // Early bound the code; not every system carries the words across.
  SAFEARRAY* none = nullptr;
  ZentrelStatus status{};
  EXPECT_EQ(object->TELIC2Read(1, &none, &none, &status), kReportedFault);
}

TEST_P(SurrogateClient, HasItsComboBoxFilled) {
  std::vector<std::wstring> items;
  automation::ScriptedObject box;
  using Use = automation::ScriptedObject::Use;
  box.members = {
      {L"Clear",
       [&](const Use&) {
         items.clear();
         return S_OK;
       }},
      {L"AddItem",
       [&](const Use& use) {
         items.emplace_back(use.Text(0));
         return S_OK;
       }},
      {L"NewIndex",
       [&](const Use& use) { return use.GiveShort(static_cast<LRESULT>(items.size()) - 1); }},
      {L"ItemData", [](const Use& use) { return use.IsLet() ? S_OK : use.GiveShort(0); }},
      {L"ListCount",
       [&](const Use& use) { return use.GiveShort(static_cast<LRESULT>(items.size())); }},
      {L"ListIndex", [](const Use&) { return S_OK; }}};
  IDispatch* argument = &box;
  VARIANT_BOOL done = VARIANT_FALSE;
  EXPECT_EQ(object->TELIC2EnumMessages(&argument, 8, &done), S_OK);
  EXPECT_EQ(done, VARIANT_TRUE);
  EXPECT_GT(items.size(), 1u);
}

// An attached sink, detached as it goes.
class Attached {
 public:
  explicit Attached(_Zentrel* object) {
    const auto container = As<IConnectionPointContainer>(object, IID_IConnectionPointContainer);
    EXPECT_EQ(container->FindConnectionPoint(DIID___Zentrel, point_.Receive()), S_OK);
    EXPECT_EQ(point_->Advise(sink_.Get(), &cookie_), S_OK);
  }
  ~Attached() { EXPECT_EQ(point_->Unadvise(cookie_), S_OK); }
  Attached(const Attached&) = delete;
  Attached& operator=(const Attached&) = delete;

  std::vector<bool>& States() { return sink_.Get()->states; }
  /// Those since the last time.
  std::vector<bool> Taken() { return std::exchange(States(), {}); }
  void DoOnEvent(std::function<void()> action) {
    sink_.Get()->on_event = [action = std::move(action)](EventSink&, EXCEPINFO*) {
      action();
      return S_OK;
    };
  }

 private:
  static ComPointer<EventSink> NewSink() {
    ComPointer<EventSink> sink;
    *sink.Receive() = new EventSink;
    return sink;
  }
  ComPointer<EventSink> sink_ = NewSink();
  ComPointer<IConnectionPoint> point_;
  DWORD cookie_ = 0;
};

TEST_P(SurrogateClient, GetsTheEventsOfTheSupplyAndOfItsCountDown) {
  Attached sink(object.Get());
  EXPECT_EQ(object->put_PowerManagement(VARIANT_FALSE), S_OK);
  EXPECT_EQ(sink.States(), std::vector<bool>{true});
  EXPECT_EQ(object->put_PowerManagement(VARIANT_TRUE), S_OK);
  EXPECT_EQ(object->put_PowerTimeout(1), S_OK);
  const std::size_t before = sink.States().size();
  EXPECT_EQ(object->put_Power(VARIANT_FALSE), S_OK);
  // No call of the client's any more: its object counts by itself.
  EXPECT_TRUE(PumpUntil([&] { return sink.States().size() > before; }, kPatienceMs));
  EXPECT_FALSE(sink.States().back());
}

// --- With a box ---

// An object in the client's own process has to raise the same ones.
TEST_P(SurrogateClient, WorksABoxWithEventsThatCallItAgain) {
  const PlayedBox box = AnsweringBox();
  using States = std::vector<bool>;
  Attached sink(object.Get());
  std::atomic<int> answered{0};
  sink.DoOnEvent([&] {
    LONG util = 0;
    if (object->get_Util(&util) == S_OK) ++answered;
  });
  ZentrelStatus status{};
  ASSERT_EQ(object->DeviceOpen(Port(), VARIANT_TRUE, &status), S_OK);
  ASSERT_EQ(status, 0);
  EXPECT_EQ(sink.Taken(), (States{true, true, false}));
  EXPECT_EQ(object->BoxStatus(&status), S_OK);
  EXPECT_EQ(sink.Taken(), (States{true, false}));
  EXPECT_EQ(object->ReadXpdr(&status), S_OK);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(sink.Taken(), (States{true, false, true, false})) << "of both blocks";
  EXPECT_EQ(object->put_PowerManagement(VARIANT_TRUE), S_OK);
  EXPECT_EQ(object->put_PowerTimeout(1), S_OK);
  EXPECT_EQ(object->ResetXpdr(&status), S_OK);
  EXPECT_EQ(status, 0);
  // The supply is on still, and goes off in no call of the client's.
  EXPECT_TRUE(PumpUntil([&] { return answered == 10; }, kPatienceMs));
  EXPECT_EQ(sink.Taken(), States{false});
  EXPECT_EQ(object->ResetXpdr(&status), S_OK);
  // The second may go by on a busy machine before the call has come back.
  EXPECT_TRUE(PumpUntil([&] { return answered == 12; }, kPatienceMs));
  EXPECT_EQ(sink.Taken(), (States{true, false}));
  EXPECT_EQ(object->DeviceClose(&status), S_OK);
}

TEST_P(SurrogateClient, WorksABoxWithArraysThereAndBack) {
  const PlayedBox box = AnsweringBox();
  ZentrelStatus status{};
  ASSERT_EQ(object->DeviceOpen(Port(), VARIANT_TRUE, &status), S_OK);
  ASSERT_EQ(status, 0);
  ASSERT_EQ(object->DeviceInit(&status), S_OK);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(object->ReadXpdr(&status), S_OK);
  EXPECT_EQ(status, 0);
  Value identifiers = Value::LongArray({8, 9});
  Value written = Value::LongArray({0x1234, 0x5678});
  Outcome outcome =
      Call(object.Get(), L"TELIC2Write",
           {Value::Long(2), Value::ReferenceTo(identifiers), Value::ReferenceTo(written)});
  EXPECT_EQ(outcome.value.AsLong(), 0);
  SAFEARRAY* messages = V_ARRAY(&identifiers.Raw());
  Value read = Value::LongArray({-1, -1});
  SAFEARRAY* data = V_ARRAY(&read.Raw());
  EXPECT_EQ(object->TELIC2Read(2, &messages, &data, &status), S_OK);
  V_ARRAY(&read.Raw()) = data;
  V_ARRAY(&identifiers.Raw()) = messages;
  EXPECT_EQ(status, 0);
  for (LONG i = 0; i < 2; ++i) {
    LONG number = 0;
    EXPECT_EQ(SafeArrayGetElement(data, &i, &number), S_OK);
    EXPECT_EQ(number, i == 0 ? 0x1234 : 0x5678);
  }
  EXPECT_EQ(object->DeviceClose(&status), S_OK);
}

struct Work {
  _Zentrel* object;
  std::atomic<bool> ended{false};
  ZentrelStatus status{};
};

DWORD WINAPI Write(void* argument) {
  auto& work = *static_cast<Work*>(argument);
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  work.object->WriteXpdr(&work.status);
  work.ended = true;
  CoUninitialize();
  return 0;
}

// Of one class, so that they are in one process under Wine, too.
class SurrogateObjects : public testing::Test {
 protected:
  SurrogateObjects() { EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK); }
  ~SurrogateObjects() override {
    factory.Reset();
    CoUninitialize();
  }
  void SetUp() override {
    ASSERT_EQ(InNewSurrogate([this] {
                return CoGetClassObject(CLSID_Zentrel, CLSCTX_LOCAL_SERVER, nullptr,
                                        IID_IClassFactory, factory.ReceiveVoid());
              }),
              S_OK);
  }
  ComPointer<_Zentrel> NewObject() {
    ComPointer<_Zentrel> object;
    EXPECT_EQ(factory->CreateInstance(nullptr, IID__Zentrel, object.ReceiveVoid()), S_OK);
    return object;
  }

  ComPointer<IClassFactory> factory;
};

TEST_F(SurrogateObjects, DoNotHoldEachOtherUpWhileOneWaitsForABox) {
  const PlayedBox box = SilentBox();
  ComPointer<_Zentrel> waiting = NewObject();
  ComPointer<_Zentrel> other = NewObject();
  EXPECT_EQ(Surrogates().size(), 1U);
  ZentrelStatus status{};
  ASSERT_EQ(waiting->DeviceOpen(Port(), VARIANT_TRUE, &status), S_OK);
  ASSERT_EQ(status, 0);

  HeardByBox command(box);
  Work work{waiting.Get()};
  const HANDLE thread = CreateThread(nullptr, 0, Write, &work, 0, nullptr);
  EXPECT_TRUE(command.Await());
  LONG util = -1;
  EXPECT_EQ(other->put_Util(5), S_OK);
  EXPECT_EQ(other->get_Util(&util), S_OK);
  EXPECT_EQ(util, 5);
  EXPECT_FALSE(work.ended) << "the other object has waited for it";
  EXPECT_EQ(WaitForSingleObject(thread, kPatienceMs), WAIT_OBJECT_0);
  CloseHandle(thread);
  EXPECT_EQ(work.status, 1);
  waiting->DeviceClose(&status);
  waiting.Reset();
  EXPECT_EQ(other->get_Util(&util), S_OK);
}

// Some threads of the system's may have come.
TEST_F(SurrogateObjects, TakeTheirThreadsWithThem) {
  constexpr int kObjects = 20;
  ComPointer<_Zentrel> other = NewObject();
  const std::set<DWORD> surrogates = Surrogates();
  ASSERT_EQ(surrogates.size(), 1U);
  const DWORD surrogate = *surrogates.begin();
  const std::size_t threads = ThreadsOf(surrogate);
  ASSERT_GT(threads, 0U);
  LONG util = 0;
  std::vector<ComPointer<_Zentrel>> crowd;
  for (int i = 0; i < kObjects; ++i) {
    crowd.push_back(NewObject());
    EXPECT_EQ(crowd.back()->get_Util(&util), S_OK);
  }
  EXPECT_GE(ThreadsOf(surrogate), threads + kObjects) << "each has one of its own";
  crowd.clear();
  EXPECT_TRUE(PumpUntil([&] { return ThreadsOf(surrogate) < threads + kObjects / 2; }, kPatienceMs))
      << threads << " have become " << ThreadsOf(surrogate);
}

// --- The process ends ---

class SurrogateProcess : public SurrogateClient {
 protected:
  void SetUp() override {
    ASSERT_EQ(CreateInNewSurrogate(object), S_OK);
    const std::set<DWORD> found = Surrogates();
    ASSERT_EQ(found.size(), 1U);
    surrogate = *found.begin();
  }
  void ExpectThatANewOneWorks() {
    object.Reset();
    ASSERT_EQ(CreateInNewSurrogate(object), S_OK);
    LONG util = 0;
    EXPECT_EQ(object->put_Util(9), S_OK);
    EXPECT_EQ(object->get_Util(&util), S_OK);
    EXPECT_EQ(util, 9);
  }

  DWORD surrogate = 0;
};
INSTANTIATE_TEST_SUITE_P(Apartments, SurrogateProcess,
                         testing::Values(COINIT_APARTMENTTHREADED, COINIT_MULTITHREADED),
                         ApartmentName);

// A command that waits some ten seconds for a box that does not answer, in a surrogate that has
// come when another had been ended: what returns before it does has waited for nothing. Its thread
// has an apartment of its own, whatever that of the test is.
class LongWait {
 public:
  LongWait() : LongWait(0, nullptr) {}
  /// It ends that surrogate first, as soon as its box has heard a command.
  LongWait(DWORD surrogate, HeardByBox* command)
      : surrogate_(surrogate),
        command_(command),
        thread_(CreateThread(nullptr, 0, Run, this, 0, nullptr)) {}
  ~LongWait() { Join(); }
  LongWait(const LongWait&) = delete;
  LongWait& operator=(const LongWait&) = delete;

  bool AwaitBegin() const {
    return PumpUntil([this] { return begun_.load(); }, kPatienceMs);
  }
  /// Ends it with its surrogate. False when the command had returned by itself.
  bool WasStillOn() {
    EXPECT_TRUE(AwaitBegin());
    EndSurrogates();
    Join();
    return IsOfAGoneServer(result_);
  }

 private:
  static DWORD WINAPI Run(void* wait) {
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    static_cast<LongWait*>(wait)->Wait();
    CoUninitialize();
    return 0;
  }
  void Wait() {
    if (command_ != nullptr) {
      EXPECT_TRUE(command_->Await());
      EndSurrogate(surrogate_);
    }
    ComPointer<_Zentrel> object;
    EXPECT_EQ(CreateInNewSurrogate(object), S_OK);
    if (!object) return;
    ZentrelStatus status{};
    EXPECT_EQ(object->DeviceOpen(Port(), VARIANT_TRUE, &status), S_OK);
    EXPECT_EQ(status, 0);
    begun_ = true;
    result_ = object->ReadXpdr(&status);
  }
  void Join() const { EXPECT_EQ(WaitForSingleObject(thread_.Get(), kPatienceMs), WAIT_OBJECT_0); }

  DWORD surrogate_;
  HeardByBox* command_;
  std::atomic<bool> begun_{false};
  HRESULT result_ = E_UNEXPECTED;
  platform::OwnedHandle thread_;
};

TEST_P(SurrogateProcess, KilledIsNoticedAtOnceAndReplaced) {
  const PlayedBox box = SilentBox();
  EndSurrogate(surrogate);
  LongWait wait;
  ASSERT_TRUE(wait.AwaitBegin());
  LONG util = 0;
  constexpr HRESULT kGone = HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE);
  ExpectOfAGoneServer("A call after the end", object->get_Util(&util), kGone);
  ExpectOfAGoneServer("A late-bound one", Get(object.Get(), L"Util").result, kGone);
  EXPECT_TRUE(wait.WasStillOn());
  ExpectThatANewOneWorks();
}

// Without its end the command lasts as long as the one that begins after it.
TEST_P(SurrogateProcess, KilledWhileACommandWaitsForABoxEndsTheCall) {
  const PlayedBox box = SilentBox();
  ZentrelStatus status{};
  ASSERT_EQ(object->DeviceOpen(Port(), VARIANT_TRUE, &status), S_OK);
  ASSERT_EQ(status, 0);
  HeardByBox command(box);
  LongWait wait(surrogate, &command);
  ExpectOfAGoneServer("A call that waits meanwhile", object->ReadXpdr(&status),
                      HRESULT_FROM_WIN32(RPC_S_CALL_FAILED));
  EXPECT_TRUE(wait.WasStillOn());
  LONG util = 0;
  ExpectOfAGoneServer("A call after it", object->get_Util(&util),
                      HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE));
  ExpectThatANewOneWorks();
  // What the process had open is free again.
  EXPECT_EQ(object->DeviceOpen(Port(), VARIANT_TRUE, &status), S_OK);
  EXPECT_EQ(status, 0);
}

// --- What comes up ---

struct Sight {
  std::wstring title;
  int button;
  bool came = false;
  bool is_above_all = false;
  bool is_above_client = false;
  bool is_in_front = false;
  bool may_be_in_front = false;
  HWND client = nullptr;
};

// From top to bottom.
bool StandsAbove(HWND upper, HWND lower) {
  for (HWND window = GetTopWindow(nullptr); window != nullptr;
       window = GetWindow(window, GW_HWNDNEXT)) {
    if (window == upper) return true;
    if (window == lower) return false;
  }
  return false;
}

DWORD WINAPI LookAndPress(void* argument) {
  auto& sight = *static_cast<Sight*>(argument);
  HWND window = nullptr;
  for (DWORD waited = 0; waited < kPatienceMs; waited += 50) {
    window = FindWindowW(L"#32770", sight.title.c_str());
    if (window != nullptr && IsWindowVisible(window) != FALSE) break;
    window = nullptr;
    Sleep(50);
  }
  if (window == nullptr) return 1;
  sight.came = true;
  // It takes its place a moment after it has come up.
  for (DWORD waited = 0; waited < kPatienceMs; waited += 50) {
    sight.is_above_all = (GetWindowLongW(window, GWL_EXSTYLE) & WS_EX_TOPMOST) != 0;
    sight.is_above_client = StandsAbove(window, sight.client);
    sight.is_in_front = GetForegroundWindow() == window;
    if (sight.is_above_client && (sight.is_in_front || !sight.may_be_in_front)) break;
    Sleep(50);
  }
  PostMessageW(GetDlgItem(window, sight.button), BM_CLICK, 0, 0);
  return 0;
}

// What stands on the screen while `call` of `object` runs in a client with a window, which passes
// on that it is in front, if it is: the user of a real screen may be at work elsewhere.
Sight SightDuring(_Zentrel* object, const std::wstring& title, int button,
                  const std::function<void()>& call) {
  Sight sight{.title = title, .button = button};
  sight.client = CreateWindowExW(0, L"STATIC", L"A client", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0,
                                 700, 500, nullptr, nullptr, nullptr, nullptr);
  SetForegroundWindow(sight.client);
  sight.may_be_in_front =
      GetForegroundWindow() == sight.client && CoAllowSetForegroundWindow(object, nullptr) == S_OK;
  const HANDLE user = CreateThread(nullptr, 0, LookAndPress, &sight, 0, nullptr);
  call();
  EXPECT_EQ(WaitForSingleObject(user, kPatienceMs), WAIT_OBJECT_0);
  CloseHandle(user);
  DestroyWindow(sight.client);
  return sight;
}

void ExpectAboveTheClient(const Sight& sight) {
  EXPECT_TRUE(sight.came);
  EXPECT_TRUE(sight.is_above_client);
  if (!sight.may_be_in_front && !IsWine()) {
    std::printf("The client was not in front, and its picture %s\n",
                sight.is_in_front ? "is" : "is not, either");
    return;
  }
  EXPECT_TRUE(sight.is_in_front);
}

TEST(SurrogateDialog, OfTheSimulatorComesUpAboveTheClientAndEndsTheCall) {
  ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
  ComPointer<_Zentrel> object;
  ASSERT_EQ(CreateInNewSurrogate(object), S_OK);
  ZentrelStatus status{};
  constexpr int kNoTransponder = 1001;
  const Sight sight = SightDuring(object.Get(), L"Zentrel Simulator - Read", kNoTransponder,
                                  [&] { EXPECT_EQ(object->ReadXpdr(&status), S_OK); });
  ExpectAboveTheClient(sight);
  EXPECT_TRUE(sight.is_above_all);
  EXPECT_NE(status, 0);
  object.Reset();
  CoUninitialize();
}

// Whether it is above all is the system's to say: the one under test leaves that wish alone.
TEST(SurrogateBox, AboutAFaultComesUpAboveTheClientAndEndsTheCall) {
  ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
  ComPointer<_Zentrel> object;
  ASSERT_EQ(CreateInNewSurrogate(object), S_OK);
  SAFEARRAY* none = nullptr;
  ZentrelStatus status{};
  ExpectAboveTheClient(SightDuring(object.Get(), L"Application Error", IDOK, [&] {
    EXPECT_EQ(object->TELIC2Read(1, &none, &none, &status), kReportedFault);
  }));
  object.Reset();
  CoUninitialize();
}

// --- The last object has gone ---

// The clients before have ended, and their objects with them.
TEST(SurrogateEnd, ComesWithoutAnyObject) {
  constexpr DWORD kLongMs = 60000;
  if (IsWine()) EndSurrogates();  // which ends none by itself
  const ULONGLONG begun = GetTickCount64();
  EXPECT_TRUE(PumpUntil([] { return Surrogates().empty(); }, kLongMs));
  std::printf("No surrogate any more after %llu ms\n", GetTickCount64() - begun);
  EndSurrogates();
}

}  // namespace
}  // namespace qmzentrel::clients
