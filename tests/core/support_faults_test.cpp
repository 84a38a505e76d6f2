// Each procedure of the helpers, the timers and the registry fails once.
#include "interface/combo_box.h"
#include "support/XTimer.h"
#include "support/modCOM_FormHelpers.h"
#include "support/modCOM_Hex.h"
#include "support/modCOM_IsWithinMinMax.h"
#include "support/modCOM_Registry.h"
#include "tests/core/catalog_writer.h"
#include "tests/core/fake_list_control.h"
#include "tests/core/fault_report.h"

namespace qmzentrel::tests {
namespace {

class SupportFaults : public FaultTest<CoreTest> {};

// --- Small helpers ---

TEST_F(SupportFaults, IsWithinMinMaxIsReportedWhole) {
  const Variant list = Texts{"low", "high"};
  ExpectReport(
      [&] { modCOM_IsWithinMinMax::IsWithinMinMax(std::int32_t{3}, 2.5, list); },
      {kTypeMismatch, "modCOM_IsWithinMinMax", "Compare(value, maximum)",
       Shown("value", 3) + Shown("minimum", "2.5") + ShownTexts("maximum", {"low", "high"}),
       Shown("lngToMinimum", 1) + Shown("lngToMaximum", 0)});
}

class ComparisonFaults : public FaultTest<CoreTest> {};

TEST_F(ComparisonFaults, IsWithinMinMaxIsReportedWhole) {
  const auto expect = [this](const Variant& three, const Variant& minimum, const char* shown,
                             std::int32_t to_minimum) {
    ExpectReport([&] { modCOM_IsWithinMinMax::IsWithinMinMax(three, minimum, Texts{"list"}); },
                 {kTypeMismatch, "modCOM_IsWithinMinMax", "Compare(value, maximum)",
                  Shown("value", 3) + Shown("minimum", shown) + ShownTexts("maximum", {"list"}),
                  Shown("lngToMinimum", to_minimum) + Shown("lngToMaximum", 0)});
  };
  const std::int32_t number = 3;
  const std::string text = "3";
  expect(number, std::int32_t{4}, "4", -1);
  expect(number, number, "3", 0);
  expect(number, text, "3", -1);
  expect(text, number, "3", 1);
}

class ComparisonEntryFaults : public FaultTest<CoreTest> {};

TEST_F(ComparisonEntryFaults, IsWithinMinMaxIsReportedWhole) {
  FailAtEntry();
  ExpectReport([] { modCOM_IsWithinMinMax::IsWithinMinMax(std::int32_t{3}, 2.5, std::int32_t{4}); },
               {kStackOverflow, "modCOM_IsWithinMinMax", kBeforeTheFirstLine,
                Shown("value", 3) + Shown("minimum", "2.5") + Shown("maximum", 4),
                Shown("lngToMinimum", 0) + Shown("lngToMaximum", 0)});
}

TEST_F(SupportFaults, HexPadIsReportedWhole) {
  FailAtEntry();
  ExpectReport([] { modCOM_Hex::HexPad(171, 2); },
               {kStackOverflow, "modCOM_Hex", kBeforeTheFirstLine,
                Shown("value", 171) + Shown("digits", 2), Shown("strHex", "")});
}

class ListFaults : public FaultTest<CoreTest> {
 protected:
  ListFaults() {
    control.items = {{"first", 10}, {"second", 20}, {"third", 30}};
    control.object.default_value = [] { return std::string("first"); };
    control.Refuse("ListIndex", {kRefusal.number, kRefusal.source, kRefusal.description});
  }

