#include "platform/message_loop.h"

#include <windows.h>

#include <algorithm>

#include "platform/hardware_faults.h"
#include "platform/win32/deadline.h"
#include "platform/win32/thread_messages.h"

namespace qmzentrel::platform {
namespace {

// A window that never validates its area, or a handler that posts to itself, always has one more
// message waiting; the waiting caller must come back to look at its clock all the same.
constexpr int kMessagesPerTurn = 64;

// A message may bring a whole command, from a client that calls through the marshaller, and the
// next one may be there when it has ended.
constexpr DWORD kTurnMs = 100;

}  // namespace

YieldingWait::~YieldingWait() {
  put_aside_.reset();  // first: it looks at the queue once more
  if (quit_seen_) PostQuitMessage(static_cast<int>(quit_code_));
}

void YieldingWait::Turn(std::int32_t milliseconds) {
  if (!put_aside_) put_aside_ = std::make_shared<ThreadMessages>();
  // MWMO_INPUTAVAILABLE: wake for messages that were looked at and left in the queue, too.
  MsgWaitForMultipleObjectsEx(0, nullptr, static_cast<DWORD>(std::max(milliseconds, 0)),
                              QS_ALLINPUT, MWMO_INPUTAVAILABLE);
  // Messages that are sent run its windows while the queue is looked at, too.
  const ClientCode windows_of_the_client;
  const Deadline turn(kTurnMs);
  MSG message;
  for (int dispatched = 0;
       dispatched < kMessagesPerTurn &&
       CallOut([&] { return PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE); }) != FALSE;
       ++dispatched) {
    if (message.message == WM_QUIT) {
      quit_seen_ = true;
      quit_code_ = message.wParam;
      continue;
    }
    if (put_aside_->PutAside(message)) continue;
    TranslateMessage(&message);
    CallOut([&] { DispatchMessageW(&message); });
    if (turn.Remaining() == 0) break;
  }
}

}  // namespace qmzentrel::platform
