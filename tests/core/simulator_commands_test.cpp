// What the simulated commands put into the dialog, take out of it, and answer.
#include <algorithm>
#include <limits>

#include "tests/core/simulator_test.h"

namespace qmzentrel::tests {
namespace {

using Journal = std::vector<std::string>;
using platform::PointerShape;

class SimulatorCommands : public SimulatorTest {
 protected:
  void SetUp() override {
    SimulatorTest::SetUp();
    for (const auto& [name, number] : {std::pair{"Reading", 70'000},
                                       {"Tamper", 9},
                                       {"Threshold", 55},
                                       {"Util", 17},
                                       {"Xpdr", 123'456},
                                       {"MIF", 5 | 16 | 32},
                                       {"TXI", 3},
                                       {"MSI", 11},
                                       {"Signature0", 0xA6},
                                       {"Signature1", 2}}) {
      SetNumber(kSimulatorKey, name, number);
    }
    SetText(kSimulatorKey, "XpdrVersion", "9.0");
    SetText(kSimulatorKey, "Version", "2.1");
    SetText(kSimulatorKey, "Battery", "4.85");
  }

  /// A client's record away from what is stored.
  void FillRecord() {
    if (!zentrel) Create();
    zentrel->DeviceMIF(7);
    zentrel->Util(33);
    zentrel->Xpdr(77'777);
    zentrel->Tamper(44);
    zentrel->Reading(5'555);
    zentrel->PLLWarmup(9);
    zentrel->TXI(1);
    zentrel->MSI(3);
    zentrel->LeakThreshold(200);
    zentrel->HasLeak(true);
    zentrel->EOL_CTRL(77);
  }

  void ExpectStoredRecord() {
    EXPECT_EQ(Field("m_lngMIF"), "21");  // 5 and the ID source, but not secondary
    EXPECT_TRUE(zentrel->MIFSelect());
    EXPECT_TRUE(zentrel->IDToggle());
    EXPECT_EQ(zentrel->DeviceMIF(), 5 | 16 | 32);
    EXPECT_EQ(zentrel->Util(), 17);
    EXPECT_EQ(zentrel->Xpdr(), 123'456);
    EXPECT_EQ(zentrel->Tamper(), 9);
    EXPECT_EQ(zentrel->Reading(), 70'000);
    EXPECT_EQ(zentrel->PLLWarmup(), 0);
    EXPECT_EQ(zentrel->TXI(), 3);
    EXPECT_EQ(zentrel->MSI(), 11);
    EXPECT_EQ(zentrel->TravonelVersion(), "9.0");
    EXPECT_FLOAT_EQ(zentrel->BatteryVoltage(), 4.85F);
    EXPECT_EQ(zentrel->ZentrelSignature(0), 0xA6);
    EXPECT_EQ(zentrel->ZentrelSignature(1), 2);
    EXPECT_EQ(zentrel->ZentrelVersion(), "2.1");
    EXPECT_EQ(zentrel->LeakThreshold(), 200);
    EXPECT_FALSE(zentrel->HasLeak());
    EXPECT_EQ(zentrel->EOL_CTRL(), 8);
  }
};

// --- Read ---

TEST_F(SimulatorCommands, ReadFillsTheRecordAndTheBoxFactsFromTheControls) {
  FillRecord();
  EXPECT_EQ(Read(Ok), S_OKAY);
  ExpectStoredRecord();
}

TEST_F(SimulatorCommands, ReadFillsThemAfterEveryOtherButtonToo) {
  for (const auto& end : {NoXpdr, NoZentrel, CloseBox}) {
    FillRecord();
    Read(end);
    ExpectStoredRecord();
  }
}

TEST_F(SimulatorCommands, ReadLeavesWhatAReplyWouldNotCarry) {
  Create();
  zentrel->Freq_MSB(1);
  zentrel->PA_CTRL(2);
  zentrel->PowerTimeout(33);
  Read(Ok);
  EXPECT_EQ(zentrel->Freq_MSB(), 1);
  EXPECT_EQ(zentrel->PA_CTRL(), 2);
  EXPECT_EQ(zentrel->PowerTimeout(), 33);
  EXPECT_EQ(Field("m_blnIsElectric"), "False");
}

TEST_F(SimulatorCommands, ReadTakesTheBoxesAsTheyAreClear) {
  SetNumber(kSimulatorKey, "MIF", 7);
  Read(Ok);
  EXPECT_EQ(Field("m_lngMIF"), "7");
  EXPECT_FALSE(zentrel->MIFSelect());
  EXPECT_FALSE(zentrel->IDToggle());
}

TEST_F(SimulatorCommands, ReadShowsItsCaption) {
  Read([](FakeDialog& dialog) { EXPECT_EQ(dialog.Shown().caption, "Zentrel Simulator - Read"); });
}

TEST_F(SimulatorCommands, ReadReportsTheVersionsInUpperCase) {
  SetVersion(5, "2e1");
  SetText(kSimulatorKey, "XpdrVersion", "2e1");
  Read([](FakeDialog& dialog) { dialog.Type(DialogText::txtZentrelVersion, "1.b-z"); });
  EXPECT_EQ(zentrel->TravonelVersion(), "2E1");
  EXPECT_EQ(zentrel->ZentrelVersion(), "1.B-Z");
}

TEST_F(SimulatorCommands, ReadReportsTheEndOfLifeAs31Or8) {
  Read([](FakeDialog& dialog) { dialog.Click(DialogCheck::chkEOL); });
  EXPECT_EQ(zentrel->EOL_CTRL(), 31);
  Read([](FakeDialog& dialog) { dialog.Click(DialogCheck::chkEOL); });
  EXPECT_EQ(zentrel->EOL_CTRL(), 8);
}

TEST_F(SimulatorCommands, ReadReportsTheThresholdFromTheOtherEnd) {
  for (const std::int32_t shown : {0, 1, 55, 254, 255}) {
    SetNumber(kSimulatorKey, "Threshold", shown);
    Read(Ok);
    EXPECT_EQ(zentrel->LeakThreshold(), 255 - shown);
  }
}

TEST_F(SimulatorCommands, ReadTakesTheLeakFlagOutOfTheTamperCountAsARealReplyHasIt) {
  struct Case {
    const char* version;
    bool secondary;
    std::int32_t shown;
    bool leak;
    std::int32_t tamper;
  };
  for (const Case& test : {Case{"3.9", false, 200, true, 72},
                           {"3.9", true, 200, true, 200},
                           {"4.0", false, 200, false, 200},
                           {"4.0", true, 200, false, 200},
                           {"5.0", false, 200, false, 200},
                           {"7.9", false, 255, false, 255},
                           {"8.0", false, 200, true, 72},
                           {"8.0", true, 200, true, 200},
                           {"8.0", false, 127, false, 127},
                           {"8.0", false, 128, true, 0},
                           {"8.0", true, 128, true, 128},
                           {"8.0", true, 127, false, 127},
                           {"10.0", false, 255, true, 127}}) {
    SCOPED_TRACE(std::string(test.version) + (test.secondary ? " secondary " : " primary ") +
                 std::to_string(test.shown));
    SetVersion(test.secondary ? 5 : 0, test.version);
    SetNumber(kSimulatorKey, "MIF", 5 | (test.secondary ? 32 : 0));
    SetText(kSimulatorKey, "XpdrVersion", test.version);
    SetNumber(kSimulatorKey, "Tamper", test.shown);
    Read(Ok);
    EXPECT_EQ(zentrel->TravonelVersion(), test.version);
    EXPECT_EQ(zentrel->HasLeak(), test.leak);
    EXPECT_EQ(zentrel->Tamper(), test.tamper);
  }
}

TEST_F(SimulatorCommands, ReadWithNoVersionSelectedTakesTheLeakFlagLikeAnOldOne) {
  SetText(kSimulatorKey, "XpdrVersion", "none such");
  SetNumber(kSimulatorKey, "MIF", 5);
  SetNumber(kSimulatorKey, "Tamper", 130);
  Read(Ok);
  EXPECT_EQ(zentrel->TravonelVersion(), "");
  EXPECT_TRUE(zentrel->HasLeak());
  EXPECT_EQ(zentrel->Tamper(), 2);
}

TEST_F(SimulatorCommands, ABatteryThatIsNoNumberIsReportedAndEndsTheRead) {
  for (const char* typed : {"", "flat", "5.2 V", "5.2.0"}) {
    FillRecord();
    TheWorld().dialog_user = [&](FakeDialog& dialog) {
      dialog.Type(DialogText::txtBattery, typed);
      NoZentrel(dialog);
    };
    const ErrorReport report = ReportOf([&] { zentrel->ReadXpdr(); });
    EXPECT_EQ(report.ErrorNumber, 13) << typed;
    EXPECT_EQ(report.ErrorDescription, "Type mismatch");
    EXPECT_EQ(report.module, "Zentrel");
    // What comes before it has been taken over, what comes after has not.
    EXPECT_EQ(zentrel->TravonelVersion(), "9.0");
    EXPECT_EQ(zentrel->PLLWarmup(), 0);
    EXPECT_EQ(zentrel->ZentrelSignature(0), 0);
    EXPECT_EQ(zentrel->LeakThreshold(), 200);
    EXPECT_TRUE(zentrel->HasLeak());
    EXPECT_EQ(zentrel->EOL_CTRL(), 77);
    EXPECT_EQ(TheWorld().pointers.back(), PointerShape::kHourglass);
  }
  EXPECT_EQ(Read(Ok), S_OKAY);
}

TEST_F(SimulatorCommands, AFaultOfARealCommandAndOfItsSimulationNameTheSameProcedure) {
  Create();
  TheWorld().dialog_user = [](FakeDialog& dialog) { dialog.Type(DialogText::txtBattery, "flat"); };
  EXPECT_EQ(ReportOf([&] { zentrel->ReadXpdr(); }).procedure, "ReadXpdr");
  EXPECT_EQ(ReportOf([&] { zentrel->WriteXpdr(); }).procedure, "WriteXpdr");
}

// --- Write ---

TEST_F(SimulatorCommands, WriteShowsTheRecordOfTheClient) {
  Read(Ok);
  FillRecord();
  zentrel->DeviceMIF(7 | 32);
  Write([](FakeDialog& dialog) {
    EXPECT_EQ(dialog.Shown().caption, "Zentrel Simulator - Write");
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboMIF), "[7] Encoder meter");
    EXPECT_TRUE(dialog.Shown(DialogCheck::chkSecondary).ticked);
    EXPECT_FALSE(dialog.Shown(DialogCheck::chkUserID).ticked);
    EXPECT_EQ(dialog.Shown(DialogSpin::udUtil), 33);
    EXPECT_EQ(dialog.Shown(DialogSpin::udXpdr), 77'777);
    EXPECT_EQ(dialog.Shown(DialogSpin::udReading), 5'555);
    EXPECT_EQ(dialog.Shown(DialogSpin::udTamper), 44) << "the leak flag goes in no count";
    EXPECT_EQ(dialog.Shown(DialogSpin::udThreshold), 55);
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboMSI), "[3] 0x3");
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboTXI), "[1] 1 min");
  });
}

TEST_F(SimulatorCommands, WriteShowsTheBitsOfTheRecordWhateverWasShownBefore) {
  FillRecord();
  for (const std::int32_t bits : {32, 16, 0, 16 | 32, 0}) {
    zentrel->DeviceMIF(7 | bits);
    Write([bits](FakeDialog& dialog) {
      EXPECT_EQ(dialog.Shown(DialogCheck::chkSecondary).ticked, (bits & 32) != 0) << bits;
      EXPECT_EQ(dialog.Shown(DialogCheck::chkUserID).ticked, (bits & 16) != 0) << bits;
    });
  }
}

TEST_F(SimulatorCommands, WriteLeavesTheControlsThatNoRecordDecidesAsTheyWere) {
  Read([](FakeDialog& dialog) {
    dialog.Click(DialogCheck::chkEOL);
    dialog.Type(DialogText::txtZentrelVersion, "3.x");
    dialog.Type(DialogText::txtBattery, "4.1");
    dialog.Choose(DialogList::cboSignature0, "Short supply");
  });
  Write([](FakeDialog& dialog) {
    EXPECT_TRUE(dialog.Shown(DialogCheck::chkEOL).ticked);
    EXPECT_EQ(dialog.Shown(DialogText::txtZentrelVersion), "3.x");
    EXPECT_EQ(dialog.Shown(DialogText::txtBattery), "4.1");
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboSignature0), "Short supply");
  });
}

TEST_F(SimulatorCommands, WriteTakesBackWhatTheUserMadeOfIt) {
  FillRecord();
  EXPECT_EQ(Write([](FakeDialog& dialog) {
              dialog.Choose(DialogList::cboMIF, "[5] Register");
              dialog.Click(DialogCheck::chkSecondary);
              dialog.Click(DialogCheck::chkUserID);
              dialog.Choose(DialogList::cboVersion, "4.0");
              dialog.Choose(DialogList::cboMSI, "[12] 0xC");
              dialog.Choose(DialogList::cboTXI, "[2] Unknown");
              dialog.Turn(DialogSpin::udUtil, 1);
              dialog.Turn(DialogSpin::udXpdr, 2);
              dialog.Turn(DialogSpin::udTamper, 3);
              dialog.Turn(DialogSpin::udReading, 4);
              dialog.Turn(DialogSpin::udThreshold, 5);
              dialog.Type(DialogText::txtZentrelVersion, "1.b");
              dialog.Type(DialogText::txtBattery, "3.25");
              Ok(dialog);
            }),
            S_OKAY);
  EXPECT_EQ(Field("m_lngMIF"), "5") << "without any of the boxes";
  EXPECT_TRUE(zentrel->MIFSelect());
  EXPECT_TRUE(zentrel->IDToggle());
  EXPECT_EQ(zentrel->TravonelVersion(), "4.0");
  EXPECT_EQ(zentrel->MSI(), 12);
  EXPECT_EQ(zentrel->TXI(), 2);
  EXPECT_EQ(zentrel->Util(), 1);
  EXPECT_EQ(zentrel->Xpdr(), 2);
  EXPECT_EQ(zentrel->Tamper(), 3);
  EXPECT_EQ(zentrel->Reading(), 4);
  EXPECT_EQ(zentrel->LeakThreshold(), 250);
  EXPECT_EQ(zentrel->PLLWarmup(), 0);
  EXPECT_FALSE(zentrel->HasLeak());
  EXPECT_EQ(zentrel->ZentrelVersion(), "1.b") << "as typed";
  EXPECT_FLOAT_EQ(zentrel->BatteryVoltage(), 3.25F);
}

TEST_F(SimulatorCommands, WriteTakesTheVersionOfTheTransponderAsItIs) {
  SetVersion(0, "2e1");
  FillRecord();
  Write([](FakeDialog& dialog) { dialog.Choose(DialogList::cboVersion, "2e1"); });
  EXPECT_EQ(zentrel->TravonelVersion(), "2e1");
}

TEST_F(SimulatorCommands, WriteTouchesNeitherEndOfLifeNorSignature) {
  FillRecord();
  Write([](FakeDialog& dialog) {
    dialog.Click(DialogCheck::chkEOL);
    dialog.Choose(DialogList::cboSignature0, "Electric");
    Ok(dialog);
  });
  EXPECT_EQ(zentrel->EOL_CTRL(), 77);
  EXPECT_EQ(zentrel->ZentrelSignature(0), 0);
}

TEST_F(SimulatorCommands, WriteTellsTheLeakByTheTamperCountAloneAndLeavesTheCount) {
  for (const char* version : {"4.0", "5.0", "8.0"}) {
    for (const auto& [tamper, leak] :
         {std::pair{0, false}, {127, false}, {128, true}, {200, true}}) {
      FillRecord();
      zentrel->DeviceMIF(0);
      zentrel->HasLeak(!leak);
      zentrel->Tamper(tamper);
      Write([&](FakeDialog& dialog) { dialog.Choose(DialogList::cboVersion, version); });
      EXPECT_EQ(zentrel->TravonelVersion(), version);
      EXPECT_EQ(zentrel->HasLeak(), leak) << version << ' ' << tamper;
      EXPECT_EQ(zentrel->Tamper(), tamper) << version;
    }
  }
}

TEST_F(SimulatorCommands, WriteShowsTheThresholdFromTheOtherEnd) {
  for (const auto& [threshold, complement] : {std::pair{255, 0},
                                              {0, 255},
                                              {1, 254},
                                              {200, 55},
                                              {300, 0},
                                              {-1, 255},
                                              {-1'000'000, 255},
                                              {std::numeric_limits<std::int32_t>::max(), 0}}) {
    FillRecord();
    zentrel->LeakThreshold(threshold);
    Write([&, shown = complement](FakeDialog& dialog) {
      EXPECT_EQ(dialog.Shown(DialogSpin::udThreshold), shown);
    });
    EXPECT_EQ(zentrel->LeakThreshold(), 255 - complement) << threshold;
  }
}

TEST_F(SimulatorCommands, WriteShowsTheLeastThresholdThatAClientCanStore) {
  FillRecord();
  zentrel->LeakThreshold(std::numeric_limits<std::int32_t>::min());
  Write([](FakeDialog& dialog) { EXPECT_EQ(dialog.Shown(DialogSpin::udThreshold), 255); });
  EXPECT_EQ(zentrel->LeakThreshold(), 0);
}

TEST_F(SimulatorCommands, WriteDoesNotCheckTheRecordButShowsTheNearestValueOfAControl) {
  FillRecord();
  zentrel->Util(256);
  zentrel->Xpdr(0x1000000);
  zentrel->Reading(-1);
  zentrel->Tamper(std::numeric_limits<std::int32_t>::max());
  zentrel->PLLWarmup(16);
  zentrel->DeviceMIF(7 | 0x40);
  EXPECT_EQ(Write(Ok), S_OKAY);
  EXPECT_EQ(zentrel->Util(), 255);
  EXPECT_EQ(zentrel->Xpdr(), 0xFFFFFF);
  EXPECT_EQ(zentrel->Reading(), 0);
  EXPECT_EQ(zentrel->Tamper(), 255);
  EXPECT_EQ(zentrel->DeviceMIF(), 7);
}

TEST_F(SimulatorCommands, WriteShowsOnlyFourBitsOfTheInterface) {
  Read(Ok);  // which leaves the ID source within the stored interface
  ASSERT_EQ(Field("m_lngMIF"), "21");
  zentrel->IDToggle(false);
  Reset([](FakeDialog& dialog) { dialog.Choose(DialogList::cboMIF, "[7] Encoder meter"); });
  Write([](FakeDialog& dialog) {
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboMIF), "[5] Register");
    EXPECT_FALSE(dialog.Shown(DialogCheck::chkUserID).ticked);
  });
}

