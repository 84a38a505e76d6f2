// The design-time test.
#include "support/modCOM_InDesignMode.h"
#include "tests/core/core_test.h"

namespace qmzentrel::tests {
namespace {

TEST(InDesignMode, ABuiltComponentIsNeverInDesignMode) {
  EXPECT_FALSE(modCOM_InDesignMode::InDesignMode());
}

}  // namespace
}  // namespace qmzentrel::tests
