#include <windows.h>

#include <algorithm>

#include "tools/virtual_box/event_wait.h"

namespace qmzentrel::virtual_box {

Time MonotonicNow() {
  static const long long frequency = [] {
    LARGE_INTEGER value;
    QueryPerformanceFrequency(&value);
    return value.QuadPart;
  }();
  LARGE_INTEGER count;
  QueryPerformanceCounter(&count);
  constexpr long long kSecond = 1'000'000'000;
  // Seconds apart: the whole count times a thousand million would overflow after minutes.
  return Time(count.QuadPart / frequency * kSecond +
              count.QuadPart % frequency * kSecond / frequency);
}

void EventWait::Until(std::optional<Time> deadline) const {
  std::vector<HANDLE> handles;
  for (const Item& item : items_) handles.push_back(item.handle);
  DWORD limit = INFINITE;
  if (deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(
        std::max(Time::zero(), *deadline - MonotonicNow()));
    limit = static_cast<DWORD>(std::min<long long>(left.count(), INFINITE - 1));
  }
  // The control server admits fewer clients than the system can wait for at once.
  WaitForMultipleObjects(static_cast<DWORD>(handles.size()), handles.data(), FALSE, limit);
}

}  // namespace qmzentrel::virtual_box
