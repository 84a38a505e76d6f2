// An apartment for one object, and what becomes of its making when a step of it fails.
#include "com/worker_apartment.h"

#include <gtest/gtest.h>

// After <windows.h>, which it needs.
#include <objbase.h>

#include <atomic>
#include <functional>
#include <memory>
#include <utility>

#include "com/module_count.h"
#include "platform/win32/handle.h"
#include "platform/win32/this_module.h"
#include "tests/automation/replaced_import.h"
#include "tests/automation/scripted_object.h"
#include "tests/clients/com_client.h"
#include "tests/clients/error_reports.h"
#include "tests/clients/message_pump.h"
#include "tests/clients/other_apartment.h"
#include "tests/clients/test_catalog.h"

namespace qmzentrel::clients {
namespace {

constexpr DWORD kMuchTooLongMs = 10000;

/// A function of COM that does what the test says, while it lives. One at a time.
template <class Function>
class StepOfCom;
template <class... Parameters>
class StepOfCom<HRESULT(WINAPI*)(Parameters...)> {
 public:
  using Function = HRESULT(WINAPI*)(Parameters...);
  using Body = std::function<HRESULT(Function system, Parameters...)>;

  StepOfCom(const char* name, Body body)
      : import_(platform::ThisModule(), L"ole32", name, &StepOfCom::Run), body_(std::move(body)) {
    the_only = this;
  }
  ~StepOfCom() { the_only = nullptr; }
  StepOfCom(const StepOfCom&) = delete;
  StepOfCom& operator=(const StepOfCom&) = delete;

 private:
  static HRESULT WINAPI Run(Parameters... arguments) {
    return the_only->body_(the_only->import_.System(), arguments...);
  }

  static inline StepOfCom* the_only = nullptr;
  automation::ReplacedImport<Function> import_;
  Body body_;
};
using Marshalling = StepOfCom<decltype(&CoMarshalInterThreadInterfaceInStream)>;
using Unmarshalling = StepOfCom<decltype(&CoUnmarshalInterface)>;
using Waiting = StepOfCom<decltype(&CoWaitForMultipleHandles)>;

class WorkerApartment : public testing::Test {
 protected:
  WorkerApartment() {
    LoadedLibrary();  // initialises COM
    SetErrorInfo(0, nullptr);
  }
  ~WorkerApartment() override {
    object_.Reset();
    ObjectsGo();
  }

  HRESULT Create(REFIID riid = IID_IDispatch) {
    return com::CreateInWorkerApartment(riid, object_.ReceiveVoid());
  }
  /// Whether nothing of the class is there any more, or will be soon.
  static bool ObjectsGo() {
    return PumpUntil([] { return !com::ModuleInUse(); }, kMuchTooLongMs);
  }

