// The lists of the simulator's dialog: interfaces, intervals, box types and modes, versions, codes.
#include <algorithm>

#include "tests/core/simulator_test.h"

namespace qmzentrel::tests {
namespace {

class SimulatorLists : public SimulatorTest {
 protected:
  /// The entries of a list that a first Read shows.
  Texts Items(DialogList list) { return TextsOf(At(ShownByRead().lists, list)); }

  /// What a Read shows once the user has chosen an interface.
  platform::DialogContent ShownWith(const std::string& meter_interface, bool secondary) {
    StoreInterface(0, secondary);
    platform::DialogContent shown;
    Read([&](FakeDialog& dialog) {
      dialog.Choose(DialogList::cboMIF, meter_interface);
      shown = dialog.Shown();
    });
    return shown;
  }
};

// --- Interfaces ---

TEST_F(SimulatorLists, OfferTheInterfacesWhoseBitIsSet) {
  EXPECT_EQ(Items(DialogList::cboMIF),
            (Texts{"[0] Pulse", "[5] Register", "[7] Encoder meter", "[15] Unknown"}));
}

TEST_F(SimulatorLists, WithAMaskOf0NoInterfaceIsOfferedAndOkCannotBePressed) {
  SetInterfaces(0, 15, 0);
  EXPECT_EQ(Read([](FakeDialog& dialog) {
              EXPECT_TRUE(dialog.Shown(DialogList::cboMIF).items.empty());
              EXPECT_FALSE(dialog.Shown().ok_enabled);
              Ok(dialog);
              EXPECT_TRUE(dialog.IsUp());
              NoXpdr(dialog);
              EXPECT_FALSE(dialog.IsUp());
            }),
            S_TIMEOUT);
  Read([](FakeDialog& dialog) {
    NoZentrel(dialog);
    EXPECT_FALSE(dialog.IsUp());
  });
}

TEST_F(SimulatorLists, WithoutAMaskOrARangeNoInterfaceIsOffered) {
  for (const char* missing : {"Mask", "Min", "Max"}) {
    InstallSimulatorCatalogs();
    TheWorld().registry[kInterfaces].erase(missing);
    EXPECT_EQ(Items(DialogList::cboMIF), Texts{}) << missing;
    zentrel.reset();
  }
}

TEST_F(SimulatorLists, OfferInterface30WhoseBitIsTheLastThatCanBeTested) {
  SetInterfaces(29, 30, -1);
  SetName(kInterfaces, 30, "last");
  EXPECT_EQ(Items(DialogList::cboMIF), (Texts{"[29] Unknown", "[30] last"}));
  EXPECT_TRUE(ShownByRead().ok_enabled == false);
  Read([](FakeDialog& dialog) {
    dialog.Choose(DialogList::cboMIF, "[30] last");
    Ok(dialog);
  });
  EXPECT_EQ(Field("m_lngMIF"), std::to_string((30 & 15) | 16)) << "four bits of it fit the record";
}

TEST_F(SimulatorLists, ARangeThatReachesInterface31IsAnOverflowThatEndsTheCreation) {
  SetInterfaces(30, 31, -1);
  const ErrorReport report = ReportOf([&] { Create(); });
  EXPECT_EQ(report.ErrorNumber, 6);
  EXPECT_EQ(report.module, "frmZentrelSim");
  EXPECT_EQ(report.procedure, "Form_Load");
}

TEST_F(SimulatorLists, WithAnInterfaceChosenOkCanBePressed) {
  Read([](FakeDialog& dialog) {
    EXPECT_TRUE(dialog.Shown().ok_enabled);  // 15, which stands for never stored
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboMIF), "[15] Unknown");
  });
}

TEST_F(SimulatorLists, OkWaitsUntilTheUserChoosesAnInterface) {
  StoreInterface(3, false);
  Read([](FakeDialog& dialog) {
    EXPECT_EQ(dialog.Shown(DialogList::cboMIF).selected, -1);
    EXPECT_FALSE(dialog.Shown().ok_enabled);
    dialog.Choose(DialogList::cboMIF, "[5] Register");
    EXPECT_TRUE(dialog.Shown().ok_enabled);
  });
}

TEST_F(SimulatorLists, OkWaitsAgainWhenNoInterfaceIsChosenAnyMore) {
  Read([](FakeDialog& dialog) {
    dialog.Choose(DialogList::cboMIF, "[5] Register");
    dialog.Choose(DialogList::cboMIF, -1);
    EXPECT_FALSE(dialog.Shown().ok_enabled);
  });
}

