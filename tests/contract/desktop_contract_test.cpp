#include "platform/desktop.h"

#include <gtest/gtest.h>

#include "tests/contract/harness.h"

namespace qmzentrel {
namespace {

using platform::WindowPlace;

TEST(PointerContract, HasTheShapeThatWasSetLast) {
  platform::SetPointer(platform::PointerShape::kHourglass);
  EXPECT_EQ(contract::PointerNow(), platform::PointerShape::kHourglass);
  platform::SetPointer(platform::PointerShape::kArrow);
  EXPECT_EQ(contract::PointerNow(), platform::PointerShape::kArrow);
}

TEST(ScreenContract, LeavesAnAreaForWindowsOnTheNearestScreen) {
  const platform::ScreenSize screen = platform::PrimaryScreen();
  const WindowPlace area = platform::WorkAreaNearest({100, 100, 200, 200});
  EXPECT_GE(area.left, 0);
  EXPECT_GE(area.top, 0);
  EXPECT_GT(area.width, screen.width / 2);
  EXPECT_GT(area.height, screen.height / 2);
  EXPECT_LE(area.left + area.width, screen.width);
  EXPECT_LE(area.top + area.height, screen.height);
}

TEST(ScreenContract, OfAPlaceThatIsOnNoScreenTheNearestOneCounts) {
  for (const WindowPlace far_off : {WindowPlace{-9000, 100, 300, 200},
                                    {100, -9000, 300, 200},
                                    {90000, 100, 300, 200},
                                    {100, 90000, 300, 200}}) {
    const WindowPlace area = platform::WorkAreaNearest(far_off);
    EXPECT_GT(area.width, 300);
    EXPECT_GT(area.height, 200);
    const WindowPlace moved = platform::MovedInto(area, far_off);
    EXPECT_GE(moved.left, area.left);
    EXPECT_GE(moved.top, area.top);
    EXPECT_LE(moved.left + moved.width, area.left + area.width);
    EXPECT_LE(moved.top + moved.height, area.top + area.height);
  }
}

TEST(ScreenContract, WhatLiesWithinAnAreaIsNotMoved) {
  const WindowPlace area = platform::WorkAreaNearest({});
  const WindowPlace inside{area.left + 1, area.top + 2, area.width - 1, area.height - 2};
  const WindowPlace moved = platform::MovedInto(area, inside);
  EXPECT_EQ(moved.left, inside.left);
  EXPECT_EQ(moved.top, inside.top);
  EXPECT_EQ(moved.width, inside.width);
  EXPECT_EQ(moved.height, inside.height);
}

TEST(ScreenContract, OfWhatIsLargerThanAnAreaTheTitleIsInIt) {
  const WindowPlace area = platform::WorkAreaNearest({});
  const WindowPlace moved =
      platform::MovedInto(area, {-100, -100, area.width + 300, area.height + 300});
  EXPECT_EQ(moved.left, area.left);
  EXPECT_EQ(moved.top, area.top);
  EXPECT_EQ(moved.width, area.width + 300);
}

TEST(ScreenContract, HasASize) {
  EXPECT_GE(platform::PrimaryScreen().width, 640);
  EXPECT_GE(platform::PrimaryScreen().height, 480);
}

}  // namespace
}  // namespace qmzentrel
