#include <windows.h>

#include "tools/virtual_box/stop_signal.h"

namespace qmzentrel::virtual_box {
namespace {

// The handler runs on a thread of the system's and is given no context.
HANDLE g_stop_event = nullptr;

BOOL WINAPI OnConsoleControl(DWORD event) {
  SetEvent(g_stop_event);
  // With these the system ends the process as soon as the handler returns; the program is to end by
  // itself first, as on an interrupt.
  const bool closes =
      event == CTRL_CLOSE_EVENT || event == CTRL_LOGOFF_EVENT || event == CTRL_SHUTDOWN_EVENT;
  if (closes) Sleep(INFINITE);
  return TRUE;
}

}  // namespace

StopSignal::StopSignal() : handle_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
  g_stop_event = handle_;
  SetConsoleCtrlHandler(OnConsoleControl, TRUE);
}

StopSignal::~StopSignal() {
  SetConsoleCtrlHandler(OnConsoleControl, FALSE);
  CloseHandle(handle_);
}

bool StopSignal::IsRaised() const {
  return WaitForSingleObject(handle_, 0) == WAIT_OBJECT_0;
}

}  // namespace qmzentrel::virtual_box
