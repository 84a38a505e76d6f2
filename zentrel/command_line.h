// The command line: commands, options, help.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "zentrel/commands.h"
#include "zentrel/options.h"

namespace qmzentrel::program {

struct Invocation {
  std::string name;           ///< of the command
  Command command = nullptr;  ///< null when there is only a text to print
  Options options;
  std::string text;  ///< help or version
};

/// `arguments` without the program's own name, in UTF-8. Throws Failure.
Invocation ParseCommandLine(const std::vector<std::string>& arguments);

}  // namespace qmzentrel::program
