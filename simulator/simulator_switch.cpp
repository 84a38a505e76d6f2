#include "simulator/simulator_switch.h"

#include <cstdint>
#include <string>

#include "simulator/simulator_values.h"
#include "support/modCOM_Registry.h"

namespace qmzentrel::simulator {

bool SimulatorEnabled() {
  Variant enabled = false;
  modCOM_Registry::RegGetValue(platform::kLocalMachine, kSimulatorKey, "", enabled, false);
  const auto* number = std::get_if<std::int32_t>(&enabled);  // however it was stored
  return number && *number != 0;
}

}  // namespace qmzentrel::simulator
