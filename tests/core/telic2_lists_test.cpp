// Sub-devices and their messages in a client's combo box.
#include <limits>
#include <new>

#include "tests/core/catalog_writer.h"
#include "tests/core/core_test.h"
#include "tests/core/fake_list_control.h"

namespace qmzentrel::tests {
namespace {

using Items = FakeListControl::Items;

constexpr std::int32_t kUnknown = std::numeric_limits<std::int32_t>::max();

class Telic2Lists : public ZentrelTest {
 protected:
  void SetUp() override {
    ZentrelTest::SetUp();
    control.items = {{"from", 1}, {"before", 2}};
    control.selected = 1;
  }

  static Items Between(const Items& first, const Items& middle, const Items& last = {}) {
    Items all = first;
    all.insert(all.end(), middle.begin(), middle.end());
    all.insert(all.end(), last.begin(), last.end());
    return all;
  }

  FakeListControl control;
  const Items kNop{{"NOP", -1}};
  const Items kInvalid{{"Invalid", 99}};
};

// --- The selected device ---

TEST_F(Telic2Lists, AtFirstNoDeviceIsSelected) {
  EXPECT_EQ(zentrel->TELIC2Device(), "");
}

TEST_F(Telic2Lists, TheDeviceIsKeptAsItWasGiven) {
  for (const char* name : {"Meter", "Meter\\", "", " ", "W\xC3\xA4rme"}) {
    zentrel->TELIC2Device(name);
    EXPECT_EQ(zentrel->TELIC2Device(), name);
  }
}

TEST_F(Telic2Lists, TheRootIsRebuiltWithEachDeviceAndEndsInOneBackslash) {
  const auto root = [&] {
    const std::string fields = zentrel->DumpFields();
    const std::size_t start = fields.find("<m_strTELIC2RegRoot>") + 20;
    return fields.substr(start, fields.find("</m_strTELIC2RegRoot>") - start);
  };
  EXPECT_EQ(root(), "SOFTWARE\\QuenmoorComms\\TELIC2\\Types\\");
  zentrel->TELIC2Device("Meter");
  EXPECT_EQ(root(), "SOFTWARE\\QuenmoorComms\\TELIC2\\Types\\Meter\\");
  zentrel->TELIC2Device("Valve\\");
  EXPECT_EQ(root(), "SOFTWARE\\QuenmoorComms\\TELIC2\\Types\\Valve\\");
  zentrel->TELIC2Device("");
  EXPECT_EQ(root(), "SOFTWARE\\QuenmoorComms\\TELIC2\\Types\\");
}

TEST_F(Telic2Lists, EachObjectHasADeviceOfItsOwn) {
  zentrel->TELIC2Device("Meter");
  EXPECT_EQ(Zentrel::Create()->TELIC2Device(), "");
}

// --- Device types ---

class Telic2Devices : public Telic2Lists {
 protected:
  static void AddDevices(const Texts& names) {
    for (const std::string& name : names) SetNumber(kDeviceTypes + '\\' + name, "Commands", -1);
    TheWorld().key_order[kDeviceTypes] = names;
  }
};

TEST_F(Telic2Devices, AreAddedSortedByName) {
  AddDevices({"valve", "Meter", "Pump"});
  EXPECT_TRUE(zentrel->TELIC2EnumDevices(control.Bound()));
  EXPECT_EQ(control.items, (Items{{"Meter", 0}, {"Pump", 0}, {"valve", 0}}));
  EXPECT_EQ(control.selected, -1);
}

TEST_F(Telic2Devices, WhoseNamesAreNumbersAreSortedAsNumbers) {
  AddDevices({"10", "9", "1"});
  EXPECT_TRUE(zentrel->TELIC2EnumDevices(control.Bound()));
  EXPECT_EQ(control.items, (Items{{"1", 0}, {"9", 0}, {"10", 0}}));
}

TEST_F(Telic2Devices, OneIsEnoughForTrue) {
  AddDevices({"Meter"});
  EXPECT_TRUE(zentrel->TELIC2EnumDevices(control.Bound()));
}

TEST_F(Telic2Devices, WithoutAnyTheBoxIsClearedAndTheAnswerFalse) {
  EXPECT_FALSE(zentrel->TELIC2EnumDevices(control.Bound()));
  EXPECT_EQ(control.items, Items{});
  SetNumber(kDeviceTypes, "value", 1);
  EXPECT_FALSE(zentrel->TELIC2EnumDevices(control.Bound()));
}

TEST_F(Telic2Devices, KeysBelowADeviceAreNone) {
  SetTest("Meter", 1, 1, 1);
  EXPECT_TRUE(zentrel->TELIC2EnumDevices(control.Bound()));
  EXPECT_EQ(control.items, (Items{{"Meter", 0}}));
}

TEST_F(Telic2Devices, ThatCannotBeListedAreNone) {
  AddDevices({"Meter"});
  TheWorld().open_result = 5;
  EXPECT_FALSE(zentrel->TELIC2EnumDevices(control.Bound()));
  EXPECT_EQ(control.items, Items{});
}

TEST_F(Telic2Devices, ThatCannotBeSortedLeaveTheBoxAsItWas) {
  AddDevices({"1", "2", "Meter"});
  const ErrorReport report = ReportOf([&] { zentrel->TELIC2EnumDevices(control.Bound()); });
  EXPECT_EQ(report.ErrorNumber, 13);
  EXPECT_EQ(report.procedure, "RegKeys_QSort");
  EXPECT_EQ(control.changes, 0);
}

TEST_F(Telic2Devices, AreOfferedWhateverDeviceIsSelected) {
  AddDevices({"Meter", "Valve"});
  zentrel->TELIC2Device("Valve");
  EXPECT_TRUE(zentrel->TELIC2EnumDevices(control.Bound()));
  EXPECT_EQ(control.items.size(), 2U);
}

// --- Messages ---

class Telic2MessageList : public Telic2Lists {
 protected:
  void SetUp() override {
    Telic2Lists::SetUp();
    SetRange(kMessages, 8, 11);
    SetName(kMessages, 8, "Reverse count");
    SetName(kMessages, 10, "Jitter count");
    SetName(kMessages, 11, "");
  }

