// A client's event sink whose behaviour each test writes down.
#pragma once

#include <windows.h>

// After it, which they need.
#include <oleauto.h>

#include <atomic>
#include <functional>
#include <utility>
#include <vector>

#include "QmZentrel_h.h"

namespace qmzentrel::clients {

/// Answers the event interface, or only IDispatch. Made with `new`; the last Release deletes it and
/// calls `gone`.
class EventSink final : public IDispatch {
 public:
  enum class Face { kEventInterface, kOnlyDispatch, kNeither };

  explicit EventSink(Face face = Face::kEventInterface) : face_(face) {}

  /// States in the order in which they were raised.
  std::vector<bool> states;
  /// What the sink does and answers when an event arrives; it is recorded before.
  std::function<HRESULT(EventSink&, EXCEPINFO*)> on_event;
  std::function<void()> gone;

  ULONG References() const { return references_; }

  STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
    *object = nullptr;
    const bool answers = riid == IID_IUnknown ||
                         (riid == IID_IDispatch && face_ != Face::kNeither) ||
                         (riid == DIID___Zentrel && face_ == Face::kEventInterface);
    if (!answers) return E_NOINTERFACE;
    *object = static_cast<IDispatch*>(this);
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }
  STDMETHODIMP GetTypeInfoCount(UINT* count) override {
    *count = 0;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT /*index*/, LCID /*lcid*/, ITypeInfo** info) override {
    *info = nullptr;
    return E_NOTIMPL;
  }
  STDMETHODIMP GetIDsOfNames(REFIID /*riid*/, LPOLESTR* /*names*/, UINT /*count*/, LCID /*lcid*/,
                             DISPID* /*ids*/) override {
    return E_NOTIMPL;
  }
  STDMETHODIMP Invoke(DISPID id, REFIID riid, LCID /*lcid*/, WORD flags, DISPPARAMS* parameters,
                      VARIANT* /*result*/, EXCEPINFO* failure, UINT* /*wrong*/) override {
    constexpr DISPID kPowerStateChange = 1;
    const bool well_formed = id == kPowerStateChange && riid == IID_NULL &&
                             flags == DISPATCH_METHOD && parameters->cArgs == 1 &&
                             parameters->cNamedArgs == 0 && V_VT(&parameters->rgvarg[0]) == VT_BOOL;
    if (!well_formed) return E_INVALIDARG;
    const VARIANT_BOOL state = V_BOOL(&parameters->rgvarg[0]);
    if (state != VARIANT_TRUE && state != VARIANT_FALSE) return E_INVALIDARG;
    states.push_back(state == VARIANT_TRUE);
    // Whatever this sink does to the argument is nobody else's affair.
    V_BOOL(&parameters->rgvarg[0]) = state == VARIANT_TRUE ? VARIANT_FALSE : VARIANT_TRUE;
    const auto action = on_event;  // lasts through the call even if this sink does not
    return action ? action(*this, failure) : S_OK;
  }

 private:
  ~EventSink() {
    if (gone) gone();
  }

  Face face_;
  // Several threads hold it where it is called through the marshaller.
  std::atomic<ULONG> references_ = 1;
};

}  // namespace qmzentrel::clients
