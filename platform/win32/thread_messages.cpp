#include "platform/win32/thread_messages.h"

#include <cstddef>
#include <new>

namespace qmzentrel::platform {
namespace {

// As many as the queue of a thread holds.
constexpr std::size_t kMost = 10'000;

// From here on messages are known by registered names, with which libraries of the operating system
// call each other: their hooks act when such a message leaves the queue, and would do so twice.
constexpr UINT kFirstRegistered = 0xC000;

bool IsForTheClient(const MSG& message) {
  if (message.hwnd != nullptr || message.message >= kFirstRegistered) return false;
  // A timer without a window has a function that the dispatching calls, or ticks again.
  return message.message != WM_NULL && message.message != WM_TIMER;
}

}  // namespace

ThreadMessages::~ThreadMessages() {
  for (const MSG& message : messages_) {
    PostThreadMessageW(GetCurrentThreadId(), message.message, message.wParam, message.lParam);
  }
}

bool ThreadMessages::PutAside(const MSG& message) {
  if (!IsForTheClient(message) || messages_.size() == kMost) return false;
  try {
    messages_.push_back(message);
  } catch (const std::bad_alloc&) {
    return false;
  }
  return true;
}

}  // namespace qmzentrel::platform
