// What the dialog shows first, what it stores, and what becomes of values that cannot be stored.
#include <limits>

#include "tests/core/simulator_test.h"
#include "tests/core/telic2_test.h"

namespace qmzentrel::tests {
namespace {

class SimulatorValues : public SimulatorTest {
 protected:
  void SetUp() override {
    SimulatorTest::SetUp();
    SetVersion(5, "1.5");
  }

  /// Every control away from its default.
  static void FillIn(FakeDialog& dialog) {
    dialog.Choose(DialogList::cboMIF, "[5] Register");
    if (!dialog.Shown(DialogCheck::chkSecondary).ticked) dialog.Click(DialogCheck::chkSecondary);
    if (!dialog.Shown(DialogCheck::chkUserID).ticked) dialog.Click(DialogCheck::chkUserID);
    dialog.Choose(DialogList::cboVersion, "9.0");
    dialog.Choose(DialogList::cboTXI, "[3] 1 h");
    dialog.Choose(DialogList::cboMSI, "[10] 0xA");
    dialog.Turn(DialogSpin::udXpdr, 0x123456);
    dialog.Turn(DialogSpin::udReading, 0xABCDEF);
    dialog.Turn(DialogSpin::udTamper, 201);
    dialog.Turn(DialogSpin::udUtil, 17);
    dialog.Turn(DialogSpin::udThreshold, 33);
    if (!dialog.Shown(DialogCheck::chkEOL).ticked) dialog.Click(DialogCheck::chkEOL);
    dialog.Choose(DialogList::cboSignature0, "Electric");
    dialog.Choose(DialogList::cboSignature1, "Fast");
    dialog.Type(DialogText::txtZentrelVersion, "2.b");
    dialog.Type(DialogText::txtBattery, "4.85");
  }

  StoredValues BoxValues() const {
    return {{"Signature0", Number(0xA6)},
            {"Signature1", Number(2)},
            {"Version", Text("2.b")},
            {"Battery", Text("4.85")}};
  }
  StoredValues AllValues() const {
    StoredValues all = BoxValues();
    all.insert({{"Reading", Number(0xABCDEF)},
                {"Tamper", Number(201)},
                {"Threshold", Number(33)},
                {"Util", Number(17)},
                {"Xpdr", Number(0x123456)},
                {"MIF", Number(5 | 16 | 32)},
                {"TXI", Number(3)},
                {"MSI", Number(10)},
                {"XpdrVersion", Text("9.0")},
                {"EOL", Number(1)}});
    return all;
  }
  /// What is stored but the switch.
  static StoredValues StoredAnswers() {
    StoredValues stored = Stored();
    stored.erase("");
    return stored;
  }

  static void ExpectFilledIn(const FakeDialog& dialog, bool eol) {
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboMIF), "[5] Register");
    EXPECT_TRUE(dialog.Shown(DialogCheck::chkSecondary).ticked);
    EXPECT_TRUE(dialog.Shown(DialogCheck::chkUserID).ticked);
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboVersion), "9.0");
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboTXI), "[3] 1 h");
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboMSI), "[10] 0xA");
    EXPECT_EQ(dialog.Shown(DialogSpin::udXpdr), 0x123456);
    EXPECT_EQ(dialog.Shown(DialogSpin::udReading), 0xABCDEF);
    EXPECT_EQ(dialog.Shown(DialogSpin::udTamper), 201);
    EXPECT_EQ(dialog.Shown(DialogSpin::udUtil), 17);
    EXPECT_EQ(dialog.Shown(DialogSpin::udThreshold), 33);
    EXPECT_EQ(dialog.Shown(DialogCheck::chkEOL).ticked, eol);
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboSignature0), "Electric");
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboSignature1), "Fast");
    EXPECT_EQ(dialog.Shown(DialogText::txtBattery), "4.85");
  }

  /// A dialog where the boxes of the interface byte carry what was left there by the one before.
  void LeaveOtherValues() {
    Read([](FakeDialog& dialog) {
      FillIn(dialog);
      CloseBox(dialog);
    });
  }
};

// --- Restored and defaults ---

