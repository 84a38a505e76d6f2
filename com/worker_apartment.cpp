#include "com/worker_apartment.h"

// After <windows.h>, which it needs.
#include <objbase.h>

#include "com/error_info.h"
#include "com/module_count.h"
#include "com/zentrel_object.h"
#include "platform/win32/com_pointer.h"
#include "platform/win32/handle.h"
#include "platform/win32/this_module.h"

namespace qmzentrel::com {
namespace {

// What the calling thread wants and gets. It waits, and has it on its stack.
struct Order {
  const IID& identifier;
  HANDLE done;
  HRESULT result = E_UNEXPECTED;
  platform::ComPointer<IStream> way{};         // to the object
  platform::ComPointer<IErrorInfo> failure{};  // what is said of one that could not be made
};

HRESULT Make(Order& order) {
  const HRESULT result = ResultOf([&] {
    const platform::ComPointer<_Zentrel> created =
        ZentrelObject::CreateForThread(GetCurrentThreadId());
    return CoMarshalInterThreadInterfaceInStream(order.identifier, created.Get(),
                                                 order.way.Receive());
  });
  if (FAILED(result)) GetErrorInfo(0, order.failure.Receive());
  return result;
}

// The object that the other thread has made. One that cannot be reached is given back: it would
// keep its thread for ever.
HRESULT TakeOver(const Order& order, REFIID riid, void** object) {
  const HRESULT result = CoUnmarshalInterface(order.way.Get(), riid, object);
  if (FAILED(result)) {
    order.way->Seek({}, STREAM_SEEK_SET, nullptr);
    CoReleaseMarshalData(order.way.Get());
  }
  return result;
}

// Serves this apartment's own objects meanwhile: an error handler that tells of a failure may live
// here.
void Await(HANDLE done) {
  DWORD which = 0;
  if (FAILED(CoWaitForMultipleHandles(0, INFINITE, 1, &done, &which))) {
    WaitForSingleObject(done, INFINITE);  // COM cannot wait: nothing of this apartment is served
  }
}

void Serve(Order& order) {
  const ModuleReference needs_the_library;
  order.result = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  const bool initialized = SUCCEEDED(order.result);
  if (initialized) order.result = Make(order);
  const bool made = SUCCEEDED(order.result);
  SetEvent(order.done);  // with that the order has gone
  MSG message;
  while (made && GetMessageW(&message, nullptr, 0, 0) > 0) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  if (initialized) CoUninitialize();
}

// Called by the operating system, which keeps the stack aligned to 4 bytes only.
__attribute__((force_align_arg_pointer)) DWORD WINAPI RunWorker(void* order) {
  Serve(*static_cast<Order*>(order));
  FreeLibraryAndExitThread(platform::ThisModule(), 0);
}

// The thread holds the library, which nobody may unload under it.
HRESULT StartWorker(Order& order) {
  HMODULE library = nullptr;
  if (GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                         reinterpret_cast<LPCWSTR>(platform::ThisModule()), &library) == FALSE) {
    return E_UNEXPECTED;
  }
  const platform::OwnedHandle thread(CreateThread(nullptr, 0, RunWorker, &order, 0, nullptr));
  if (thread.IsValid()) return S_OK;
  FreeLibrary(library);
  return E_OUTOFMEMORY;
}

}  // namespace

HRESULT CreateInWorkerApartment(REFIID riid, void** object) noexcept {
  *object = nullptr;
  const platform::OwnedHandle done(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  if (!done.IsValid()) return E_OUTOFMEMORY;
  Order order{.identifier = riid, .done = done.Get()};
  const HRESULT started = StartWorker(order);
  if (FAILED(started)) return started;
  Await(done.Get());
  if (SUCCEEDED(order.result)) return TakeOver(order, riid, object);
  if (order.failure) SetErrorInfo(0, order.failure.Get());
  return order.result;
}

}  // namespace qmzentrel::com
