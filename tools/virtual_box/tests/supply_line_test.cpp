#include "tools/virtual_box/supply_line.h"

#include <gtest/gtest.h>

namespace qmzentrel::virtual_box {
namespace {

LineChange LinesAt(bool dtr, bool rts) {
  return {Time::zero(), dtr, rts};
}

TEST(BytesAmongLineChanges, ComeAfterTheSupplyIsOnAndBeforeItGoesOff) {
  const LineChange off = LinesAt(false, false);
  const LineChange dtr = LinesAt(true, false);
  const LineChange rts = LinesAt(false, true);
  const LineChange both = LinesAt(true, true);
  EXPECT_EQ(ChangesBeforeBytes(off, {}), 0U);
  EXPECT_EQ(ChangesBeforeBytes(off, {dtr}), 1U);
  EXPECT_EQ(ChangesBeforeBytes(off, {rts, both}), 2U);
  EXPECT_EQ(ChangesBeforeBytes(both, {dtr, off}), 0U);
  EXPECT_EQ(ChangesBeforeBytes(off, {dtr, both, rts, off}), 2U);
  EXPECT_EQ(ChangesBeforeBytes(dtr, {off, dtr}), 2U) << "for a new command";
  EXPECT_EQ(ChangesBeforeBytes(dtr, {rts}), 1U) << "one line in exchange for the other";
}

}  // namespace
}  // namespace qmzentrel::virtual_box