TEST_F(SimulatorValues, ThatWereNeverStoredHaveTheirDefaults) {
  Read([](FakeDialog& dialog) {
    EXPECT_EQ(dialog.Shown(DialogSpin::udReading), 0);
    EXPECT_EQ(dialog.Shown(DialogSpin::udTamper), 0);
    EXPECT_EQ(dialog.Shown(DialogSpin::udThreshold), 0);
    EXPECT_EQ(dialog.Shown(DialogSpin::udUtil), 60);
    EXPECT_EQ(dialog.Shown(DialogSpin::udXpdr), 0);
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboMIF), "[15] Unknown");
    EXPECT_TRUE(dialog.Shown(DialogCheck::chkSecondary).ticked);
    EXPECT_TRUE(dialog.Shown(DialogCheck::chkUserID).ticked);
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboTXI), "[0] 5 s");
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboMSI), "[0] 0x0");
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboVersion), "4.0");
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboSignature0), "Bench") << "none is 0: the first";
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboSignature1), "Normal");
    EXPECT_EQ(dialog.Shown(DialogText::txtZentrelVersion), "1.3");
    EXPECT_EQ(dialog.Shown(DialogText::txtBattery), "5.20");
    EXPECT_FALSE(dialog.Shown(DialogCheck::chkEOL).ticked);
    EXPECT_EQ(dialog.Shown().notice, "");
  });
}

TEST_F(SimulatorValues, ABoxTypeThatWasNeverStoredIs0) {
  SetText(kBoxTypes, "0", "Prototype");
  SetText(kBoxTypes, "1", "Sample");
  Read([](FakeDialog& dialog) {
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboSignature0), "Prototype");
  });
}

TEST_F(SimulatorValues, DefaultsReplaceWhatTheControlsHeld) {
  LeaveOtherValues();
  Read([](FakeDialog& dialog) {
    EXPECT_EQ(dialog.Shown(DialogSpin::udReading), 0);
    EXPECT_EQ(dialog.Shown(DialogSpin::udTamper), 0);
    EXPECT_EQ(dialog.Shown(DialogSpin::udThreshold), 0);
    EXPECT_EQ(dialog.Shown(DialogSpin::udUtil), 60);
    EXPECT_EQ(dialog.Shown(DialogSpin::udXpdr), 0);
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboMIF), "[15] Unknown");
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboTXI), "[0] 5 s");
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboMSI), "[0] 0x0");
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboVersion), "4.0");
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboSignature1), "Normal");
    EXPECT_EQ(dialog.Shown(DialogText::txtZentrelVersion), "1.3");
    EXPECT_EQ(dialog.Shown(DialogText::txtBattery), "5.20");
  });
}

TEST_F(SimulatorValues, StoredOnesAreShownByTheNextRead) {
  Read([](FakeDialog& dialog) {
    FillIn(dialog);
    Ok(dialog);
  });
  zentrel.reset();  // and with it the form
  Read([](FakeDialog& dialog) {
    ExpectFilledIn(dialog, false);
    EXPECT_EQ(dialog.Shown(DialogText::txtZentrelVersion), "2.b");
  });
}

TEST_F(SimulatorValues, StoredInterfaceBitsThatAreClearClearTheirBoxes) {
  LeaveOtherValues();
  SetNumber(kSimulatorKey, "MIF", 5);
  Read([](FakeDialog& dialog) {
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboMIF), "[5] Register");
    EXPECT_FALSE(dialog.Shown(DialogCheck::chkSecondary).ticked);
    EXPECT_FALSE(dialog.Shown(DialogCheck::chkUserID).ticked);
  });
  SetNumber(kSimulatorKey, "MIF", 5 | 16);
  Read([](FakeDialog& dialog) {
    EXPECT_FALSE(dialog.Shown(DialogCheck::chkSecondary).ticked);
    EXPECT_TRUE(dialog.Shown(DialogCheck::chkUserID).ticked);
  });
}

