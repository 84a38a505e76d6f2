// The end of the process, as the library is told of it.
#pragma once

namespace qmzentrel::platform {

namespace internal {
inline bool g_process_ends = false;
}

/// To be called when the operating system says so: from now on nothing of the library works that
/// raises errors or keeps something for a thread, since the compiler's start-up code tears that
/// down next. Only the thread that ends the process is left by then.
inline void NoteProcessEnd() noexcept {
  internal::g_process_ends = true;
}

/// Whether the process is so near to its end that other libraries of it may still call.
inline bool ProcessEnds() noexcept {
  return internal::g_process_ends;
}

}  // namespace qmzentrel::platform
