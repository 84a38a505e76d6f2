#include "bench/bare_object.h"

#include <new>

namespace qmzentrel::bench {
namespace {

// Counts its references and answers one interface beside IUnknown.
template <class Interface>
class Counted : public Interface {
 public:
  explicit Counted(REFIID interface_id) : interface_id_(interface_id) {}
  virtual ~Counted() = default;

  STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
    const bool answers = riid == IID_IUnknown || riid == interface_id_;
    *object = answers ? static_cast<Interface*>(this) : nullptr;
    if (!answers) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override {
    return static_cast<ULONG>(InterlockedIncrement(&references_));
  }
  STDMETHODIMP_(ULONG) Release() override {
    const LONG left = InterlockedDecrement(&references_);
    if (left == 0) delete this;
    return static_cast<ULONG>(left);
  }

 private:
  const IID& interface_id_;
  LONG references_ = 1;
};

// Hands the first reference to the client, or drops it.
template <class Class>
HRESULT GiveNew(REFIID riid, void** object) {
  *object = nullptr;
  auto* const created = new (std::nothrow) Class;
  if (created == nullptr) return E_OUTOFMEMORY;
  const HRESULT result = created->QueryInterface(riid, object);
  created->Release();
  return result;
}

class Bare final : public Counted<BareObject> {
 public:
  Bare() : Counted(kBareInterface) {}
  STDMETHODIMP get_Number(LONG* result) override {
    *result = number_;
    return S_OK;
  }

 private:
  LONG number_ = 42;
};

class BareFactory final : public Counted<IClassFactory> {
 public:
  BareFactory() : Counted(IID_IClassFactory) {}
  STDMETHODIMP CreateInstance(IUnknown* outer, REFIID riid, void** object) override {
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    return GiveNew<Bare>(riid, object);
  }
  STDMETHODIMP LockServer(BOOL /*lock*/) override { return S_OK; }
};

}  // namespace

HRESULT STDMETHODCALLTYPE GetBareClassObject(REFIID riid, void** object) {
  return GiveNew<BareFactory>(riid, object);
}

}  // namespace qmzentrel::bench