TEST_F(SimulatorCommands, WriteOfWhatNoListOffersLeavesTheSelectionsAndTakesThemBack) {
  Read(Ok);
  zentrel->DeviceMIF(9 | 32);
  zentrel->TXI(14);
  zentrel->MSI(99);
  Write(Ok);
  EXPECT_EQ(zentrel->DeviceMIF(), 5 | 32);
  EXPECT_EQ(zentrel->TXI(), 3);
  EXPECT_EQ(zentrel->MSI(), 11);
}

TEST_F(SimulatorCommands, WriteGoesThroughTheInterlocks) {
  SetNumber(InterfaceKey(7), "MIF", 2);
  SetNumber(InterfaceKey(7), "IDSources", 1);
  FillRecord();
  zentrel->DeviceMIF(7 | 16);
  Write(Ok);
  EXPECT_EQ(zentrel->DeviceMIF(), 7 | 32);
}

TEST_F(SimulatorCommands, WriteBeforeAnyReadFindsTheStoredBoxFacts) {
  FillRecord();
  Write([](FakeDialog& dialog) {
    EXPECT_EQ(dialog.Shown(DialogText::txtZentrelVersion), "2.1");
    EXPECT_EQ(dialog.Shown(DialogText::txtBattery), "4.85");
    EXPECT_FALSE(dialog.Shown(DialogCheck::chkEOL).ticked);
    Ok(dialog);
  });
  EXPECT_FLOAT_EQ(zentrel->BatteryVoltage(), 4.85F);
}

