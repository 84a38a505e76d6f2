#include "tests/faults/process_ends.h"

#include <stdio.h>
#include <windows.h>

/* Of abort(), in the C runtime of the operating system. */
static const DWORD kAborted = 3;
static const DWORD kPatience = 30000; /* milliseconds */

static DWORD ExitCodeOf(char* command) {
  STARTUPINFOA startup = {.cb = sizeof startup};
  PROCESS_INFORMATION process;
  DWORD code = STILL_ACTIVE;
  if (!CreateProcessA(NULL, command, NULL, NULL, TRUE, 0, NULL, NULL, &startup, &process)) {
    return code;
  }
  if (WaitForSingleObject(process.hProcess, kPatience) == WAIT_TIMEOUT) {
    TerminateProcess(process.hProcess, STILL_ACTIVE);
  }
  GetExitCodeProcess(process.hProcess, &code);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return code;
}

int RunProcessEnds(const FaultProbe* probe, const char* probe_file) {
  char program[MAX_PATH];
  char command[3 * MAX_PATH];
  int wrong = 0;
  GetModuleFileNameA(NULL, program, sizeof program);
  for (int end = 0; end < probe->ends(); ++end) {
    snprintf(command, sizeof command, "\"%s\" \"%s\" %d", program, probe_file, end);
    fflush(stdout);
    const DWORD code = ExitCodeOf(command);
    printf("%-60s exit code %lX%s\n", probe->end_name(end), code,
           code == kAborted ? "" : "  WRONG");
    wrong += code != kAborted;
  }
  return wrong;
}
