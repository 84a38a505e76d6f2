#include "platform/win32/client_window.h"

#include "platform/hardware_faults.h"

namespace qmzentrel::platform {
namespace {

bool IsOfThisProcess(HWND window) {
  DWORD process = 0;
  return GetWindowThreadProcessId(window, &process) != 0 && process == GetCurrentProcessId();
}

}  // namespace

bool HasVisibleDesktop() {
  USEROBJECTFLAGS flags{};
  return GetUserObjectInformationW(GetProcessWindowStation(), UOI_FLAGS, &flags, sizeof flags,
                                   nullptr) != FALSE &&
         (flags.dwFlags & WSF_VISIBLE) != 0;
}

HWND ClientWindow() {
  const HWND active = GetActiveWindow();
  if (active != nullptr && IsOfThisProcess(active)) return active;
  const HWND foreground = GetForegroundWindow();
  if (foreground == nullptr || !IsOfThisProcess(foreground)) return nullptr;
  // It is another thread's. Should that one be waiting for this thread, locking its window would
  // wait for ever: whether it answers is asked first.
  constexpr UINT kPatienceMs = 500;
  DWORD_PTR unused = 0;
  const LRESULT answered = CallOutToClient([&] {
    return SendMessageTimeoutW(foreground, WM_NULL, 0, 0, SMTO_NORMAL, kPatienceMs, &unused);
  });
  return answered != 0 ? foreground : nullptr;
}

}  // namespace qmzentrel::platform
