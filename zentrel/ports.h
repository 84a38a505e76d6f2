// The serial ports of the machine, found without opening one.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qmzentrel::program {

struct Port {
  std::int32_t number;
  std::string friendly_name;  ///< "USB Serial Port (COM7)"; empty where the system has none
};

/// In ascending order of their numbers: what drivers have registered as serial ports, what the
/// system has as devices of that class, and what else can be opened by such a name.
std::vector<Port> FindPorts();

/// "USB Serial Port (COM7)", or "COM7".
std::string ShownName(const Port& port);

}  // namespace qmzentrel::program