TEST_F(SimulatorCommands, WriteBeforeAnyReadFindsTheDefaultsWhereNothingIsStored) {
  TheWorld().registry[kSimulatorKey].erase("Battery");
  TheWorld().registry[kSimulatorKey].erase("Version");
  FillRecord();
  EXPECT_EQ(Write(Ok), S_OKAY);
  EXPECT_FLOAT_EQ(zentrel->BatteryVoltage(), 5.2F);
  EXPECT_EQ(zentrel->ZentrelVersion(), "1.3");
}

TEST_F(SimulatorCommands, WriteWithEmptyListsTakes0AndNoVersion) {
  Switch(false);
  Create();
  Switch(true);
  FillRecord();
  TheWorld().registry.erase(InterfaceKey(0) + "\\4.0");
  TheWorld().registry.erase(InterfaceKey(0) + "\\5.0");
  TheWorld().registry.erase(InterfaceKey(0) + "\\8.0");
  Write(CloseBox);
  EXPECT_EQ(zentrel->DeviceMIF(), 0);
  EXPECT_EQ(zentrel->TXI(), 0);
  EXPECT_EQ(zentrel->MSI(), 0);
  EXPECT_EQ(zentrel->TravonelVersion(), "");
}

TEST_F(SimulatorCommands, WriteDoesNotTakeTheStoredValues) {
  FillRecord();
  Write([](FakeDialog& dialog) { EXPECT_EQ(dialog.Shown(DialogSpin::udUtil), 33); });
}

