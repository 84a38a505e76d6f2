#include "platform/win32/deadline.h"

#include <algorithm>

namespace qmzentrel::platform {
namespace {

std::int64_t MonotonicMs() {
  LARGE_INTEGER frequency;
  LARGE_INTEGER count;
  QueryPerformanceFrequency(&frequency);
  QueryPerformanceCounter(&count);
  const std::int64_t seconds = count.QuadPart / frequency.QuadPart;
  const std::int64_t rest = count.QuadPart % frequency.QuadPart;
  return seconds * 1000 + rest * 1000 / frequency.QuadPart;
}

}  // namespace

Deadline::Deadline(std::int64_t in_ms) : at_ms_(MonotonicMs() + std::max<std::int64_t>(in_ms, 0)) {}

DWORD Deadline::Remaining() const {
  return static_cast<DWORD>(std::max<std::int64_t>(at_ms_ - MonotonicMs(), 0));
}

void Deadline::SleepOut() const {
  // Sleep may end early by a tick of the system's clock.
  while (const DWORD left = Remaining()) Sleep(left);
}

}  // namespace qmzentrel::platform
