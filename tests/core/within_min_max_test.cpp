// The range test, which compares as automation does.
#include <limits>

#include "support/modCOM_IsWithinMinMax.h"
#include "tests/core/core_test.h"

namespace qmzentrel::tests {
namespace {

using modCOM_IsWithinMinMax::IsWithinMinMax;

class RangeTest : public CoreTest {
 protected:
  static Variant Text(const char* text) { return std::string(text); }
  static Variant Array() { return std::vector<std::string>{"a"}; }
  static constexpr std::monostate kEmpty{};
};

TEST_F(RangeTest, BothEndsAreWithin) {
  EXPECT_TRUE(IsWithinMinMax(5, 5, 10));
  EXPECT_TRUE(IsWithinMinMax(7, 5, 10));
  EXPECT_TRUE(IsWithinMinMax(10, 5, 10));
  EXPECT_TRUE(IsWithinMinMax(5, 5, 5));
}

TEST_F(RangeTest, OutsideEitherEndIsNotWithin) {
  EXPECT_FALSE(IsWithinMinMax(4, 5, 10));
  EXPECT_FALSE(IsWithinMinMax(11, 5, 10));
  EXPECT_FALSE(IsWithinMinMax(-7, 5, 10));
}

TEST_F(RangeTest, AnEmptyRangeHoldsNothing) {
  EXPECT_FALSE(IsWithinMinMax(5, 10, 5));
  EXPECT_FALSE(IsWithinMinMax(7, 10, 5));
  EXPECT_FALSE(IsWithinMinMax(10, 10, 5));
}

TEST_F(RangeTest, TheLargestNumbersDoNotOverflow) {
  constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();
  constexpr std::int32_t kSmallest = std::numeric_limits<std::int32_t>::min();
  EXPECT_TRUE(IsWithinMinMax(kLargest, kSmallest, kLargest));
  EXPECT_TRUE(IsWithinMinMax(kSmallest, kSmallest, kLargest));
  EXPECT_FALSE(IsWithinMinMax(kSmallest, kLargest, kLargest));
}

TEST_F(RangeTest, NumbersOfEveryTypeCompareAsNumbers) {
  EXPECT_TRUE(IsWithinMinMax(std::int16_t{5}, 5, 5.5));
  EXPECT_TRUE(IsWithinMinMax(5.25, 5, 5.5F));
  EXPECT_FALSE(IsWithinMinMax(5.75, 5, 5.5F));
  EXPECT_FALSE(IsWithinMinMax(4.75, std::int16_t{5}, 10));
  EXPECT_TRUE(IsWithinMinMax(100, 9, 1000));  // as texts it would not be
}

TEST_F(RangeTest, TrueIsMinusOneAndFalseIsZero) {
  EXPECT_TRUE(IsWithinMinMax(true, -1, -1));
  EXPECT_TRUE(IsWithinMinMax(false, 0, 0));
  EXPECT_FALSE(IsWithinMinMax(true, 0, 1));
}

TEST_F(RangeTest, TextsCompareWithoutCase) {
  EXPECT_TRUE(IsWithinMinMax(Text("MIF"), Text("mif"), Text("mif")));
  EXPECT_TRUE(IsWithinMinMax(Text("beta"), Text("ALPHA"), Text("Gamma")));
  EXPECT_FALSE(IsWithinMinMax(Text("Alpha"), Text("beta"), Text("gamma")));
  EXPECT_FALSE(IsWithinMinMax(Text("delta"), Text("alpha"), Text("BETA")));
}

TEST_F(RangeTest, ANumberIsBelowEveryText) {
  EXPECT_TRUE(IsWithinMinMax(99, 5, Text("1")));
  EXPECT_FALSE(IsWithinMinMax(99, Text("1"), Text("9")));
  EXPECT_FALSE(IsWithinMinMax(Text("1"), 0, 5));
  EXPECT_TRUE(IsWithinMinMax(Text("1"), 5, Text("1")));
}

TEST_F(RangeTest, EmptyIsZeroBesideANumber) {
  EXPECT_TRUE(IsWithinMinMax(kEmpty, 0, 0));
  EXPECT_FALSE(IsWithinMinMax(kEmpty, 1, 5));
  EXPECT_TRUE(IsWithinMinMax(5, kEmpty, 5));
  EXPECT_FALSE(IsWithinMinMax(5, 1, kEmpty));
  EXPECT_TRUE(IsWithinMinMax(kEmpty, kEmpty, kEmpty));
}

TEST_F(RangeTest, EmptyIsTheEmptyTextBesideAText) {
  EXPECT_TRUE(IsWithinMinMax(kEmpty, Text(""), Text("")));
  EXPECT_TRUE(IsWithinMinMax(Text(""), kEmpty, kEmpty));
  EXPECT_FALSE(IsWithinMinMax(kEmpty, Text("a"), Text("b")));
  EXPECT_TRUE(IsWithinMinMax(Text("a"), kEmpty, Text("b")));
  EXPECT_FALSE(IsWithinMinMax(Text("a"), Text(""), kEmpty));
}

TEST_F(RangeTest, AnArrayAnywhereIsATypeMismatch) {
  EXPECT_EQ(ReportOf([] { IsWithinMinMax(Array(), 0, 1); }).ErrorNumber, 13);
  EXPECT_EQ(ReportOf([] { IsWithinMinMax(0, Array(), 1); }).ErrorNumber, 13);
  EXPECT_EQ(ReportOf([] { IsWithinMinMax(0, 0, Array()); }).ErrorNumber, 13);
  EXPECT_EQ(ReportOf([] { IsWithinMinMax(Text("a"), Array(), Text("b")); }).ErrorNumber, 13);
  EXPECT_EQ(ReportOf([] { IsWithinMinMax(Array(), Text("a"), Text("b")); }).ErrorNumber, 13);
}

TEST_F(RangeTest, AnArrayAsTheUpperEndIsATypeMismatchEvenBelowTheLowerEnd) {
  EXPECT_EQ(ReportOf([] { IsWithinMinMax(-1, 0, Array()); }).ErrorNumber, 13);
}

TEST_F(RangeTest, AFaultIsReportedWithTheThreeParameters) {
  const ErrorReport report = ReportOf([] { IsWithinMinMax(2.5, Variant(), Variant(Array())); });
  EXPECT_EQ(report.module, "modCOM_IsWithinMinMax");
  EXPECT_EQ(report.procedure, "IsWithinMinMax");
  EXPECT_TRUE(report.parameters.starts_with(
      "<value>2.5</value>\r\n<minimum>{Empty}</minimum>\r\n<maximum Index=\"0\">"))
      << report.parameters;
}

}  // namespace
}  // namespace qmzentrel::tests
