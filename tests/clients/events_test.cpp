// Events, and what a client may do from inside one.
#include <gtest/gtest.h>

#include <functional>
#include <utility>
#include <vector>

#include "tests/clients/com_client.h"
#include "tests/clients/event_sink.h"
#include "tests/clients/message_pump.h"

namespace qmzentrel::clients {
namespace {

using States = std::vector<bool>;

// An object whose value is asked for, and what happens then.
class ValueObject final : public IDispatch {
 public:
  explicit ValueObject(std::function<void()> on_asked) : on_asked_(std::move(on_asked)) {}

  STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
    *object = nullptr;
    if (riid != IID_IUnknown && riid != IID_IDispatch) return E_NOINTERFACE;
    *object = static_cast<IDispatch*>(this);
    return S_OK;
  }
  // It lives on the stack of its test.
  STDMETHODIMP_(ULONG) AddRef() override { return 2; }
  STDMETHODIMP_(ULONG) Release() override { return 1; }
  STDMETHODIMP GetTypeInfoCount(UINT* /*count*/) override { return E_NOTIMPL; }
  STDMETHODIMP GetTypeInfo(UINT /*index*/, LCID /*lcid*/, ITypeInfo** /*info*/) override {
    return E_NOTIMPL;
  }
  STDMETHODIMP GetIDsOfNames(REFIID /*riid*/, LPOLESTR* /*names*/, UINT /*count*/, LCID /*lcid*/,
                             DISPID* /*ids*/) override {
    return E_NOTIMPL;
  }
  STDMETHODIMP Invoke(DISPID id, REFIID /*riid*/, LCID /*lcid*/, WORD /*flags*/,
                      DISPPARAMS* /*parameters*/, VARIANT* result, EXCEPINFO* /*failure*/,
                      UINT* /*wrong*/) override {
    if (id != DISPID_VALUE) return DISP_E_MEMBERNOTFOUND;
    on_asked_();
    V_VT(result) = VT_I4;
    V_I4(result) = 0;
    return S_OK;
  }

 private:
  std::function<void()> on_asked_;
};

class Events : public testing::Test {
 protected:
  ComPointer<_Zentrel> zentrel = NewZentrel();
  ComPointer<IConnectionPoint> point = PointOf(zentrel.Get());

  static ComPointer<IConnectionPoint> PointOf(IUnknown* object) {
    const auto container = As<IConnectionPointContainer>(object, IID_IConnectionPointContainer);
    ComPointer<IConnectionPoint> found;
    EXPECT_EQ(container->FindConnectionPoint(DIID___Zentrel, found.Receive()), S_OK);
    return found;
  }

  static ComPointer<EventSink> NewSink(EventSink::Face face = EventSink::Face::kEventInterface) {
    ComPointer<EventSink> sink;
    *sink.Receive() = new EventSink(face);
    return sink;
  }

  DWORD Advise(EventSink& sink) {
    DWORD cookie = 0;
    EXPECT_EQ(point->Advise(&sink, &cookie), S_OK);
    return cookie;
  }

