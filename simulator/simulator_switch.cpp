#include "simulator/simulator_switch.h"

#include <cstdint>
#include <string>

#include "support/modCOM_Registry.h"

namespace qmzentrel::simulator {

bool SimulatorEnabled() {
  const std::string key =
      std::string(modCOM_Registry::kQuenmoorKey) + "QMC Software Library\\Zentrel\\Simulator";
  Variant enabled = false;
  modCOM_Registry::RegGetValue(platform::kLocalMachine, key, "", enabled, false);
  const auto* number = std::get_if<std::int32_t>(&enabled);  // however it was stored
  return number && *number != 0;
}

}  // namespace qmzentrel::simulator
