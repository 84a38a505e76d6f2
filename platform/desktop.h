// The desktop: its screens, where windows stand on them, in pixels, and the mouse pointer.
#pragma once

#include <algorithm>
#include <cstdint>

namespace qmzentrel::platform {

/// A rectangle; on a screen left of or above the primary one its place is below 0.
struct WindowPlace {
  std::int32_t left = 0;
  std::int32_t top = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
};

/// `place` moved as little as brings it wholly into `area`; its size stays. Of what is larger than
/// the area the upper left corner, where the title is, stays in it.
constexpr WindowPlace MovedInto(const WindowPlace& area, WindowPlace place) {
  place.left = std::max(area.left, std::min(place.left, area.left + area.width - place.width));
  place.top = std::max(area.top, std::min(place.top, area.top + area.height - place.height));
  return place;
}

/// Size of the primary screen.
struct ScreenSize {
  std::int32_t width = 0;
  std::int32_t height = 0;
};
ScreenSize PrimaryScreen();

/// What the screen nearest to `place` leaves for windows: all of it but the task bar and its like.
WindowPlace WorkAreaNearest(const WindowPlace& place);

/// The shape of the mouse pointer, until a window under it asks for another.
enum class PointerShape { kArrow, kHourglass };
void SetPointer(PointerShape shape);

}  // namespace qmzentrel::platform
