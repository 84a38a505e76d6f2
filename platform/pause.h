// A pause that lets nothing else run.
#pragma once

#include <cstdint>

namespace qmzentrel::platform {

/// Sleeps for `milliseconds` without dispatching messages.
void Pause(std::int32_t milliseconds);

}  // namespace qmzentrel::platform