TEST_F(SimulatorCommands, ABatteryBeyondAllVoltsIsAnOverflow) {
  for (const char* typed : {"1e39", "-1e300", "3.4029e38"}) {
    FillRecord();
    TheWorld().dialog_user = [&](FakeDialog& dialog) {
      dialog.Type(DialogText::txtBattery, typed);
      NoZentrel(dialog);
    };
    EXPECT_EQ(ReportOf([&] { zentrel->ReadXpdr(); }).ErrorNumber, 6) << typed;
  }
  TheWorld().dialog_user = [](FakeDialog& dialog) {
    dialog.Type(DialogText::txtBattery, "3.4028e38");
    Ok(dialog);
  };
  EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
  EXPECT_EQ(zentrel->BatteryVoltage(), 3.4028e38F);
}

TEST_F(SimulatorCommands, ABatteryThatIsNoNumberEndsTheWriteAfterTheLeakFlag) {
  FillRecord();
  zentrel->Tamper(200);
  zentrel->HasLeak(false);
  TheWorld().dialog_user = [](FakeDialog& dialog) {
    dialog.Type(DialogText::txtBattery, "flat");
    dialog.Type(DialogText::txtZentrelVersion, "9.9");
    Ok(dialog);
  };
  EXPECT_EQ(ReportOf([&] { zentrel->WriteXpdr(); }).ErrorNumber, 13);
  EXPECT_TRUE(zentrel->HasLeak());
  EXPECT_EQ(zentrel->ZentrelVersion(), "");
}

