// Arguments that lead where no memory is: a fault of the member, reported in its name, and the
// client lives on. Null pointers are no fault, but an error of the call.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "tests/clients/client_filter.h"
#include "tests/clients/error_reports.h"
#include "tests/clients/event_sink.h"
#include "tests/clients/outside_handler.h"
#include "tests/clients/test_catalog.h"

namespace qmzentrel::clients {
namespace {

constexpr HRESULT kReportedFault = static_cast<HRESULT>(0x800AFFFFu);

// Where no memory is, for as long as nobody reserves a page there.
template <class T>
T Wild() {
  return reinterpret_cast<T>(0x10);
}

class BadPointers : public testing::Test {
 protected:
  BadPointers() {
    catalog.Fill();
    zentrel = NewZentrel();
    g_left_to_client = 0;
  }
  ~BadPointers() override {
    EXPECT_EQ(g_left_to_client, 0);
    EXPECT_EQ(reports.Count(), 0);
    EXPECT_EQ(zentrel->put_Util(42), S_OK);
    LONG util = 0;
    EXPECT_EQ(zentrel->get_Util(&util), S_OK);
    EXPECT_EQ(util, 42);
    EXPECT_EQ(zentrel.Detach()->Release(), 0U);
    EXPECT_EQ(LoadedLibrary().CanUnloadNow(), S_OK);
  }

  void ExpectFaultOf(const wchar_t* member, HRESULT result) {
    EXPECT_EQ(result, kReportedFault) << member;
    const auto taken = reports.Take();
    ASSERT_EQ(taken.size(), 1U) << member;
    EXPECT_EQ(taken.front().number, L"10005");
    EXPECT_EQ(taken.front().description, L"Access Violation");
    EXPECT_EQ(taken.front().module, L"Zentrel");
    EXPECT_EQ(taken.front().procedure, member);
    EXPECT_EQ(TakenErrorDescription(), L"Application-defined or object-defined error");
  }

  /// The same for a late-bound call with this argument last.
  void ExpectFaultOfLate(const wchar_t* member, WORD flags, std::vector<VARIANTARG> last_first) {
    const DISPID id = IdOf(zentrel.Get(), member);
    DISPID let = DISPID_PROPERTYPUT;
    const bool is_let = flags == DISPATCH_PROPERTYPUT;
    DISPPARAMS parameters{last_first.data(), is_let ? &let : nullptr,
                          static_cast<UINT>(last_first.size()), is_let ? 1U : 0U};
    EXCEPINFO failure{};
    EXPECT_EQ(
        zentrel->Invoke(id, IID_NULL, kEnglish, flags, &parameters, nullptr, &failure, nullptr),
        DISP_E_EXCEPTION);
    EXPECT_EQ(Taken(failure.bstrSource), L"QmZentrel");
    EXPECT_EQ(Taken(failure.bstrDescription), L"Application-defined or object-defined error");
    const auto taken = reports.Take();
    ASSERT_EQ(taken.size(), 1U) << member;
    EXPECT_EQ(taken.front().number, L"10005");
    EXPECT_EQ(taken.front().procedure, member);
    EXPECT_EQ(failure.scode, kReportedFault);
  }

  static VARIANTARG Long(LONG number) {
    VARIANTARG value;
    V_VT(&value) = VT_I4;
    V_I4(&value) = number;
    return value;
  }
  static VARIANTARG OfType(VARTYPE type) {
    VARIANTARG value;
    V_VT(&value) = type;
    V_BYREF(&value) = Wild<void*>();
    return value;
  }

