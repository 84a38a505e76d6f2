#include "platform/win32/shared_unwinder.h"

#include <windows.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>
#include <typeinfo>

#include <cxxabi.h>
#include <unwind.h>

#include "platform/win32/this_module.h"

namespace qmzentrel::platform {
namespace {

using Raise = _Unwind_Reason_Code(_Unwind_Exception*);
Raise* g_raise = nullptr;

// What run-times of this compiler keep before an exception; the object itself follows.
struct ExceptionHeader {
  std::type_info* type;
  void (*destructor)(void*);
  void* unexpected_handler;
  void* terminate_handler;
  ExceptionHeader* next;
  int handlers;
  int switch_value;
  const unsigned char* action;
  const unsigned char* table;
  _Unwind_Ptr place;
  void* adjusted;
  _Unwind_Exception unwinding;
};
static_assert(offsetof(ExceptionHeader, unwinding) + sizeof(_Unwind_Exception) ==
              sizeof(ExceptionHeader));

// What they keep for a thread.
struct ThreadExceptions {
  ExceptionHeader* caught;
  unsigned uncaught;
};

ExceptionHeader& HeaderOf(void* exception) {
  return static_cast<ExceptionHeader*>(exception)[-1];
}

bool IsOurs(const ExceptionHeader& header) {
  HMODULE made_by = nullptr;
  GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<LPCWSTR>(header.unwinding.exception_cleanup), &made_by);
  return made_by == ThisModule();
}

}  // namespace

void FindSharedUnwinder() {
  const HMODULE shared = GetModuleHandleW(L"libgcc_s_dw2-1.dll");
  if (shared == nullptr) return;
  g_raise = reinterpret_cast<Raise*>(
      reinterpret_cast<void*>(GetProcAddress(shared, "_Unwind_RaiseException")));
  // Our unwinder makes itself ready with the first exception that is raised in it.
  try {
    throw std::bad_alloc();
  } catch (const std::bad_alloc&) {
    return;
  }
}

bool HasSharedUnwinder() {
  return g_raise != nullptr;
}

void* TakeForeignException() {
  const std::exception_ptr current = std::current_exception();
  void* exception = nullptr;
  static_assert(sizeof current == sizeof exception);
  // Which holds a pointer to it, and nothing else.
  std::memcpy(&exception, static_cast<const void*>(&current), sizeof exception);
  if (exception == nullptr || IsOurs(HeaderOf(exception))) return nullptr;
  // One reference more, which the end of the handler takes away.
  alignas(std::exception_ptr) std::byte kept[sizeof(std::exception_ptr)];
  new (kept) std::exception_ptr(current);
  // It was counted where it was raised, not here.
  ++reinterpret_cast<ThreadExceptions*>(abi::__cxa_get_globals())->uncaught;
  return exception;
}

void RaiseForeignException(void* exception) {
  ExceptionHeader& header = HeaderOf(exception);
  header.handlers = 0;
  g_raise(&header.unwinding);
  std::abort();  // nobody handles it
}

}  // namespace qmzentrel::platform
