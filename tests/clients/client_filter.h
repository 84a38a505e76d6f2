// A client that has a filter of its own for exceptions, installed before the component comes.
#pragma once

#include <windows.h>

#include <atomic>

namespace qmzentrel::clients {

/// Exceptions that have reached the client's filter, which goes on after each.
inline std::atomic<int> g_left_to_client{0};

inline LONG WINAPI ClientFilter(EXCEPTION_POINTERS* /*exception*/) {
  ++g_left_to_client;
  return EXCEPTION_CONTINUE_EXECUTION;
}

[[maybe_unused]] inline const auto kFilterBefore = SetUnhandledExceptionFilter(ClientFilter);

inline void RaiseAccessViolation() {
  RaiseException(EXCEPTION_ACCESS_VIOLATION, 0, 0, nullptr);
}

}  // namespace qmzentrel::clients