// --- Intervals ---

TEST_F(SimulatorLists, OfferEveryIntervalOfTheRange) {
  EXPECT_EQ(Items(DialogList::cboTXI), (Texts{"[0] 5 s", "[1] 1 min", "[2] Unknown", "[3] 1 h"}));
}

TEST_F(SimulatorLists, OfferNoIntervalsWithoutTheirKey) {
  TheWorld().registry.erase(kIntervals);
  EXPECT_EQ(Items(DialogList::cboTXI), Texts{});
}

// --- Entries ---

TEST_F(SimulatorLists, EveryEntryCarriesTheNumberThatItStandsFor) {
  const auto data = [shown = ShownByRead()](DialogList list) {
    std::vector<std::int32_t> numbers;
    for (const platform::DialogItem& item : At(shown.lists, list).items) {
      numbers.push_back(item.data);
    }
    return numbers;
  };
  using Numbers = std::vector<std::int32_t>;
  EXPECT_EQ(data(DialogList::cboMIF), (Numbers{0, 5, 7, 15}));
  EXPECT_EQ(data(DialogList::cboVersion), Numbers{0});
  EXPECT_EQ(data(DialogList::cboTXI), (Numbers{0, 1, 2, 3}));
  EXPECT_EQ(data(DialogList::cboMSI).size(), 16U);
  EXPECT_EQ(data(DialogList::cboMSI).back(), 15);
  EXPECT_EQ(data(DialogList::cboSignature0), (Numbers{0x1A, 0xA5, 0xA6}));
  EXPECT_EQ(data(DialogList::cboSignature1), (Numbers{0, 2}));
}

// --- Box types and modes ---

TEST_F(SimulatorLists, BoxTypesAndModesStandInTheRegistrysOwnOrderAndTheFirstIsSelected) {
  TheWorld().value_order[kBoxTypes] = {"A6", "1A", "A5"};
  TheWorld().value_order[kBoxModes] = {"2", "0"};
  SetNumber(kSimulatorKey, "Signature0", 999);  // which no entry has: the selection stays
  SetNumber(kSimulatorKey, "Signature1", 999);
  Read([](FakeDialog& dialog) {
    EXPECT_EQ(TextsOf(dialog.Shown(DialogList::cboSignature0)),
              (Texts{"Electric", "Bench", "Short supply"}));
    EXPECT_EQ(TextsOf(dialog.Shown(DialogList::cboSignature1)), (Texts{"Fast", "Normal"}));
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboSignature0), "Electric");
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboSignature1), "Fast");
  });
  EXPECT_EQ(zentrel->ZentrelSignature(0), 0xA6);
  EXPECT_EQ(zentrel->ZentrelSignature(1), 2);
}

TEST_F(SimulatorLists, TheNameOfABoxTypeIsAHexadecimalNumber) {
  Read([](FakeDialog& dialog) { dialog.Choose(DialogList::cboSignature0, "Bench"); });
  EXPECT_EQ(zentrel->ZentrelSignature(0), 26);
  Read([](FakeDialog& dialog) { dialog.Choose(DialogList::cboSignature0, "Short supply"); });
  EXPECT_EQ(zentrel->ZentrelSignature(0), 0xA5);
}

TEST_F(SimulatorLists, ABoxTypeIsFoundInLowerCaseToo) {
  TheWorld().registry.erase(kBoxTypes);
  SetText(kBoxTypes, "fe", "New");
  EXPECT_EQ(Items(DialogList::cboSignature0), (Texts{"New"}));
  EXPECT_EQ(zentrel->ZentrelSignature(0), 0xFE);
}

TEST_F(SimulatorLists, ABoxTypeThatIsNoHexadecimalNumberEndsTheCreation) {
  for (const char* name : {"G1", "0x1A", "1 A", "1A.5", "123456789"}) {
    TheWorld().registry.erase(kBoxTypes);
    SetText(kBoxTypes, name, "Odd");
    const ErrorReport report = ReportOf([&] { Create(); });
    EXPECT_EQ(report.ErrorNumber, 13) << name;
    EXPECT_EQ(report.procedure, "LoadSignatures");
  }
}

TEST_F(SimulatorLists, ABoxTypeBeyondAByteIsShownAndFailsTheReadThatReportsIt) {
  for (const char* name : {"100", "FFFFFFFF"}) {
    TheWorld().registry.erase(kBoxTypes);
    SetText(kBoxTypes, name, "Wide");
    Create();
    const ErrorReport report = ReportOf([&] { zentrel->ReadXpdr(); });
    EXPECT_EQ(report.ErrorNumber, 6) << name;
    zentrel.reset();
  }
}

