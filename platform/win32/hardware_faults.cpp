#include "platform/hardware_faults.h"

#include <windows.h>

// After it, which it needs.
#include <malloc.h>

#include <cstddef>
#include <cstdlib>
#include <exception>
#include <new>

#include <cxxabi.h>

#include "platform/win32/client_unwinding.h"
#include "platform/win32/fault_registration.h"
#include "platform/win32/shared_unwinder.h"
#include "platform/win32/stack_room.h"
#include "platform/win32/this_module.h"

namespace qmzentrel::platform {

extern "C" {
[[noreturn]] void QmzReturnToFaultRegistration(const Registration* registration);
void QmzUnwindTo(Registration* registration, EXCEPTION_RECORD* record);
}

namespace {

// Below this severity an exception only tells something, as OutputDebugString does.
constexpr DWORD kWarning = 0x80000000u;

// Of ExceptionFlags; the compiler's headers name only the first of them.
constexpr DWORD kNonContinuable = EXCEPTION_NONCONTINUABLE;
constexpr DWORD kNestedCall = 0x10;  // raised while another was being handled

// Of the processor: pending exceptions of either floating-point unit, direction, single step.
constexpr DWORD kX87Exceptions = 0x80FF;
constexpr DWORD kSseExceptions = 0x3F;
constexpr std::size_t kSseStateAt = 24;  // MXCSR in the extended registers
constexpr std::size_t kX87StatusAt = 2;  // the x87 status there
constexpr std::size_t kX87InUseAt = 4;   // and a bit for each x87 register in use
constexpr DWORD kX87AllFree = 0xFFFF;    // two bits each where there are more
constexpr DWORD kDirectionAndTrapFlags = 0x400 | 0x100;

FaultRaiser g_raiser = nullptr;
LPTOP_LEVEL_EXCEPTION_FILTER g_filter_before = nullptr;

struct CodeRange {
  DWORD begin;
  DWORD size;
  bool Holds(DWORD address) const { return address - begin < size; }
};

CodeRange OwnCode() {
  const auto base = reinterpret_cast<DWORD>(ThisModule());
  const auto* const headers =
      reinterpret_cast<const IMAGE_NT_HEADERS*>(base + static_cast<DWORD>(__ImageBase.e_lfanew));
  return {base + headers->OptionalHeader.BaseOfCode, headers->OptionalHeader.SizeOfCode};
}

// Marks a call into code of the client; takes no exception.
int __cdecl ClientCodeHandler(EXCEPTION_RECORD* /*record*/, Registration* /*registration*/,
                              CONTEXT* /*context*/, void* /*dispatcher*/) {
  return ExceptionContinueSearch;
}

bool MarksClientCode(const Registration& registration) {
  return registration.handler == reinterpret_cast<void*>(&ClientCodeHandler);
}

bool LeavesStackForReport(const Registration* registration) {
  return StackBelow(registration) >= kStackForReport;
}

[[noreturn]] void CutBackTo(Registration* registration, DWORD code, EXCEPTION_RECORD* record) {
  registration->code = code;
  registration->cut_back_to = 1;
  QmzUnwindTo(registration, record);
  QmzReturnToFaultRegistration(registration);
}

[[noreturn]] void RaiseWhatLedBack(const Registration& registration) {
  if (registration.unwinding != nullptr) throw ClientUnwinding(registration.unwinding);
  const DWORD code = registration.code;
  // Or the next overflow would end the process without a word.
  if (code == EXCEPTION_STACK_OVERFLOW) _resetstkoflw();
  g_raiser(code);
  std::abort();
}

// Entered as if the instruction at fault had called it. The code lies in the registration: the
// handler has no other storage that is this thread's alone.
[[gnu::noinline, noreturn]] void RaiseAtFault() {
  asm volatile("cld\n\tfnclex" ::: "cc");
  RaiseWhatLedBack(*FirstRegistration());
}

// Whether the processor was sent to an address that holds no code.
bool IsWildJump(const EXCEPTION_RECORD& record, const CONTEXT& context) {
  return record.ExceptionCode == EXCEPTION_ACCESS_VIOLATION && record.NumberParameters > 1 &&
         record.ExceptionInformation[1] == context.Eip;
}

// Whether a statement of ours is at fault; also when it has called an address without code.
bool IsInOwnCode(const EXCEPTION_RECORD& record, const CONTEXT& context) {
  static const CodeRange own = OwnCode();
  if (own.Holds(context.Eip)) return true;
  return IsWildJump(record, context) && own.Holds(*reinterpret_cast<const DWORD*>(context.Esp));
}

// Who stands between a fault and the registration that is asked about it.
struct Between {
  Registration* innermost;           // of all registrations, or the one asked
  Registration* call_out = nullptr;  // the innermost one
  bool client = false;
  bool other = false;
};

Between BetweenFaultAnd(Registration* registration, DWORD stack_at_fault, bool in_own_code) {
  Between found{.innermost = registration};
  Registration* inner = FirstRegistration();
  // Below the fault lie those that the operating system has entered itself, in order to ask us.
  while (reinterpret_cast<DWORD>(inner) < stack_at_fault) inner = inner->previous;
  found.innermost = inner;
  // Our code was about to call the client; the client itself has not begun.
  if (in_own_code) {
    while (inner != registration && (IsCallOut(*inner) || MarksClientCode(*inner))) {
      inner = inner->previous;
    }
  }
  for (; inner != registration && !IsEnd(inner); inner = inner->previous) {
    if (MarksClientCode(*inner)) {
      found.client = true;
    } else if (!IsCallOut(*inner)) {
      found.other = true;
      found.call_out = nullptr;  // an error raised further in would not get past this one
    } else if (found.call_out == nullptr) {
      found.call_out = inner;
    }
  }
  return found;
}

// Brings the processor into the state that a function expects at its entry: direction flag and
// single step off, no x87 register in use, no floating-point exception pending.
void ClearForCall(CONTEXT& context) {
  context.EFlags &= ~kDirectionAndTrapFlags;
  context.FloatSave.StatusWord &= ~kX87Exceptions;
  context.FloatSave.TagWord |= kX87AllFree;
  if ((context.ContextFlags & CONTEXT_EXTENDED_REGISTERS) != CONTEXT_EXTENDED_REGISTERS) return;
  *reinterpret_cast<WORD*>(context.ExtendedRegisters + kX87StatusAt) &=
      static_cast<WORD>(~kX87Exceptions);
  context.ExtendedRegisters[kX87InUseAt] = 0;
  *reinterpret_cast<DWORD*>(context.ExtendedRegisters + kSseStateAt) &= ~kSseExceptions;
}

// Lets the thread go on as if the statement at fault had called a function that raises. False when
// the fault is not in our own code, through which alone an error can be raised.
bool RaiseWhereItHappened(const EXCEPTION_RECORD& record, CONTEXT& context) {
  if (!IsInOwnCode(record, context)) return false;
  if (!IsWildJump(record, context)) {
    // The unwinder looks up the address before the one to return to.
    auto* const stack = reinterpret_cast<DWORD*>(context.Esp) - 1;
    *stack = context.Eip + 1;
    context.Esp = reinterpret_cast<DWORD>(stack);
  }
  context.Eip = reinterpret_cast<DWORD>(&RaiseAtFault);
  ClearForCall(context);
  return true;
}

const EXCEPTION_RECORD& Innermost(const EXCEPTION_RECORD& record) {
  const EXCEPTION_RECORD* inner = &record;
  while (inner->ExceptionRecord != nullptr) inner = inner->ExceptionRecord;
  return *inner;
}

// An exception that no procedure of ours was running for belongs to somebody else.
LONG WINAPI HandOn(EXCEPTION_POINTERS* exception) {
  return g_filter_before != nullptr ? g_filter_before(exception) : EXCEPTION_CONTINUE_SEARCH;
}

// The procedure that a fault of this thread would belong to now; null when there is none.
Registration* RunningProcedure() {
  for (Registration* registration = FirstRegistration(); !IsEnd(registration);
       registration = registration->previous) {
    if (MarksClientCode(*registration)) return nullptr;
    if (IsProcedure(*registration)) return registration;
  }
  return nullptr;
}

// Where a fault goes that could not be raised at its statement.
Registration* PlaceOfFault() {
  Registration* const first = FirstRegistration();
  // The statement was in a function of ours that the client had called from within the call out.
  const bool in_call_out = !IsEnd(first) && IsCallOut(*first);
  if (in_call_out && first->code != 0 && first->cut_back_to == 0) return first;
  Registration* const procedure = RunningProcedure();
  return procedure != nullptr && procedure->code != 0 ? procedure : nullptr;
}

bool IsHandlingFault() {
  if (std::current_exception() == nullptr) return false;
  try {
    throw;
  } catch (const RaisedFault&) {
    return true;
  } catch (...) {
    return false;
  }
}

// Called when an error finds no handler. A fault goes on from here when it could not leave the
// function that it was raised in: one that is declared to raise nothing, or one that code of others
// has called. Any other error ends the process, and so does a call that no error has led to.
void OnTerminate() {
  if (KeptUnwinding* const kept = UnwindingInProgress()) {
    abi::__cxa_end_catch();  // of whoever ended the search for a handler
    ResumeUnwinding(kept);
  }
  Registration* const place = PlaceOfFault();
  if (place == nullptr) std::abort();
  if (IsHandlingFault()) {
    abi::__cxa_end_catch();  // of whoever ended the search for a handler
  } else if (std::uncaught_exceptions() == 0) {
    std::abort();
  }
  // Otherwise the fault came to the edge of a function that is declared to raise nothing, past its
  // handlers for other errors.
  CutBackTo(place, place->code, nullptr);
}

}  // namespace

extern "C" {

[[gnu::force_align_arg_pointer]] int __cdecl QmzFaultHandler(EXCEPTION_RECORD* record,
                                                             Registration* registration,
                                                             CONTEXT* context, void* dispatcher) {
  if ((record->ExceptionFlags & kUnwinding) != 0) {
    return QmzCallOutHandler(record, registration, context, dispatcher);
  }
  if (g_raiser == nullptr) return ExceptionContinueSearch;
  const EXCEPTION_RECORD& fault = Innermost(*record);
  const DWORD code = fault.ExceptionCode;
  if (code < kWarning) return ExceptionContinueSearch;
  const Between between = BetweenFaultAnd(registration, context->Esp, IsInOwnCode(fault, *context));
  if (between.client) return ExceptionContinueSearch;
  if (code == EXCEPTION_STACK_OVERFLOW && !LeavesStackForReport(registration)) {
    return ExceptionContinueSearch;  // a procedure further out will take it
  }
  registration->code = code;
  if (code == EXCEPTION_STACK_OVERFLOW) CutBackTo(registration, code, record);
  constexpr DWORD kNoWayOn = kNonContinuable | kNestedCall;
  if (between.other || (record->ExceptionFlags & kNoWayOn) != 0 ||
      !RaiseWhereItHappened(fault, *context)) {
    CutBackTo(between.call_out != nullptr ? between.call_out : registration, code, record);
  }
  between.innermost->code = code;
  return ExceptionContinueExecution;
}

}  // extern "C"

// Every procedure comes this way and pays for what is written.
void RunWithin(FaultHandler& handler, ErasedCall run, void* call) {
  // The way back here does not bring the registers of the caller along: this function keeps them.
  asm volatile("" : : : "ebx", "esi", "edi");
  struct Entered : Registration {
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
    explicit Entered(FaultHandler& asked) {
      previous = FirstRegistration();
      handler = reinterpret_cast<void*>(&asked);
      code = 0;
      cut_back_to = 0;
      unwinding = nullptr;
    }
    ~Entered() { SetFirstRegistration(previous); }
    Entered(const Entered&) = delete;
    Entered& operator=(const Entered&) = delete;
  } entered(handler);
  // Comes back once more when a fault or an unwinding has led back here.
  if (__builtin_setjmp(entered.place) != 0) RaiseWhatLedBack(entered);
  SetFirstRegistration(&entered);
  // As a function that the compiler knows nothing about. Around copies that it makes itself in one
  // that it knows it drops destructors; a fault there would leave the registration in the chain.
  asm("" : "+r"(run));
  run(call);
}

void InstallFaultHandling(FaultRaiser raiser) {
  // The filter and the terminate handler point into this library.
  HMODULE pinned = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                     reinterpret_cast<LPCWSTR>(&HandOn), &pinned);
  g_raiser = raiser;
  std::set_terminate(OnTerminate);
  const LPTOP_LEVEL_EXCEPTION_FILTER before = SetUnhandledExceptionFilter(HandOn);
  if (before != HandOn) g_filter_before = before;
  WatchForSharedUnwinder();
  FindSharedUnwinder();
}

void RunAsProcedure(ErasedCall run, void* call) {
  RunWithin(QmzFaultHandler, run, call);
}

// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): made in place.
ClientCode::ClientCode() {
  static_assert(sizeof(Registration) == kRoom);
  auto* const registration = new (&registration_) Registration{};
  registration->handler = reinterpret_cast<void*>(&ClientCodeHandler);
  registration->previous = FirstRegistration();
  SetFirstRegistration(registration);
  // The client may have loaded it meanwhile. Not before the library stays in the process.
  if (g_raiser != nullptr) FindSharedUnwinder();
}

ClientCode::~ClientCode() {
  SetFirstRegistration(reinterpret_cast<const Registration&>(registration_).previous);
}

}  // namespace qmzentrel::platform
