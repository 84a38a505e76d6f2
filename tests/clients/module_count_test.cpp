// What keeps the library loaded, seen from inside.
#include "com/module_count.h"

#include <gtest/gtest.h>

#include "support/XTimer.h"

namespace qmzentrel::com {
namespace {

TEST(ModuleCount, ARunningTimerKeepsTheLibraryLoadedWithoutAnyObject) {
  ASSERT_FALSE(ModuleInUse());
  auto timer = XTimer::Create();
  timer->Interval(60000);
  timer->Enabled(true);
  EXPECT_TRUE(ModuleInUse());
  timer->Enabled(false);
  EXPECT_FALSE(ModuleInUse());
}

TEST(ModuleCount, ReferencesAndLocksAreCounted) {
  {
    const ModuleReference first;
    EXPECT_TRUE(ModuleInUse());
    EXPECT_TRUE(LockModule(true));
  }
  EXPECT_TRUE(ModuleInUse());
  EXPECT_TRUE(LockModule(false));
  EXPECT_FALSE(LockModule(false));
  EXPECT_FALSE(ModuleInUse());
}

}  // namespace
}  // namespace qmzentrel::com
