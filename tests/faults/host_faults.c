#include "tests/faults/host_faults.h"

#include <stdio.h>
#include <windows.h>

/* An instruction that never is one, and its length. */
#define FAULT() asm volatile("ud2" : : : "memory")
enum { kFaultLength = 2 };

static int g_filtered = 0;
static int g_handled = 0;
static const FaultProbe* g_probe;

static int SkipFault(DWORD code, CONTEXT* context) {
  if (code != EXCEPTION_ILLEGAL_INSTRUCTION) return 0;
  context->Eip += kFaultLength;
  return 1;
}

static LONG WINAPI HostFilter(EXCEPTION_POINTERS* exception) {
  if (!SkipFault(exception->ExceptionRecord->ExceptionCode, exception->ContextRecord)) {
    return EXCEPTION_CONTINUE_SEARCH;
  }
  ++g_filtered;
  return EXCEPTION_CONTINUE_EXECUTION;
}

void InstallHostFilter(void) {
  SetUnhandledExceptionFilter(HostFilter);
}

/* What a compiler with structured exceptions makes of a __try block. */
typedef struct Registration {
  struct Registration* previous;
  EXCEPTION_DISPOSITION(__cdecl* handler)(EXCEPTION_RECORD*, void*, CONTEXT*, void*);
} Registration;

static EXCEPTION_DISPOSITION __cdecl HostHandler(EXCEPTION_RECORD* record, void* registration,
                                                 CONTEXT* context, void* dispatcher) {
  (void)registration;
  (void)dispatcher;
  if (!SkipFault(record->ExceptionCode, context)) return ExceptionContinueSearch;
  ++g_handled;
  return ExceptionContinueExecution;
}

static void Enter(Registration* registration) {
  registration->handler = HostHandler;
  asm volatile("movl %%fs:0, %0" : "=r"(registration->previous));
  asm volatile("movl %0, %%fs:0" : : "r"(registration) : "memory");
}

static void Leave(Registration* registration) {
  asm volatile("movl %0, %%fs:0" : : "r"(registration->previous) : "memory");
}

static void Fault(void) {
  FAULT();
}

static void FaultUnderOwnHandler(void) {
  Registration registration;
  Enter(&registration);
  FAULT();
  Leave(&registration);
}

static DWORD WINAPI FaultingThread(void* unused) {
  (void)unused;
  FAULT();
  return 0;
}

static void FaultOnAnotherThread(void) {
  const HANDLE thread = CreateThread(NULL, 0, FaultingThread, NULL, 0, NULL);
  WaitForSingleObject(thread, INFINITE);
  CloseHandle(thread);
}

static void FaultInProcedure(void) {
  if (g_probe->fault(0) == 0) ++g_handled;
}

static void CallBackUnderOwnHandler(void) {
  Registration registration;
  Enter(&registration);
  g_probe->read_null();
  Leave(&registration);
}

enum { kFunctionOfTheProcedure, kClient };

static void ClientFaultUnderOuterHandler(void) {
  Registration registration;
  Enter(&registration);
  g_probe->call(Fault, kClient);
  Leave(&registration);
}

static void ClientFault(void) {
  g_probe->call(Fault, kClient);
}
static void ClientFaultUnderOwnHandler(void) {
  g_probe->call(FaultUnderOwnHandler, kClient);
}
static void FunctionUnderOwnHandler(void) {
  g_probe->call(FaultUnderOwnHandler, kFunctionOfTheProcedure);
}
static void ThreadDuringProcedure(void) {
  g_probe->call(FaultOnAnotherThread, kFunctionOfTheProcedure);
}
static void FunctionFault(void) {
  g_probe->call(Fault, kFunctionOfTheProcedure);
}
static void CallbackOfFunction(void) {
  g_probe->call(CallBackUnderOwnHandler, kFunctionOfTheProcedure);
}
static void ProcedureUnderClient(void) {
  g_probe->call(FaultInProcedure, kClient);
}

typedef struct HostFault {
  const char* name;
  void (*run)(void);
  int filtered; /* by the filter that was there before the probe */
  int handled;  /* by a structured handler of the host */
  int reports;
} HostFault;

int RunHostFaults(const FaultProbe* probe) {
  static const HostFault faults[] = {
      {"outside every procedure", Fault, 1, 0, 0},
      {"outside, under the host's handler", FaultUnderOwnHandler, 0, 1, 0},
      {"outside, on another thread", FaultOnAnotherThread, 1, 0, 0},
      {"on another thread during a procedure", ThreadDuringProcedure, 1, 0, 0},
      {"in code of the client", ClientFault, 1, 0, 0},
      {"in code of the client, under a handler in it", ClientFaultUnderOwnHandler, 0, 1, 0},
      {"in code of the client, under a handler around us", ClientFaultUnderOuterHandler, 0, 1, 0},
      {"in a function that we use, under its handler", FunctionUnderOwnHandler, 0, 1, 0},
      {"in a function that we use", FunctionFault, 0, 0, 1},
      {"in a callback of one, under a handler that refuses", CallbackOfFunction, 0, 0, 1},
      /* The probe takes that report itself and says whether it is right. */
      {"in a procedure that the client calls", ProcedureUnderClient, 0, 1, 0},
  };
  int wrong = 0;
  g_probe = probe;
  for (unsigned index = 0; index < sizeof faults / sizeof *faults; ++index) {
    const HostFault* const fault = &faults[index];
    g_filtered = g_handled = 0;
    probe->reports();
    fault->run();
    const int reports = probe->reports();
    const int as_expected =
        g_filtered == fault->filtered && g_handled == fault->handled && reports == fault->reports;
    printf("%-52s filter %d, handler %d, reports %d%s\n", fault->name, g_filtered, g_handled,
           reports, as_expected ? "" : "  WRONG");
    wrong += !as_expected;
  }
  return wrong;
}
