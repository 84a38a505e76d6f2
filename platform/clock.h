// The local wall clock.
#pragma once

namespace qmzentrel::platform {

/// Seconds since local midnight, 0 to below 86400, as the single-precision number that every clock
/// mark of the component is kept in. Jumps when the user sets the clock and at midnight.
float SecondsSinceMidnight();

/// The local date and time as an automation date: days since 30 December 1899, to the second below.
double LocalDate();

}  // namespace qmzentrel::platform
