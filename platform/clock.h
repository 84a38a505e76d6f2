// The local wall clock, and one that nobody sets.
#pragma once

#include <cstdint>

namespace qmzentrel::platform {

/// Seconds since local midnight, 0 to below 86400, as the single-precision number that every clock
/// mark of the component is kept in. Jumps when the user sets the clock and at midnight.
float SecondsSinceMidnight();

/// The local date and time as an automation date: days since 30 December 1899, to the second below.
double LocalDate();

/// Milliseconds since the system was started, to the tick of its scheduler; never goes back.
std::int64_t SteadyMs();

}  // namespace qmzentrel::platform
