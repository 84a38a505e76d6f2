#include "tests/faults/matrix.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

#include "tests/faults/host_faults.h"
#include "tests/faults/machine_state.h"
#include "tests/faults/memory_use.h"
#include "tests/faults/probe.h"
#include "tests/faults/process_ends.h"

enum { kRuns = 3 };

/* Less than any error that is not freed. */
enum { kSlackOfRun = 64 };

/* One kind, several times in a row. */
static int RunKind(const FaultProbe* probe, int kind, HostCheck check) {
  const char* const name = probe->name(kind);
  unsigned heap_before = 0;
  int wrong = 0;
  fflush(stdout); /* whatever happens next */
  for (int run = 0; run < kRuns; ++run) {
    if (run == kRuns - 1) heap_before = HeapUse();
    const MachineState before = ReadMachineState();
    const int failed = probe->fault(kind);
    const MachineState after = ReadMachineState();
    if (failed) printf("%s, run %d: %s\n", name, run + 1, probe->complaint());
    const int changed = CompareMachineStates(name, &before, &after);
    const int broken = check();
    if (broken) printf("%s: the host's own exceptions fail\n", name);
    wrong |= failed || changed || broken;
  }
  const int kept = (int)(HeapUse() - heap_before);
  if (probe->destructors_ran() && kept > kSlackOfRun) wrong = 1;
  printf("%-60s %s, %d bytes kept%s\n", name,
         probe->destructors_ran() ? "destructors ran" : "cut back       ", kept,
         wrong ? "  WRONG" : "");
  return wrong;
}

static double Seconds(void) {
  LARGE_INTEGER now, frequency;
  QueryPerformanceCounter(&now);
  QueryPerformanceFrequency(&frequency);
  return (double)now.QuadPart / (double)frequency.QuadPart;
}

/* Many faults in a row, after which no more memory is held than before. */
static int RunMany(const FaultProbe* probe) {
  enum { kTimes = 10000, kSlack = 4096, kPrivateSlack = 256 * 1024 };
  int wrong = 0;
  const unsigned heap_before = HeapUse();
  const unsigned private_before = PrivateUse();
  double begin = Seconds();
  for (int count = 0; count < kTimes; ++count) wrong += probe->fault(0);
  printf("%d faults reported: %.0f a second\n", kTimes, kTimes / (Seconds() - begin));
  begin = Seconds();
  wrong += kTimes - probe->unreported(0, kTimes);
  printf("%d faults not reported: %.0f a second\n", kTimes, kTimes / (Seconds() - begin));
  const int heap_growth = (int)(HeapUse() - heap_before);
  const int private_growth = (int)(PrivateUse() - private_before);
  printf("growth: heaps %d bytes, private memory %d bytes\n", heap_growth, private_growth);
  if (wrong) printf("%d of them went wrong: %s\n", wrong, probe->complaint());
  return wrong != 0 || heap_growth > kSlack || private_growth > kPrivateSlack;
}

/* Those that end a kind by cutting back have nothing to free where nothing lies between. */
static int RunManyCutBack(const FaultProbe* probe) {
  enum { kTimes = 10000, kSlack = 4096 };
  int kind = 0;
  while (kind < probe->kinds() &&
         strcmp(probe->name(kind), "in a function of the operating system") != 0)
    ++kind;
  if (kind == probe->kinds()) {
    puts("no kind that cuts back  WRONG");
    return 1;
  }
  probe->unreported(kind, 1);
  const unsigned heap_before = HeapUse();
  const int raised = probe->unreported(kind, kTimes);
  const int growth = (int)(HeapUse() - heap_before);
  const int wrong = raised != kTimes || growth > kSlack;
  printf("%d of %d faults that cut back raised, growth %d bytes%s\n", raised, kTimes, growth,
         wrong ? "  WRONG" : "");
  return wrong;
}

enum { kThreads = 2, kFaultsOfThread = 20 };

typedef struct ThreadJob {
  const FaultProbe* probe;
  int kind;
} ThreadJob;

static DWORD WINAPI FaultOnThread(void* data) {
  const ThreadJob* const job = data;
  return (DWORD)job->probe->unreported(job->kind, kFaultsOfThread);
}

/* Every kind at the same time on threads of their own. */
static int RunOnThreads(const FaultProbe* probe) {
  int wrong = 0;
  for (int kind = 0; kind < probe->kinds(); ++kind) {
    const ThreadJob job = {probe, kind};
    HANDLE threads[kThreads];
    DWORD raised[kThreads];
    for (int index = 0; index < kThreads; ++index) {
      threads[index] = CreateThread(NULL, 0, FaultOnThread, (void*)&job, 0, NULL);
    }
    WaitForMultipleObjects(kThreads, threads, TRUE, INFINITE);
    for (int index = 0; index < kThreads; ++index) {
      GetExitCodeThread(threads[index], &raised[index]);
      CloseHandle(threads[index]);
    }
    const DWORD expected = (DWORD)(probe->unreported(kind, 1) * kFaultsOfThread);
    for (int index = 0; index < kThreads; ++index) {
      if (raised[index] == expected) continue;
      printf("on threads: %s: %lu raised and not %lu  WRONG\n", probe->name(kind), raised[index],
             expected);
      wrong = 1;
    }
  }
  printf("on %d threads at a time%s\n", kThreads, wrong ? "  WRONG" : "");
  return wrong;
}

static const FaultProbe* LoadProbe(const char* file) {
  const HMODULE library = LoadLibraryA(file);
  if (library == NULL) return NULL;
  const ProbeInterfaceFunction get =
      (ProbeInterfaceFunction)(void*)GetProcAddress(library, "ProbeInterface");
  return get == NULL ? NULL : get();
}

int RunMatrix(int argument_count, char** arguments, HostCheck check) {
  if (argument_count < 2) return 2;
  InstallHostFilter();
  const FaultProbe* const probe = LoadProbe(arguments[1]);
  if (probe == NULL || probe->start() != 0) {
    puts("no probe");
    return 2;
  }
  if (argument_count > 2) {
    probe->end_process(atoi(arguments[2]));
    return kEndReturned;
  }
  int wrong = 0;
  for (int kind = 0; kind < probe->kinds(); ++kind) wrong += RunKind(probe, kind, check);
  wrong += RunHostFaults(probe);
  wrong += RunOnThreads(probe);
  wrong += RunMany(probe);
  wrong += RunManyCutBack(probe);
  wrong += RunProcessEnds(probe, arguments[1]);
  probe->end();
  printf("%d kinds, %d wrong\n", probe->kinds(), wrong);
  return wrong != 0;
}
