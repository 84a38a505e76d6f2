// Exceptions of a client in C++ whose run-time is a library that knows our frames, too.
#pragma once

namespace qmzentrel::platform {

/// Looks for the unwinder that the compiler's run-time library shares among programs. In a client
/// that has it loaded our start-up code has told it of our frames, so exceptions of that client
/// come through them, and our own run-time takes them for its own: unlike those of other languages
/// they are no exceptions of the operating system.
void FindSharedUnwinder();

bool HasSharedUnwinder();

/// Called while an exception is handled: takes the client's out of the hands of our run-time, where
/// it is no longer counted once it has been handled. Null when it is one of ours.
void* TakeForeignException();

/// Raises it once more in the client's run-time, as if it had never been handled. Not while there
/// are destructors of ours on its way.
[[noreturn]] void RaiseForeignException(void* exception);

}  // namespace qmzentrel::platform
