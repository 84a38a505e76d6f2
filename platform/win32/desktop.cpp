#include "platform/desktop.h"

#include <windows.h>

#include "platform/win32/window_place.h"

namespace qmzentrel::platform {

ScreenSize PrimaryScreen() {
  return {GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)};
}

WindowPlace WorkAreaNearest(const WindowPlace& place) {
  const RECT rect{place.left, place.top, place.left + place.width, place.top + place.height};
  MONITORINFO monitor{};
  monitor.cbSize = sizeof monitor;
  GetMonitorInfoW(MonitorFromRect(&rect, MONITOR_DEFAULTTONEAREST), &monitor);
  return PlaceOf(monitor.rcWork);
}

void SetPointer(PointerShape shape) {
  SetCursor(LoadCursorW(nullptr, shape == PointerShape::kArrow ? IDC_ARROW : IDC_WAIT));
}

}  // namespace qmzentrel::platform
