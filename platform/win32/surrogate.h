// The system's surrogate process, which has the objects of a library for clients elsewhere.
#pragma once

namespace qmzentrel::platform {

/// Whether this process is one. Then no window in it is a client's, and its objects belong to
/// clients that know nothing of each other.
bool InSurrogate();

}  // namespace qmzentrel::platform
