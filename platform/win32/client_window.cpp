#include "platform/win32/client_window.h"

#include "platform/hardware_faults.h"
#include "platform/win32/surrogate.h"

namespace qmzentrel::platform {
namespace {

bool IsOfThisProcess(HWND window) {
  DWORD process = 0;
  return GetWindowThreadProcessId(window, &process) != 0 && process == GetCurrentProcessId();
}

// Called by the operating system, which keeps the stack aligned to 4 bytes only.
__attribute__((force_align_arg_pointer)) BOOL CALLBACK NoteIfOfClient(HWND window, LPARAM found) {
  if (IsWindowVisible(window) == FALSE || !IsOfThisProcess(window)) return TRUE;
  *reinterpret_cast<bool*>(found) = true;
  return FALSE;
}

bool HasClientWindow() {
  if (InSurrogate()) return false;
  bool found = false;
  EnumWindows(NoteIfOfClient, reinterpret_cast<LPARAM>(&found));
  return found;
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
  if (InSurrogate()) return nullptr;  // another thread's is in front of another client
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

bool GoesAboveAll(HWND owner) {
  return owner == nullptr && !HasClientWindow();
}

}  // namespace qmzentrel::platform
