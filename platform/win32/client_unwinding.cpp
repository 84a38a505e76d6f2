#include "platform/win32/client_unwinding.h"

#include <windows.h>

#include <cstddef>
#include <exception>
#include <new>

#include "platform/hardware_faults.h"
#include "platform/win32/fault_layout.h"
#include "platform/win32/fault_registration.h"
#include "platform/win32/shared_unwinder.h"
#include "platform/win32/stack_room.h"

namespace qmzentrel::platform {

// An unwinding of the client's that has been interrupted: the stack below the registration that was
// told of it, and how to go back there.
struct KeptUnwinding {
  DWORD esp, ebx, esi, edi, ebp;
  DWORD first_registration;
  DWORD end;      // of the stack that is kept
  DWORD size;     // of what is kept
  void* foreign;  // not null: an exception of the client's run-time, and nothing is kept
  // The kept bytes follow.

  char* Bytes() { return reinterpret_cast<char*>(this + 1); }
  // The copy of what lay at `address`.
  template <class T>
  T* CopyOf(const T* address) {
    return reinterpret_cast<T*>(Bytes() + (reinterpret_cast<DWORD>(address) - esp));
  }
};
static_assert(offsetof(KeptUnwinding, esp) == KEPT_ESP);
static_assert(offsetof(KeptUnwinding, ebx) == KEPT_EBX);
static_assert(offsetof(KeptUnwinding, esi) == KEPT_ESI);
static_assert(offsetof(KeptUnwinding, edi) == KEPT_EDI);
static_assert(offsetof(KeptUnwinding, ebp) == KEPT_EBP);
static_assert(offsetof(KeptUnwinding, first_registration) == KEPT_FIRST_REGISTRATION);
static_assert(offsetof(KeptUnwinding, end) == KEPT_END);
static_assert(offsetof(KeptUnwinding, size) == KEPT_SIZE);
static_assert(sizeof(KeptUnwinding) == KEPT_BYTES);

extern "C" {
void QmzInterruptUnwinding(KeptUnwinding* kept, Registration* registration);
[[noreturn]] void QmzGoOnUnwinding(const KeptUnwinding* kept);
}

namespace {

// Whether a fault of ours is leading the thread back past `registration`.
bool IsCutBack(const Registration* registration) {
  for (; !IsEnd(registration); registration = registration->previous) {
    if ((IsProcedure(*registration) || IsCallOut(*registration)) &&
        registration->cut_back_to != 0) {
      return true;
    }
  }
  return false;
}

// The stack that asking for memory needs, with room to spare.
constexpr std::ptrdiff_t kStackForInterruption = 32 * 1024;

// The stack of the call to LeaveProcedures and of the assembler part.
constexpr DWORD kStackOfCall = 1024;

// Lets the destructors of our procedures run before the unwinding that has come to `registration`
// goes on: puts the stack of the unwinding aside, raises an error from where the call out was made,
// and comes back when that has left the component.
void LeaveProcedures(Registration* registration) {
  // The client handles an overflow of the stack. Better to miss our destructors than its handler.
  if (StackBelow(__builtin_frame_address(0)) < kStackForInterruption) return;
  const auto end = reinterpret_cast<DWORD>(registration + 1);
  const DWORD most = end - reinterpret_cast<DWORD>(__builtin_frame_address(0)) + kStackOfCall;
  auto* const kept =
      static_cast<KeptUnwinding*>(HeapAlloc(GetProcessHeap(), 0, sizeof(KeptUnwinding) + most));
  if (kept == nullptr) return;
  kept->foreign = nullptr;
  kept->end = end;
  registration->unwinding = kept;
  QmzInterruptUnwinding(kept, registration);
  HeapFree(GetProcessHeap(), 0, kept);
}

KeptUnwinding* KeptForeign(void* exception) {
  auto* const kept =
      static_cast<KeptUnwinding*>(HeapAlloc(GetProcessHeap(), 0, sizeof(KeptUnwinding)));
  if (kept == nullptr) {
    EndForeignException(exception);
    throw std::bad_alloc();
  }
  kept->foreign = exception;
  return kept;
}

}  // namespace

// A call out takes no exception. But when somebody outside handles one, functions of ours are left,
// and nobody else runs their destructors.
extern "C" {

[[gnu::force_align_arg_pointer]] int __cdecl QmzCallOutHandler(EXCEPTION_RECORD* record,
                                                               Registration* registration,
                                                               CONTEXT* /*context*/,
                                                               void* /*dispatcher*/) {
  if ((record->ExceptionFlags & kUnwinding) != 0 && !IsCutBack(registration)) {
    LeaveProcedures(registration);
  }
  return ExceptionContinueSearch;
}

}  // extern "C"

KeptUnwinding* UnwindingInProgress() {
  if (std::current_exception() == nullptr) return nullptr;
  try {
    throw;
  } catch (ClientUnwinding& unwinding) {
    return unwinding.Take();
  } catch (...) {
    return nullptr;
  }
}

void RunAsCallOut(ErasedCall run, void* call) {
  struct Call {
    ErasedCall run;
    void* call;
  } made{run, call};
  void* const foreign = RunUntilForeignException(
      [](void* erased) {
        const Call& inner = *static_cast<const Call*>(erased);
        RunWithin(QmzCallOutHandler, inner.run, inner.call);
      },
      &made);
  if (foreign != nullptr) throw ClientUnwinding(KeptForeign(foreign));
}

ClientUnwinding::~ClientUnwinding() {
  if (kept_ == nullptr) return;
  void* const foreign = kept_->foreign;
  HeapFree(GetProcessHeap(), 0, kept_);
  if (foreign == nullptr) return;
  const ClientCode destructor_of_the_exception;
  EndForeignException(foreign);
}

void ResumeUnwinding(KeptUnwinding* kept) {
  if (kept->foreign != nullptr) {
    void* const foreign = kept->foreign;
    HeapFree(GetProcessHeap(), 0, kept);
    RaiseForeignException(foreign);
  }
  // The kept stack has the chain lead on to registrations of ours that have gone meanwhile.
  auto* const told = reinterpret_cast<Registration*>(kept->end) - 1;
  if (FirstRegistration() != told) kept->CopyOf(told)->previous = FirstRegistration();
  QmzGoOnUnwinding(kept);
}

}  // namespace qmzentrel::platform
