// Keeping the place of a window in the registry, and the place of the simulator's dialog.
#include <limits>

#include "support/modCOM_FormHelpers.h"
#include "tests/core/registry_faults.h"
#include "tests/core/simulator_test.h"

namespace qmzentrel::tests {
namespace {

using modCOM_FormHelpers::BorderStyle;
using modCOM_FormHelpers::Form_RestoreState;
using modCOM_FormHelpers::Form_SaveState;
using modCOM_FormHelpers::FormWindow;
using modCOM_FormHelpers::WindowState;
using platform::WindowPlace;

constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();

const std::string kPlaceKey = kMaker + "Simulator";

using PlaceValues = std::map<std::string, std::int32_t>;

/// The numbers stored under a key; anything else fails the test.
PlaceValues StoredPlace(const std::string& key) {
  PlaceValues place;
  if (!TheWorld().registry.contains(key)) return place;
  for (const auto& [name, value] : TheWorld().registry[key]) {
    EXPECT_EQ(value.type, 4U) << name;
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < value.bytes.size(); ++i) {
      number |= static_cast<std::uint32_t>(static_cast<unsigned char>(value.bytes[i])) << (8 * i);
    }
    place[name] = static_cast<std::int32_t>(number);
  }
  return place;
}

bool Same(const WindowPlace& left, const WindowPlace& right) {
  return left.left == right.left && left.top == right.top && left.width == right.width &&
         left.height == right.height;
}

class FormPlace : public CoreTest {
 protected:
  static FormWindow Window(BorderStyle border = BorderStyle::kFixedDialog,
                           WindowState state = WindowState::kNormal) {
    return {state, border, {10, 20, 300, 200}};
  }
  /// The window after its stored place has been restored; the screen is 1024 by 768.
  static FormWindow Restored(BorderStyle border, const PlaceValues& stored) {
    for (const auto& [name, number] : stored) SetNumber(kPlaceKey, name, number);
    FormWindow window = Window(border);
    Form_RestoreState(window, "", "Simulator");
    return window;
  }
  static void ExpectPlace(const FormWindow& window, const WindowPlace& expected) {
    EXPECT_EQ(window.place.left, expected.left);
    EXPECT_EQ(window.place.top, expected.top);
    EXPECT_EQ(window.place.width, expected.width);
    EXPECT_EQ(window.place.height, expected.height);
  }
};

// --- Saving ---

TEST_F(FormPlace, ANormalWindowSavesItsPlaceAndState) {
  Form_SaveState(Window(), false, "", "Simulator");
  EXPECT_EQ(StoredPlace(kPlaceKey), (PlaceValues{{"Left", 10}, {"Top", 20}, {"State", 0}}));
}

TEST_F(FormPlace, TheKeyStandsInItsSectionWhereThereIsOne) {
  Form_SaveState(Window(), false, "Zentrel\\Windows", "Tester");
  EXPECT_EQ(StoredPlace(kMaker + "Zentrel\\Windows\\Tester").size(), 3U);
  EXPECT_EQ(TheWorld().registry.size(), 1U);
  SetNumber(kMaker + "Zentrel\\Windows\\Tester", "Left", 50);
  FormWindow window = Window();
  Form_RestoreState(window, "Zentrel\\Windows", "Tester");
  ExpectPlace(window, {50, 20, 300, 200});
}

class FormBorder : public FormPlace, public testing::WithParamInterface<BorderStyle> {
 protected:
  static bool Sizable() {
    return GetParam() == BorderStyle::kNone || GetParam() == BorderStyle::kSizable ||
           GetParam() == BorderStyle::kSizableToolWindow;
  }
};

INSTANTIATE_TEST_SUITE_P(Each, FormBorder,
                         testing::Values(BorderStyle::kNone, BorderStyle::kFixedSingle,
                                         BorderStyle::kSizable, BorderStyle::kFixedDialog,
                                         BorderStyle::kFixedToolWindow,
                                         BorderStyle::kSizableToolWindow),
                         [](const auto& test) {
                           return "Style" + std::to_string(static_cast<int>(test.param));
                         });

TEST_P(FormBorder, SavesTheSizeWhereTheUserCanChangeItAndItIsAskedFor) {
  Form_SaveState(Window(GetParam()), true, "", "Simulator");
  PlaceValues expected{{"Left", 10}, {"Top", 20}, {"State", 0}};
  if (Sizable()) expected.insert({{"Width", 300}, {"Height", 200}});
  EXPECT_EQ(StoredPlace(kPlaceKey), expected);
}

TEST_P(FormBorder, SavesNoSizeThatIsNotAskedFor) {
  Form_SaveState(Window(GetParam()), false, "", "Simulator");
  EXPECT_EQ(StoredPlace(kPlaceKey).count("Width"), 0U);
  EXPECT_EQ(StoredPlace(kPlaceKey).count("Height"), 0U);
}

TEST_P(FormBorder, RestoresTheSizeOnlyWhereTheUserCanChangeIt) {
  const auto window =
      Restored(GetParam(), {{"Left", 1}, {"Top", 2}, {"Width", 500}, {"Height", 400}});
  ExpectPlace(window, Sizable() ? WindowPlace{1, 2, 500, 400} : WindowPlace{1, 2, 300, 200});
}

TEST_P(FormBorder, ASizeBeyondTheScreenIsTheScreensOrIgnored) {
  const auto window =
      Restored(GetParam(), {{"Left", 0}, {"Top", 0}, {"Width", 5000}, {"Height", 4000}});
  ExpectPlace(window, Sizable() ? WindowPlace{0, 0, 1024, 768} : WindowPlace{0, 0, 300, 200});
}

TEST_F(FormPlace, AMinimisedOrMaximisedWindowSavesItsStateOnly) {
  SetNumber(kPlaceKey, "Left", 70);
  for (const auto state : {WindowState::kMinimised, WindowState::kMaximised}) {
    Form_SaveState(Window(BorderStyle::kSizable, state), true, "", "Simulator");
    EXPECT_EQ(StoredPlace(kPlaceKey),
              (PlaceValues{{"Left", 70}, {"State", static_cast<std::int32_t>(state)}}));
  }
}

TEST_F(FormPlace, ThatCannotBeSavedIsNoFault) {
  for (const char* call : {"RegCreateKeyEx", "RegSetValueEx", "RegCloseKey"}) {
    FailRegistry(call);
    Form_SaveState(Window(BorderStyle::kSizable), true, "", "Simulator");
  }
  EXPECT_TRUE(TakeReports().empty());
}

TEST_F(FormPlace, AFaultWhileSavingIsReportedWithItsArguments) {
  TheWorld().registry_fault = [](const std::string&,
                                 const std::string&) -> std::optional<std::int32_t> {
    throw std::bad_alloc();
  };
  const ErrorReport saving = ReportOf([] { Form_SaveState(Window(), true, "S", "K"); });
  EXPECT_EQ(saving.module, "modCOM_FormHelpers");
  EXPECT_EQ(saving.procedure, "Form_SaveState");
  EXPECT_NE(saving.parameters.find("<strSection>S</strSection>"), std::string::npos);
  FormWindow window = Window();
  const ErrorReport restoring = ReportOf([&] { Form_RestoreState(window, "S", "K"); });
  EXPECT_EQ(restoring.procedure, "Form_RestoreState");
}

// --- Restoring ---

TEST_F(FormPlace, NothingStoredLeavesTheWindowWhereItIs) {
  ExpectPlace(Restored(BorderStyle::kSizable, {}), {10, 20, 300, 200});
}

TEST_F(FormPlace, OneStoredEdgeLeavesTheOther) {
  ExpectPlace(Restored(BorderStyle::kFixedDialog, {{"Left", 400}}), {400, 20, 300, 200});
  TheWorld().registry.clear();
  ExpectPlace(Restored(BorderStyle::kFixedDialog, {{"Top", 400}}), {10, 400, 300, 200});
}

TEST_F(FormPlace, AWindowThatJustFitsTheScreenStaysWhereItWasStored) {
  ExpectPlace(Restored(BorderStyle::kFixedDialog, {{"Left", 724}, {"Top", 568}}),
              {724, 568, 300, 200});
  ExpectPlace(Restored(BorderStyle::kFixedDialog, {{"Left", 0}, {"Top", 0}}), {0, 0, 300, 200});
}

TEST_F(FormPlace, AWindowThatIsNotWhollyOnTheScreenIsCentred) {
  for (const auto& [left, top] : {std::pair{725, 0},
                                  {0, 569},
                                  {-1, 0},
                                  {0, -1},
                                  {kMost, 0},
                                  {0, kMost},
                                  {kLeast, 0},
                                  {0, kLeast}}) {
    ExpectPlace(Restored(BorderStyle::kFixedDialog, {{"Left", left}, {"Top", top}}),
                {362, 284, 300, 200});
  }
}

TEST_F(FormPlace, CentringHalvesScreenAndWindowEachAsWholeNumbers) {
  TheWorld().screen = {1025, 769};
  FormWindow window = Window();
  window.place = {-1, -1, 301, 201};
  Form_RestoreState(window, "", "Simulator");
  ExpectPlace(window, {512 - 150, 384 - 100, 301, 201});
}

TEST_F(FormPlace, AFixedWindowLargerThanTheScreenIsLimitedToo) {
  TheWorld().screen = {200, 100};
  ExpectPlace(Restored(BorderStyle::kFixedDialog, {{"Left", 0}, {"Top", 0}}), {0, 0, 200, 100});
}

TEST_F(FormPlace, ThePlaceIsJudgedWithTheLimitedSize) {
  ExpectPlace(Restored(BorderStyle::kSizable, {{"Left", 1}, {"Top", 0}, {"Width", 2000}}),
              {0, 284, 1024, 200});
}

TEST_F(FormPlace, TheStoredStateIsApplied) {
  EXPECT_EQ(Restored(BorderStyle::kSizable, {{"State", 2}}).state, WindowState::kMaximised);
  EXPECT_EQ(Restored(BorderStyle::kSizable, {{"State", 1}}).state, WindowState::kMinimised);
  EXPECT_EQ(Restored(BorderStyle::kSizable, {{"State", 0}}).state, WindowState::kNormal);
}

TEST_F(FormPlace, WithoutAStoredStateTheWindowKeepsItsOwn) {
  FormWindow window = Window(BorderStyle::kSizable, WindowState::kMaximised);
  Form_RestoreState(window, "", "Simulator");
  EXPECT_EQ(window.state, WindowState::kMaximised);
}

TEST_F(FormPlace, NumbersMayBeStoredAsTextAndOthersAreIgnored) {
  SetText(kPlaceKey, "Left", "44");
  SetText(kPlaceKey, "Top", "high");
  FormWindow window = Window();
  Form_RestoreState(window, "", "Simulator");
  ExpectPlace(window, {44, 20, 300, 200});
}

TEST_F(FormPlace, ThatCannotBeReadStays) {
  for (const char* call : {"RegOpenKeyEx", "RegQueryValueEx"}) {
    for (const auto& [name, number] :
         PlaceValues{{"Left", 1}, {"Top", 2}, {"Width", 3}, {"Height", 4}, {"State", 2}}) {
      SetNumber(kPlaceKey, name, number);
    }
    FailRegistry(call);
    FormWindow window = Window(BorderStyle::kSizable);
    Form_RestoreState(window, "", "Simulator");
    ExpectPlace(window, {10, 20, 300, 200});
    EXPECT_EQ(window.state, WindowState::kNormal);
  }
}

TEST_F(FormPlace, WhatWasSavedIsRestored) {
  FormWindow saved = Window(BorderStyle::kSizable);
  saved.place = {33, 44, 555, 666};
  Form_SaveState(saved, true, "", "Simulator");
  FormWindow window = Window(BorderStyle::kSizable);
  Form_RestoreState(window, "", "Simulator");
  EXPECT_TRUE(Same(window.place, saved.place));
}

// --- The simulator's dialog ---

class DialogPlace : public SimulatorTest {
 protected:
  WindowPlace PlaceAtARead(const std::function<void(FakeDialog&)>& then = nullptr) {
    WindowPlace place;
    Read([&](FakeDialog& dialog) {
      place = dialog.Place();
      if (then) then(dialog);
    });
    return place;
  }
  /// What the unnamed section keeps of the dialog.
  static PlaceValues Kept() { return StoredPlace(kPlaceKey); }
};

TEST_F(DialogPlace, IsTheDesignedOneWhereNothingIsStored) {
  EXPECT_TRUE(Same(PlaceAtARead(), TheWorld().designed_place));
}

TEST_F(DialogPlace, IsTheStoredOneInTheDesignedSize) {
  for (const auto& [name, number] :
       PlaceValues{{"Left", 100}, {"Top", 50}, {"Width", 5000}, {"Height", 1}, {"State", 0}}) {
    SetNumber(kPlaceKey, name, number);
  }
  EXPECT_TRUE(Same(PlaceAtARead(), {100, 50, 600, 400}));
}

TEST_F(DialogPlace, IsTheMiddleOfTheScreenWhereTheStoredOneIsOffIt) {
  SetNumber(kPlaceKey, "Left", 425);
  EXPECT_TRUE(Same(PlaceAtARead(), {212, 184, 600, 400}));
  zentrel.reset();
  SetNumber(kPlaceKey, "Left", 424);
  SetNumber(kPlaceKey, "Top", 368);
  EXPECT_TRUE(Same(PlaceAtARead(), {424, 368, 600, 400}));
}

TEST_F(DialogPlace, IsWhereTheUserLeftItBefore) {
  PlaceAtARead([](FakeDialog& dialog) {
    dialog.Move(7, 8);
    Ok(dialog);
  });
  SetNumber(kPlaceKey, "Left", 100);  // which is looked for once
  EXPECT_TRUE(Same(PlaceAtARead(), {7, 8, 600, 400}));
}

TEST_F(DialogPlace, IsMovedIntoReachAtEveryShow) {
  PlaceAtARead([](FakeDialog& dialog) { dialog.Move(900, 700); });
  EXPECT_TRUE(Same(PlaceAtARead(), {424, 368, 600, 400}));
  PlaceAtARead([](FakeDialog& dialog) { dialog.Move(-900, -700); });
  EXPECT_TRUE(Same(PlaceAtARead(), {0, 0, 600, 400}));
}

TEST_F(DialogPlace, AStoredOneDoesNotLieUnderTheBarAtAnEdgeOfTheScreen) {
  TheWorld().work_areas = {{60, 0, 964, 728}};
  SetNumber(kPlaceKey, "Left", 0);
  SetNumber(kPlaceKey, "Top", 368);
  EXPECT_TRUE(Same(PlaceAtARead(), {60, 328, 600, 400}));
}

TEST_F(DialogPlace, StaysOnAnotherScreenAsLongAsThereIsOne) {
  const WindowPlace primary{0, 0, 1024, 768};
  TheWorld().work_areas = {primary, {-1280, 0, 1280, 1024}};
  PlaceAtARead([](FakeDialog& dialog) { dialog.Move(-1000, 600); });
  EXPECT_TRUE(Same(PlaceAtARead(), {-1000, 600, 600, 400}));
  TheWorld().work_areas = {primary};
  EXPECT_TRUE(Same(PlaceAtARead(), {0, 368, 600, 400}));
}

TEST_F(DialogPlace, OnAScreenThatIsTooSmallTheTitleStaysInReach) {
  TheWorld().work_areas = {{0, 30, 500, 300}};
  EXPECT_TRUE(Same(PlaceAtARead(), {0, 30, 600, 400}));
}

TEST_F(DialogPlace, IsKeptWhenTheLastObjectGoes) {
  Create();
  auto another = Zentrel::Create();
  PlaceAtARead([](FakeDialog& dialog) { dialog.Move(7, 8); });
  zentrel.reset();
  EXPECT_EQ(Kept(), PlaceValues{});
  another.reset();
  EXPECT_EQ(Kept(), (PlaceValues{{"Left", 7}, {"Top", 8}, {"State", 0}}));
  EXPECT_TRUE(Same(PlaceAtARead(), {7, 8, 600, 400}));
}

TEST_F(DialogPlace, IsKeptHoweverTheDialogEnded) {
  int left = 10;
  for (const auto& end : {Ok, NoXpdr, NoZentrel, CloseBox}) {
    PlaceAtARead([&](FakeDialog& dialog) {
      dialog.Move(++left, 20);
      end(dialog);
    });
    zentrel.reset();
    EXPECT_EQ(Kept()["Left"], left);
  }
}

TEST_F(DialogPlace, IsWrittenByNoClientThatNeverShowedTheDialog) {
  TheWorld().registry_calls.clear();
  Create();
  EXPECT_EQ(zentrel->BoxStatus(), S_OKAY);
  EXPECT_EQ(zentrel->DeviceOpen(kPort, true), S_OKAY);
  zentrel.reset();
  for (const std::string& call : TheWorld().registry_calls) {
    EXPECT_FALSE(call.starts_with("RegCreateKeyEx")) << call;
    EXPECT_FALSE(call.starts_with("RegSetValueEx")) << call;
  }
  EXPECT_FALSE(TheWorld().registry.contains(kPlaceKey));
}

TEST_F(DialogPlace, ThatCannotBeKeptIsNoFault) {
  PlaceAtARead();
  TheWorld().registry_fault = [](const std::string& call,
                                 const std::string&) -> std::optional<std::int32_t> {
    if (call == "RegCreateKeyEx" || call == "RegSetValueEx") return 5;
    return std::nullopt;
  };
  zentrel.reset();
  EXPECT_TRUE(TakeReports().empty());
  EXPECT_EQ(Kept(), PlaceValues{});
}

TEST_F(DialogPlace, AFaultInKeepingItIsReportedAndTheObjectGoesAllTheSame) {
  PlaceAtARead();
  TheWorld().registry_fault = [](const std::string& call,
                                 const std::string&) -> std::optional<std::int32_t> {
    if (call == "RegCreateKeyEx") throw std::bad_alloc();
    return std::nullopt;
  };
  zentrel.reset();
  const auto reports = TakeReports();
  ASSERT_EQ(reports.size(), 1U);
  EXPECT_EQ(reports[0].procedure, "Form_SaveState");
  TheWorld().registry_fault = nullptr;
  EXPECT_TRUE(Same(PlaceAtARead(), TheWorld().designed_place));
}

}  // namespace
}  // namespace qmzentrel::tests
