// The entries of the library that the system calls by name.
#include <windows.h>

// After it, which it needs.
#include <olectl.h>

#include "com/error_info.h"
#include "com/machine_classes.h"
#include "com/server_class.h"
#include "reports/error_handler.h"

namespace {

// Its objects keep nothing and may be used from any thread.
constexpr qmzentrel::com::ServerClass kClass{
    {0x5F1B7C0E, 0x3A92, 0x4C6D, {0x8E, 0x17, 0xD4, 0x60, 0xB9, 0x2F, 0xA3, 0x58}},
    L"QuenmoorCommunications.Error",
    L"Both"};

// What `body` comes to for a client of COM.
template <class Body>
HRESULT ResultOf(Body body) noexcept {
  try {
    body();
    return S_OK;
  } catch (const qmzentrel::com::ComError& error) {
    return error.code;
  } catch (...) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace

STDAPI DllGetClassObject(REFCLSID clsid, REFIID riid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (clsid != kClass.identifier) return CLASS_E_CLASSNOTAVAILABLE;
  return qmzentrel::reports::GetErrorHandlerClass(riid, object);
}

STDAPI DllCanUnloadNow() {
  return qmzentrel::reports::ErrorHandlerInUse() ? S_FALSE : S_OK;
}

STDAPI DllRegisterServer() {
  return ResultOf([] {
    qmzentrel::com::ClassesWriter writer;
    kClass.Write(writer);
    writer.Keep();
  });
}

STDAPI DllUnregisterServer() {
  const HRESULT name = ResultOf([] { kClass.RemoveProgrammaticIdentifier(); });
  const HRESULT identifier = ResultOf([] { kClass.RemoveIdentifier(); });
  return FAILED(name) ? name : identifier;
}