  ErrorReports reports;
  TestCatalog catalog;
  ComPointer<_Zentrel> zentrel;
};

TEST_F(BadPointers, AsAResult) {
  ExpectFaultOf(L"Util", zentrel->get_Util(Wild<LONG*>()));
  ExpectFaultOf(L"HasLeak", zentrel->get_HasLeak(Wild<VARIANT_BOOL*>()));
  ExpectFaultOf(L"BatteryVoltage", zentrel->get_BatteryVoltage(Wild<float*>()));
  ExpectFaultOf(L"TravonelVersion", zentrel->get_TravonelVersion(Wild<BSTR*>()));
  ExpectFaultOf(L"Status", zentrel->Status(S_OKAY, Wild<BSTR*>()));
}

TEST_F(BadPointers, AsTheResultOfACommandKeepTheCommandFromRunning) {
  ExpectFaultOf(L"BoxStatus", zentrel->BoxStatus(Wild<ZentrelStatus*>()));
  ExpectFaultOf(L"DeviceOpen", zentrel->DeviceOpen(99, VARIANT_TRUE, Wild<ZentrelStatus*>()));
}

TEST_F(BadPointers, AsAText) {
  ExpectFaultOf(L"TELIC2Device", zentrel->put_TELIC2Device(Wild<BSTR>()));
  BSTR name = nullptr;
  ExpectFaultOf(L"Name", zentrel->get_Name(Wild<BSTR>(), 1, &name));
  EXPECT_EQ(name, nullptr);
}

TEST_F(BadPointers, AsAnArrayLetGoOfTheOther) {
  Value numbers = Value::LongArray({8});
  SAFEARRAY** const good = &V_ARRAY(&numbers.Raw());
  auto status = S_OKAY;
  auto* wild = Wild<SAFEARRAY*>();
  ExpectFaultOf(L"TELIC2Read", zentrel->TELIC2Read(1, good, Wild<SAFEARRAY**>(), &status));
  ExpectFaultOf(L"TELIC2Write", zentrel->TELIC2Write(1, good, &wild, &status));
  ExpectFaultOf(L"TELIC2Test", zentrel->TELIC2Test(1, &wild, good, &status));
  EXPECT_EQ((*good)->cLocks, 0U);
}

TEST_F(BadPointers, AsAnObject) {
  VARIANT_BOOL filled = VARIANT_FALSE;
  ExpectFaultOf(L"TELIC2EnumDevices", zentrel->TELIC2EnumDevices(Wild<IDispatch**>(), &filled));
  auto* wild = Wild<IDispatch*>();
  ExpectFaultOf(L"TELIC2EnumMessages", zentrel->TELIC2EnumMessages(&wild, 0, &filled));
  // An object of which nothing is left but its place.
  void* no_functions[64] = {};
  void* remains = no_functions;
  auto* gone = reinterpret_cast<IDispatch*>(&remains);
  ExpectFaultOf(L"TELIC2EnumTestMessages", zentrel->TELIC2EnumTestMessages(&gone, 0, &filled));
}

// In an entry that no procedure runs in, from an event: the fault is the procedure's that raised
// it.
TEST_F(BadPointers, OfACallWithinAnEventAreSurvived) {
  auto* const sink = new EventSink;
  const auto container =
      As<IConnectionPointContainer>(zentrel.Get(), IID_IConnectionPointContainer);
  ComPointer<IConnectionPoint> point;
  DWORD cookie = 0;
  ASSERT_EQ(container->FindConnectionPoint(DIID___Zentrel, point.Receive()), S_OK);
  ASSERT_EQ(point->Advise(sink, &cookie), S_OK);
  static _Zentrel* called;
  called = zentrel.Get();
  sink->on_event = [](EventSink&, EXCEPINFO*) {
    called->QueryInterface(IID_IUnknown, Wild<void**>());
    return S_OK;
  };
  EXPECT_EQ(zentrel->put_PowerManagement(VARIANT_FALSE), kReportedFault);
  EXPECT_EQ(reports.Take().size(), 1U);
  EXPECT_EQ(point->Unadvise(cookie), S_OK);
  sink->on_event = nullptr;
  sink->Release();
}

TEST_F(BadPointers, OfALateBoundCall) {
  ExpectFaultOfLate(L"Util", DISPATCH_PROPERTYPUT, {OfType(VT_BSTR)});
  ExpectFaultOfLate(L"Util", DISPATCH_PROPERTYPUT, {OfType(VT_BYREF | VT_I2)});
  ExpectFaultOfLate(L"TELIC2Device", DISPATCH_PROPERTYPUT, {OfType(VT_BSTR)});
  ExpectFaultOfLate(L"Util", DISPATCH_PROPERTYPUT, {OfType(VT_BYREF | VT_VARIANT)});
  Value numbers = Value::LongArray({8});
  for (const int array : {VT_ARRAY | VT_I4, VT_BYREF | VT_ARRAY | VT_I4, VT_ARRAY | VT_VARIANT,
                          VT_BYREF | VT_ARRAY | VT_VARIANT}) {
    ExpectFaultOfLate(L"TELIC2Read", DISPATCH_METHOD,
                      {OfType(static_cast<VARTYPE>(array)), numbers.Raw(), Long(1)});
    EXPECT_EQ(V_ARRAY(&numbers.Raw())->cLocks, 0U);
  }
}

// As clients in C do it.
TEST_F(BadPointers, ForTheReservedIdentifierAreLikeNone) {
  const IID* volatile none = nullptr;
  LPOLESTR name = const_cast<LPOLESTR>(L"Util");
  DISPID id = 0;
  EXPECT_EQ(zentrel->GetIDsOfNames(*none, &name, 1, 0, &id), S_OK);
  DISPPARAMS no_arguments{};
  VARIANT result;
  VariantInit(&result);
  EXPECT_EQ(
      zentrel->Invoke(id, *none, 0, DISPATCH_PROPERTYGET, &no_arguments, &result, nullptr, nullptr),
      S_OK);
  EXPECT_EQ(V_VT(&result), VT_I4);
}

TEST_F(BadPointers, LeaveNothingBehind) {
  constexpr int kRounds = 1000;
  Value numbers = Value::LongArray({8});
  SAFEARRAY** const good = &V_ARRAY(&numbers.Raw());
  auto* wild = Wild<SAFEARRAY*>();
  auto status = S_OKAY;
  // The reports themselves are kept by their catcher, up to a hundred.
  constexpr double kOfTheCatcher = 256;
  EXPECT_LT(LeftByEachRound(kRounds,
                            [&] {
                              zentrel->TELIC2Read(1, good, &wild, &status);
                              zentrel->put_TELIC2Device(Wild<BSTR>());
                              reports.Take();
                            }),
            kOfTheCatcher);
  EXPECT_EQ((*good)->cLocks, 0U);
  TakenErrorDescription();
}

}  // namespace
}  // namespace qmzentrel::clients
