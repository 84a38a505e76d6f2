// The place of a window of the operating system.
#pragma once

#include <windows.h>

#include "platform/desktop.h"

namespace qmzentrel::platform {

inline WindowPlace PlaceOf(const RECT& rect) {
  return {rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top};
}

/// On the screen.
inline WindowPlace PlaceOf(HWND window) {
  RECT rect{};
  GetWindowRect(window, &rect);
  return PlaceOf(rect);
}

/// `place` is on the screen, or in its parent for a control.
inline void MoveTo(HWND window, const WindowPlace& place) {
  SetWindowPos(window, nullptr, place.left, place.top, place.width, place.height,
               SWP_NOZORDER | SWP_NOACTIVATE);
}

}  // namespace qmzentrel::platform
