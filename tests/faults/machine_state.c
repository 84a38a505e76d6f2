#include "tests/faults/machine_state.h"

#include <stdio.h>

MachineState ReadMachineState(void) {
  enum { kControlOfSse = 0xFFC0, kWatchedFlags = 0x400 | 0x100 | 0x40000 };
  MachineState state;
  unsigned x87[7]; /* control, status, registers, and the last instruction */
  unsigned sse = 0;
  asm volatile("fnstenv %0\n\tfldenv %0" : "=m"(x87));
  state.x87_control = (unsigned short)x87[0];
  state.x87_registers = (unsigned short)x87[2];
  asm volatile("stmxcsr %0" : "=m"(sse));
  state.sse_control = sse & kControlOfSse;
  asm volatile("pushfl\n\tpopl %0" : "=r"(state.flags));
  state.flags &= kWatchedFlags;
  asm volatile("movl %%fs:0, %0" : "=r"(state.first_handler));
  return state;
}

static int Differ(const char* name, const char* what, unsigned before, unsigned after) {
  if (before == after) return 0;
  printf("%s: %s %X before, %X after\n", name, what, before, after);
  return 1;
}

int CompareMachineStates(const char* name, const MachineState* before, const MachineState* after) {
  return Differ(name, "x87 control", before->x87_control, after->x87_control) +
         Differ(name, "x87 registers", before->x87_registers, after->x87_registers) +
         Differ(name, "SSE control", before->sse_control, after->sse_control) +
         Differ(name, "flags", before->flags, after->flags) +
         Differ(name, "handler", (unsigned)before->first_handler, (unsigned)after->first_handler);
}
