// The indices of what is kept for each thread, of which a process has few.
#pragma once

namespace qmzentrel::platform {

/// Whether there are as many as the library needs. To be asked before the first object is made: the
/// compiler's run-time library ends the process where the first exception finds none. From the
/// first yes on the library has them.
bool HasThreadIndices() noexcept;

}  // namespace qmzentrel::platform
