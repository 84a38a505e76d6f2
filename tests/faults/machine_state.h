/* What a call must leave as it has found it. */
#pragma once

typedef struct MachineState {
  unsigned short x87_control;
  unsigned short x87_registers; /* in use or free, two bits each */
  unsigned sse_control;
  unsigned flags; /* direction, single step, alignment check */
  void* first_handler;
} MachineState;

MachineState ReadMachineState(void);

/* Prints each difference after `name`. Returns their number. */
int CompareMachineStates(const char* name, const MachineState* before, const MachineState* after);
