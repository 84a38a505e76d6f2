// Identity and life of a small COM object with one interface besides IUnknown.
#pragma once

#include <windows.h>

#include <atomic>

#include "com/module_count.h"

namespace qmzentrel::com {

/// Made with `new`, which is the first reference; the last Release deletes it. May be referenced
/// from any thread.
template <class Interface, const IID& kIdentifier>
class HeapObject : public Interface {
 public:
  HeapObject() = default;
  HeapObject(const HeapObject&) = delete;
  HeapObject& operator=(const HeapObject&) = delete;

  STDMETHODIMP QueryInterface(REFIID riid, void** object) final {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (riid != IID_IUnknown && riid != kIdentifier) return E_NOINTERFACE;
    *object = static_cast<Interface*>(this);
    AddRef();
    return S_OK;
  }

  STDMETHODIMP_(ULONG) AddRef() final { return ++references_; }

  STDMETHODIMP_(ULONG) Release() final {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

 protected:
  virtual ~HeapObject() = default;

 private:
  ModuleReference module_;
  std::atomic<ULONG> references_{1};
};

}  // namespace qmzentrel::com