TEST_F(SimulatorValues, OfTheStoredInterfaceOnlyFourBitsNameTheInterface) {
  SetNumber(kSimulatorKey, "MIF", 0x7FFFFF45);
  Read([](FakeDialog& dialog) {
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboMIF), "[5] Register");
    EXPECT_FALSE(dialog.Shown(DialogCheck::chkSecondary).ticked);
    EXPECT_FALSE(dialog.Shown(DialogCheck::chkUserID).ticked);
  });
}

TEST_F(SimulatorValues, AnEntryThatIsNotOfferedLeavesTheSelectionAsItWas) {
  LeaveOtherValues();
  SetNumber(kSimulatorKey, "MIF", 6 | 16 | 32);
  SetNumber(kSimulatorKey, "TXI", 9);
  SetNumber(kSimulatorKey, "Signature1", 9);
  Read([](FakeDialog& dialog) {
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboMIF), "[5] Register");
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboTXI), "[3] 1 h");
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboSignature1), "Fast");
  });
}

TEST_F(SimulatorValues, AVersionThatIsNotOfferedSelectsNone) {
  SetText(kSimulatorKey, "XpdrVersion", "7.7");
  Read([](FakeDialog& dialog) {
    EXPECT_EQ(dialog.Shown(DialogList::cboVersion).selected, -1);
    Ok(dialog);
  });
  EXPECT_EQ(zentrel->TravonelVersion(), "");
  EXPECT_EQ(Stored()["XpdrVersion"], Text(""));
}

TEST_F(SimulatorValues, AVersionIsFoundWhateverTheCaseOfItsLetters) {
  SetVersion(5, "2e1");
  SetText(kSimulatorKey, "XpdrVersion", "2E1");
  StoreInterface(5, true);
  Read([](FakeDialog& dialog) { EXPECT_EQ(dialog.ShownEntry(DialogList::cboVersion), "2e1"); });
}

TEST_F(SimulatorValues, BeyondTheRangeOfTheirControlTheyAreTheNearestValueInIt) {
  constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
  const std::tuple<const char*, DialogSpin, std::int32_t> spins[] = {
      {"Reading", DialogSpin::udReading, 0xFFFFFF},
      {"Xpdr", DialogSpin::udXpdr, 0xFFFFFF},
      {"Tamper", DialogSpin::udTamper, 255},
      {"Util", DialogSpin::udUtil, 255},
      {"Threshold", DialogSpin::udThreshold, 255}};
  for (const auto& [name, spin, maximum] : spins) {
    for (const auto& [stored, expected] : {std::pair{maximum + 1, maximum},
                                           {maximum, maximum},
                                           {std::numeric_limits<std::int32_t>::max(), maximum},
                                           {-1, 0},
                                           {kLeast, 0}}) {
      SetNumber(kSimulatorKey, name, stored);
      const auto shown = At(ShownByRead().spins, spin);
      EXPECT_EQ(shown.value, expected) << name << ' ' << stored;
      EXPECT_EQ(shown.maximum, maximum) << name;
    }
  }
}

TEST_F(SimulatorValues, ANumberMayBeStoredAsTextAndATextThatIsNoneIsTheDefault) {
  SetText(kSimulatorKey, "Util", "17");
  SetText(kSimulatorKey, "Reading", "&HFF");
  EXPECT_EQ(At(ShownByRead().spins, DialogSpin::udUtil).value, 17);
  EXPECT_EQ(At(ShownByRead().spins, DialogSpin::udReading).value, 255);
  SetText(kSimulatorKey, "Util", "many");
  EXPECT_EQ(At(ShownByRead().spins, DialogSpin::udUtil).value, 60);
  SetText(kSimulatorKey, "Util", "99999999999");
  EXPECT_EQ(At(ShownByRead().spins, DialogSpin::udUtil).value, 60);
}

TEST_F(SimulatorValues, ATextStoredAsANumberOrAListIsTheDefault) {
  SetNumber(kSimulatorKey, "Battery", 4);
  EXPECT_EQ(At(ShownByRead().texts, DialogText::txtBattery), "5.20");
  TheWorld().SetTexts(kSimulatorKey, "Battery", {"4.10", "4.20"});
  EXPECT_EQ(At(ShownByRead().texts, DialogText::txtBattery), "5.20");
}

