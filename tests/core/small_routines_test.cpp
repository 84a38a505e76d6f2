// The small shared routines.
#include <algorithm>
#include <limits>

#include "support/modCOM_CboLstHelpers.h"
#include "support/modCOM_Common.h"
#include "support/modCOM_Hex.h"
#include "support/modCOM_InDesignMode.h"
#include "support/modCOM_IsWithinMinMax.h"
#include "tests/core/core_test.h"

namespace qmzentrel::tests {
namespace {

using modCOM_CboLstHelpers::SelectByItemData;
using modCOM_CboLstHelpers::SelectByText;
using modCOM_Common::AddBackslash;
using modCOM_Common::StripBackslash;
using modCOM_Hex::HexPad;
using modCOM_IsWithinMinMax::IsWithinMinMax;

// --- Hexadecimal text ---

TEST(HexPad, With0Or1DigitsOrFewerItIsTheBareNumber) {
  EXPECT_EQ(HexPad(255, 1), "FF");
  EXPECT_EQ(HexPad(255, 0), "FF");
  EXPECT_EQ(HexPad(255, -1), "FF");
  EXPECT_EQ(HexPad(0, 0), "0");
  EXPECT_EQ(HexPad(0, 1), "0");
  EXPECT_EQ(HexPad(0x1234, 1), "1234");
}

TEST(HexPad, AShortNumberIsFilledWithZeros) {
  EXPECT_EQ(HexPad(255, 6), "0000FF");
  EXPECT_EQ(HexPad(10, 4), "000A");
  EXPECT_EQ(HexPad(10, 2), "0A");
  EXPECT_EQ(HexPad(0, 2), "00");
  EXPECT_EQ(HexPad(1, 12), "000000000001");
}

TEST(HexPad, ANumberOfTheRightLengthStaysAsItIs) {
  EXPECT_EQ(HexPad(0xAB, 2), "AB");
  EXPECT_EQ(HexPad(0x7FFFFFFF, 8), "7FFFFFFF");
}

TEST(HexPad, ALongNumberIsCutOnTheLeft) {
  EXPECT_EQ(HexPad(0x1234, 2), "34");
  EXPECT_EQ(HexPad(0x1004, 2), "04");
}

TEST(HexPad, EveryDigitIsUpperCase) {
  EXPECT_EQ(HexPad(0x01234567, 8), "01234567");
  EXPECT_EQ(HexPad(static_cast<std::int32_t>(0x89ABCDEFU), 8), "89ABCDEF");
}

TEST(HexPad, ANegativeNumberIsItsTwosComplement) {
  EXPECT_EQ(HexPad(-1, 0), "FFFFFFFF");
  EXPECT_EQ(HexPad(-1, 4), "FFFF");
  EXPECT_EQ(HexPad(-2, 8), "FFFFFFFE");
  EXPECT_EQ(HexPad(-1, 10), "00FFFFFFFF");
  EXPECT_EQ(HexPad(std::numeric_limits<std::int32_t>::min(), 1), "80000000");
}

// --- Range test ---

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

// --- Design-time test ---

TEST(InDesignMode, ABuiltComponentIsNeverInDesignMode) {
  EXPECT_FALSE(modCOM_InDesignMode::InDesignMode());
}

// --- Selecting in lists ---

class Selecting : public CoreTest {
 protected:
  struct Items : modCOM_CboLstHelpers::ItemList {
    std::vector<std::pair<std::string, std::int32_t>> items;
    std::int32_t selected = -1;
    int selections = 0;
    std::int32_t faulty = -1;  ///< reading this item fails

    const std::pair<std::string, std::int32_t>& At(std::int32_t index) const {
      if (index == faulty) RaiseError(kErrorSubscriptOutOfRange);
      return items.at(static_cast<std::size_t>(index));
    }
    std::int32_t ListCount() const override { return static_cast<std::int32_t>(items.size()); }
    std::string List(std::int32_t index) const override { return At(index).first; }
    std::int32_t ItemData(std::int32_t index) const override { return At(index).second; }
    void ListIndex(std::int32_t index) override {
      selected = index;
      ++selections;
    }
    std::string Dump(std::string_view name) const override {
      return DumpDefault(name, [this] { return selected < 0 ? "" : At(selected).first; });
    }
  };

