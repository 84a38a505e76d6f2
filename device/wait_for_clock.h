// Waiting for a time of the wall clock.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "platform/message_loop.h"

namespace qmzentrel {

/// Waits, yielding to the message loop, until `missing`, which is asked afresh each turn and gives
/// the seconds still to wait, gives 0 or less.
template <class Missing>
void WaitForClock(Missing missing) {
  // The clock can be set while somebody waits for it, so no sleep is longer.
  constexpr double kLongestSleepMs = 1000;
  platform::YieldingWait wait;
  // Each turn asks the clock anew: nothing is added up in the float.
  // NOLINTNEXTLINE(clang-analyzer-security.FloatLoopCounter)
  for (float seconds = missing(); seconds > 0; seconds = missing()) {
    wait.Turn(static_cast<std::int32_t>(std::min(std::ceil(seconds * 1000.0), kLongestSleepMs)));
  }
}

}  // namespace qmzentrel
