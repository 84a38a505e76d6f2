// How interface, version and catalogs decide on the two boxes of the interface byte.
#include <stdexcept>

#include "tests/core/simulator_test.h"

namespace qmzentrel::tests {
namespace {

using namespace std::string_literals;

class SimulatorInterlocks : public SimulatorTest {
 protected:
  struct Box {
    bool ticked;
    bool enabled;
    bool operator==(const Box&) const = default;
    friend void PrintTo(const Box& box, std::ostream* stream) {
      *stream << (box.ticked ? "ticked" : "clear") << (box.enabled ? "" : " and disabled");
    }
  };
  static constexpr Box kClear{false, true};
  static constexpr Box kTicked{true, true};
  static constexpr Box kForcedClear{false, false};
  static constexpr Box kForcedTicked{true, false};

  static Box Shown(const FakeDialog& dialog, DialogCheck check) {
    return {dialog.Shown(check).ticked, dialog.Shown(check).enabled};
  }

  /// The secondary box once interface 5 has been chosen.
  Box SecondaryOf5(bool ticked_before) { return After5(ticked_before).first; }
  /// The ID-source box once interface 5 has been chosen.
  Box IdSourceOf5(bool secondary) { return After5(secondary).second; }

 private:
  std::pair<Box, Box> After5(bool secondary) {
    // Both boxes as wanted, at an interface that leaves them to the user.
    SetNumber(kSimulatorKey, "MIF", 15 | 16 | (secondary ? 32 : 0));
    std::pair<Box, Box> boxes;
    Read([&](FakeDialog& dialog) {
      dialog.Choose(DialogList::cboMIF, "[5] Register");
      boxes = {Shown(dialog, DialogCheck::chkSecondary), Shown(dialog, DialogCheck::chkUserID)};
    });
    return boxes;
  }
};

// --- Secondary ---

TEST_F(SimulatorInterlocks, OnlyThePrimaryInterfaceForcesSecondaryClear) {
  SetNumber(InterfaceKey(5), "MIF", 1);
  EXPECT_EQ(SecondaryOf5(true), kForcedClear);
  EXPECT_EQ(SecondaryOf5(false), kForcedClear);
}

TEST_F(SimulatorInterlocks, OnlyHigherBitsForceSecondaryTicked) {
  for (const std::int32_t available : {2, 4, 0x80, 0xFE, 0x100, 0x40000000, -2}) {
    SetNumber(InterfaceKey(5), "MIF", available);
    EXPECT_EQ(SecondaryOf5(false), kForcedTicked) << available;
    EXPECT_EQ(SecondaryOf5(true), kForcedTicked) << available;
  }
}

TEST_F(SimulatorInterlocks, BothOrNoneLeaveSecondaryToTheUser) {
  for (const std::int32_t available : {3, 5, 0x81, -1, 0}) {
    SetNumber(InterfaceKey(5), "MIF", available);
    EXPECT_EQ(SecondaryOf5(false), kClear) << available;
    EXPECT_EQ(SecondaryOf5(true), kTicked) << available;
  }
}

TEST_F(SimulatorInterlocks, NothingSaidOfInterfacesIsNone) {
  TheWorld().registry[InterfaceKey(5)].erase("MIF");
  EXPECT_EQ(SecondaryOf5(true), kTicked);
}

TEST_F(SimulatorInterlocks, AvailableInterfacesMayBeStoredAsText) {
  SetText(InterfaceKey(5), "MIF", "1");
  EXPECT_EQ(SecondaryOf5(true), kForcedClear);
  SetText(InterfaceKey(5), "MIF", "&H2");
  EXPECT_EQ(SecondaryOf5(false), kForcedTicked);
}

TEST_F(SimulatorInterlocks, AvailableInterfacesThatAreNoNumberAreReported) {
  SetText(InterfaceKey(5), "MIF", "both");
  Create();
  StoreInterface(5, true);
  const ErrorReport report = ReportOf([&] { zentrel->ReadXpdr(); });
  EXPECT_EQ(report.ErrorNumber, 13);
  EXPECT_EQ(report.procedure, "cboVersion_Click");
}

TEST_F(SimulatorInterlocks, AForcedBoxIsFreeAgainWithAnotherInterface) {
  SetNumber(InterfaceKey(5), "MIF", 1);
  StoreInterface(5, true);
  Read([](FakeDialog& dialog) {
    EXPECT_EQ(Shown(dialog, DialogCheck::chkSecondary), kForcedClear);
    dialog.Click(DialogCheck::chkSecondary);
    EXPECT_EQ(Shown(dialog, DialogCheck::chkSecondary), kForcedClear);
    dialog.Choose(DialogList::cboMIF, "[7] Encoder meter");
    EXPECT_EQ(Shown(dialog, DialogCheck::chkSecondary), kClear);
  });
}

TEST_F(SimulatorInterlocks, ForcingSecondaryRebuildsVersionsAndCodes) {
  SetNumber(InterfaceKey(5), "MIF", 2);
  SetText(InterfaceKey(5), "MSI", "Digits");
  SetRange(kKernel + "\\Digits", 4, 5);
  SetText(kKernel + "\\Digits", "Caption", "Digits");
  StoreInterface(15, false);
  Read([](FakeDialog& dialog) {
    dialog.Choose(DialogList::cboMIF, "[5] Register");
    EXPECT_EQ(TextsOf(dialog.Shown(DialogList::cboVersion)), (Texts{"4.0", "9.0"}));
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboVersion), "9.0");
    EXPECT_EQ(TextsOf(dialog.Shown(DialogList::cboMSI)), (Texts{"[4] 0x4", "[5] 0x5"}));
    EXPECT_EQ(dialog.Shown().msi_caption, "Digits");
  });
}

