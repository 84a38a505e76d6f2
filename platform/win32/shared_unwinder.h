// Exceptions of a client in C++ whose run-time is a library that knows our frames, too.
#pragma once

#include "platform/erased_call.h"

namespace qmzentrel::platform {

/// Looks for the unwinder that the compiler's run-time library shares among programs, and sees to
/// it that it knows our frames. From then on exceptions of a client that uses it come through them,
/// and our own run-time would take them for its own: unlike those of other languages they are no
/// exceptions of the operating system. Only once the library stays in the process.
void FindSharedUnwinder();

/// From now on it is looked for only after something has been loaded, where the system tells. Only
/// once the library stays in the process, and by one thread.
void WatchForSharedUnwinder();

/// Runs `run`. An exception of the client's that leaves it is given back as it is, neither handled
/// nor counted by our run-time; null when none has.
void* RunUntilForeignException(ErasedCall run, void* call);

/// Lets it go on from here, in the client's run-time. Not while there are destructors of ours on
/// its way.
[[noreturn]] void RaiseForeignException(void* exception);

/// Ends it, as a handler of the client's that does nothing would. With a run-time that is linked
/// into the client std::uncaught_exceptions goes on counting it: nothing leads there.
void EndForeignException(void* exception);

}  // namespace qmzentrel::platform