TEST_F(SimulatorValues, TheStoredInterfaceHasNoBitOfABoxThatIsClear) {
  StoreInterface(0, false);
  Read(Ok);
  EXPECT_EQ(Stored()["MIF"], Number(0));
}

TEST_F(SimulatorValues, AnUnsavedOneOfAnotherKindIsTheDefault) {
  TheWorld().read_only_keys = {kSimulatorKey};
  simulator::WriteSimulatorValue("Util", std::string("many"));
  EXPECT_EQ(simulator::ReadSimulatorNumber("Util", 60), 60);
  simulator::WriteSimulatorValue("Battery", 4);
  EXPECT_EQ(simulator::ReadSimulatorText("Battery", "5.20"), "5.20");
}

TEST_F(SimulatorValues, ThatCannotBeReadHaveTheirDefaults) {
  Create();
  SetNumber(kSimulatorKey, "Util", 17);
  SetText(kSimulatorKey, "Battery", "4.00");
  TheWorld().registry_fault = [](const std::string&,
                                 const std::string& subject) -> std::optional<std::int32_t> {
    if (subject == "Util" || subject == "Battery") return 5;
    return std::nullopt;
  };
  const auto shown = ShownByRead();
  EXPECT_EQ(At(shown.spins, DialogSpin::udUtil).value, 60);
  EXPECT_EQ(At(shown.texts, DialogText::txtBattery), "5.20");
}

// --- Formats ---

TEST_F(SimulatorValues, TheBoxVersionIsShownWithOneDecimal) {
  for (const auto& [stored, shown] : {std::pair{"2", "2.0"},
                                      {"1.25", "1.3"},
                                      {"1.24", "1.2"},
                                      {"12.34", "12.3"},
                                      {".5", "0.5"},
                                      {"-1.5", "-1.5"},
                                      {" 2.1 ", "2.1"},
                                      {"&H10", "16.0"}}) {
    SetText(kSimulatorKey, "Version", stored);
    EXPECT_EQ(At(ShownByRead().texts, DialogText::txtZentrelVersion), shown) << stored;
  }
}

TEST_F(SimulatorValues, TheBatteryIsShownWithTwoDecimals) {
  for (const auto& [stored, shown] :
       {std::pair{"5", "5.00"}, {"4.8", "4.80"}, {"4.875", "4.88"}, {"0", "0.00"}}) {
    SetText(kSimulatorKey, "Battery", stored);
    EXPECT_EQ(At(ShownByRead().texts, DialogText::txtBattery), shown) << stored;
  }
}

TEST_F(SimulatorValues, ATextThatIsNoNumberIsShownAsItIs) {
  for (const char* text : {"1.A", "", "unknown", "1.2.3", "5 V"}) {
    SetText(kSimulatorKey, "Version", text);
    SetText(kSimulatorKey, "Battery", "5.00");
    EXPECT_EQ(At(ShownByRead().texts, DialogText::txtZentrelVersion), text);
  }
  SetText(kSimulatorKey, "Battery", "flat");
  Create();
  TheWorld().dialog_user = [](FakeDialog& dialog) {
    EXPECT_EQ(dialog.Shown(DialogText::txtBattery), "flat");
  };
  EXPECT_EQ(ReportOf([&] { zentrel->ReadXpdr(); }).ErrorNumber, 13);
}

TEST_F(SimulatorValues, StoredTextsHaveADotWhateverTheUsersSeparator) {
  TheWorld().decimal_separator = ",";
  SetText(kSimulatorKey, "Battery", "4.8");
  SetText(kSimulatorKey, "Version", "2");
  const auto shown = ShownByRead();
  EXPECT_EQ(At(shown.texts, DialogText::txtBattery), "4.80");
  EXPECT_EQ(At(shown.texts, DialogText::txtZentrelVersion), "2.0");
}

TEST_F(SimulatorValues, TheUsersDecimalSeparatorInTheBatteryIsADot) {
  for (const char* separator : {",", "'", "\xD9\xAB"}) {
    TheWorld().decimal_separator = separator;
    Read([&](FakeDialog& dialog) {
      dialog.Type(DialogText::txtBattery, "4" + std::string(separator) + "85");
      Ok(dialog);
    });
    EXPECT_FLOAT_EQ(zentrel->BatteryVoltage(), 4.85F) << separator;
    EXPECT_EQ(Stored()["Battery"], Text("4.85")) << separator;
  }
}

