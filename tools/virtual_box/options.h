// The command line of the virtual box.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/virtual_box/port.h"
#include "tools/virtual_box/supply_line.h"

namespace qmzentrel::virtual_box {

struct Options {
  PortOptions port;
  std::string tap;  ///< the port of the box to listen to; empty: a box is played
  SupplyChoice supply = SupplyChoice::kNone;
  std::optional<std::uint16_t> control_port;
  std::string control_file;
  std::string log_file;
  bool trace = false;
  bool help = false;
  std::vector<std::string> commands;  ///< control commands to carry out before the start
};

/// Reads the arguments after the program's name; nothing, with the reason in `error`, when they
/// make no sense.
std::optional<Options> ParseOptions(const std::vector<std::string>& arguments, std::string& error);

/// The text of `--help`.
std::string HelpText();

}  // namespace qmzentrel::virtual_box
