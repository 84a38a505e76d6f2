#include "simulator/simulator_switch.h"

#include "simulator/simulator_values.h"
#include "support/registry_values.h"

namespace qmzentrel::simulator {

bool SimulatorEnabled() {
  return registry::Number({platform::kLocalMachine, kSimulatorKey}, "", 0) != 0;
}

}  // namespace qmzentrel::simulator
