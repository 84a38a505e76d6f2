#include <windows.h>

#include "tools/virtual_box/stop_signal.h"

namespace qmzentrel::virtual_box {
namespace {

// The handler runs on a thread of the system's and is given no context.
HANDLE stop_event = nullptr;

BOOL WINAPI OnConsoleControl(DWORD) {
  return SetEvent(stop_event);
}

}  // namespace

StopSignal::StopSignal() : handle_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
  stop_event = handle_;
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
