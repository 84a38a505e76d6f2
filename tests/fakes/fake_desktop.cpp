#include "tests/fakes/fake_desktop.h"

#include <algorithm>
#include <cstdlib>

#include "platform/desktop.h"
#include "tests/fakes/fake_world.h"

namespace qmzentrel::platform {

using fakes::TheWorld;

ScreenSize PrimaryScreen() {
  return TheWorld().screen;
}

WindowPlace WorkAreaNearest(const WindowPlace& place) {
  const fakes::World& world = TheWorld();
  if (world.work_areas.empty()) return {0, 0, world.screen.width, world.screen.height};
  const auto distance = [&place](const WindowPlace& area) {
    const WindowPlace moved = MovedInto(area, place);
    return std::abs(moved.left - place.left) + std::abs(moved.top - place.top);
  };
  return *std::ranges::min_element(world.work_areas, {}, distance);
}

void SetPointer(PointerShape shape) {
  TheWorld().pointers.push_back(shape);
  TheWorld().Note(shape == PointerShape::kArrow ? "pointer arrow" : "pointer hourglass");
}

}  // namespace qmzentrel::platform
