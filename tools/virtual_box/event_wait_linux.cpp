#include <poll.h>
#include <ctime>

#include <algorithm>

#include "tools/virtual_box/event_wait.h"

namespace qmzentrel::virtual_box {

Time MonotonicNow() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return std::chrono::seconds(now.tv_sec) + Time(now.tv_nsec);
}

void EventWait::Until(std::optional<Time> deadline) const {
  std::vector<pollfd> polled;
  for (const Item& item : items_) {
    polled.push_back(
        {item.handle, static_cast<short>(item.or_writable ? POLLIN | POLLOUT : POLLIN), 0});
  }
  timespec limit{};
  if (deadline) {
    const Time left = std::max(Time::zero(), *deadline - MonotonicNow());
    limit.tv_sec = std::chrono::duration_cast<std::chrono::seconds>(left).count();
    limit.tv_nsec = (left % std::chrono::seconds(1)).count();
  }
  // A failure here is an interruption; the caller looks at everything after each return.
  ppoll(polled.data(), polled.size(), deadline ? &limit : nullptr, nullptr);
}

}  // namespace qmzentrel::virtual_box
