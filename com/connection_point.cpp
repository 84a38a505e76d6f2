#include "com/connection_point.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "QmZentrel_h.h"
#include "com/enumerator.h"
#include "com/error_info.h"
#include "com/held_object.h"
#include "platform/hardware_faults.h"
#include "platform/win32/owned_failure.h"

namespace qmzentrel::com {
namespace {

constexpr DISPID kPowerStateChange = 1;

// A sink that is attached asked for what it can be called by.
platform::ComPointer<IDispatch> Ask(IUnknown& sink, REFIID riid) {
  return platform::CallOutToClient([&] { return platform::Query<IDispatch>(&sink, riid); });
}

void CallPowerStateChange(IDispatch& sink, bool new_state) {
  VARIANTARG argument;
  VariantInit(&argument);
  V_VT(&argument) = VT_BOOL;
  V_BOOL(&argument) = new_state ? VARIANT_TRUE : VARIANT_FALSE;
  DISPPARAMS parameters{&argument, nullptr, 1, 0};
  platform::OwnedFailure ignored;
  // A sink that fails or is gone is its owner's affair.
  platform::CallOutToClient([&] {
    return sink.Invoke(kPowerStateChange, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD,
                       &parameters, nullptr, ignored.Get(), nullptr);
  });
}

}  // namespace

STDMETHODIMP ConnectionPoint::QueryInterface(REFIID riid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (riid != IID_IUnknown && riid != IID_IConnectionPoint) return E_NOINTERFACE;
  *object = static_cast<IConnectionPoint*>(this);
  AddRef();
  return S_OK;
}

STDMETHODIMP ConnectionPoint::GetConnectionInterface(IID* identifier) {
  if (identifier == nullptr) return E_POINTER;
  *identifier = DIID___Zentrel;
  return S_OK;
}

STDMETHODIMP ConnectionPoint::GetConnectionPointContainer(IConnectionPointContainer** container) {
  if (container == nullptr) return E_POINTER;
  *container = &container_;
  container_.AddRef();
  return S_OK;
}

STDMETHODIMP ConnectionPoint::Advise(IUnknown* sink, DWORD* cookie) {
  if (cookie == nullptr) return E_POINTER;
  *cookie = 0;
  if (sink == nullptr) return E_POINTER;
  if (last_cookie_ == std::numeric_limits<DWORD>::max()) return CONNECT_E_ADVISELIMIT;
  return ResultOf([&]() -> HRESULT {
    platform::ComPointer<IDispatch> dispatch = Ask(*sink, DIID___Zentrel);
    if (!dispatch) dispatch = Ask(*sink, IID_IDispatch);
    if (!dispatch) return CONNECT_E_CANNOTCONNECT;
    connections_.push_back({last_cookie_ + 1, std::move(dispatch)});
    *cookie = ++last_cookie_;
    return S_OK;
  });
}

STDMETHODIMP ConnectionPoint::Unadvise(DWORD cookie) {
  const auto found = std::ranges::find(connections_, cookie, &Connection::cookie);
  if (found == connections_.end()) return CONNECT_E_NOCONNECTION;
  // Out of the list first: the sink's last reference may go, and what it does then is its own.
  const Connection ended = std::move(*found);
  connections_.erase(found);
  return S_OK;
}

STDMETHODIMP ConnectionPoint::EnumConnections(IEnumConnections** enumerator) {
  using ConnectionEnumerator =
      Enumerator<IEnumConnections, IID_IEnumConnections, CONNECTDATA, Connection>;
  if (enumerator == nullptr) return E_POINTER;
  *enumerator = nullptr;
  return ResultOf([&] {
    *enumerator = new ConnectionEnumerator(connections_);
    return S_OK;
  });
}

void ConnectionPoint::FirePowerStateChange(bool new_state) {
  // A sink may attach and detach itself and others. Cookies only grow, so the place in the list is
  // found again by the cookie called last.
  const DWORD last_at_start = last_cookie_;
  DWORD called = 0;
  for (;;) {
    const auto next = std::ranges::upper_bound(connections_, called, {}, &Connection::cookie);
    if (next == connections_.end() || next->cookie > last_at_start) return;
    called = next->cookie;
    // An exception in the sink is its owner's as well, in its last Release too.
    const HeldObject sink(next->sink.Get());
    CallPowerStateChange(*sink.Get(), new_state);
  }
}

void ConnectionPoint::ReleaseSinks() {
  // A sink may detach itself while it goes, and an exception in it is its owner's.
  const platform::ClientCode sinks_of_the_client;
  const std::vector<Connection> ended = std::move(connections_);
  connections_.clear();
}

void ConnectionPoint::Connection::Share(CONNECTDATA& item) const {
  item.pUnk = sink.Share();
  item.dwCookie = cookie;
}

}  // namespace qmzentrel::com