  // A new object maintains the supply: every call raises the event at once, port or not.
  void Raise(bool state) {
    EXPECT_EQ(zentrel->put_Power(state ? VARIANT_TRUE : VARIANT_FALSE), S_OK);
  }
};

// --- The connection interfaces ---

TEST_F(Events, TheObjectHasOneConnectionPoint) {
  const auto container =
      As<IConnectionPointContainer>(zentrel.Get(), IID_IConnectionPointContainer);
  ASSERT_TRUE(container);
  ComPointer<IEnumConnectionPoints> enumerator;
  ASSERT_EQ(container->EnumConnectionPoints(enumerator.Receive()), S_OK);
  IConnectionPoint* points[2] = {};
  ULONG fetched = 0;
  EXPECT_EQ(enumerator->Next(2, points, &fetched), S_FALSE);
  ASSERT_EQ(fetched, 1u);
  EXPECT_EQ(points[0], point.Get());
  points[0]->Release();
  ComPointer<IConnectionPoint> none;
  EXPECT_EQ(container->FindConnectionPoint(IID_IDispatch, none.Receive()), CONNECT_E_NOCONNECTION);
  EXPECT_FALSE(none);
}

TEST_F(Events, TheConnectionPointKnowsItsInterfaceAndItsContainer) {
  IID identifier{};
  EXPECT_EQ(point->GetConnectionInterface(&identifier), S_OK);
  EXPECT_TRUE(IsEqualIID(identifier, DIID___Zentrel));
  ComPointer<IConnectionPointContainer> container;
  ASSERT_EQ(point->GetConnectionPointContainer(container.Receive()), S_OK);
  EXPECT_EQ(As<IUnknown>(container.Get(), IID_IUnknown).Get(),
            As<IUnknown>(zentrel.Get(), IID_IUnknown).Get());
}

TEST_F(Events, TheConnectionPointIsAnIdentityOfItsOwn) {
  EXPECT_FALSE(As<IDispatch>(point.Get(), IID_IDispatch));
  EXPECT_EQ(static_cast<void*>(As<IUnknown>(point.Get(), IID_IUnknown).Get()),
            static_cast<void*>(As<IUnknown>(point.Get(), IID_IUnknown).Get()));
  EXPECT_NE(static_cast<void*>(As<IUnknown>(point.Get(), IID_IUnknown).Get()),
            static_cast<void*>(As<IUnknown>(zentrel.Get(), IID_IUnknown).Get()));
}

TEST_F(Events, TheConnectionPointHoldsTheObject) {
  const auto sink = NewSink();
  Advise(*sink.Get());
  zentrel.Reset();
  ComPointer<IConnectionPointContainer> container;
  ASSERT_EQ(point->GetConnectionPointContainer(container.Receive()), S_OK);
  zentrel = As<_Zentrel>(container.Get(), IID__Zentrel);
  Raise(true);
  EXPECT_EQ(sink->states, States{true});
}

TEST_F(Events, ConnectionsAreEnumeratedWithReferences) {
  const auto first = NewSink();
  const auto second = NewSink();
  const DWORD first_cookie = Advise(*first.Get());
  const DWORD second_cookie = Advise(*second.Get());
  ComPointer<IEnumConnections> enumerator;
  ASSERT_EQ(point->EnumConnections(enumerator.Receive()), S_OK);
  // What is enumerated is the list of this moment.
  EXPECT_EQ(point->Unadvise(second_cookie), S_OK);

  CONNECTDATA data[3] = {};
  ULONG fetched = 0;
  EXPECT_EQ(enumerator->Next(3, data, &fetched), S_FALSE);
  ASSERT_EQ(fetched, 2u);
  EXPECT_EQ(data[0].pUnk, first.Get());
  EXPECT_EQ(data[0].dwCookie, first_cookie);
  EXPECT_EQ(data[1].pUnk, second.Get());
  EXPECT_EQ(data[1].dwCookie, second_cookie);
  for (ULONG i = 0; i < fetched; ++i) data[i].pUnk->Release();
  enumerator.Reset();
  EXPECT_EQ(second->References(), 1u);
}

TEST_F(Events, AnEnumeratorSkipsResetsAndClonesItsPlace) {
  const auto sink = NewSink();
  const DWORD cookies[] = {Advise(*sink.Get()), Advise(*sink.Get()), Advise(*sink.Get())};
  ComPointer<IEnumConnections> enumerator;
  ASSERT_EQ(point->EnumConnections(enumerator.Receive()), S_OK);
  const auto next_cookie = [](IEnumConnections& list) -> DWORD {
    CONNECTDATA data{};
    if (list.Next(1, &data, nullptr) != S_OK) return 0;
    data.pUnk->Release();
    return data.dwCookie;
  };
  EXPECT_EQ(enumerator->Skip(1), S_OK);
  ComPointer<IEnumConnections> copy;
  ASSERT_EQ(enumerator->Clone(copy.Receive()), S_OK);
  EXPECT_EQ(next_cookie(*enumerator.Get()), cookies[1]);
  EXPECT_EQ(next_cookie(*copy.Get()), cookies[1]);
  EXPECT_EQ(enumerator->Skip(2), S_FALSE);
  EXPECT_EQ(next_cookie(*enumerator.Get()), 0u);
  EXPECT_EQ(enumerator->Reset(), S_OK);
  EXPECT_EQ(next_cookie(*enumerator.Get()), cookies[0]);
  EXPECT_EQ(next_cookie(*copy.Get()), cookies[2]);
  CONNECTDATA data[2];
  EXPECT_EQ(enumerator->Next(2, data, nullptr), E_POINTER);
  EXPECT_EQ(enumerator->Next(0, data, nullptr), E_POINTER);
  ULONG fetched = 1;
  EXPECT_EQ(enumerator->Next(0, data, &fetched), S_OK);
  EXPECT_EQ(fetched, 0u);
}

TEST_F(Events, OnlyASinkCanBeAttached) {
  const auto stranger = NewSink(EventSink::Face::kNeither);
  DWORD cookie = 1;
  EXPECT_EQ(point->Advise(stranger.Get(), &cookie), CONNECT_E_CANNOTCONNECT);
  EXPECT_EQ(cookie, 0u);
  EXPECT_EQ(stranger->References(), 1u);
  EXPECT_EQ(point->Advise(nullptr, &cookie), E_POINTER);
  EXPECT_EQ(point->Advise(stranger.Get(), nullptr), E_POINTER);
}

TEST_F(Events, ACookieIsNeverUsedTwice) {
  const auto sink = NewSink();
  const DWORD first = Advise(*sink.Get());
  EXPECT_NE(first, 0u);
  EXPECT_EQ(point->Unadvise(first), S_OK);
  const DWORD second = Advise(*sink.Get());
  EXPECT_NE(second, first);
  EXPECT_EQ(point->Unadvise(first), CONNECT_E_NOCONNECTION);
  EXPECT_EQ(point->Unadvise(0), CONNECT_E_NOCONNECTION);
  EXPECT_EQ(point->Unadvise(second), S_OK);
}

TEST_F(Events, DetachingGivesTheSinkBack) {
  const auto sink = NewSink();
  const DWORD cookie = Advise(*sink.Get());
  EXPECT_GT(sink->References(), 1u);
  EXPECT_EQ(point->Unadvise(cookie), S_OK);
  EXPECT_EQ(sink->References(), 1u);
}

TEST_F(Events, TheReleasedObjectGivesItsSinksBack) {
  const auto sink = NewSink();
  Advise(*sink.Get());
  point.Reset();
  zentrel.Reset();
  EXPECT_EQ(sink->References(), 1u);
}

TEST_F(Events, EachObjectHasItsOwnSinks) {
  const auto sink = NewSink();
  Advise(*sink.Get());
  const auto other = NewZentrel();
  EXPECT_EQ(other->put_Power(VARIANT_TRUE), S_OK);
  EXPECT_TRUE(sink->states.empty());
}

// --- Raising ---

TEST_F(Events, EverySinkHearsEveryEventInOrder) {
  const auto typed = NewSink();
  const auto plain = NewSink(EventSink::Face::kOnlyDispatch);
  Advise(*typed.Get());
  Advise(*plain.Get());
  Raise(true);
  Raise(false);
  EXPECT_EQ(typed->states, (States{true, false}));
  EXPECT_EQ(plain->states, (States{true, false}));
}

TEST_F(Events, ASinkAttachedTwiceHearsTwice) {
  const auto sink = NewSink();
  Advise(*sink.Get());
  Advise(*sink.Get());
  Raise(true);
  EXPECT_EQ(sink->states, (States{true, true}));
}

TEST_F(Events, ASinkThatFailsDisturbsNobody) {
  const auto failing = NewSink();
  const auto gone = NewSink();
  const auto healthy = NewSink();
  failing->on_event = [](EventSink&, EXCEPINFO* failure) {
    *failure = {};
    failure->bstrDescription = SysAllocString(L"no");
    failure->scode = E_FAIL;
    return DISP_E_EXCEPTION;
  };
  gone->on_event = [](EventSink&, EXCEPINFO*) { return RPC_E_DISCONNECTED; };
  Advise(*failing.Get());
  Advise(*gone.Get());
  Advise(*healthy.Get());
  Raise(true);
  Raise(false);
  EXPECT_EQ(failing->states.size(), 2u);
  EXPECT_EQ(healthy->states, (States{true, false}));
}

TEST_F(Events, ASinkMayDetachItselfWhileItIsCalled) {
  bool sink_gone = false;
  bool gone_while_called = true;
  auto sink = NewSink();
  const auto after = NewSink();
  const DWORD cookie = Advise(*sink.Get());
  Advise(*after.Get());
  sink->gone = [&] { sink_gone = true; };
  sink->on_event = [&](EventSink&, EXCEPINFO*) {
    EXPECT_EQ(point->Unadvise(cookie), S_OK);
    gone_while_called = sink_gone;
    return S_OK;
  };
  sink.Reset();  // now only the connection holds it
  Raise(true);
  EXPECT_FALSE(gone_while_called);
  EXPECT_TRUE(sink_gone);
  Raise(false);
  EXPECT_EQ(after->states, (States{true, false}));
}

TEST_F(Events, ASinkDetachedByAnotherDuringTheEventIsNotCalled) {
  const auto first = NewSink();
  const auto second = NewSink();
  Advise(*first.Get());
  const DWORD cookie = Advise(*second.Get());
  first->on_event = [&](EventSink&, EXCEPINFO*) {
    point->Unadvise(cookie);
    return S_OK;
  };
  Raise(true);
  EXPECT_EQ(first->states.size(), 1u);
  EXPECT_TRUE(second->states.empty());
}

TEST_F(Events, ASinkAttachedDuringTheEventHearsTheNextOne) {
  const auto first = NewSink();
  const auto late = NewSink();
  Advise(*first.Get());
  first->on_event = [&](EventSink&, EXCEPINFO*) {
    if (late->References() == 1) Advise(*late.Get());
    return S_OK;
  };
  Raise(true);
  EXPECT_TRUE(late->states.empty());
  Raise(false);
  EXPECT_EQ(late->states, States{false});
}

TEST_F(Events, ASinkMayCallTheObjectAgain) {
  const auto sink = NewSink();
  Advise(*sink.Get());
  sink->on_event = [&](EventSink& self, EXCEPINFO*) {
    if (self.states.size() == 1) Raise(false);
    LONG util = 0;
    EXPECT_EQ(zentrel->put_Util(static_cast<LONG>(self.states.size())), S_OK);
    EXPECT_EQ(zentrel->get_Util(&util), S_OK);
    EXPECT_EQ(util, static_cast<LONG>(self.states.size()));
    return S_OK;
  };
  Raise(true);
  EXPECT_EQ(sink->states, (States{true, false}));
}

TEST_F(Events, ASinkMayCloseThePort) {
  const auto sink = NewSink();
  Advise(*sink.Get());
  sink->on_event = [&](EventSink&, EXCEPINFO*) {
    ::ZentrelStatus status = S_TIMEOUT;
    EXPECT_EQ(zentrel->DeviceClose(&status), S_OK);
    EXPECT_EQ(status, S_OKAY);
    return S_OK;
  };
  Raise(true);
  EXPECT_EQ(sink->states.size(), 1u);
}

// --- The object's last reference ---

TEST_F(Events, TheLastReferenceMayGoDuringAnEvent) {
  bool sink_gone = false;
  {
    auto sink = NewSink();
    Advise(*sink.Get());
    sink->gone = [&] { sink_gone = true; };
    sink->on_event = [&](EventSink&, EXCEPINFO*) {
      point.Reset();
      EXPECT_EQ(zentrel.Detach()->Release(), 0u);
      EXPECT_EQ(LoadedLibrary().CanUnloadNow(), S_FALSE);
      return S_OK;
    };
  }
  _Zentrel* const last = zentrel.Get();
  EXPECT_EQ(last->put_Power(VARIANT_TRUE), S_OK);
  EXPECT_TRUE(sink_gone);
  EXPECT_EQ(LoadedLibrary().CanUnloadNow(), S_OK);
}

TEST_F(Events, TheLastReferenceMayGoDuringALateBoundCall) {
  bool sink_gone = false;
  {
    auto sink = NewSink();
    Advise(*sink.Get());
    sink->gone = [&] { sink_gone = true; };
    sink->on_event = [&](EventSink& self, EXCEPINFO*) {
      point.Reset();
      if (self.states.size() == 1) zentrel.Detach()->Release();
      return S_OK;
    };
  }
  // Opening raises several events; the object must last through all of them.
  Outcome outcome = Call(zentrel.Get(), L"DeviceOpen", {Value::Long(0)});
  EXPECT_EQ(outcome.result, S_OK);
  EXPECT_EQ(outcome.value.AsLong(), S_BAD_PORT);
  EXPECT_TRUE(sink_gone);
  EXPECT_EQ(LoadedLibrary().CanUnloadNow(), S_OK);
}

TEST_F(Events, TheLastReferenceMayGoWhileAnArgumentIsAskedForItsValue) {
  bool asked = false;
  ValueObject value([&] {
    asked = true;
    point.Reset();
    zentrel.Detach()->Release();
    EXPECT_EQ(LoadedLibrary().CanUnloadNow(), S_FALSE);
  });
  const Outcome outcome = Call(zentrel.Get(), L"DeviceOpen", {Value::Object(&value)});
  EXPECT_TRUE(asked);
  EXPECT_EQ(outcome.result, S_OK);
  EXPECT_EQ(outcome.value.AsLong(), S_BAD_PORT);
  EXPECT_EQ(LoadedLibrary().CanUnloadNow(), S_OK);
}

TEST_F(Events, ASinkMayTouchTheObjectWhileBothGo) {
  auto container = As<IConnectionPointContainer>(zentrel.Get(), IID_IConnectionPointContainer);
  IConnectionPointContainer* const raw = container.Get();
  bool sink_gone = false;
  {
    auto sink = NewSink();
    Advise(*sink.Get());
    sink->gone = [&sink_gone, raw] {
      sink_gone = true;
      raw->AddRef();
      raw->Release();
    };
  }
  point.Reset();
  zentrel.Reset();
  container.Reset();
  EXPECT_TRUE(sink_gone);
  EXPECT_EQ(LoadedLibrary().CanUnloadNow(), S_OK);
}

// --- Ticks ---

class Ticks : public Events {
 protected:
  // Much longer than the one tick that the tests wait for.
  static constexpr DWORD kLimitMs = 5000;

