// What calls leave behind: nothing, however often they are made and however they end.
#include <gtest/gtest.h>
#include <windows.h>

// After it, which it needs.
#include <psapi.h>

#include "tests/clients/com_client.h"
#include "tests/clients/event_sink.h"
#include "tests/clients/heap_blocks.h"
#include "tests/clients/other_apartment.h"
#include "tests/clients/running_timers.h"

namespace qmzentrel::clients {
namespace {

constexpr int kRounds = 20000;
// A leak of one small block a round is more than twice this.
constexpr std::size_t kAllowedGrowth = 1024 * 1024;

std::size_t MemoryInUse() {
  PROCESS_MEMORY_COUNTERS counters{};
  GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
  return counters.PagefileUsage;
}

// Runs `round` often, after some rounds for what is made once.
template <class Round>
void ExpectNoGrowth(Round round) {
  for (int i = 0; i < kRounds / 10; ++i) round();
  const std::size_t before = MemoryInUse();
  for (int i = 0; i < kRounds; ++i) round();
  const std::size_t after = MemoryInUse();
  EXPECT_LT(after, before + kAllowedGrowth);
}

class Leaks : public testing::Test {
 protected:
  ComPointer<_Zentrel> zentrel = NewZentrel();
  const DISPID status = IdOf(zentrel.Get(), L"Status");
  const DISPID util = IdOf(zentrel.Get(), L"Util");
  const DISPID signature = IdOf(zentrel.Get(), L"ZentrelSignature");
};

TEST_F(Leaks, AResultThatNobodyTakesIsFreed) {
  VARIANTARG code;
  V_VT(&code) = VT_I4;
  V_I4(&code) = 3;
  DISPPARAMS parameters{&code, nullptr, 1, 0};
  ExpectNoGrowth([&] {
    zentrel->Invoke(status, IID_NULL, kEnglish, DISPATCH_METHOD, &parameters, nullptr, nullptr,
                    nullptr);
  });
}

TEST_F(Leaks, AnArgumentThatHadToBeConvertedIsFreed) {
  Value text = Value::Text(L"a text that no number comes of, and long enough to be seen");
  Value number = Value::Text(L"12");
  DISPID let = DISPID_PROPERTYPUT;
  ExpectNoGrowth([&] {
    for (Value* value : {&text, &number}) {
      DISPPARAMS parameters{&value->Raw(), &let, 1, 1};
      zentrel->Invoke(util, IID_NULL, kEnglish, DISPATCH_PROPERTYPUT, &parameters, nullptr, nullptr,
                      nullptr);
    }
  });
}

TEST_F(Leaks, AFailureThatNobodyHearsIsFreed) {
  VARIANTARG index;
  V_VT(&index) = VT_I2;
  V_I2(&index) = 5;
  DISPPARAMS parameters{&index, nullptr, 1, 0};
  ExpectNoGrowth([&] {
    zentrel->Invoke(signature, IID_NULL, kEnglish, DISPATCH_PROPERTYGET, &parameters, nullptr,
                    nullptr, nullptr);
  });
}

TEST_F(Leaks, WhatAFailingSinkSaysIsFreed) {
  const auto container =
      As<IConnectionPointContainer>(zentrel.Get(), IID_IConnectionPointContainer);
  ComPointer<IConnectionPoint> point;
  ASSERT_EQ(container->FindConnectionPoint(DIID___Zentrel, point.Receive()), S_OK);
  ComPointer<EventSink> sink;
  *sink.Receive() = new EventSink;
  sink->on_event = [](EventSink& self, EXCEPINFO* failure) {
    self.states.clear();
    if (failure != nullptr) failure->bstrDescription = SysAllocString(L"no room for this event");
    return DISP_E_EXCEPTION;
  };
  DWORD cookie = 0;
  ASSERT_EQ(point->Advise(sink.Get(), &cookie), S_OK);
  ExpectNoGrowth([&] { zentrel->put_Power(VARIANT_TRUE); });
}

TEST_F(Leaks, WhatIsKeptForAThreadIsFreedWhenItEnds) {
  constexpr std::size_t kThreads = 200;
  constexpr std::size_t kReportsThatTheHandlerKeeps = 100;
  const auto thread_with = [](void (*use)(_Zentrel & object)) {
    OtherApartment(COINIT_APARTMENTTHREADED, [use] { use(*NewZentrel().Get()); }).Join();
  };
  const auto use_the_timer = [](_Zentrel& object) {
    EXPECT_EQ(object.put_PowerManagement(VARIANT_TRUE), S_OK);
  };
  const auto fail = [](_Zentrel& object) {
    LONG value = 0;
    EXPECT_NE(object.get_ZentrelSignature(5, &value), S_OK);
  };
  for (void (*use)(_Zentrel&) : {+use_the_timer, +fail}) {
    for (std::size_t i = 0; i < kReportsThatTheHandlerKeeps; ++i) thread_with(use);
    const std::size_t before = BlocksInUse();
    for (std::size_t i = 0; i < kThreads; ++i) thread_with(use);
    EXPECT_LT(BlocksInUse(), before + kThreads / 2);
  }
}

TEST_F(Leaks, ATimerEndsWithItsCountDownOrItsObject) {
  const auto count_down = [](_Zentrel& object) { object.put_PowerManagement(VARIANT_TRUE); };
  const RunningTimers timers(LoadedLibrary().module);
  count_down(*zentrel.Get());
  EXPECT_EQ(timers.Count(), 1);
  EXPECT_EQ(zentrel->put_PowerManagement(VARIANT_FALSE), S_OK);
  EXPECT_EQ(timers.Count(), 0);

  constexpr int kObjects = 10;
  for (int i = 0; i < kObjects; ++i) count_down(*NewZentrel().Get());
  EXPECT_EQ(timers.Count(), 0);
  OtherApartment(COINIT_APARTMENTTHREADED, [&] {
    const auto object = NewZentrel();
    count_down(*object.Get());
    EXPECT_EQ(timers.Count(), 1);
  }).Join();
  EXPECT_EQ(timers.Count(), 0);
}

TEST_F(Leaks, ObjectsAreFreed) {
  ExpectNoGrowth([] { NewZentrel(); });
}

}  // namespace
}  // namespace qmzentrel::clients
