// Waiting while the client stays alive: messages of the calling thread are dispatched, and the
// thread sleeps in between.
#pragma once

#include <cstdint>
#include <memory>

namespace qmzentrel::platform {

class ThreadMessages;

/// One wait that yields to the message loop, made of turns. A WM_QUIT that arrives is taken out of
/// the queue, remembered, and posted again once when the wait ends: reposted at once it would keep
/// every following turn from sleeping. Messages for the thread itself and none of its windows,
/// which only the client's own loop understands, are put aside likewise.
class YieldingWait {
 public:
  YieldingWait() = default;
  ~YieldingWait();
  YieldingWait(const YieldingWait&) = delete;
  YieldingWait& operator=(const YieldingWait&) = delete;

  /// Sleeps until a message arrives or `milliseconds` have passed, then dispatches what is waiting.
  /// Ends also when messages post themselves again and again, or one has taken long.
  void Turn(std::int32_t milliseconds);

 private:
  bool quit_seen_ = false;
  std::uintptr_t quit_code_ = 0;
  std::shared_ptr<ThreadMessages> put_aside_;  // posts the messages again when it goes
};

}  // namespace qmzentrel::platform
