// What the operating system does to a program that has no desktop, or that somebody debugs.
#pragma once

#include <windows.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace qmzentrel::automation {

/// Runs `body` on a station without the flag that says it can be seen, as a service has it.
inline void WithoutDesktop(const std::function<void()>& body) {
  const HWINSTA before = GetProcessWindowStation();
  const HWINSTA hidden = CreateWindowStationW(nullptr, 0, WINSTA_ALL_ACCESS, nullptr);
  if (hidden == nullptr || SetProcessWindowStation(hidden) == FALSE) {
    throw std::runtime_error("the test cannot hide its desktop");
  }
  body();
  SetProcessWindowStation(before);
  CloseWindowStation(hidden);
}

namespace internal {

inline std::vector<std::string>* g_debugger_lines = nullptr;

// OutputDebugStringA raises an exception for a debugger to see: length with the zero, and text.
inline LONG CALLBACK TakeDebuggerLine(EXCEPTION_POINTERS* pointers) {
  const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
  constexpr DWORD kDebuggerPrint = 0x40010006;
  if (record.ExceptionCode != kDebuggerPrint) return EXCEPTION_CONTINUE_SEARCH;
  g_debugger_lines->emplace_back(reinterpret_cast<const char*>(record.ExceptionInformation[1]),
                                 record.ExceptionInformation[0] - 1);
  return EXCEPTION_CONTINUE_EXECUTION;
}

}  // namespace internal

/// Every line that `body` sends to the debugger channel, as the bytes that arrive.
inline std::vector<std::string> DebuggerLinesOf(const std::function<void()>& body) {
  std::vector<std::string> lines;
  internal::g_debugger_lines = &lines;
  void* const handler = AddVectoredExceptionHandler(1, internal::TakeDebuggerLine);
  body();
  RemoveVectoredExceptionHandler(handler);
  return lines;
}

}  // namespace qmzentrel::automation
