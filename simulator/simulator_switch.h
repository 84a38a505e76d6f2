// The switch that sends box commands to the simulator instead of the port.
#pragma once

namespace qmzentrel::simulator {

/// The switch in the registry, a Boolean in the unnamed value of the simulator's key, false when
/// missing. Read afresh each time, so that a tester can turn it between two commands.
bool SimulatorEnabled();

}  // namespace qmzentrel::simulator