TEST_F(SimulatorInterlocks, AvailableInterfacesComeFromTheChosenInterfaceWhateverSecondarySays) {
  SetNumber(InterfaceKey(0), "MIF", 2);
  EXPECT_EQ(SecondaryOf5(false), kClear);
}

TEST_F(SimulatorInterlocks, AVersionMayHaveInterfacesOfItsOwn) {
  SetNumber(InterfaceKey(5) + "\\9.0", "MIF", 2);
  StoreInterface(5, true);
  Read([](FakeDialog& dialog) {
    dialog.Choose(DialogList::cboVersion, "9.0");
    EXPECT_EQ(Shown(dialog, DialogCheck::chkSecondary), kForcedTicked);
    dialog.Choose(DialogList::cboVersion, "4.0");
    EXPECT_EQ(Shown(dialog, DialogCheck::chkSecondary), kTicked);
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboVersion), "4.0") << "nothing was rebuilt";
  });
}

TEST_F(SimulatorInterlocks, WithoutAVersionChosenTheBoxesStayAsTheyAre) {
  SetNumber(InterfaceKey(5), "MIF", 1);
  SetText(InterfaceKey(5) + "\\4.0", "Ver", "four");
  SetText(InterfaceKey(5) + "\\9.0", "Ver", "nine");
  EXPECT_EQ(SecondaryOf5(true), kTicked);
}

// --- ID sources ---

TEST_F(SimulatorInterlocks, OneIdSourceClearsAndDisablesTheIdSourceBox) {
  for (const std::int32_t sources : {1, 2, 5, 6, 0x81, -2, -3}) {
    SetNumber(InterfaceKey(5), "IDSources", sources);
    EXPECT_EQ(IdSourceOf5(true), kForcedClear) << sources;
  }
}

TEST_F(SimulatorInterlocks, NoneOrBothIdSourcesLeaveTheIdSourceBoxToTheUser) {
  for (const std::int32_t sources : {0, 3, 4, 7, 0x84, -1, -4}) {
    SetNumber(InterfaceKey(5), "IDSources", sources);
    EXPECT_EQ(IdSourceOf5(true), kTicked) << sources;
  }
  TheWorld().registry[InterfaceKey(5)].erase("IDSources");
  EXPECT_EQ(IdSourceOf5(true), kTicked);
}

