// Messages that the client posts to a thread of its own, and to none of its windows.
#pragma once

#include <windows.h>

#include <vector>

namespace qmzentrel::platform {

/// Only the message loop of the client knows what they mean; a loop of ours that dispatched them
/// would lose them. Those that it meets are put aside and posted again when this goes, before any
/// that were posted after them.
class ThreadMessages {
 public:
  ThreadMessages() = default;
  ~ThreadMessages();
  ThreadMessages(const ThreadMessages&) = delete;
  ThreadMessages& operator=(const ThreadMessages&) = delete;

  /// Whether `message`, which is not WM_QUIT, was put aside; else it is to be dispatched.
  bool PutAside(const MSG& message);

 private:
  void TakeWaiting();

  std::vector<MSG> messages_;
  bool quit_seen_ = false;
  WPARAM quit_code_ = 0;
};

}  // namespace qmzentrel::platform
