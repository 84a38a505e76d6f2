// A virtual box for a test, at the other end of the cable.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <string>

#include "tests/com_box/box_process.h"
#include "tools/virtual_box/environment.h"

namespace qmzentrel::com_box {

/// The port of the control channel of a virtual box, once it is ready on that port.
inline std::uint16_t ControlPortOf(Process& program, const std::string& port) {
  const std::string ready = program.ReadLine();
  const std::string start = "ready port=" + port + " control=";
  if (!ready.starts_with(start)) throw std::runtime_error("not ready: " + ready);
  return static_cast<std::uint16_t>(std::stoi(ready.substr(start.size())));
}

/// Played by the program that QMZ_BOX_PROGRAM names, on QMZ_BOX_PORT, until it goes. Without them a
/// script has one there, which has been told the same, or there is none.
class PlayedBox {
 public:
  /// It is told `commands` before it begins.
  PlayedBox(std::initializer_list<const char*> commands) {
    const auto port = virtual_box::NumberFromEnvironment("QMZ_BOX_PORT");
    const char* const program = std::getenv("QMZ_BOX_PROGRAM");
    if (!port || program == nullptr) return;
    const std::string name = "COM" + std::to_string(*port);
    std::string line = '"' + std::string(program) + "\" --supply none --control 0 --port " + name;
    for (const char* const command : commands) {
      line.append(" --do \"").append(command).append("\"");
    }
    program_ = std::make_unique<Process>(line);
    control_port_ = ControlPortOf(*program_, name);
  }

  /// Of its control channel; 0 where a script has the box.
  std::uint16_t ControlPort() const { return control_port_; }

 private:
  std::unique_ptr<Process> program_;
  std::uint16_t control_port_ = 0;
};

}  // namespace qmzentrel::com_box
