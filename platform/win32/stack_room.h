// What is left of the stack of the calling thread.
#pragma once

#include <windows.h>

#include <algorithm>
#include <cstddef>

namespace qmzentrel::platform {

/// The stack that must be left below a procedure for it to report a stack overflow, with the
/// message box or the error handler.
inline constexpr std::ptrdiff_t kStackForReport = 128 * 1024;

/// Bytes of the thread's stack below `place`.
inline std::ptrdiff_t StackBelow(const void* place) {
  MEMORY_BASIC_INFORMATION stack{};
  VirtualQuery(place, &stack, sizeof stack);
  return static_cast<const char*>(place) - static_cast<const char*>(stack.AllocationBase);
}

/// Whether no more may be begun that would use stack without end: soon there will be too little for
/// a report. A thread that has been given a small stack may use half of it all the same.
inline bool StackIsShort() {
  constexpr std::ptrdiff_t kStackForOneMore = kStackForReport + 64 * 1024;
  const char* top = nullptr;
  asm("movl %%fs:4, %0" : "=r"(top));
  const std::ptrdiff_t whole = StackBelow(top - 1);
  return StackBelow(__builtin_frame_address(0)) < std::min(kStackForOneMore, whole / 2);
}

}  // namespace qmzentrel::platform