  bool Fill(std::int32_t preselected = -1) {
    return zentrel->TELIC2EnumMessages(control.Bound(), preselected);
  }

  static void SetCommands(const std::string& device, std::int32_t commands) {
    SetNumber(kDeviceTypes + '\\' + device, "Commands", commands);
  }

  const Items kAll{{"NOP", -1},
                   {"08 Reverse count", 8},
                   {"09 Invalid", 9},
                   {"0A Jitter count", 10},
                   {"0B ", 11}};
};

TEST_F(Telic2MessageList, WithoutADeviceHasEveryMessageOfTheRangeAfterNop) {
  SetNumber(kDeviceTypes, "Commands", 0);
  EXPECT_TRUE(Fill());
  EXPECT_EQ(control.items, kAll);
}

TEST_F(Telic2MessageList, HasTheMessagesWhoseBitIsSetForTheDevice) {
  SetCommands("Meter", 1 << 8 | 1 << 11 | 1 << 12);
  zentrel->TELIC2Device("Meter");
  EXPECT_TRUE(Fill());
  EXPECT_EQ(control.items, (Items{{"NOP", -1}, {"08 Reverse count", 8}, {"0B ", 11}}));
}

TEST_F(Telic2MessageList, HasEveryMessageForADeviceWithoutCommands) {
  zentrel->TELIC2Device("Meter");
  EXPECT_TRUE(Fill());
  EXPECT_EQ(control.items, kAll);
  SetText(kDeviceTypes + "\\Meter", "Commands", "all");
  EXPECT_TRUE(Fill());
  EXPECT_EQ(control.items, kAll);
}

TEST_F(Telic2MessageList, HasOnlyNopForADeviceWithCommands0) {
  SetCommands("Meter", 0);
  zentrel->TELIC2Device("Meter");
  EXPECT_TRUE(Fill());
  EXPECT_EQ(control.items, kNop);
}

TEST_F(Telic2MessageList, HasEveryMessageAgainOnceNoDeviceIsSelected) {
  SetCommands("Meter", 0);
  zentrel->TELIC2Device("Meter");
  zentrel->TELIC2Device("");
  EXPECT_TRUE(Fill());
  EXPECT_EQ(control.items, kAll);
}

TEST_F(Telic2MessageList, HasOnlyNopWithoutBothEndsOfTheRange) {
  TheWorld().registry[kMessages].erase("Min");
  EXPECT_TRUE(Fill());
  EXPECT_EQ(control.items, kNop);
  SetNumber(kMessages, "Min", 8);
  SetText(kMessages, "Max", "many");
  EXPECT_TRUE(Fill());
  EXPECT_EQ(control.items, kNop);
}

TEST_F(Telic2MessageList, HasOnlyNopWithoutAnyCatalogOrWhenItCannotBeRead) {
  TheWorld().open_result = 5;
  EXPECT_TRUE(Fill());
  EXPECT_EQ(control.items, kNop);
  TheWorld().open_result.reset();
  TheWorld().query_result = 5;
  EXPECT_TRUE(Fill());
  EXPECT_EQ(control.items, kNop);
  TheWorld().query_result.reset();
  TheWorld().registry.clear();
  EXPECT_TRUE(Fill());
  EXPECT_EQ(control.items, kNop);
}

TEST_F(Telic2MessageList, ReplacesWhatWasInTheBox) {
  Fill();
  Fill();
  EXPECT_EQ(control.items, kAll);
}

TEST_F(Telic2MessageList, HasNoMessageBelow0) {
  SetRange(kMessages, -3, 0);
  EXPECT_TRUE(Fill());
  EXPECT_EQ(control.items, (Items{{"NOP", -1}, {"00 Invalid", 0}}));
}

TEST_F(Telic2MessageList, Message31IsAnOverflowAndTheEntriesBeforeItStay) {
  SetRange(kMessages, 29, 40);
  const ErrorReport report = ReportOf([&] { Fill(30); });
  EXPECT_EQ(report.ErrorNumber, 6);
  EXPECT_EQ(report.procedure, "TELIC2EnumMessages");
  EXPECT_EQ(control.items, (Items{{"NOP", -1}, {"1D Invalid", 29}, {"1E Invalid", 30}}));
  EXPECT_EQ(control.selected, -1);
}

TEST_F(Telic2MessageList, Message31IsAnOverflowEvenForADeviceThatOffersNone) {
  SetRange(kMessages, 29, 31);
  SetCommands("Meter", 0);
  zentrel->TELIC2Device("Meter");
  EXPECT_EQ(ReportOf([&] { Fill(); }).ErrorNumber, 6);
  EXPECT_EQ(control.items, kNop);
}

TEST_F(Telic2MessageList, SelectsTheEntryWithTheDefault) {
  EXPECT_TRUE(Fill(10));
  EXPECT_EQ(control.selected, 3);
  EXPECT_TRUE(Fill(-1));
  EXPECT_EQ(control.selected, 0);
}

TEST_F(Telic2MessageList, SelectsNoEntryWhenNoneHasTheDefault) {
  for (const std::int32_t none : {12, 99, 0, -2, kUnknown}) {
    EXPECT_TRUE(Fill(none));
    EXPECT_EQ(control.selected, -1) << none;
  }
}

TEST_F(Telic2MessageList, SelectsByNumberInABoxThatHasAnOrderOfItsOwn) {
  control.at_the_front = true;
  EXPECT_TRUE(Fill(8));
  EXPECT_EQ(control.items, Items(kAll.rbegin(), kAll.rend()));
  EXPECT_EQ(control.selected, 3);
}

// --- Test messages ---

class Telic2TestList : public Telic2Lists {
 protected:
  void SetUp() override {
    Telic2Lists::SetUp();
    zentrel->TELIC2Device("Meter");
    SetRange(kTests, 1, 3);
    SetName(kTests, 1, "Self test");
    SetTest("Meter", 3, 1, 1);
  }