  inline static const ExpectedError kRefusal{380, "Invalid property value", "Form1"};
  FakeListControl control;
  ComboBox box{control.Bound()};
};

TEST_F(ListFaults, SelectByItemDataIsReportedWhole) {
  ExpectReport([&] { modCOM_CboLstHelpers::SelectByItemData(box, 20); },
               {kRefusal, "modCOM_CboLstHelpers", "list.ListIndex(lngIndex)",
                Shown("list", "{first}") + Shown("lngData", 20),
                Shown("lngIndex", 1) + Shown("lngCount", 3)});
}

TEST_F(ListFaults, SelectByTextIsReportedWhole) {
  ExpectReport([&] { modCOM_CboLstHelpers::SelectByText(box, "fourth"); },
               {kRefusal, "modCOM_CboLstHelpers", "list.ListIndex(-1)",
                Shown("list", "{first}") + Shown("strText", "fourth"),
                Shown("lngIndex", 3) + Shown("lngCount", 3)});
}

class ListEntryFaults : public ListFaults {};

TEST_F(ListEntryFaults, SelectByTextIsReportedWhole) {
  FailAtEntry();
  ExpectReport([&] { modCOM_CboLstHelpers::SelectByText(box, "fourth"); },
               {kStackOverflow, "modCOM_CboLstHelpers", kBeforeTheFirstLine,
                Shown("list", "{first}") + Shown("strText", "fourth"),
                Shown("lngIndex", 0) + Shown("lngCount", 0)});
}

class PlaceFaults : public FaultTest<CoreTest> {
 protected:
  modCOM_FormHelpers::FormWindow window;
  const std::string key = kMaker + "Windows\\Main";
};

TEST_F(PlaceFaults, Form_SaveStateIsReportedWhole) {
  RunOutOfMemoryInRegistry("RegSetValueEx", "Left");
  ExpectReport([&] { modCOM_FormHelpers::Form_SaveState(window, true, "Windows", "Main"); },
               {kOutOfMemory, "modCOM_FormHelpers", "Write(strKey, \"Left\"",
                Shown("frm", "{Can't dump UDT parameters}") + Shown("blnSaveSize", true) +
                    Shown("strSection", "Windows") + Shown("strKeyName", "Main"),
                Shown("strKey", key)});
}

TEST_F(PlaceFaults, Form_RestoreStateIsReportedWhole) {
  SetNumber(key, "Top", 5);
  RunOutOfMemoryInRegistry("RegQueryValueEx", "Left");
  ExpectReport([&] { modCOM_FormHelpers::Form_RestoreState(window, "Windows", "Main"); },
               {kOutOfMemory, "modCOM_FormHelpers", "registry::Number(key, \"Left\"",
                Shown("frm", "{Can't dump UDT parameters}") + Shown("strSection", "Windows") +
                    Shown("strKeyName", "Main"),
                Shown("strKey", key)});
}

// --- Registry ---

TEST_F(SupportFaults, RegKeys_QSortIsReportedWhole) {
  // The first swap puts 8 and 9 in each other's place; then a name is met that is no number.
  Texts keys = {"1", "9", "x", "8"};
  ExpectReport(
      [&] { modCOM_Registry::RegKeys_QSort(keys, -1, -1); },
      {kTypeMismatch, "modCOM_Registry", "keys.At(place(lngLow))",
       ShownTexts("Keys", {"1", "8", "x", "9"}) + Shown("lngFirst", 0) + Shown("lngLast", 3),
       Shown("lngLow", 2) + Shown("lngHigh", 2) + Shown("lngMiddle", 1) + Shown("vntTempVal", "9") +
           Shown("vntTestVal", 9)});
}

class SortEntryFaults : public FaultTest<CoreTest> {};

TEST_F(SortEntryFaults, RegKeys_QSortIsReportedWhole) {
  Texts keys = {"2", "1"};
  FailAtEntry();
  ExpectReport([&] { modCOM_Registry::RegKeys_QSort(keys, -1, -1); },
               {kStackOverflow, "modCOM_Registry", kBeforeTheFirstLine,
                ShownTexts("Keys", {"2", "1"}) + Shown("lngFirst", -1) + Shown("lngLast", -1),
                Shown("lngLow", 0) + Shown("lngHigh", 0) + Shown("lngMiddle", 0) +
                    Shown("vntTempVal", "{Empty}") + Shown("vntTestVal", "{Empty}")});
}

// A part begins with nothing swapped.
class SortPartFaults : public FaultTest<CoreTest> {};

TEST_F(SortPartFaults, RegKeys_QSortIsReportedWhole) {
  Texts keys = {"z", "5", "b", "m", "x", "y", "a"};
  ExpectReport([&] { modCOM_Registry::RegKeys_QSort(keys, -1, -1); },
               {kTypeMismatch, "modCOM_Registry", "keys.At(place(lngLow))",
                ShownTexts("Keys", {"a", "5", "b", "m", "x", "y", "z"}) + Shown("lngFirst", 0) +
                    Shown("lngLast", 2),
                Shown("lngLow", 0) + Shown("lngHigh", 2) + Shown("lngMiddle", 1) +
                    Shown("vntTempVal", "{Empty}") + Shown("vntTestVal", 5)});
}

TEST_F(SupportFaults, RegValues_QSortIsReportedWhole) {
  std::vector<modCOM_Registry::Reg_KeyValues> values = {{"left alone", {}}, {"10", {}}, {"x", {}}};
  ExpectReport([&] { modCOM_Registry::RegValues_QSort(values, 1, -1); },
               {kTypeMismatch, "modCOM_Registry", "keys.At(place(lngHigh))",
                Shown("KeyValues", "{Can't dump UDT parameters}") + Shown("lngFirst", 1) +
                    Shown("lngLast", 2),
                Shown("lngLow", 1) + Shown("lngHigh", 2) + Shown("lngMiddle", 1) +
                    Shown("vntTempVal", "{Empty}") + Shown("vntTestVal", 10)});
}

// --- Timers ---

class TimerFaults : public FaultTest<CoreTest> {
 protected:
  void SetUp() override {
    FaultTest::SetUp();
    timer = XTimer::Create();
    timer->Interval(1000);
  }

