#include "tests/clients/message_pump.h"

#include <algorithm>

namespace qmzentrel::clients {
namespace {

// What is waited for may come true without a message.
constexpr DWORD kGlanceMs = 20;

void DispatchWaiting() {
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

// Waits for messages or for one of `count` handles, and dispatches until `done`.
bool Pump(DWORD count, const HANDLE* handles, DWORD limit_ms, const std::function<bool()>& done) {
  const DWORD begin = GetTickCount();
  while (true) {
    DispatchWaiting();
    if (done()) return true;
    const DWORD elapsed = GetTickCount() - begin;
    if (elapsed >= limit_ms) return false;
    MsgWaitForMultipleObjects(count, handles, FALSE, std::min(limit_ms - elapsed, kGlanceMs),
                              QS_ALLINPUT);
  }
}

}  // namespace

bool PumpUntil(const std::function<bool()>& done, DWORD limit_ms) {
  return Pump(0, nullptr, limit_ms, done);
}

bool PumpUntilSignalled(HANDLE handle, DWORD limit_ms) {
  return Pump(1, &handle, limit_ms,
              [handle] { return WaitForSingleObject(handle, 0) == WAIT_OBJECT_0; });
}

}  // namespace qmzentrel::clients
