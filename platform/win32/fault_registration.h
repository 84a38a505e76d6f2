// The places of ours in the chain that the operating system asks about an exception of a thread.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>

#include "platform/erased_call.h"
#include "platform/win32/fault_layout.h"

namespace qmzentrel::platform {

struct KeptUnwinding;

/// One such place. The operating system knows the first two members, of everybody's registrations;
/// the rest is ours.
struct Registration {
  Registration* previous;
  void* handler;
  void* place[5];            ///< to come back to; the compiler writes it
  DWORD code;                ///< of the last fault, 0: none yet
  DWORD cut_back_to;         ///< not 0 while a fault of ours is leading back here
  KeptUnwinding* unwinding;  ///< the client's, that has led back here; null: none
};
static_assert(offsetof(Registration, place) == REGISTRATION_PLACE);

/// Of ExceptionFlags: the chain is being left, nobody is asked.
inline constexpr DWORD kUnwinding = 0x2 | 0x4;

/// How the operating system asks one of them.
using FaultHandler = int __cdecl(EXCEPTION_RECORD*, Registration*, CONTEXT*, void*);

extern "C" {
/// Stands for a procedure: takes the faults in it.
FaultHandler QmzFaultHandler;
/// Stands for a call out: takes none, but has our destructors run when somebody outside takes one.
FaultHandler QmzCallOutHandler;
}

inline Registration* FirstRegistration() {
  void* first = nullptr;
  asm volatile("movl %%fs:0, %0" : "=r"(first) : : "memory");
  return static_cast<Registration*>(first);
}

inline void SetFirstRegistration(Registration* registration) {
  asm volatile("movl %0, %%fs:0" : : "r"(registration) : "memory");
}

/// The operating system's mark for the end of the chain.
inline bool IsEnd(const Registration* registration) {
  return reinterpret_cast<std::uintptr_t>(registration) == UINTPTR_MAX;
}

inline bool IsProcedure(const Registration& registration) {
  return registration.handler == reinterpret_cast<void*>(&QmzFaultHandler);
}

inline bool IsCallOut(const Registration& registration) {
  return registration.handler == reinterpret_cast<void*>(&QmzCallOutHandler);
}

/// Enters a registration that `handler` is asked for, runs `run`, and leaves it on every way out.
/// What leads the thread back here is raised from here.
void RunWithin(FaultHandler& handler, ErasedCall run, void* call);

}  // namespace qmzentrel::platform
