#include "platform/win32/shared_unwinder.h"

#include <windows.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <typeinfo>

#include <unwind.h>

#include "platform/win32/exclusive_lock.h"
#include "platform/win32/this_module.h"

extern "C" {

// The start of our unwind information; only a library has one (com/unwind_frames_begin.S).
extern const char qmz_unwind_frames_begin[]  // NOLINT(readability-identifier-naming)
    __attribute__((weak));

void* QmzRunUntilForeignException(void (*run)(void*), void* call);
void QmzForeignArrival();
_Unwind_Reason_Code QmzForeignPersonality(int version, _Unwind_Action actions,
                                          _Unwind_Exception_Class kind,
                                          _Unwind_Exception* exception, _Unwind_Context* context);

}  // extern "C"

namespace qmzentrel::platform {
namespace {

using Raise = _Unwind_Reason_Code(_Unwind_Exception*);
std::atomic<Raise*> g_raise = nullptr;
// Whether the system tells when something is loaded.
std::atomic<bool> g_is_told = false;
// How often it has told so. The first look is due without it.
std::atomic<unsigned> g_loads = 1;
// What that number was at the last look for the shared unwinder.
std::atomic<unsigned> g_loads_seen = 0;
// Not the ProcessLock, under which fault handling is installed.
SRWLOCK g_finding = SRWLOCK_INIT;

// What run-times of this compiler keep before an exception; the object itself, or what stands for
// one that is raised again, follows.
struct ExceptionHeader {
  std::type_info* type;
  void (*destructor)(void*);
  void (*unexpected_handler)();
  void (*terminate_handler)();
  ExceptionHeader* next;
  int handlers;  // negative: raised again, and not yet out of so many handlers
  int switch_value;
  const unsigned char* action;
  const unsigned char* table;
  _Unwind_Ptr place;
  void* adjusted;
  _Unwind_Exception unwinding;
};
static_assert(offsetof(ExceptionHeader, unwinding) + sizeof(_Unwind_Exception) ==
              sizeof(ExceptionHeader));

// Of such an exception; the last byte tells whether it stands for another one.
constexpr _Unwind_Exception_Class kCppException = 0x474E5543432B2B00;  // GNUCC++
constexpr _Unwind_Exception_Class kStandsForAnother = 1;

ExceptionHeader* CppHeaderOf(_Unwind_Exception* exception) {
  if ((exception->exception_class & ~kStandsForAnother) != kCppException) return nullptr;
  return reinterpret_cast<ExceptionHeader*>(exception + 1) - 1;
}

HMODULE RunTimeOf(const _Unwind_Exception& exception) {
  HMODULE run_time = nullptr;
  GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<LPCWSTR>(exception.exception_cleanup), &run_time);
  return run_time;
}

template <class Function>
Function* Find(HMODULE module, const char* name) {
  if (module == nullptr) return nullptr;
  return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

// What a handler of the client's begins and ends with. Null when its run-time is linked in.
struct HandlerCalls {
  void* (*begin)(void*);
  void (*end)();

  explicit HandlerCalls(const _Unwind_Exception& exception)
      : begin(Find<void*(void*)>(RunTimeOf(exception), "__cxa_begin_catch")),
        end(Find<void()>(RunTimeOf(exception), "__cxa_end_catch")) {}
};

// Our start-up code has told the shared unwinder of our frames if that one was there before us.
bool MakeFramesKnownTo(HMODULE shared) {
  struct Bases {
    void* text;
    void* data;
    void* function;
  } bases{};
  auto* const find = Find<const void*(void*, Bases*)>(shared, "_Unwind_Find_FDE");
  auto* const tell = Find<void(const void*, void*)>(shared, "__register_frame_info");
  if (find == nullptr || tell == nullptr) return false;
  if (find(reinterpret_cast<void*>(&FindSharedUnwinder), &bases) != nullptr) return true;
  if (qmz_unwind_frames_begin == nullptr) return false;
  // Its own record of them, for as long as it lives; it needs six words.
  static void* record[8];
  tell(qmz_unwind_frames_begin, record);
  return true;
}

void Meet(HMODULE shared) {
  // Our unwinder makes itself ready with the first exception that is raised in it.
  try {
    throw std::bad_alloc();
  } catch (const std::bad_alloc&) {
    if (MakeFramesKnownTo(shared)) g_raise = Find<Raise>(shared, "_Unwind_RaiseException");
  }
}

// Under the lock of the loader.
void CALLBACK NoteLoading(ULONG reason, const void* /*library*/, void* /*context*/) {
  constexpr ULONG kLoaded = 1;
  if (reason == kLoaded) ++g_loads;
}

}  // namespace

void WatchForSharedUnwinder() {
  // No header has it.
  using Register = LONG NTAPI(ULONG flags, decltype(&NoteLoading), void* context, void** cookie);
  if (g_is_told) return;
  auto* const watch = Find<Register>(GetModuleHandleW(L"ntdll.dll"), "LdrRegisterDllNotification");
  void* cookie = nullptr;
  g_is_told = watch != nullptr && watch(0, NoteLoading, nullptr, &cookie) >= 0;
}

void FindSharedUnwinder() {
  constexpr const wchar_t* kName = L"libgcc_s_dw2-1.dll";
  const unsigned loads = g_loads;
  if (g_raise != nullptr || g_loads_seen == loads) return;
  // For a library that is not there Wine searches the disk.
  if (GetModuleHandleW(kName) == nullptr) {
    if (g_is_told) g_loads_seen = loads;
    return;
  }
  const ExclusiveLock lock(g_finding);
  HMODULE shared = nullptr;
  // Takes a reference: from now on it must stay.
  if (g_raise == nullptr && GetModuleHandleExW(0, kName, &shared) != FALSE) Meet(shared);
}

void* RunUntilForeignException(ErasedCall run, void* call) {
  return QmzRunUntilForeignException(run, call);
}

void RaiseForeignException(void* exception) {
  auto* const raised = static_cast<_Unwind_Exception*>(exception);
  g_raise.load()(raised);
  // Nobody handles it. Then its run-time handles it itself, and ends the process in the way that
  // the client has set.
  if (const ExceptionHeader* const header = CppHeaderOf(raised)) {
    const HandlerCalls handler(*raised);
    if (handler.begin != nullptr) handler.begin(raised);
    header->terminate_handler();
  }
  std::abort();
}

void EndForeignException(void* exception) {
  auto* const ended = static_cast<_Unwind_Exception*>(exception);
  ExceptionHeader* const header = CppHeaderOf(ended);
  const HandlerCalls handler(*ended);
  if (header != nullptr && handler.begin != nullptr && handler.end != nullptr) {
    handler.begin(ended);
    handler.end();
  } else if (header != nullptr && header->handlers < 0) {
    header->handlers = -header->handlers;  // one outside has it still
  } else {
    _Unwind_DeleteException(ended);
  }
}

}  // namespace qmzentrel::platform

// Asked by whichever unwinder an exception comes from.
_Unwind_Reason_Code QmzForeignPersonality(int /*version*/, _Unwind_Action actions,
                                          _Unwind_Exception_Class /*kind*/,
                                          _Unwind_Exception* exception, _Unwind_Context* context) {
  using namespace qmzentrel::platform;
  const auto asked = static_cast<unsigned>(actions);
  if ((asked & _UA_FORCE_UNWIND) != 0 || g_raise == nullptr ||
      RunTimeOf(*exception) == ThisModule()) {
    return _URC_CONTINUE_UNWIND;
  }
  if ((asked & _UA_SEARCH_PHASE) != 0) return _URC_HANDLER_FOUND;
  _Unwind_SetGR(context, __builtin_eh_return_data_regno(0),
                reinterpret_cast<_Unwind_Word>(exception));
  _Unwind_SetIP(context, reinterpret_cast<_Unwind_Ptr>(&QmzForeignArrival));
  return _URC_INSTALL_CONTEXT;
}
