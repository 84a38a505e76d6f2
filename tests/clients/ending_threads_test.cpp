// Threads that end with objects of theirs alive, and objects that are released from elsewhere.
#include <string>
#include <vector>

#include "tests/clients/box_client.h"
#include "tests/clients/box_crowd.h"
#include "tests/clients/client_process.h"
#include "tests/clients/message_pump.h"
#include "tests/clients/other_apartment.h"
#include "tests/clients/registered_library.h"
#include "tests/clients/seen_supply.h"

namespace qmzentrel::clients {
namespace {

constexpr DWORD kThreadPatienceMs = 30000;

// Opens the box and lets the supply count down for longer than any test.
void OpenAndCountDown(_Zentrel& object, std::int32_t port) {
  auto status = S_BAD_DATA;
  EXPECT_EQ(object.DeviceOpen(port, VARIANT_TRUE, &status), S_OK);
  EXPECT_EQ(status, S_OKAY);
  EXPECT_EQ(object.put_PowerManagement(VARIANT_TRUE), S_OK);
}

// Ends with its apartment as it stands.
struct CarelessThread {
  std::int32_t port;
  _Zentrel* object;     // its only reference
  IStream* marshalled;  // null when nobody has asked for it
  bool marshals;
};

__attribute__((force_align_arg_pointer)) DWORD WINAPI RunCareless(void* argument) {
  auto& thread = *static_cast<CarelessThread*>(argument);
  EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
  thread.object = CreatedZentrel().Detach();
  if (thread.object == nullptr) return 1;
  OpenAndCountDown(*thread.object, thread.port);
  if (thread.marshals) {
    EXPECT_EQ(
        CoMarshalInterThreadInterfaceInStream(IID__Zentrel, thread.object, &thread.marshalled),
        S_OK);
  }
  return 0;
}

CarelessThread RunCarelessThread(bool marshals) {
  CarelessThread thread{CrowdPort(0), nullptr, nullptr, marshals};
  const platform::OwnedHandle handle(CreateThread(nullptr, 0, RunCareless, &thread, 0, nullptr));
  EXPECT_TRUE(PumpUntilSignalled(handle.Get(), kThreadPatienceMs)) << "the thread hangs";
  EXPECT_NE(thread.object, nullptr);
  return thread;
}

// Exit codes of the process below.
constexpr int kCallFailed = 43;
constexpr int kCallSucceeded = 44;

// In a process of its own, since the system keeps what such a thread has left in its marshaller.
int PlayProxyOfEndedThread(const std::vector<std::string>& /*arguments*/) {
  if (FAILED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) return 1;
  IStream* const stream = RunCarelessThread(true).marshalled;
  if (stream == nullptr) return 2;
  ComPointer<_Zentrel> proxy;
  if (FAILED(CoGetInterfaceAndReleaseStream(stream, IID__Zentrel, proxy.ReceiveVoid()))) {
    proxy.Detach();
    return kCallFailed;
  }
  auto status = S_BAD_DATA;
  return FAILED(proxy->BoxStatus(&status)) ? kCallFailed : kCallSucceeded;
}
const ClientPart kProxyOfEndedThread("proxy-of-ended-thread", PlayProxyOfEndedThread);

class EndingThreads : public WithRegisteredLibrary {
 protected:
  // Threads and timers of the system have numbers that come up again.
  static void ExpectACountDownToWork(int place) {
    OtherApartment(COINIT_APARTMENTTHREADED, [place] {
      BoxClient client;
      ASSERT_EQ(client.Open(CrowdPort(place), true), S_OKAY);
      client.Let(&_Zentrel::put_PowerTimeout, 1);
      client.Let(&_Zentrel::put_PowerManagement, true);
      const std::size_t events = client.Events().size();
      EXPECT_TRUE(PumpUntil([&] { return client.Events().size() > events; }, kThreadPatienceMs));
    }).Join();
  }

  CrowdBox box{0};
};

TEST_F(EndingThreads, LeaveAnObjectThatAnyOtherThreadMayStillRelease) {
  const CarelessThread thread = RunCarelessThread(false);
  // The place of the first is taken.
  if (CrowdSize() > 1) ExpectACountDownToWork(1);
  EXPECT_TRUE(HasSeenSupply(box, {"on"})) << "nobody is left to let go of the box";
  EXPECT_EQ(thread.object->Release(), 0U);
  EXPECT_TRUE(HasSeenSupply(box, {"on", "off"}));
  ExpectACountDownToWork(0);
}

TEST_F(EndingThreads, EndTheCallsOfThoseWhoHoldTheObjectFromElsewhere) {
  ClientProcess process("proxy-of-ended-thread");
  EXPECT_EQ(process.ExitCode(), static_cast<DWORD>(kCallFailed));
}

TEST_F(EndingThreads, LetGoOfTheBoxWhenTheyEndTheirApartment) {
  OtherApartment(COINIT_APARTMENTTHREADED, [] {
    const auto object = CreatedZentrel();
    OpenAndCountDown(*object.Get(), CrowdPort(0));
  }).Join();
  EXPECT_TRUE(HasSeenSupply(box, {"on", "off"}));
}

TEST_F(EndingThreads, TheLastReleaseComesThroughTheMarshallerToTheApartmentOfTheObject) {
  IStream* stream = nullptr;
  {
    const auto object = CreatedZentrel();
    OpenAndCountDown(*object.Get(), CrowdPort(0));
    ASSERT_EQ(CoMarshalInterThreadInterfaceInStream(IID__Zentrel, object.Get(), &stream), S_OK);
  }
  EXPECT_TRUE(HasSeenSupply(box, {"on"}));
  OtherApartment(COINIT_MULTITHREADED, [stream] {
    ComPointer<_Zentrel> proxy;
    ASSERT_EQ(CoGetInterfaceAndReleaseStream(stream, IID__Zentrel, proxy.ReceiveVoid()), S_OK);
    auto status = S_BAD_DATA;
    EXPECT_EQ(proxy->BoxStatus(&status), S_OK);
    EXPECT_EQ(status, S_OKAY);
  }).Join();
  EXPECT_TRUE(HasSeenSupply(box, {"on", "off"}));
}

BoxClient* g_client_to_release = nullptr;

__attribute__((force_align_arg_pointer)) void CALLBACK ReleaseFromWait(HWND, UINT, UINT_PTR timer,
                                                                       DWORD) {
  KillTimer(nullptr, timer);
  g_client_to_release->Release();
}

TEST_F(EndingThreads, AnObjectThatIsReleasedWithinItsVerifyDelayEndsItsCommandFirst) {
  box.Tell("set version 5.0");
  BoxClient client;
  ASSERT_EQ(client.Open(CrowdPort(0), true), S_OKAY);
  client.Let(&_Zentrel::put_VDelay, 3000);  // far longer than a write and a timer take
  ASSERT_EQ(client.Write(), S_OKAY);
  box.Tell("log-clear");
  g_client_to_release = &client;
  SetTimer(nullptr, 0, 50, ReleaseFromWait);
  EXPECT_EQ(client.Read(), S_OKAY);
  EXPECT_EQ(client.Object(), nullptr) << "the timer has not ticked";
  EXPECT_EQ(box.FrameLog().size(), 2U);
  EXPECT_TRUE(HasSeenSupply(box, {"off"}));
}

}  // namespace
}  // namespace qmzentrel::clients