TEST_F(SimulatorLists, ABoxTypeMayBeStoredAsANumberOrAsNothingReadable) {
  TheWorld().registry.erase(kBoxTypes);
  SetNumber(kBoxTypes, "1", 12);
  TheWorld().registry[kBoxTypes]["2"] = {3, "\1\2"};
  EXPECT_EQ(Items(DialogList::cboSignature0), (Texts{"12", ""}));
}

TEST_F(SimulatorLists, TheUnnamedValueIsNoBoxType) {
  SetText(kBoxTypes, "", "a description of the key");
  EXPECT_EQ(Items(DialogList::cboSignature0).size(), 3U);
}

TEST_F(SimulatorLists, WithoutTheirKeysBoxTypeAndModeAre0) {
  TheWorld().registry.erase(kBoxTypes);
  TheWorld().registry.erase(kBoxModes);
  Read([](FakeDialog& dialog) {
    EXPECT_TRUE(dialog.Shown(DialogList::cboSignature0).items.empty());
    EXPECT_TRUE(dialog.Shown(DialogList::cboSignature1).items.empty());
  });
  EXPECT_EQ(zentrel->ZentrelSignature(0), 0);
  EXPECT_EQ(zentrel->ZentrelSignature(1), 0);
}

// --- Versions ---

TEST_F(SimulatorLists, VersionsAreThoseOfInterface0UnlessSecondaryIsTicked) {
  StoreInterface(5, false);
  EXPECT_EQ(Items(DialogList::cboVersion), (Texts{"4.0", "5.0", "8.0"}));
  StoreInterface(5, true);
  EXPECT_EQ(Items(DialogList::cboVersion), (Texts{"4.0", "9.0"}));
}

TEST_F(SimulatorLists, ClickingSecondaryRebuildsVersionsAndCodesAtOnce) {
  StoreInterface(5, false);
  Read([](FakeDialog& dialog) {
    EXPECT_EQ(dialog.Shown(DialogList::cboMSI).items.size(), 3U);
    dialog.Click(DialogCheck::chkSecondary);
    EXPECT_EQ(TextsOf(dialog.Shown(DialogList::cboVersion)), (Texts{"4.0", "9.0"}));
    EXPECT_EQ(dialog.Shown(DialogList::cboMSI).items.size(), 16U);
    dialog.Click(DialogCheck::chkSecondary);
    EXPECT_EQ(TextsOf(dialog.Shown(DialogList::cboVersion)), (Texts{"4.0", "5.0", "8.0"}));
    EXPECT_EQ(dialog.Shown(DialogList::cboMSI).items.size(), 3U);
  });
}

TEST_F(SimulatorLists, ClickingTheIdSourceRebuildsNothing) {
  StoreInterface(5, true);
  Read([](FakeDialog& dialog) {
    dialog.Choose(DialogList::cboVersion, "4.0");
    TheWorld().registry_calls.clear();
    dialog.Click(DialogCheck::chkUserID);
    EXPECT_TRUE(TheWorld().registry_calls.empty());
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboVersion), "4.0");
  });
}

TEST_F(SimulatorLists, TheLastVersionIsSelectedAndTheyStandInTheOrderOfTheirNumbers) {
  SetVersion(5, "10.0");
  TheWorld().key_order[InterfaceKey(5)] = {"10.0", "9.0", "4.0"};
  StoreInterface(15, true);
  Read([](FakeDialog& dialog) {
    dialog.Choose(DialogList::cboMIF, "[5] Register");
    EXPECT_EQ(TextsOf(dialog.Shown(DialogList::cboVersion)), (Texts{"4.0", "9.0", "10.0"}));
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboVersion), "10.0");
  });
}

TEST_F(SimulatorLists, TheVersionListAsksForItsSubKeysOnce) {
  // None is offered, so that nothing is chosen, which would ask for what the choice brings.
  SetText(InterfaceKey(5) + "\\4.0", "Ver", "four");
  SetText(InterfaceKey(5) + "\\9.0", "Ver", "nine");
  StoreInterface(5, false);
  Read([](FakeDialog& dialog) {
    TheWorld().registry_calls.clear();
    dialog.Click(DialogCheck::chkSecondary);
    EXPECT_EQ(std::ranges::count(TheWorld().registry_calls, "RegEnumKeyEx 0"), 1);
  });
}

