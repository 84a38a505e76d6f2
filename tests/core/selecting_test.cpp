// Selecting in list and combo boxes by data or text.
#include <algorithm>

#include "support/modCOM_CboLstHelpers.h"
#include "tests/core/core_test.h"

namespace qmzentrel::tests {
namespace {

using modCOM_CboLstHelpers::SelectByItemData;
using modCOM_CboLstHelpers::SelectByText;

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

}  // namespace
}  // namespace qmzentrel::tests