TEST_F(SimulatorInterlocks, IdSourcesAreThoseOfInterface0UnlessSecondaryIsTicked) {
  SetNumber(InterfaceKey(0), "IDSources", 1);
  EXPECT_EQ(IdSourceOf5(false), kForcedClear);
  EXPECT_EQ(IdSourceOf5(true), kTicked);
  SetNumber(InterfaceKey(0), "IDSources", 3);
  SetNumber(InterfaceKey(5), "IDSources", 2);
  EXPECT_EQ(IdSourceOf5(false), kTicked);
  EXPECT_EQ(IdSourceOf5(true), kForcedClear);
}

TEST_F(SimulatorInterlocks, IdSourcesAreLookedForAfterSecondaryHasBeenForced) {
  SetNumber(InterfaceKey(5), "MIF", 2);
  SetNumber(InterfaceKey(5), "IDSources", 1);
  EXPECT_EQ(IdSourceOf5(false), kForcedClear);
  SetNumber(InterfaceKey(5), "MIF", 1);
  SetNumber(InterfaceKey(0), "IDSources", 2);
  SetNumber(InterfaceKey(5), "IDSources", 3);
  EXPECT_EQ(IdSourceOf5(true), kForcedClear);
}

TEST_F(SimulatorInterlocks, AVersionMayHaveIdSourcesOfItsOwn) {
  SetNumber(InterfaceKey(0) + "\\5.0", "IDSources", 1);
  SetNumber(InterfaceKey(0) + "\\8.0", "IDSources", 0);
  StoreInterface(5, false);
  Read([](FakeDialog& dialog) {
    dialog.Choose(DialogList::cboVersion, "5.0");
    EXPECT_EQ(Shown(dialog, DialogCheck::chkUserID), kForcedClear);
    dialog.Choose(DialogList::cboVersion, "8.0");
    EXPECT_EQ(Shown(dialog, DialogCheck::chkUserID), kClear);
    dialog.Choose(DialogList::cboVersion, "4.0");
    EXPECT_EQ(Shown(dialog, DialogCheck::chkUserID), kClear);
  });
}

TEST_F(SimulatorInterlocks, WhatAReadRestoresGoesThroughThemToo) {
  SetNumber(InterfaceKey(5), "MIF", 1);
  SetNumber(InterfaceKey(0), "IDSources", 1);
  SetNumber(kSimulatorKey, "MIF", 5 | 16 | 32);
  Read([](FakeDialog& dialog) {
    EXPECT_EQ(Shown(dialog, DialogCheck::chkSecondary), kForcedClear);
    EXPECT_EQ(Shown(dialog, DialogCheck::chkUserID), kForcedClear);
  });
}

TEST_F(SimulatorInterlocks, AReadChoosesTheInterfaceBeforeItSetsItsBoxes) {
  SetNumber(InterfaceKey(7), "MIF", 1);
  SetNumber(InterfaceKey(0), "IDSources", 1);
  StoreInterface(7, false);
  Read([](FakeDialog& dialog) {
    EXPECT_EQ(Shown(dialog, DialogCheck::chkSecondary), kForcedClear);
    EXPECT_EQ(Shown(dialog, DialogCheck::chkUserID), kForcedClear);
  });
  SetNumber(kSimulatorKey, "MIF", 5 | 16 | 32);
  Read([](FakeDialog& dialog) {
    EXPECT_EQ(Shown(dialog, DialogCheck::chkSecondary), kTicked);
    EXPECT_EQ(Shown(dialog, DialogCheck::chkUserID), kTicked);
  });
}

// --- Catalogs that contradict themselves ---

class ContradictoryCatalog : public SimulatorInterlocks {
 protected:
  void SetUp() override {
    SimulatorInterlocks::SetUp();
    // Among interface 0's versions the last, 8.0, has secondary interfaces only; of interface 7's
    // own the last has the primary one only.
    TheWorld().registry.erase(InterfaceKey(7) + "\\4.0");
    SetNumber(InterfaceKey(7), "MIF", 1);
    SetNumber(InterfaceKey(7) + "\\8.0", "MIF", 2);
  }
};