TEST_F(SimulatorLists, AVersionWithoutANumberIsNotOffered) {
  SetText(InterfaceKey(5) + "\\11.0", "MIF", "3");  // no "Ver" at all
  SetText(InterfaceKey(5) + "\\12.0", "Ver", "twelve");
  SetText(InterfaceKey(5) + "\\13.0", "Ver", "");
  SetNumber(InterfaceKey(5) + "\\14.0", "Ver", 6);
  SetText(InterfaceKey(5) + "\\15.0", "Ver", "1.A");
  StoreInterface(5, true);
  EXPECT_EQ(Items(DialogList::cboVersion), (Texts{"4.0", "9.0", "6"}));
}

TEST_F(SimulatorLists, WithoutAnyVersionKeyTheVersionsStayAsTheyAre) {
  for (const char* version : {"\\4.0", "\\9.0"}) {
    TheWorld().registry.erase(InterfaceKey(5) + version);
  }
  StoreInterface(0, true);
  Read([](FakeDialog& dialog) {
    EXPECT_EQ(TextsOf(dialog.Shown(DialogList::cboVersion)), (Texts{"4.0", "5.0", "8.0"}));
    dialog.Choose(DialogList::cboVersion, "4.0");
    dialog.Choose(DialogList::cboMIF, "[5] Register");
    EXPECT_EQ(TextsOf(dialog.Shown(DialogList::cboVersion)), (Texts{"4.0", "5.0", "8.0"}));
  });
}

TEST_F(SimulatorLists, WithVersionKeysButNoNumberInThemTheVersionsAreEmpty) {
  SetText(InterfaceKey(5) + "\\4.0", "Ver", "four");
  SetText(InterfaceKey(5) + "\\9.0", "Ver", "nine");
  const auto shown = ShownWith("[5] Register", true);
  EXPECT_EQ(TextsOf(At(shown.lists, DialogList::cboVersion)), Texts{});
  EXPECT_EQ(At(shown.lists, DialogList::cboVersion).selected, -1);
}

// --- Codes ---

TEST_F(SimulatorLists, CodesCarryTheNamesAndTheCaptionOfTheirCatalogAndItsDefaultIsSelected) {
  const auto shown = ShownWith("[7] Encoder meter", false);  // codes of interface 0
  EXPECT_EQ(TextsOf(At(shown.lists, DialogList::cboMSI)),
            (Texts{"[1] low", "[2] medium", "[3] 0x3"}));
  EXPECT_EQ(At(shown.lists, DialogList::cboMSI).selected, 1);
  EXPECT_EQ(shown.msi_caption, "Leakage");
}

TEST_F(SimulatorLists, CodesWithoutACatalogAre16NumbersAndTheirCaptionIsMsi) {
  const auto shown = ShownWith("[5] Register", true);
  const auto& codes = At(shown.lists, DialogList::cboMSI);
  ASSERT_EQ(codes.items.size(), 16U);
  EXPECT_EQ(codes.items[0].text, "[0] 0x0");
  EXPECT_EQ(codes.items[10].text, "[10] 0xA");
  EXPECT_EQ(codes.items[15].text, "[15] 0xF");
  EXPECT_EQ(codes.selected, 0);
  EXPECT_EQ(shown.msi_caption, "MSI");
}

TEST_F(SimulatorLists, ACodeDefaultThatNoEntryHasSelectsNone) {
  SetNumber(kKernel + "\\Plain", "Default", 9);
  Read([](FakeDialog& dialog) {
    dialog.Choose(DialogList::cboMIF, "[0] Pulse");
    dialog.Click(DialogCheck::chkSecondary);
    EXPECT_EQ(dialog.Shown(DialogList::cboMSI).selected, -1);
  });
  EXPECT_EQ(zentrel->MSI(), 0);
}

TEST_F(SimulatorLists, CodesOfAChosenInterfaceAreShownThoughNoneIsSelected) {
  SetNumber(kKernel + "\\Plain", "Default", 9);
  StoreInterface(5, true);
  Read([](FakeDialog& dialog) {
    dialog.Choose(DialogList::cboMIF, "[0] Pulse");
    EXPECT_EQ(TextsOf(dialog.Shown(DialogList::cboMSI)),
              (Texts{"[1] low", "[2] medium", "[3] 0x3"}));
    EXPECT_EQ(dialog.Shown().msi_caption, "Leakage");
  });
}

TEST_F(SimulatorLists, ACodeRangeMayEndAtTheLastNumberThereIs) {
  constexpr std::int32_t kMost = 0x7FFFFFFF;
  SetRange(kKernel + "\\Plain", kMost, kMost);
  const auto shown = ShownWith("[0] Pulse", false);
  EXPECT_EQ(TextsOf(At(shown.lists, DialogList::cboMSI)), (Texts{"[2147483647] 0x7FFFFFFF"}));
}