TEST_F(SimulatorValues, WithoutASeparatorOfTheUsersTheBatteryIsAsTyped) {
  TheWorld().decimal_separator = "";
  Read([](FakeDialog& dialog) {
    dialog.Type(DialogText::txtBattery, "4.85");
    Ok(dialog);
  });
  EXPECT_FLOAT_EQ(zentrel->BatteryVoltage(), 4.85F);
}

TEST_F(SimulatorValues, ADotInTheBatteryIsADotForEveryUser) {
  TheWorld().decimal_separator = ",";
  Read([](FakeDialog& dialog) {
    dialog.Type(DialogText::txtBattery, "4.85");
    Ok(dialog);
  });
  EXPECT_FLOAT_EQ(zentrel->BatteryVoltage(), 4.85F);
}

TEST_F(SimulatorValues, AWrittenBatteryKnowsTheUsersSeparatorToo) {
  TheWorld().decimal_separator = ",";
  Write([](FakeDialog& dialog) { dialog.Type(DialogText::txtBattery, "3,5"); });
  EXPECT_FLOAT_EQ(zentrel->BatteryVoltage(), 3.5F);
}

TEST_F(SimulatorValues, OfTheBoxVersionAReadTakesItsLettersAsCapitals) {
  Read([](FakeDialog& dialog) {
    dialog.Type(DialogText::txtZentrelVersion, "`a.z{~\xC3\xA4");
    Ok(dialog);
  });
  EXPECT_EQ(zentrel->ZentrelVersion(), "`A.Z{~\xC3\xA4");
}

TEST_F(SimulatorValues, TheBoxVersionIsTakenAsTypedWhateverTheSeparator) {
  TheWorld().decimal_separator = ",";
  Read([](FakeDialog& dialog) {
    dialog.Type(DialogText::txtZentrelVersion, "1,3");
    Ok(dialog);
  });
  EXPECT_EQ(zentrel->ZentrelVersion(), "1,3");
  EXPECT_EQ(Stored()["Version"], Text("1,3"));
}

// --- Stored ---

TEST_F(SimulatorValues, OkStoresThemAll) {
  Read([](FakeDialog& dialog) {
    FillIn(dialog);
    Ok(dialog);
  });
  EXPECT_EQ(StoredAnswers(), AllValues());
}

TEST_F(SimulatorValues, OkStoresWhatWasNotTouchedToo) {
  Read(Ok);
  EXPECT_EQ(StoredAnswers(), (StoredValues{{"Reading", Number(0)},
                                           {"Tamper", Number(0)},
                                           {"Threshold", Number(0)},
                                           {"Util", Number(60)},
                                           {"Xpdr", Number(0)},
                                           {"MIF", Number(63)},
                                           {"TXI", Number(0)},
                                           {"MSI", Number(0)},
                                           {"XpdrVersion", Text("4.0")},
                                           {"Signature0", Number(0x1A)},
                                           {"Signature1", Number(0)},
                                           {"Version", Text("1.3")},
                                           {"Battery", Text("5.20")},
                                           {"EOL", Number(0)}}));
}

TEST_F(SimulatorValues, NoXpdrStoresTheBoxValuesOnly) {
  Read([](FakeDialog& dialog) {
    FillIn(dialog);
    NoXpdr(dialog);
  });
  EXPECT_EQ(StoredAnswers(), BoxValues());
}

TEST_F(SimulatorValues, NoZentrelAndTheCloseBoxStoreNothing) {
  for (const auto& end : {NoZentrel, CloseBox}) {
    Read([&](FakeDialog& dialog) {
      FillIn(dialog);
      end(dialog);
    });
    EXPECT_EQ(StoredAnswers(), StoredValues{});
  }
}

