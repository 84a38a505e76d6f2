// Clients in other apartments. Whether the library could be unloaded afterwards is not asked here:
// the thread on which the system keeps the objects of multithreaded clients may hold on to the
// class object.
#include <gtest/gtest.h>

#include <vector>

#include "tests/clients/com_client.h"
#include "tests/clients/event_sink.h"
#include "tests/clients/message_pump.h"
#include "tests/clients/other_apartment.h"

namespace qmzentrel::clients {
namespace {

class Apartments : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(LoadedLibrary().RegisterServer(), S_OK); }
  void TearDown() override { EXPECT_EQ(LoadedLibrary().UnregisterServer(), S_OK); }
};

ComPointer<IConnectionPoint> PointOf(IUnknown* object) {
  const auto container = As<IConnectionPointContainer>(object, IID_IConnectionPointContainer);
  ComPointer<IConnectionPoint> point;
  EXPECT_EQ(container->FindConnectionPoint(DIID___Zentrel, point.Receive()), S_OK);
  return point;
}

// What a client does with any object, wherever it lives.
void UseObject(_Zentrel& object) {
  ASSERT_EQ(object.put_Util(77), S_OK);
  LONG util = 0;
  EXPECT_EQ(object.get_Util(&util), S_OK);
  EXPECT_EQ(util, 77);
  EXPECT_EQ(Get(&object, L"Util").value.AsLong(), 77);
  BSTR text = nullptr;
  EXPECT_EQ(object.get_PLLWarmUpName(&text), S_OK);
  EXPECT_EQ(Taken(text), L"0.0 mS");
  ::ZentrelStatus status = S_OKAY;
  EXPECT_EQ(object.DeviceOpen(0, VARIANT_TRUE, &status), S_OK);
  EXPECT_EQ(status, S_BAD_PORT);
  LONG signature = 0;
  EXPECT_EQ(object.get_ZentrelSignature(5, &signature), static_cast<HRESULT>(0x800AFFFFu));

  const ComPointer<IConnectionPoint> point = PointOf(&object);
  ComPointer<EventSink> sink;
  *sink.Receive() = new EventSink;
  DWORD cookie = 0;
  ASSERT_EQ(point->Advise(sink.Get(), &cookie), S_OK);
  EXPECT_EQ(object.put_Power(VARIANT_TRUE), S_OK);
  EXPECT_EQ(sink->states, std::vector<bool>{true});
  EXPECT_EQ(point->Unadvise(cookie), S_OK);
}

TEST_F(Apartments, AMultithreadedClientMakesAndUsesAnObject) {
  OtherApartment(COINIT_MULTITHREADED, [] {
    ComPointer<_Zentrel> object;
    ASSERT_EQ(CoCreateInstance(CLSID_Zentrel, nullptr, CLSCTX_INPROC_SERVER, IID__Zentrel,
                               object.ReceiveVoid()),
              S_OK);
    UseObject(*object.Get());
  }).Join();
}

TEST_F(Apartments, AnObjectIsUsedFromAnotherApartment) {
  const auto object = NewZentrel();
  for (const DWORD apartment : {COINIT_MULTITHREADED, COINIT_APARTMENTTHREADED}) {
    IStream* stream = nullptr;
    ASSERT_EQ(CoMarshalInterThreadInterfaceInStream(IID__Zentrel, object.Get(), &stream), S_OK);
    OtherApartment(apartment, [stream] {
      ComPointer<_Zentrel> proxy;
      ASSERT_EQ(CoGetInterfaceAndReleaseStream(stream, IID__Zentrel, proxy.ReceiveVoid()), S_OK);
      UseObject(*proxy.Get());
    }).Join();
  }
}

// The supply of one apartment's object counts down while the other's stands still.
TEST_F(Apartments, ObjectsOfTwoApartmentsDoNotDisturbEachOther) {
  const auto here = NewZentrel();
  ComPointer<EventSink> sink;
  *sink.Receive() = new EventSink;
  const ComPointer<IConnectionPoint> point = PointOf(here.Get());
  DWORD cookie = 0;
  ASSERT_EQ(point->Advise(sink.Get(), &cookie), S_OK);
  OtherApartment(COINIT_APARTMENTTHREADED, [] {
    const auto there = NewZentrel();
    ComPointer<EventSink> own_sink;
    *own_sink.Receive() = new EventSink;
    const ComPointer<IConnectionPoint> own_point = PointOf(there.Get());
    DWORD own_cookie = 0;
    ASSERT_EQ(own_point->Advise(own_sink.Get(), &own_cookie), S_OK);
    ASSERT_EQ(there->put_Power(VARIANT_TRUE), S_OK);
    ASSERT_EQ(there->put_PowerTimeout(1), S_OK);
    ASSERT_EQ(there->put_PowerManagement(VARIANT_TRUE), S_OK);
    constexpr DWORD kLimitMs = 5000;
    EXPECT_TRUE(PumpUntil([&] { return own_sink->states.size() >= 2; }, kLimitMs));
    EXPECT_EQ(own_sink->states, (std::vector<bool>{true, false}));
    EXPECT_EQ(own_point->Unadvise(own_cookie), S_OK);
  }).Join();
  EXPECT_TRUE(sink->states.empty());
  EXPECT_EQ(here->put_Power(VARIANT_FALSE), S_OK);
  EXPECT_EQ(sink->states, std::vector<bool>{false});
}

}  // namespace
}  // namespace qmzentrel::clients