  Items list;
  Selecting() { list.items = {{"NOP", -1}, {"MIF", 8}, {"TXI", 9}, {"mif", 8}}; }
};

TEST_F(Selecting, ByDataSelectsTheFirstItemWithIt) {
  EXPECT_TRUE(SelectByItemData(list, 8));
  EXPECT_EQ(list.selected, 1);
  EXPECT_TRUE(SelectByItemData(list, -1));
  EXPECT_EQ(list.selected, 0);
  EXPECT_EQ(list.selections, 2);
}

TEST_F(Selecting, ByDataReachesTheLastItem) {
  list.items.back().second = 77;
  EXPECT_TRUE(SelectByItemData(list, 77));
  EXPECT_EQ(list.selected, 3);
}

TEST_F(Selecting, ByDataThatNoItemHasLeavesTheSelectionAsItWas) {
  list.selected = 2;
  EXPECT_FALSE(SelectByItemData(list, 7));
  EXPECT_EQ(list.selected, 2);
  EXPECT_EQ(list.selections, 0);
}

TEST_F(Selecting, ByTextSelectsTheFirstItemWithItInAnyCase) {
  EXPECT_TRUE(SelectByText(list, "mif"));
  EXPECT_EQ(list.selected, 1);
  EXPECT_TRUE(SelectByText(list, "Txi"));
  EXPECT_EQ(list.selected, 2);
  EXPECT_EQ(list.selections, 2);
}

TEST_F(Selecting, ByTextThatNoItemHasClearsTheSelection) {
  for (const char* text : {"MI", "MIFF", ""}) {
    list.selected = 2;
    EXPECT_FALSE(SelectByText(list, text));
    EXPECT_EQ(list.selected, -1) << text;
  }
}

TEST_F(Selecting, InAnEmptyListFindsNothing) {
  list.items.clear();
  list.selected = 5;
  EXPECT_FALSE(SelectByItemData(list, 0));
  EXPECT_EQ(list.selected, 5);
  EXPECT_FALSE(SelectByText(list, ""));
  EXPECT_EQ(list.selected, -1);
}

TEST_F(Selecting, AFaultOfTheListIsReportedWithTheItemThatWasLookedAt) {
  list.faulty = 2;
  const ErrorReport by_data = ReportOf([&] { SelectByItemData(list, 99); });
  EXPECT_EQ(by_data.ErrorNumber, 9);
  EXPECT_EQ(by_data.module, "modCOM_CboLstHelpers");
  EXPECT_EQ(by_data.procedure, "SelectByItemData");
  EXPECT_NE(by_data.parameters.find("<lngData>99</lngData>\r\n"), std::string::npos);
  EXPECT_EQ(by_data.local_variables, "<lngIndex>2</lngIndex>\r\n<lngCount>4</lngCount>\r\n");
  const ErrorReport by_text = ReportOf([&] { SelectByText(list, "none"); });
  EXPECT_EQ(by_text.procedure, "SelectByText");
  EXPECT_NE(by_text.parameters.find("<strText>none</strText>\r\n"), std::string::npos);
  EXPECT_EQ(by_text.local_variables, "<lngIndex>2</lngIndex>\r\n<lngCount>4</lngCount>\r\n");
}

TEST_F(Selecting, AFaultShowsTheListBeforeTheValue) {
  list.faulty = 0;
  for (const auto& report : {ReportOf([&] { SelectByItemData(list, 9); }),
                             ReportOf([&] { SelectByText(list, "TXI"); })}) {
    EXPECT_EQ(std::ranges::count(report.parameters, '\n'), 2) << report.parameters;
  }
}

// --- Path separators ---

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
