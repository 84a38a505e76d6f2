/* The ways to end the process, each in a process of its own. */
#pragma once

#include "tests/faults/probe.h"

/* What a process that goes on after its end exits with. */
enum { kEndReturned = 99 };

/* Prints a line for each. Returns the number of those that did not end the process as they must. */
int RunProcessEnds(const FaultProbe* probe, const char* probe_file);