TEST_F(SimulatorValues, AreStoredByTheButtonsOfEveryMode) {
  for (const auto command : {&Zentrel::ReadXpdr, &Zentrel::ResetXpdr, &Zentrel::WriteXpdr}) {
    for (const char* name : {"Util", "Battery", "EOL"}) {
      TheWorld().registry[kSimulatorKey].erase(name);
    }
    Run(
        [](FakeDialog& dialog) {
          FillIn(dialog);
          Ok(dialog);
        },
        command);
    EXPECT_EQ(StoredAnswers(), AllValues());
  }
}

TEST_F(SimulatorValues, WhatOkStoresLeavesTheSwitchAlone) {
  Read(Ok);
  EXPECT_EQ(Stored()[""], Number(-1));
}

TEST_F(SimulatorValues, TheStoredInterfacePacksTheBoxes) {
  for (const bool id_source : {false, true}) {
    for (const bool secondary : {false, true}) {
      SetNumber(kSimulatorKey, "MIF", 7);
      Read([&](FakeDialog& dialog) {
        if (secondary) dialog.Click(DialogCheck::chkSecondary);
        if (id_source) dialog.Click(DialogCheck::chkUserID);
        Ok(dialog);
      });
      EXPECT_EQ(Stored()["MIF"], Number(7 | (id_source ? 16 : 0) | (secondary ? 32 : 0)));
    }
  }
}

TEST_F(SimulatorValues, TheEndOfLifeIsStoredButNeverRestored) {
  SetNumber(kSimulatorKey, "EOL", 1);
  Read([](FakeDialog& dialog) {
    EXPECT_FALSE(dialog.Shown(DialogCheck::chkEOL).ticked);
    dialog.Click(DialogCheck::chkEOL);
    Ok(dialog);
  });
  EXPECT_EQ(Stored()["EOL"], Number(1));
  SetNumber(kSimulatorKey, "EOL", 0);
  Read([](FakeDialog& dialog) {
    EXPECT_TRUE(dialog.Shown(DialogCheck::chkEOL).ticked) << "it shows what it showed last";
    dialog.Click(DialogCheck::chkEOL);
    Ok(dialog);
  });
  EXPECT_EQ(Stored()["EOL"], Number(0));
}

// --- Values that cannot be stored ---

class UnsavedValues : public SimulatorValues, public testing::WithParamInterface<const char*> {
 protected:
  static void Refuse(bool refused) {
    TheWorld().registry_fault = [refused, call = std::string(GetParam())](
                                    const std::string& made,
                                    const std::string&) -> std::optional<std::int32_t> {
      if (refused && made == call) return 5;
      return std::nullopt;
    };
  }
  void TearDown() override {
    Refuse(false);
    SimulatorValues::TearDown();
  }
};

INSTANTIATE_TEST_SUITE_P(By, UnsavedValues, testing::Values("RegCreateKeyEx", "RegSetValueEx"),
                         [](const auto& test) { return std::string(test.param); });

TEST_P(UnsavedValues, AreShownByTheNextReadAllTheSame) {
  Refuse(true);
  EXPECT_EQ(Read([](FakeDialog& dialog) {
              EXPECT_EQ(dialog.Shown().notice, "");
              FillIn(dialog);
              Ok(dialog);
            }),
            S_OKAY);
  EXPECT_EQ(StoredAnswers(), StoredValues{});
  Read([](FakeDialog& dialog) { ExpectFilledIn(dialog, true); });
}

TEST_P(UnsavedValues, AreTalkedOfInALineOfTheNextDialogOfAnyMode) {
  Refuse(true);
  Read(NoXpdr);
  const auto expect_notice = [](FakeDialog& dialog) {
    EXPECT_NE(dialog.Shown().notice.find("cannot be stored"), std::string::npos);
  };
  Read(expect_notice);
  Reset(expect_notice);
  Write(expect_notice);
}

TEST_P(UnsavedValues, LastAsLongAsTheProcess) {
  Refuse(true);
  Read([](FakeDialog& dialog) {
    FillIn(dialog);
    Ok(dialog);
  });
  zentrel.reset();
  Read([](FakeDialog& dialog) {
    ExpectFilledIn(dialog, false);
    EXPECT_NE(dialog.Shown().notice, "");
  });
  zentrel.reset();
  simulator::ForgetUnsavedSimulatorValues();
  Read([](FakeDialog& dialog) {
    EXPECT_EQ(dialog.Shown(DialogSpin::udUtil), 60);
    EXPECT_EQ(dialog.Shown().notice, "");
  });
}