  // A timer that has not been ended is held by its table.
  void TearDown() override {
    timer->Interval(0);
    timer.reset();
    FaultTest::TearDown();
  }

  inline static const ExpectedError kNoTimers{static_cast<std::int32_t>(0x80047925U),
                                              "No timers available"};
  std::shared_ptr<XTimer> timer;
};

TEST_F(TimerFaults, EnabledIsReportedWhole) {
  TheWorld().out_of_timers = true;
  ExpectReport([&] { timer->Enabled(true); },
               {kNoTimers, "XTimer", "BeginTimer(shared_from_this(), mlngInterval)",
                Shown("NewValue", true), ""});
}

TEST_F(TimerFaults, IntervalIsReportedWhole) {
  timer->Enabled(true);
  TheWorld().out_of_timers = true;
  ExpectReport([&] { timer->Interval(250); },
               {kNoTimers, "XTimer", "BeginTimer(shared_from_this(), NewInterval)",
                Shown("NewInterval", 250), ""});
}

TEST_F(TimerFaults, RaiseTickIsReportedWhole) {
  timer->Tick(ViolateAccess);
  ExpectReport([&] { timer->RaiseTick(); },
               {kAccessViolation, "XTimer", "if (handler) handler()", "", ""});
}

TEST_F(TimerFaults, EndTimerIsReportedWhole) {
  timer->Enabled(true);
  FailIn("KillTimer", RunOutOfMemory);
  ExpectReport([&] { timer->Enabled(false); },
               {kOutOfMemory, "modCOM_XTimerSupport", "platform::KillTimer(id)", "",
                Shown("id", timer->TimerID())});
}

class TimerEntryFaults : public TimerFaults {};

TEST_F(TimerEntryFaults, EndTimerIsReportedWhole) {
  timer->Enabled(true);
  constexpr int kAfterThePropertyItself = 2;
  FailAtEntry(kAfterThePropertyItself);
  ExpectReport([&] { timer->Enabled(false); },
               {kStackOverflow, "modCOM_XTimerSupport", kBeforeTheFirstLine, "", Shown("id", 0)});
}

TEST_F(TimerFaults, TimerProcIsReportedWhole) {
  FailIn("KillTimer", RunOutOfMemory);
  ExpectReportAndNoError(
      [] { modCOM_XTimerSupport::TimerProc(1, 275, 42, 5000); },
      {kOutOfMemory, "modCOM_XTimerSupport", "platform::KillTimer(idEvent)",
       Shown("hWnd", 1) + Shown("uMsg", 275) + Shown("idEvent", 42) + Shown("lngSysTime", 5000),
       ""});
}

}  // namespace
}  // namespace qmzentrel::tests