// --- Factory test ---

TEST_F(SimulatorCommands, ResetShowsWhatTheControlsHoldAndTakesNothingBack) {
  Read([](FakeDialog& dialog) {
    dialog.Turn(DialogSpin::udUtil, 99);
    CloseBox(dialog);
  });
  FillRecord();
  const std::string before = zentrel->DumpFields();
  Reset([](FakeDialog& dialog) {
    EXPECT_EQ(dialog.Shown().caption, "Zentrel Simulator - Factory Test");
    EXPECT_EQ(dialog.Shown(DialogSpin::udUtil), 99);
    dialog.Turn(DialogSpin::udUtil, 98);
    dialog.Type(DialogText::txtBattery, "flat");
    Ok(dialog);
  });
  EXPECT_EQ(zentrel->DumpFields(), before);
}

TEST_F(SimulatorCommands, ResetIsOkayWhateverTheButton) {
  for (const auto& end : {Ok, NoXpdr, NoZentrel, CloseBox}) {
    EXPECT_EQ(Reset(end), S_OKAY);
  }
}

TEST_F(SimulatorCommands, ResetBeforeAnyReadShowsEmptyControlsAndTheStoredBoxFacts) {
  Reset([](FakeDialog& dialog) {
    EXPECT_EQ(dialog.Shown(DialogSpin::udUtil), 0);
    EXPECT_EQ(dialog.Shown(DialogList::cboMIF).selected, -1);
    EXPECT_FALSE(dialog.Shown().ok_enabled);
    EXPECT_EQ(dialog.Shown(DialogText::txtBattery), "4.85");
    EXPECT_EQ(dialog.ShownEntry(DialogList::cboSignature0), "Bench");
  });
}

