// The faults of the box as tests and people spell them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/virtual_box/misbehaviour.h"

namespace qmzentrel::virtual_box {

struct FaultCommand {
  Misbehaviour fault;
  unsigned count = 1;  ///< for how many commands
};

/// Whether a control line beginning with `word` orders a fault.
bool IsFaultWord(std::string_view word);

/// "late 300", "truncate 2 5", or several joined by "+" that befall the same commands:
/// "late 300 + wrong-sum". Nothing, with the reason in `error`, when the text is none.
std::optional<FaultCommand> ParseFault(std::string_view text, std::string& error);

/// One line of help for each fault.
std::vector<std::string> FaultHelp();

}  // namespace qmzentrel::virtual_box