  ComPointer<IDispatch> object_;
};

TEST_F(WorkerApartment, HasAnObjectAsLongAsSomebodyHoldsIt) {
  ASSERT_EQ(Create(), S_OK);
  ASSERT_TRUE(object_);
  EXPECT_TRUE(com::ModuleInUse());
  EXPECT_EQ(Let(object_.Get(), L"Util", Value::Long(17)).result, S_OK);
  EXPECT_EQ(Get(object_.Get(), L"Util").value.AsLong(), 17);
  object_.Reset();
  EXPECT_TRUE(ObjectsGo());
}

// An error handler may live in the apartment that waits for the object.
TEST_F(WorkerApartment, IsMadeWhileCallsOfOthersIntoTheCallersApartmentAreServed) {
  std::atomic<DWORD> served_by = 0;
  automation::ScriptedObject listener;
  listener.members = {{L"Tell", [&](const auto& /*use*/) {
                         served_by = GetCurrentThreadId();
                         return S_OK;
                       }}};
  ComPointer<IStream> way;
  ASSERT_EQ(CoMarshalInterThreadInterfaceInStream(IID_IDispatch, &listener, way.Receive()), S_OK);
  bool served_meanwhile = false;
  std::unique_ptr<OtherApartment> caller;
  const platform::OwnedHandle told(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  {
    const Marshalling making(
        "CoMarshalInterThreadInterfaceInStream",
        [&](Marshalling::Function system, REFIID riid, IUnknown* made, IStream** stream) {
          caller = std::make_unique<OtherApartment>(COINIT_MULTITHREADED, [&] {
            ComPointer<IDispatch> reached;
            if (SUCCEEDED(CoGetInterfaceAndReleaseStream(way.Detach(), IID_IDispatch,
                                                         reached.ReceiveVoid()))) {
              Call(reached.Get(), L"Tell");
            }
            SetEvent(told.Get());
          });
          served_meanwhile = WaitForSingleObject(told.Get(), kMuchTooLongMs) == WAIT_OBJECT_0;
          return system(riid, made, stream);
        });
    EXPECT_EQ(Create(), S_OK);
  }
  caller->Join();
  EXPECT_TRUE(served_meanwhile);
  EXPECT_EQ(served_by, GetCurrentThreadId());
}

TEST_F(WorkerApartment, IsAwaitedWhereComCannotWait) {
  const Waiting waiting("CoWaitForMultipleHandles",
                        [](auto...) { return static_cast<HRESULT>(CO_E_NOTINITIALIZED); });
  // What is awaited takes its time.
  const Marshalling making(
      "CoMarshalInterThreadInterfaceInStream",
      [](Marshalling::Function system, REFIID riid, IUnknown* made, IStream** stream) {
        Sleep(200);
        return system(riid, made, stream);
      });
  ASSERT_EQ(Create(), S_OK);
  EXPECT_TRUE(object_);
}

TEST_F(WorkerApartment, KeepsNoObjectThatItsClientCannotReach) {
  const Unmarshalling unmarshalling("CoUnmarshalInterface",
                                    [](Unmarshalling::Function, IStream*, REFIID, void** object) {
                                      *object = nullptr;
                                      return static_cast<HRESULT>(REGDB_E_IIDNOTREG);
                                    });
  EXPECT_EQ(Create(), REGDB_E_IIDNOTREG);
  EXPECT_FALSE(object_);
  EXPECT_TRUE(ObjectsGo());
}

TEST_F(WorkerApartment, KeepsNoObjectThatIsReachedHalfWay) {
  // The system has read from the stream what it does not give back.
  const Unmarshalling unmarshalling(
      "CoUnmarshalInterface", [](Unmarshalling::Function, IStream* way, REFIID, void** object) {
        *object = nullptr;
        char byte = 0;
        way->Read(&byte, sizeof byte, nullptr);
        return static_cast<HRESULT>(E_OUTOFMEMORY);
      });
  EXPECT_EQ(Create(), E_OUTOFMEMORY);
  EXPECT_TRUE(ObjectsGo());
}

TEST_F(WorkerApartment, KeepsNoObjectThatNoOtherApartmentCanBeGiven) {
  const Marshalling making("CoMarshalInterThreadInterfaceInStream",
                           [](auto...) { return static_cast<HRESULT>(E_NOINTERFACE); });
  EXPECT_EQ(Create(), E_NOINTERFACE);
  EXPECT_FALSE(object_);
  EXPECT_TRUE(ObjectsGo());
}

TEST_F(WorkerApartment, TellsItsClientOfAFaultThatHasFailedTheCreation) {
  ErrorReports reports;
  TestCatalog catalog;
  catalog.Text(L"Kernel\\MIF", L"Max", L"-5");
  EXPECT_EQ(Create(), static_cast<HRESULT>(0x800AFFFF));
  EXPECT_FALSE(object_);
  EXPECT_EQ(TakenErrorDescription(), L"Application-defined or object-defined error");
  EXPECT_EQ(reports.Count(), 1);
  EXPECT_TRUE(ObjectsGo());
}

}  // namespace
}  // namespace qmzentrel::clients
