// Backslashes at the ends of paths.
#include "support/modCOM_Common.h"
#include "tests/core/core_test.h"

namespace qmzentrel::tests {
namespace {

using modCOM_Common::AddBackslash;
using modCOM_Common::StripBackslash;

TEST(AddBackslash, AMissingBackslashIsAdded) {
  EXPECT_EQ(AddBackslash("SOFTWARE"), "SOFTWARE\\");
  EXPECT_EQ(AddBackslash("\\SOFTWARE"), "\\SOFTWARE\\");
  EXPECT_EQ(AddBackslash("SOFTWARE/"), "SOFTWARE/\\");
  EXPECT_EQ(AddBackslash(""), "\\");
}

TEST(AddBackslash, APathThatEndsInOneStaysAsItIs) {
  EXPECT_EQ(AddBackslash("SOFTWARE\\"), "SOFTWARE\\");
  EXPECT_EQ(AddBackslash("SOFTWARE\\\\"), "SOFTWARE\\\\");
  EXPECT_EQ(AddBackslash("\\"), "\\");
}

TEST(StripBackslash, ATrailingBackslashIsTakenOff) {
  EXPECT_EQ(StripBackslash("SOFTWARE\\"), "SOFTWARE");
  EXPECT_EQ(StripBackslash("\\"), "");
}

TEST(StripBackslash, OnlyOneIsTakenOff) {
  EXPECT_EQ(StripBackslash("SOFTWARE\\\\"), "SOFTWARE\\");
}

TEST(StripBackslash, APathWithoutATrailingBackslashStaysAsItIs) {
  EXPECT_EQ(StripBackslash("SOFTWARE"), "SOFTWARE");
  EXPECT_EQ(StripBackslash("\\SOFTWARE"), "\\SOFTWARE");
  EXPECT_EQ(StripBackslash("SOFTWARE/"), "SOFTWARE/");
  EXPECT_EQ(StripBackslash(""), "");
}

}  // namespace
}  // namespace qmzentrel::tests
