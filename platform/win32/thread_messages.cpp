#include "platform/win32/thread_messages.h"

#include <cstddef>
#include <new>

namespace qmzentrel::platform {
namespace {

// As many as the queue of a thread holds.
constexpr std::size_t kMost = 10'000;

}  // namespace

ThreadMessages::~ThreadMessages() {
  for (const MSG& message : messages_) {
    PostThreadMessageW(GetCurrentThreadId(), message.message, message.wParam, message.lParam);
  }
}

bool ThreadMessages::PutAside(const MSG& message) {
  // A timer without a window has a function that the dispatching calls, or ticks again.
  const bool means_something = message.message != WM_NULL && message.message != WM_TIMER;
  if (message.hwnd != nullptr || !means_something || messages_.size() == kMost) return false;
  try {
    messages_.push_back(message);
  } catch (const std::bad_alloc&) {
    return false;
  }
  return true;
}

}  // namespace qmzentrel::platform