// --- Statuses ---

TEST_F(SimulatorCommands, BoxStatusIsOkayAtFirstAndShowsNothing) {
  Create();
  const std::string before = zentrel->DumpFields();
  EXPECT_EQ(zentrel->BoxStatus(), S_OKAY);
  EXPECT_EQ(zentrel->DumpFields(), before);
  EXPECT_EQ(TheWorld().TakeJournal(), Journal{});
}

class SimulatedAnswer : public SimulatorCommands,
                        public testing::WithParamInterface<ZentrelStatus (Zentrel::*)()> {
 protected:
  ZentrelStatus Answer(const DialogUser& user) { return Run(user, GetParam()); }
  /// A reset answers the same whatever the button, but the button counts.
  ZentrelStatus Seen(ZentrelStatus status) const {
    return GetParam() == &Zentrel::ResetXpdr ? S_OKAY : status;
  }
  void SetUp() override {
    SimulatorCommands::SetUp();
    Create();
    zentrel->DeviceMIF(5);
    Read(CloseBox);  // with an interface chosen, OK can be pressed
  }
};

INSTANTIATE_TEST_SUITE_P(By, SimulatedAnswer,
                         testing::Values(&Zentrel::ReadXpdr, &Zentrel::WriteXpdr,
                                         &Zentrel::ResetXpdr),
                         [](const auto& test) {
                           return std::string(test.param == &Zentrel::ReadXpdr    ? "Read"
                                              : test.param == &Zentrel::WriteXpdr ? "Write"
                                                                                  : "Reset");
                         });

