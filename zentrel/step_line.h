// The lines that the component's trace sends: a time, a type, the step.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qmzentrel::program {

struct StepLine {
  std::string type;  ///< "INFO"
  std::string step;  ///< "ReadXpdr retry"
};

/// Nothing for a line of something else: that does not begin with a date and time as the component
/// writes them ("22 Nov 2026, 10:08:00", the month in the language of the user), followed by one of
/// its types.
std::optional<StepLine> ParseStepLine(std::string_view line);

}  // namespace qmzentrel::program
