#include "platform/win32/thread_messages.h"

#include <cstddef>
#include <new>

#include "platform/hardware_faults.h"

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
  if (messages_.empty()) return;
  try {
    TakeWaiting();
  } catch (...) {  // out of a destructor nothing passes: those that wait come first then
  }
  for (const MSG& message : messages_) {
    PostThreadMessageW(GetCurrentThreadId(), message.message, message.wParam, message.lParam);
  }
  if (quit_seen_) PostQuitMessage(static_cast<int>(quit_code_));
}

// Those that are put aside were posted before those that are still in the queue.
void ThreadMessages::TakeWaiting() {
  auto* const only_the_threads = reinterpret_cast<HWND>(-1);
  MSG message;
  while (messages_.size() < kMost && CallOut([&] {
                                       return PeekMessageW(&message, only_the_threads, WM_USER,
                                                           kFirstRegistered - 1,
                                                           PM_REMOVE | PM_QS_POSTMESSAGE);
                                     }) != FALSE) {
    // No filter holds this one back.
    if (message.message == WM_QUIT) {
      quit_seen_ = true;
      quit_code_ = message.wParam;
    } else if (!PutAside(message)) {
      return;
    }
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