TEST_P(UnsavedValues, AreForgottenOnceTheyCanBeStored) {
  Refuse(true);
  Read([](FakeDialog& dialog) {
    FillIn(dialog);
    Ok(dialog);
  });
  Refuse(false);
  Read(Ok);
  EXPECT_EQ(Stored()["Util"], Number(17));
  SetNumber(kSimulatorKey, "Util", 18);
  Read([](FakeDialog& dialog) {
    EXPECT_EQ(dialog.Shown(DialogSpin::udUtil), 18);
    EXPECT_EQ(dialog.Shown().notice, "");
  });
}

TEST_P(UnsavedValues, OfMessagesAreReadBack) {
  InstallMessages();
  Create();
  Refuse(true);
  Numbers ids{8, 12};
  Numbers data{0x1234, -5};
  EXPECT_EQ(zentrel->TELIC2Write(2, LongArray(ids, 0), LongArray(data, 0)), S_OKAY);
  EXPECT_EQ(StoredAnswers(), StoredValues{});
  data = {1, 2};
  EXPECT_EQ(zentrel->TELIC2Read(2, LongArray(ids, 0), LongArray(data, 0)), S_OKAY);
  EXPECT_EQ(data, (Numbers{0x1234, -5}));
  Read([](FakeDialog& dialog) { EXPECT_NE(dialog.Shown().notice, ""); });
}

class ReadOnlyValues : public SimulatorValues {
 protected:
  void SetUp() override {
    SimulatorValues::SetUp();
    TheWorld().read_only_keys = {kSimulatorKey};
  }
};

TEST_F(ReadOnlyValues, AreTalkedOfInTheFirstDialogOfAnyMode) {
  for (const auto command : {&Zentrel::ReadXpdr, &Zentrel::ResetXpdr, &Zentrel::WriteXpdr}) {
    Run(
        [](FakeDialog& dialog) {
          EXPECT_NE(dialog.Shown().notice.find("cannot be stored"), std::string::npos);
        },
        command);
    zentrel.reset();
  }
}

TEST_F(ReadOnlyValues, AreTalkedOfNoMoreOnceTheyCanBeStored) {
  Read(CloseBox);
  TheWorld().read_only_keys.clear();
  Read([](FakeDialog& dialog) { EXPECT_EQ(dialog.Shown().notice, ""); });
}

TEST_F(SimulatorValues, NothingIsWrittenToFindOutWhetherTheyCanBeStored) {
  Create();
  for (const bool read_only : {false, true}) {
    if (read_only) TheWorld().read_only_keys = {kSimulatorKey};
    TheWorld().registry_calls.clear();
    const StoredValues before = Stored();
    Read(NoZentrel);
    EXPECT_EQ(Stored(), before);
    for (const std::string& call : TheWorld().registry_calls) {
      EXPECT_FALSE(call.starts_with("RegCreateKeyEx") || call.starts_with("RegSetValueEx") ||
                   call.starts_with("RegDeleteValue"))
          << call;
    }
  }
}

TEST_F(SimulatorValues, OneThatCannotBeStoredDoesNotKeepTheOthers) {
  TheWorld().registry_fault = [](const std::string& call,
                                 const std::string& subject) -> std::optional<std::int32_t> {
    if (call == "RegSetValueEx" && subject == "Util") return 5;
    return std::nullopt;
  };
  Read([](FakeDialog& dialog) {
    FillIn(dialog);
    Ok(dialog);
  });
  StoredValues expected = AllValues();
  expected.erase("Util");
  EXPECT_EQ(StoredAnswers(), expected);
  Read([](FakeDialog& dialog) {
    EXPECT_EQ(dialog.Shown(DialogSpin::udUtil), 17);
    EXPECT_NE(dialog.Shown().notice, "");
  });
}

}  // namespace
}  // namespace qmzentrel::tests