  bool Fill(std::int32_t preselected = -1) {
    return zentrel->TELIC2EnumTestMessages(control.Bound(), preselected);
  }

  const std::string kTests = TestMessages("Meter");
  const Items kAll{
      {"NOP", -1}, {"01 Self test", 1}, {"02 Invalid", 2}, {"03 Invalid", 3}, {"Invalid", 99}};
};

TEST_F(Telic2TestList, HasTheTestsOfTheDeviceBetweenNopAndInvalid) {
  EXPECT_TRUE(Fill());
  EXPECT_EQ(control.items, kAll);
}

TEST_F(Telic2TestList, KnowsNoMask) {
  SetNumber(kDeviceTypes + "\\Meter", "Commands", 0);
  SetNumber(kTests, "Commands", 0);
  EXPECT_TRUE(Fill());
  EXPECT_EQ(control.items, kAll);
}

TEST_F(Telic2TestList, HasOnlyItsFixedEntriesForADeviceWithoutTests) {
  zentrel->TELIC2Device("Valve");
  EXPECT_TRUE(Fill());
  EXPECT_EQ(control.items, Between(kNop, kInvalid));
}

TEST_F(Telic2TestList, HasOnlyItsFixedEntriesWithoutBothEndsOfTheRange) {
  TheWorld().registry[kTests].erase("Max");
  EXPECT_TRUE(Fill());
  EXPECT_EQ(control.items, Between(kNop, kInvalid));
}

TEST_F(Telic2TestList, HasOnlyItsFixedEntriesWhenTheCatalogCannotBeRead) {
  TheWorld().open_result = 5;
  EXPECT_TRUE(Fill());
  EXPECT_EQ(control.items, Between(kNop, kInvalid));
}

TEST_F(Telic2TestList, WithoutADeviceIsLookedForBesideTheTypes) {
  zentrel->TELIC2Device("");
  SetRange(kDeviceTypes + "\\TestMessages", 5, 5);
  SetName(kDeviceTypes + "\\TestMessages", 5, "stray");
  EXPECT_TRUE(Fill());
  EXPECT_EQ(control.items, Between(kNop, {{"05 stray", 5}}, kInvalid));
}

TEST_F(Telic2TestList, MayHaveNumbersBelow0AndBeyond31) {
  SetRange(kTests, 30, 33);
  EXPECT_TRUE(Fill());
  EXPECT_EQ(
      control.items,
      Between(kNop,
              {{"1E Invalid", 30}, {"1F Invalid", 31}, {"20 Invalid", 32}, {"21 Invalid", 33}},
              kInvalid));
  SetRange(kTests, -1, 0);
  EXPECT_TRUE(Fill());
  EXPECT_EQ(control.items, Between(kNop, {{"FF Invalid", -1}, {"00 Invalid", 0}}, kInvalid));
  SetRange(kTests, kUnknown, kUnknown);
  EXPECT_TRUE(Fill());
  EXPECT_EQ(control.items, Between(kNop, {{"FF Invalid", kUnknown}}, kInvalid));
}

TEST_F(Telic2TestList, MayHaveATestWithTheNumberOfTheMarker) {
  SetRange(kTests, 99, 99);
  SetName(kTests, 99, "Real");
  EXPECT_TRUE(Fill(99));
  EXPECT_EQ(control.items, Between(kNop, {{"63 Real", 99}}, kInvalid));
  EXPECT_EQ(control.selected, 1) << "the first one with the number";
}

TEST_F(Telic2TestList, SelectsTheEntryWithTheDefault) {
  EXPECT_TRUE(Fill(99));
  EXPECT_EQ(control.selected, 4);
  EXPECT_TRUE(Fill(2));
  EXPECT_EQ(control.selected, 2);
  EXPECT_TRUE(Fill(-1));
  EXPECT_EQ(control.selected, 0);
  EXPECT_TRUE(Fill(77));
  EXPECT_EQ(control.selected, -1);
}

// --- What all three have in common ---

struct List {
  const char* name;
  bool (*fill)(Zentrel&, const LateBound&);
};

void PrintTo(const List& list, std::ostream* stream) {
  *stream << list.name;
}

class AnyTelic2List : public Telic2Lists, public testing::WithParamInterface<List> {
 protected:
  void SetUp() override {
    Telic2Lists::SetUp();
    SetRange(kMessages, 8, 8);
    SetRange(TestMessages("Meter"), 1, 1);
    SetNumber(kDeviceTypes + "\\Meter", "Commands", -1);
    zentrel->TELIC2Device("Meter");
  }