  // Supply on, counting down from one second.
  void StartCountDown() {
    Raise(true);
    ASSERT_EQ(zentrel->put_PowerTimeout(1), S_OK);
    ASSERT_EQ(zentrel->put_PowerManagement(VARIANT_TRUE), S_OK);
  }
};

TEST_F(Ticks, TheSupplyGoesOffWhileTheClientPumpsMessages) {
  const auto sink = NewSink();
  StartCountDown();
  Advise(*sink.Get());
  EXPECT_TRUE(PumpUntil([&] { return !sink->states.empty(); }, kLimitMs));
  EXPECT_EQ(sink->states, States{false});
}

TEST_F(Ticks, TheLastReferenceMayGoDuringATick) {
  StartCountDown();
  bool sink_gone = false;
  {
    auto sink = NewSink();
    Advise(*sink.Get());
    sink->gone = [&] { sink_gone = true; };
    sink->on_event = [&](EventSink&, EXCEPINFO*) {
      point.Reset();
      zentrel.Reset();
      EXPECT_EQ(LoadedLibrary().CanUnloadNow(), S_FALSE);
      return S_OK;
    };
  }
  EXPECT_TRUE(PumpUntil([&] { return sink_gone; }, kLimitMs));
  EXPECT_EQ(LoadedLibrary().CanUnloadNow(), S_OK);
}

TEST_F(Ticks, AnObjectReleasedDuringTheCountDownNeverTicks) {
  const auto sink = NewSink();
  StartCountDown();
  Advise(*sink.Get());
  EXPECT_EQ(LoadedLibrary().CanUnloadNow(), S_FALSE);
  point.Reset();
  zentrel.Reset();
  EXPECT_EQ(LoadedLibrary().CanUnloadNow(), S_OK);
  constexpr DWORD kLongerThanATickMs = 1300;
  EXPECT_FALSE(PumpUntil([&] { return !sink->states.empty(); }, kLongerThanATickMs));
}

}  // namespace
}  // namespace qmzentrel::clients
