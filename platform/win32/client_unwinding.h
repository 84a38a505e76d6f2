// Exceptions of the client that unwind past us: our destructors run before they go on.
#pragma once

namespace qmzentrel::platform {

struct KeptUnwinding;

/// The unwinding of the client's that has found no CalledFromOutside on its way; null when
/// something else has ended the search for a handler.
KeptUnwinding* UnwindingInProgress();

}  // namespace qmzentrel::platform