TEST_P(SimulatedAnswer, OkIsTheAnswerOfTheTransponder) {
  EXPECT_EQ(Answer(Ok), S_OKAY);
  EXPECT_EQ(zentrel->BoxStatus(), S_OKAY);
}

TEST_P(SimulatedAnswer, NoXpdrIsATimeoutBeforeAnOkayBox) {
  EXPECT_EQ(Answer(NoXpdr), Seen(S_TIMEOUT));
  EXPECT_EQ(zentrel->BoxStatus(), S_OKAY);
  EXPECT_EQ(zentrel->BoxStatus(), S_OKAY);
}

TEST_P(SimulatedAnswer, NoZentrelIsATimeoutOfTheBoxTooForAsLongAsNothingElseIsAnswered) {
  EXPECT_EQ(Answer(NoZentrel), Seen(S_TIMEOUT));
  EXPECT_EQ(zentrel->BoxStatus(), S_TIMEOUT);
  EXPECT_EQ(zentrel->BoxStatus(), S_TIMEOUT);
  EXPECT_EQ(Answer(Ok), S_OKAY);
  EXPECT_EQ(zentrel->BoxStatus(), S_OKAY);
  EXPECT_EQ(Answer(NoZentrel), Seen(S_TIMEOUT));
  EXPECT_EQ(Answer(NoXpdr), Seen(S_TIMEOUT));
  EXPECT_EQ(zentrel->BoxStatus(), S_OKAY);
}

