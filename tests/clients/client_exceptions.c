#include "tests/clients/client_exceptions.h"

#include <windows.h>

/* One handler on the stack: what the operating system knows of it, then the language's own. */
struct Place {
  struct _EXCEPTION_REGISTRATION_RECORD registration;
  unsigned long caught;
  void* jump[5];
};

static struct _EXCEPTION_REGISTRATION_RECORD* First(void) {
  struct _EXCEPTION_REGISTRATION_RECORD* first = NULL;
  __asm__ volatile("movl %%fs:0, %0" : "=r"(first));
  return first;
}

static void SetFirst(struct _EXCEPTION_REGISTRATION_RECORD* first) {
  __asm__ volatile("movl %0, %%fs:0" : : "r"(first) : "memory");
}

/* RtlUnwind keeps no register but the frame's. */
static void UnwindTo(struct Place* place, EXCEPTION_RECORD* record) {
  __asm__ volatile("pushl $0\n\tpushl %1\n\tpushl $1f\n\tpushl %0\n\tcall _RtlUnwind@16\n1:"
                   :
                   : "a"(place), "c"(record)
                   : "ebx", "edx", "esi", "edi", "memory", "cc");
}

static EXCEPTION_DISPOSITION __cdecl Handle(EXCEPTION_RECORD* record, void* frame,
                                            struct _CONTEXT* context, void* dispatcher) {
  (void)context;
  (void)dispatcher;
  if (record->ExceptionFlags & 6) return ExceptionContinueSearch; /* unwinding */
  if (record->ExceptionCode != CLIENT_EXCEPTION &&
      record->ExceptionCode != OTHER_CLIENT_EXCEPTION) {
    return ExceptionContinueSearch;
  }
  struct Place* volatile place = frame;
  UnwindTo(place, record);
  /* As languages do that run their handler before the stack below it goes: it is all still there.
   */
  place->caught = record->ExceptionCode;
  __builtin_longjmp(place->jump, 1);
}

void RaiseClientException(unsigned long code) {
  RaiseException(code, EXCEPTION_NONCONTINUABLE, 0, NULL);
}

unsigned long CatchClientException(void (*body)(void* argument), void* argument) {
  struct Place place;
  place.registration.Handler = (void*)Handle;
  place.registration.Next = First();
  place.caught = 0;
  SetFirst(&place.registration);
  if (__builtin_setjmp(place.jump) == 0) body(argument);
  SetFirst(place.registration.Next);
  return *(volatile unsigned long*)&place.caught;
}
