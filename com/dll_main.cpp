// The entries of the library that the system calls by name.
#include <windows.h>

// After it, which they need.
#include <ole2.h>

#include <new>
#include <string_view>

#include "QmZentrel_h.h"
#include "com/class_factory.h"
#include "com/error_info.h"
#include "com/module_count.h"
#include "com/registration.h"
#include "com/type_information.h"
#include "platform/win32/com_pointer.h"
#include "platform/win32/process_end.h"
#include "support/modCOM_XTimerSupport.h"
#include "support/modErrorReportSupport.h"

namespace {

// What the ending thread, or the thread that unloads the library, has left in its own storage.
void ReleaseThread() {
  qmzentrel::modCOM_XTimerSupport::ReleaseThread();
  qmzentrel::modErrorReportSupport::ReleaseThread();
  qmzentrel::com::ForgetErrorInfoOfThread();
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE /*module*/, DWORD reason, void* process_ends) {
  // When the process ends its heap may be in any state and goes anyway.
  if (reason == DLL_PROCESS_DETACH && process_ends != nullptr) {
    qmzentrel::platform::NoteProcessEnd();
  } else if (reason == DLL_PROCESS_DETACH || reason == DLL_THREAD_DETACH) {
    ReleaseThread();
  }
  return TRUE;
}

STDAPI DllGetClassObject(REFCLSID clsid, REFIID riid, void** object) {
  using qmzentrel::com::ClassFactory;
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (clsid != CLSID_Zentrel) return CLASS_E_CLASSNOTAVAILABLE;
  qmzentrel::platform::ComPointer<IClassFactory> factory;
  *factory.Receive() = new (std::nothrow) ClassFactory;
  return factory ? factory->QueryInterface(riid, object) : E_OUTOFMEMORY;
}

STDAPI DllCanUnloadNow() {
  if (qmzentrel::com::ModuleInUse()) return S_FALSE;
  qmzentrel::com::ReleaseTypeLibrary();
  return S_OK;
}

STDAPI DllRegisterServer() {
  return qmzentrel::com::RegisterComponent();
}

STDAPI DllUnregisterServer() {
  return qmzentrel::com::UnregisterComponent();
}

// regsvr32 /n /i:surrogate, and /u with it to take it back.
STDAPI DllInstall(BOOL install, PCWSTR choice) {
  if (choice == nullptr || choice != std::wstring_view(L"surrogate")) return E_INVALIDARG;
  return install != FALSE ? qmzentrel::com::RegisterSurrogate()
                          : qmzentrel::com::UnregisterSurrogate();
}