TEST_F(ContradictoryCatalog, EndsAndLeavesADialogThatWorks) {
  StoreInterface(15, false);
  Read([](FakeDialog& dialog) {
    for (int click = 0; click < 3; ++click) {
      TheWorld().registry_calls.clear();
      dialog.Choose(DialogList::cboMIF, "[7] Encoder meter");
      EXPECT_LT(TheWorld().registry_calls.size(), 1000U);
      EXPECT_FALSE(dialog.Shown(DialogCheck::chkSecondary).enabled);
      dialog.Choose(DialogList::cboMIF, "[5] Register");
      EXPECT_TRUE(dialog.Shown(DialogCheck::chkSecondary).enabled);
    }
    Ok(dialog);
    EXPECT_FALSE(dialog.IsUp());
  });
}

TEST_F(ContradictoryCatalog, EndsWhenAReadRestoresIt) {
  StoreInterface(7, true);
  EXPECT_EQ(Read(Ok), S_OKAY);
  StoreInterface(7, false);
  EXPECT_EQ(Read(Ok), S_OKAY);
  zentrel->DeviceMIF(7 | 32);
  EXPECT_EQ(Write(Ok), S_OKAY);
}

TEST_F(ContradictoryCatalog, EndsWhenAVersionIsChosen) {
  StoreInterface(7, false);
  Read([](FakeDialog& dialog) {
    const auto versions = dialog.Shown(DialogList::cboVersion).items.size();
    for (std::size_t i = 0; i < versions; ++i) {
      if (i < dialog.Shown(DialogList::cboVersion).items.size()) {
        dialog.Choose(DialogList::cboVersion, static_cast<std::int32_t>(i));
      }
    }
    EXPECT_TRUE(dialog.IsUp());
  });
}

TEST_F(SimulatorInterlocks, AreAtWorkAgainAfterAFaultInOneOfThem) {
  SetNumber(InterfaceKey(5), "MIF", 1);
  StoreInterface(15, true);
  Create();
  TheWorld().dialog_user = [](FakeDialog& dialog) {
    TheWorld().registry_fault = [](const std::string&,
                                   const std::string& subject) -> std::optional<std::int32_t> {
      if (subject == "IDSources") throw std::runtime_error("the registry is damaged");
      return std::nullopt;
    };
    dialog.Choose(DialogList::cboMIF, "[5] Register");
    EXPECT_FALSE(dialog.IsUp());
  };
  const ErrorReport report = ReportOf([&] { zentrel->ReadXpdr(); });
  EXPECT_EQ(report.ErrorNumber, 51);
  TheWorld().registry_fault = nullptr;
  EXPECT_EQ(SecondaryOf5(true), kForcedClear);
}

// --- Versioned properties ---

TEST_F(SimulatorTest, AVersionedPropertyIsLookedUpAsTheCatalogsHaveIt) {
  const std::string root = kMaker + "Versioned";
  SetText(root, "Prop", "base");
  SetText(root + "\\4.0", "Prop", "from 4");
  Create();
  const simulator::frmZentrelSim& form = simulator::SharedForm();
  const Variant given = std::int32_t{12};
  EXPECT_EQ(form.VersionedProp(root, "Prop", "5.0", given), Variant("from 4"s));
  EXPECT_EQ(form.VersionedProp(root, "Prop", "", given), Variant("base"s));
  EXPECT_EQ(form.VersionedProp(root, "Other", "5.0", given), given);
  EXPECT_EQ(form.VersionedProp(root, "Other", "5.0"), Variant());
}

TEST_F(SimulatorInterlocks, AVersionWithOneIdSourceIsSeenToClearTheBoxAtOnce) {
  StoreInterface(0, false);
  SetNumber(InterfaceKey(0) + "\\8.0", "IDSources", 1);
  Read([](FakeDialog& dialog) {
    dialog.Click(DialogCheck::chkUserID);
    ASSERT_TRUE(dialog.Shown(DialogCheck::chkUserID).ticked);
    dialog.Choose(DialogList::cboVersion, "8.0");
    EXPECT_FALSE(dialog.Shown(DialogCheck::chkUserID).ticked);
  });
}

}  // namespace
}  // namespace qmzentrel::tests
