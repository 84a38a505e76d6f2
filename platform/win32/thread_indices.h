// The indices of what is kept for each thread, of which a process has few.
#pragma once

namespace qmzentrel::platform {

/// Whether there are as many as the library needs. To be asked before an object is made: the
/// compiler's run-time library ends the process where the first exception finds none. From the
/// first yes on that has its own. Others may still take those that are for an ApartmentSlot before
/// it does.
bool HasThreadIndices() noexcept;

}  // namespace qmzentrel::platform
