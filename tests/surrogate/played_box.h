// A virtual box for one test, at the other end of the cable.
#pragma once

#include <cstdlib>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <string>

#include "tests/com_box/box_process.h"
#include "tools/virtual_box/environment.h"

namespace qmzentrel::clients {

/// Played by the program that QMZ_BOX_PROGRAM names, on QMZ_BOX_PORT, until it goes. Without them a
/// script has one there, which has been told the same.
class PlayedBox {
 public:
  /// It is told `commands` before it begins.
  PlayedBox(std::initializer_list<const char*> commands) {
    const auto port = virtual_box::NumberFromEnvironment("QMZ_BOX_PORT");
    const char* const program = std::getenv("QMZ_BOX_PROGRAM");
    if (!port || program == nullptr) return;
    const std::string name = "COM" + std::to_string(*port);
    std::string line = '"' + std::string(program) + "\" --supply none --port " + name;
    for (const char* const command : commands) {
      line.append(" --do \"").append(command).append("\"");
    }
    program_ = std::make_unique<com_box::Process>(line);
    const std::string ready = program_->ReadLine();
    if (!ready.starts_with("ready port=" + name)) throw std::runtime_error("not ready: " + ready);
  }

 private:
  std::unique_ptr<com_box::Process> program_;
};

}  // namespace qmzentrel::clients
