// Screens and the mouse pointer.
#pragma once

#include <vector>

#include "platform/desktop.h"

namespace qmzentrel::fakes {

struct FakeDesktop {
  bool has_desktop = true;
  platform::ScreenSize screen{1024, 768};
  /// What each screen leaves for windows; all of the primary one unless told.
  std::vector<platform::WindowPlace> work_areas;
  std::vector<platform::PointerShape> pointers;  ///< in the order in which they were set
};

}  // namespace qmzentrel::fakes
