// Messages that the client posts to a thread of its own, and to none of its windows.
#pragma once

#include <windows.h>

#include <vector>

namespace qmzentrel::platform {

/// Only the message loop of the client knows what they mean; a loop of ours that dispatched them
/// would lose them. Those that it meets are put aside and posted again when this goes, in their
/// order.
class ThreadMessages {
 public:
  ThreadMessages() = default;
  ~ThreadMessages();
  ThreadMessages(const ThreadMessages&) = delete;
  ThreadMessages& operator=(const ThreadMessages&) = delete;

  /// Whether `message`, which is not WM_QUIT, was put aside; else it is to be dispatched.
  bool PutAside(const MSG& message);

 private:
  std::vector<MSG> messages_;
};

}  // namespace qmzentrel::platform