  bool Fill(const LateBound& box) { return GetParam().fill(*zentrel, box); }
};

INSTANTIATE_TEST_SUITE_P(
    Each, AnyTelic2List,
    testing::Values(
        List{"TELIC2EnumDevices",
             [](Zentrel& z, const LateBound& box) { return z.TELIC2EnumDevices(box); }},
        List{"TELIC2EnumMessages",
             [](Zentrel& z, const LateBound& box) { return z.TELIC2EnumMessages(box, -1); }},
        List{"TELIC2EnumTestMessages",
             [](Zentrel& z, const LateBound& box) { return z.TELIC2EnumTestMessages(box, -1); }}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_P(AnyTelic2List, IntoNothingIsFalse) {
  EXPECT_FALSE(Fill(LateBound({nullptr})));
}

TEST_P(AnyTelic2List, IntoAListBoxIsFalseAndAddsNothing) {
  FakeListControl list("ListBox");
  list.items = {{"before", 2}};
  EXPECT_FALSE(Fill(list.Bound()));
  EXPECT_EQ(list.changes, 0);
}

TEST_P(AnyTelic2List, IntoAnObjectThatOnlyLooksLikeAComboBoxWorks) {
  FakeListControl duck("");
  EXPECT_TRUE(Fill(duck.Bound()));
  EXPECT_FALSE(duck.items.empty());
}

TEST_P(AnyTelic2List, IntoAnObjectWithSelectedIsFalseAndAddsNothing) {
  FakeListControl list("");
  list.object.gets["Selected"] = [](const auto&) { return 0; };
  EXPECT_FALSE(Fill(list.Bound()));
  EXPECT_EQ(list.changes, 0);
}

TEST_P(AnyTelic2List, IntoNoComboBoxAsksNothingOfTheRegistry) {
  FakeListControl list("ListBox");
  TheWorld().registry_calls.clear();
  Fill(list.Bound());
  EXPECT_TRUE(TheWorld().registry_calls.empty());
}

TEST_P(AnyTelic2List, AnErrorThatTheBoxRaisesIsReportedWithItsNumberAndLeavesAs65535) {
  for (const char* member : {"Clear", "AddItem"}) {
    FakeListControl refusing("Form1ComboBox");
    refusing.Refuse(member, {-2147417848, "Form1", "The object invoked has disconnected"});
    const ErrorReport report = ReportOf([&] { Fill(refusing.Bound()); });
    EXPECT_EQ(report.ErrorNumber, -2147417848) << member;
    EXPECT_EQ(report.ErrorDescription, "The object invoked has disconnected");
    EXPECT_EQ(report.module, "Zentrel");
    EXPECT_EQ(report.procedure, GetParam().name);
    EXPECT_TRUE(report.parameters.starts_with("<cbo>{typed}</cbo>\r\n")) << report.parameters;
  }
}

TEST_P(AnyTelic2List, AnErrorThatTheBoxRaisesIsReportedWithTheSourceThatTheBoxGives) {
  FakeListControl refusing;
  refusing.Refuse("Clear", {380, "Form1", "Invalid property value"});
  EXPECT_EQ(ReportOf([&] { Fill(refusing.Bound()); }).ErrorSource, "Form1");
}

TEST_P(AnyTelic2List, AnErrorOfTheBoxIsReportedEvenUnderTheNumberOfAReportedOne) {
  // A box of another library whose own faults leave as this number, which nobody here has reported.
  FakeListControl refusing;
  refusing.Refuse("Clear", {65535, "Form1", "Application-defined or object-defined error"});
  EXPECT_EQ(ReportOf([&] { Fill(refusing.Bound()); }).ErrorNumber, 65535);
}

TEST_P(AnyTelic2List, AComboBoxByNameThatLacksAMemberIsError438) {
  for (const char* member : {"Clear", "AddItem"}) {
    FakeListControl poor;
    poor.Remove(member);
    EXPECT_EQ(ReportOf([&] { Fill(poor.Bound()); }).ErrorNumber, 438) << member;
  }
}

TEST_P(AnyTelic2List, AFaultWhileReadingTheCatalogIsReportedAndLeavesNoKeyOpen) {
  TheWorld().registry_fault = [](const std::string& call,
                                 const std::string&) -> std::optional<std::int32_t> {
    if (call == "RegEnumKeyEx" || call == "RegQueryValueEx") throw std::bad_alloc();
    return std::nullopt;
  };
  const ErrorReport report = ReportOf([&] { Fill(control.Bound()); });
  EXPECT_EQ(report.ErrorNumber, 7);
  EXPECT_EQ(report.procedure, GetParam().name);
  EXPECT_TRUE(TheWorld().open_keys.empty());
}

TEST_P(AnyTelic2List, TouchesNeitherPortNorSupplyNorLog) {
  Fill(control.Bound());
  EXPECT_EQ(TheWorld().TakeJournal(), Texts{});
}

TEST_P(AnyTelic2List, IsTheSameWithTheSimulatorOn) {
  SetNumber(kSimulatorKey, "", -1);
  EXPECT_TRUE(Fill(control.Bound()));
  EXPECT_FALSE(control.items.empty());
}

class MessageListsOnly : public AnyTelic2List {};

INSTANTIATE_TEST_SUITE_P(Each, MessageListsOnly,
                         testing::Values(List{"TELIC2EnumMessages",
                                              [](Zentrel& z, const LateBound& box) {
                                                return z.TELIC2EnumMessages(box, 8);
                                              }},
                                         List{"TELIC2EnumTestMessages",
                                              [](Zentrel& z, const LateBound& box) {
                                                return z.TELIC2EnumTestMessages(box, 1);
                                              }}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(MessageListsOnly, AnErrorAtANumberIsReportedByTheList) {
  for (const char* member : {"NewIndex", "ItemData"}) {
    FakeListControl refusing;
    refusing.Refuse(member, {381, "Form1", "Invalid property array index"});
    const ErrorReport report = ReportOf([&] { Fill(refusing.Bound()); });
    EXPECT_EQ(report.ErrorNumber, 381) << member;
    EXPECT_EQ(report.procedure, GetParam().name);
    EXPECT_EQ(refusing.items, (Items{{"NOP", 0}})) << "the entry without its number stays";
  }
}

TEST_P(MessageListsOnly, TheRangeIsReadBeforeTheBoxIsCleared) {
  FakeListControl meddling;
  meddling.object.methods["Clear"] = [&](const auto&) {
    meddling.items.clear();
    SetRange(kMessages, 0, 30);
    SetRange(TestMessages("Meter"), 0, 30);
    return 0;
  };
  EXPECT_TRUE(Fill(meddling.Bound()));
  EXPECT_LE(meddling.items.size(), 3U);
}

TEST_P(MessageListsOnly, AFaultWhileReadingTheRangeLeavesTheBoxAsItWas) {
  TheWorld().registry_fault = [](const std::string& call,
                                 const std::string& subject) -> std::optional<std::int32_t> {
    if (call == "RegQueryValueEx" && subject == "Min") throw std::bad_alloc();
    return std::nullopt;
  };
  EXPECT_EQ(ReportOf([&] { Fill(control.Bound()); }).ErrorNumber, 7);
  EXPECT_EQ(control.changes, 0);
}

TEST_P(MessageListsOnly, AnErrorWhileSelectingIsReportedOnceByTheHelper) {
  for (const char* member : {"ListCount", "ListIndex"}) {
    FakeListControl refusing;
    refusing.Refuse(member, {380, "Form1", "Invalid property value"});
    const ErrorReport report = ReportOf([&] { Fill(refusing.Bound()); });
    EXPECT_EQ(report.ErrorNumber, 380) << member;
    EXPECT_EQ(report.module, "modCOM_CboLstHelpers");
    EXPECT_EQ(report.procedure, "SelectByItemData");
  }
}

TEST_P(MessageListsOnly, TheReportShowsTheBoxAndTheDefault) {
  FakeListControl refusing;
  refusing.Refuse("Clear", {380, "", ""});
  const std::string wanted = GetParam().name == std::string("TELIC2EnumMessages") ? "8" : "1";
  EXPECT_EQ(ReportOf([&] { Fill(refusing.Bound()); }).parameters,
            "<cbo>{typed}</cbo>\r\n<Default>" + wanted + "</Default>\r\n");
}

}  // namespace
}  // namespace qmzentrel::tests
