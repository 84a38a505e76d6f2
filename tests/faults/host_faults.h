/* Faults in code of the host: they are its own, whatever the probe is doing. */
#pragma once

#include "tests/faults/probe.h"

/* To be called before the probe is loaded. */
void InstallHostFilter(void);

/* Runs them and prints a line for each. Returns the number of those that were not the host's. */
int RunHostFaults(const FaultProbe* probe);