TEST_P(SimulatedAnswer, TheCloseBoxLeavesBothStatuses) {
  EXPECT_EQ(Answer(CloseBox), S_OKAY);
  EXPECT_EQ(Answer(NoXpdr), Seen(S_TIMEOUT));
  EXPECT_EQ(Answer(CloseBox), Seen(S_TIMEOUT));
  EXPECT_EQ(zentrel->BoxStatus(), S_OKAY);
  EXPECT_EQ(Answer(CloseBox), S_OKAY) << "a Box Status makes the next status the present one";
  EXPECT_EQ(Answer(NoZentrel), Seen(S_TIMEOUT));
  EXPECT_EQ(Answer(CloseBox), Seen(S_TIMEOUT));
  EXPECT_EQ(zentrel->BoxStatus(), S_TIMEOUT);
}

// --- Pointer and messages ---

TEST_P(SimulatedAnswer, ThePointerIsAnArrowAtTheDialogAndAnHourglassAfterIt) {
  TheWorld().pointers.clear();
  TheWorld().TakeJournal();
  Answer([](FakeDialog& dialog) {
    EXPECT_EQ(TheWorld().pointers, (std::vector{PointerShape::kArrow}));
    Ok(dialog);
  });
  EXPECT_EQ(TheWorld().pointers, (std::vector{PointerShape::kArrow, PointerShape::kHourglass}));
  const Journal journal = TheWorld().TakeJournal();
  ASSERT_EQ(journal.size(), 3U);
  EXPECT_EQ(journal[0], "pointer arrow");
  EXPECT_TRUE(journal[1].starts_with("dialog Zentrel Simulator - "));
  EXPECT_EQ(journal[2], "pointer hourglass");
}

TEST_P(SimulatedAnswer, PendingMessagesAreProcessedOnceAfterAReadOnly) {
  int processed = 0;
  Answer([&](FakeDialog& dialog) {
    Ok(dialog);
    TheWorld().Post(Milliseconds(0), [&] {
      ++processed;
      EXPECT_EQ(TheWorld().pointers.back(), PointerShape::kHourglass) << "the dialog has gone";
    });
    TheWorld().Post(Milliseconds(1), [&] { processed += 100; });
  });
  EXPECT_EQ(processed, GetParam() == &Zentrel::ReadXpdr ? 1 : 0);
}

TEST_P(SimulatedAnswer, TakesNoTimeOfItsOwn) {
  const auto before = TheWorld().now;
  Answer(Ok);
  EXPECT_EQ(TheWorld().now, before);
}

TEST_P(SimulatedAnswer, MessagesAreDispatchedAtTheDialog) {
  int dispatched = 0;
  Answer([&](FakeDialog& dialog) {
    TheWorld().Post(Milliseconds(100), [&] { ++dispatched; });
    dialog.Wait(Milliseconds(200));
    EXPECT_EQ(dispatched, 1);
    Ok(dialog);
  });
}

// --- Where the user's hand is held ---

TEST_F(SimulatorCommands, ASpinTakesNoMoreThanItsRange) {
  Read([](FakeDialog& dialog) {
    dialog.Type(DialogSpin::udUtil, "999");
    dialog.Type(DialogSpin::udXpdr, "99999999");
    dialog.Turn(DialogSpin::udReading, -1);
  });
  EXPECT_EQ(zentrel->Util(), 255);
  EXPECT_EQ(zentrel->Xpdr(), 0xFFFFFF);
  EXPECT_EQ(zentrel->Reading(), 0);
}

TEST_F(SimulatorCommands, ChoosingOneInterfaceAfterAnotherKeepsOk) {
  Read([](FakeDialog& dialog) {
    for (const char* entry : {"[0] Pulse", "[7] Encoder meter", "[15] Unknown"}) {
      dialog.Choose(DialogList::cboMIF, entry);
      EXPECT_EQ(dialog.ShownEntry(DialogList::cboMIF), entry);
      EXPECT_TRUE(dialog.Shown().ok_enabled);
    }
  });
  EXPECT_EQ(zentrel->DeviceMIF() & 15, 15);
}

}  // namespace
}  // namespace qmzentrel::tests
