// Which objects of a client are combo boxes, and how one is filled, searched and selected in.
#include "interface/combo_box.h"

#include "tests/core/core_test.h"
#include "tests/core/fake_list_control.h"

namespace qmzentrel::tests {
namespace {

using Items = FakeListControl::Items;

class ComboBoxTest : public CoreTest {
 protected:
  static bool IsComboBox(FakeListControl& control) { return ComboBox::IsComboBox(control.Bound()); }
};

// --- Which objects are combo boxes ---

TEST_F(ComboBoxTest, NothingIsNone) {
  EXPECT_FALSE(ComboBox::IsComboBox(LateBound({nullptr})));
}

TEST_F(ComboBoxTest, AnObjectWhoseTypeNameEndsInComboBoxIsOne) {
  for (const char* name : {"ComboBox", "ImageComboBox", "My ComboBox", "_ComboBox"}) {
    FakeListControl control(name);
    EXPECT_TRUE(IsComboBox(control)) << name;
  }
}

TEST_F(ComboBoxTest, AnObjectWhoseTypeNameEndsInListBoxIsNone) {
  for (const char* name : {"ListBox", "FileListBox", "ComboBoxListBox"}) {
    FakeListControl control(name);
    EXPECT_FALSE(IsComboBox(control)) << name;
  }
}

TEST_F(ComboBoxTest, ThatTypeNameDecidesWhateverTheMembers) {
  FakeListControl combo("ComboBox");
  combo.Remove("NewIndex");
  combo.object.gets["Selected"] = [](const auto&) { return 0; };
  EXPECT_TRUE(IsComboBox(combo));
}

TEST_F(ComboBoxTest, AnyOtherObjectIsOneWhenItHasTheFourMembersAndNoSelected) {
  for (const char* name : {"", "Wrapper", "ComboBoxWrapper", "ListBoxes", "JScriptTypeInfo"}) {
    FakeListControl control(name);
    EXPECT_TRUE(IsComboBox(control)) << name;
    control.object.gets["Selected"] = [](const auto&) { return 0; };
    EXPECT_FALSE(IsComboBox(control)) << name;
  }
}

TEST_F(ComboBoxTest, AnyOtherObjectWithoutOneOfTheFourMembersIsNone) {
  for (const char* member : {"Clear", "AddItem", "NewIndex", "ItemData"}) {
    FakeListControl control("");
    control.Remove(member);
    EXPECT_FALSE(IsComboBox(control)) << member;
  }
}

TEST_F(ComboBoxTest, AnObjectWithoutMembersIsNone) {
  fakes::FakeObject bare;
  EXPECT_FALSE(ComboBox::IsComboBox(LateBound(bare.Handle())));
}

TEST_F(ComboBoxTest, AskingChangesNothing) {
  FakeListControl control("");
  IsComboBox(control);
  EXPECT_EQ(control.changes, 0);
}

// --- Filling and selecting ---

TEST_F(ComboBoxTest, AnItemIsAddedWithItsNumber) {
  FakeListControl control;
  ComboBox box(control.Bound());
  box.AddItem("eight", 8);
  box.AddItem("none");
  box.AddItem("minus one", -1);
  EXPECT_EQ(control.items, (Items{{"eight", 8}, {"none", 0}, {"minus one", -1}}));
}

TEST_F(ComboBoxTest, ANumberGoesToTheItemThatWasAddedWhereverTheBoxPutIt) {
  FakeListControl control;
  control.at_the_front = true;
  ComboBox box(control.Bound());
  box.AddItem("eight", 8);
  box.AddItem("nine", 9);
  EXPECT_EQ(control.items, (Items{{"nine", 9}, {"eight", 8}}));
}

TEST_F(ComboBoxTest, ClearTakesEveryItemAway) {
  FakeListControl control;
  ComboBox box(control.Bound());
  box.AddItem("eight", 8);
  box.Clear();
  EXPECT_EQ(control.items, Items{});
}

TEST_F(ComboBoxTest, TheItemsOfABoxAreReadFromIt) {
  FakeListControl control;
  control.items = {{"eight", 8}, {"nine", 9}};
  ComboBox box(control.Bound());
  EXPECT_EQ(box.ListCount(), 2);
  EXPECT_EQ(box.List(1), "nine");
  EXPECT_EQ(box.ItemData(1), 9);
  box.ListIndex(1);
  EXPECT_EQ(control.selected, 1);
}

TEST_F(ComboBoxTest, AnItemIsSelectedByItsNumberInTheClientsBox) {
  FakeListControl control;
  control.items = {{"eight", 8}, {"nine", 9}, {"nine again", 9}};
  ComboBox box(control.Bound());
  EXPECT_TRUE(modCOM_CboLstHelpers::SelectByItemData(box, 9));
  EXPECT_EQ(control.selected, 1);
  EXPECT_TRUE(modCOM_CboLstHelpers::SelectByText(box, "NINE AGAIN"));
  EXPECT_EQ(control.selected, 2);
}

// --- What the box refuses ---

class RefusedMember : public ComboBoxTest, public testing::WithParamInterface<const char*> {
 protected:
  /// Uses every member.
  static void UseAll(FakeListControl& control) {
    ComboBox box(control.Bound());
    box.Clear();
    box.AddItem("eight", 8);
    std::ignore = box.ListCount();
    std::ignore = box.List(0);
    std::ignore = box.ItemData(0);
    box.ListIndex(0);
  }
};

INSTANTIATE_TEST_SUITE_P(Each, RefusedMember,
                         testing::Values("Clear", "AddItem", "NewIndex", "ItemData", "ListCount",
                                         "List", "ListIndex"),
                         [](const auto& test) { return std::string(test.param); });

TEST_P(RefusedMember, IsRaisedWithTheNumberAndTheTextOfTheBox) {
  FakeListControl control;
  control.Refuse(GetParam(), {381, "Form1", "Invalid property array index"});
  try {
    UseAll(control);
    ADD_FAILURE() << "nothing was raised";
  } catch (const RunTimeError& error) {
    EXPECT_EQ(error.number, 381);
    EXPECT_EQ(error.description, "Invalid property array index");
  }
}

TEST_P(RefusedMember, ThatIsNotThereIsError438) {
  FakeListControl control;
  control.Remove(GetParam());
  try {
    UseAll(control);
    ADD_FAILURE() << "nothing was raised";
  } catch (const RunTimeError& error) {
    EXPECT_EQ(error.number, 438);
    EXPECT_EQ(error.description, "Object doesn't support this property or method");
  }
}

TEST_F(ComboBoxTest, ARefusalWithoutATextGetsTheStandardOneOfItsNumber) {
  const std::pair<std::int32_t, const char*> texts[] = {
      {5, "Invalid procedure call or argument"},
      {6, "Overflow"},
      {7, "Out of memory"},
      {9, "Subscript out of range"},
      {11, "Division by zero"},
      {13, "Type mismatch"},
      {91, "Object variable or With block variable not set"},
      {438, "Object doesn't support this property or method"},
      {12345, "Application-defined or object-defined error"}};
  for (const auto& [number, text] : texts) {
    FakeListControl control;
    control.Refuse("Clear", {number, "", ""});
    try {
      ComboBox(control.Bound()).Clear();
      ADD_FAILURE() << "nothing was raised";
    } catch (const RunTimeError& error) {
      EXPECT_EQ(error.number, number);
      EXPECT_EQ(error.description, text);
    }
  }
}

TEST_F(ComboBoxTest, EveryCallOnNothingIsError91) {
  ComboBox box(LateBound({nullptr}));
  EXPECT_EQ(ErrorNumberOf([&] { box.Clear(); }), 91);
  EXPECT_EQ(ErrorNumberOf([&] { box.AddItem("x"); }), 91);
  EXPECT_EQ(ErrorNumberOf([&] { box.AddItem("x", 1); }), 91);
  EXPECT_EQ(ErrorNumberOf([&] { std::ignore = box.ListCount(); }), 91);
  EXPECT_EQ(ErrorNumberOf([&] { std::ignore = box.List(0); }), 91);
  EXPECT_EQ(ErrorNumberOf([&] { std::ignore = box.ItemData(0); }), 91);
  EXPECT_EQ(ErrorNumberOf([&] { box.ListIndex(0); }), 91);
}

TEST_F(ComboBoxTest, ARefusalDuringASearchIsReportedByTheSearch) {
  FakeListControl control;
  control.items = {{"eight", 8}};
  control.Refuse("ListCount", {438, "", ""});
  ComboBox box(control.Bound());
  const ErrorReport report = ReportOf([&] { modCOM_CboLstHelpers::SelectByItemData(box, 8); });
  EXPECT_EQ(report.ErrorNumber, 438);
  EXPECT_EQ(report.module, "modCOM_CboLstHelpers");
  EXPECT_EQ(report.procedure, "SelectByItemData");
}

// --- Exceptions in the client's box ---

TEST(LateBoundFaults, AnExceptionInTheClientsObjectIsTheClients) {
  modErrorReportSupport::InitErrorReporting();
  FakeListControl control;
  control.items = {{"MIF", 8}};
  bool taken = false;
  const auto fault = [&taken](const auto&) -> platform::LateArgument {
    taken = taken || fakes::RaiseHardwareFault(0xC0000005U);
    return 0;
  };
  for (auto* members : {&control.object.methods, &control.object.gets, &control.object.lets}) {
    for (auto& [name, member] : *members) member = fault;
  }
  platform::RaisingFaults([&] {
    ComboBox box(control.Bound());
    box.Clear();
    box.AddItem("TXI", 9);
    box.ListCount();
    box.List(0);
    box.ItemData(0);
    box.ListIndex(0);
  });
  EXPECT_FALSE(taken);
}

// --- In the error report ---

TEST(LateBoundDump, NothingSaysSo) {
  EXPECT_EQ(DumpVariable("cbo", LateBound({nullptr})), "<cbo>{Nothing}</cbo>\r\n");
}

TEST(LateBoundDump, AnObjectIsShownByItsDefaultMember) {
  FakeListControl control("MyComboBox");
  EXPECT_EQ(DumpVariable("cbo", control.Bound()), "<cbo>{typed}</cbo>\r\n");
  control.items = {{"MIF", 8}};
  control.selected = 0;
  EXPECT_EQ(DumpVariable("cbo", control.Bound()), "<cbo>{MIF}</cbo>\r\n");
}

TEST(LateBoundDump, AClientsBoxIsShownAlikeAsAList) {
  FakeListControl control;
  const ComboBox box(control.Bound());
  const modCOM_CboLstHelpers::ItemList& list = box;
  EXPECT_EQ(DumpVariable("list", list), "<list>{typed}</list>\r\n");
}

}  // namespace
}  // namespace qmzentrel::tests