TEST_F(SimulatorLists, ACodeRangeThatEndsBeforeItBeginsIsEmpty) {
  SetRange(kKernel + "\\Plain", 3, 2);
  EXPECT_EQ(TextsOf(At(ShownWith("[0] Pulse", false).lists, DialogList::cboMSI)), Texts{});
}

TEST_F(SimulatorLists, AChosenCodeIsTheOneReported) {
  StoreInterface(5, true);
  Read([](FakeDialog& dialog) { dialog.Choose(DialogList::cboMSI, "[10] 0xA"); });
  EXPECT_EQ(zentrel->MSI(), 10);
}

// --- Captions ---

TEST_F(SimulatorLists, ForAnEncoderTheTamperCountIsCalledStatus) {
  EXPECT_EQ(ShownWith("[7] Encoder meter", false).tamper_caption, "Status");
  EXPECT_EQ(ShownWith("[7] Encoder meter", true).tamper_caption, "Status");
  EXPECT_EQ(ShownWith("[5] Register", true).tamper_caption, "Tamper");
}

TEST_F(SimulatorLists, AnEncoderIsToldByAnyNumberButZeroHoweverStored) {
  SetNumber(InterfaceKey(7), "Encoder", 0);
  EXPECT_EQ(ShownWith("[7] Encoder meter", false).tamper_caption, "Tamper");
  SetText(InterfaceKey(7), "Encoder", "-1");
  EXPECT_EQ(ShownWith("[7] Encoder meter", false).tamper_caption, "Status");
  SetText(InterfaceKey(7), "Encoder", "yes");
  EXPECT_EQ(ShownWith("[7] Encoder meter", false).tamper_caption, "Tamper");
}

TEST_F(SimulatorLists, ThatInterface0IsAnEncoderSaysNothingOfTheOthers) {
  SetNumber(InterfaceKey(0), "Encoder", 1);
  EXPECT_EQ(ShownWith("[5] Register", false).tamper_caption, "Tamper");
  EXPECT_EQ(ShownWith("[0] Pulse", true).tamper_caption, "Status");
}

// --- When the lists are filled ---

TEST_F(SimulatorLists, StayEmptyWhenTheSwitchWasOffAtTheFirstCreation) {
  Switch(false);
  Create();
  Switch(true);
  const auto another = Zentrel::Create();
  const auto shown = ShownByRead();
  for (const DialogList list : {DialogList::cboMIF, DialogList::cboTXI, DialogList::cboSignature0,
                                DialogList::cboSignature1}) {
    EXPECT_TRUE(At(shown.lists, list).items.empty()) << static_cast<int>(list);
  }
  EXPECT_FALSE(shown.ok_enabled);
}

TEST_F(SimulatorLists, AreFilledOnceAllObjectsAreGoneAndOneIsCreatedWithTheSwitchOn) {
  Switch(false);
  Create();
  zentrel.reset();
  Switch(true);
  EXPECT_EQ(Items(DialogList::cboMIF).size(), 4U);
}

TEST_F(SimulatorLists, KeepWhatTheCatalogsHeldAtTheFirstCreation) {
  Create();
  SetInterfaces(0, 15, 1);
  SetText(kIntervals, "0", "renamed");
  const auto another = Zentrel::Create();
  EXPECT_EQ(Items(DialogList::cboMIF).size(), 4U);
  EXPECT_EQ(Items(DialogList::cboTXI)[0], "[0] 5 s");
}

TEST_F(SimulatorLists, WithTheSwitchOffNoCatalogOfTheirsIsRead) {
  Switch(false);
  TheWorld().opened_paths.clear();
  Create();
  for (const std::string& path : TheWorld().opened_paths) {
    EXPECT_FALSE(path.starts_with(kMaker + "Zentrel\\")) << path;
  }
}

TEST_F(SimulatorLists, AreFilledAfterTheNamesOfTheClass) {
  TheWorld().opened_paths.clear();
  Create();
  // The names of the class come first: whoever fails there never loads the form.
  const auto& paths = TheWorld().opened_paths;
  const auto first_of = [&](const std::string& path) {
    return std::ranges::find(paths, path) - paths.begin();
  };
  EXPECT_LT(first_of(kIntervals), first_of(kSimulatorKey));
}

}  // namespace
}  // namespace qmzentrel::tests
