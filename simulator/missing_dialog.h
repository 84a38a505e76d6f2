// What a simulated command answers as long as the component carries no simulator dialog.
#pragma once

#include <cstdint>

#include "support/run_time_error.h"

namespace qmzentrel::simulator {

/// Refuses a command that only the dialog could answer: a status would pretend that a box or a
/// transponder had been asked.
[[noreturn]] inline void RefuseWithoutDialog() {
  constexpr std::int32_t kActionNotSupported = 445;
  throw Refusal{kActionNotSupported,
                "The simulator is switched on, but this build has no simulator."};
}

}  // namespace qmzentrel::simulator
