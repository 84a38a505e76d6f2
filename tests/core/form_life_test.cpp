// The one form of the process: who shares it, when it comes and goes, and what disturbs it while
// its dialog is up.
#include <new>

#include "tests/core/simulator_test.h"
#include "tests/core/telic2_test.h"

namespace qmzentrel::tests {
namespace {

using Command = ZentrelStatus (Zentrel::*)();
using platform::PointerShape;

const std::vector<std::pair<const char*, Command>> kCommands = {{"ReadXpdr", &Zentrel::ReadXpdr},
                                                                {"ResetXpdr", &Zentrel::ResetXpdr},
                                                                {"WriteXpdr", &Zentrel::WriteXpdr}};

class FormLife : public SimulatorTest {
 protected:
  /// Memory runs out in registry calls about `subject`.
  static void FailAt(const std::string& subject) {
    TheWorld().registry_fault = [=](const std::string&,
                                    const std::string& asked) -> std::optional<std::int32_t> {
      if (asked == subject) throw std::bad_alloc();
      return std::nullopt;
    };
  }
};

// --- Shared ---

TEST_F(FormLife, ObjectsShareControlsAndStatuses) {
  Create();
  auto another = Zentrel::Create();
  Read([](FakeDialog& dialog) {
    dialog.Turn(DialogSpin::udUtil, 99);
    dialog.Click(DialogCheck::chkEOL);
    NoZentrel(dialog);
  });
  EXPECT_EQ(another->BoxStatus(), S_TIMEOUT);
  TheWorld().dialog_user = [](FakeDialog& dialog) {
    EXPECT_EQ(dialog.Shown(DialogSpin::udUtil), 99);
    EXPECT_TRUE(dialog.Shown(DialogCheck::chkEOL).ticked);
    Ok(dialog);
  };
  EXPECT_EQ(another->ResetXpdr(), S_OKAY);
  EXPECT_EQ(zentrel->BoxStatus(), S_OKAY);
}

TEST_F(FormLife, ItStaysAsLongAsOneObjectIsLeft) {
  Create();
  Read([](FakeDialog& dialog) { dialog.Click(DialogCheck::chkEOL); });
  auto another = Zentrel::Create();
  zentrel.reset();
  zentrel = Zentrel::Create();
  another.reset();
  Read([](FakeDialog& dialog) { EXPECT_TRUE(dialog.Shown(DialogCheck::chkEOL).ticked); });
}

TEST_F(FormLife, ANewOneBeginsAfresh) {
  Read([](FakeDialog& dialog) {
    dialog.Click(DialogCheck::chkEOL);
    dialog.Turn(DialogSpin::udUtil, 99);
    NoZentrel(dialog);
  });
  zentrel.reset();
  Create();
  EXPECT_EQ(zentrel->BoxStatus(), S_OKAY);
  Reset([](FakeDialog& dialog) {
    EXPECT_FALSE(dialog.Shown(DialogCheck::chkEOL).ticked);
    EXPECT_EQ(dialog.Shown(DialogSpin::udUtil), 0);
    EXPECT_EQ(dialog.Shown().msi_caption, "MSI");
    EXPECT_EQ(dialog.Shown().tamper_caption, "Tamper");
  });
}

TEST_F(FormLife, ObjectsOfOtherApartmentsShareItToo) {
  Create();
  Read(NoZentrel);
  InAnotherApartment([] {
    const auto another = Zentrel::Create();
    EXPECT_EQ(another->BoxStatus(), S_TIMEOUT);
    TheWorld().dialog_user = [](FakeDialog& dialog) { dialog.Click(DialogCheck::chkEOL); };
    another->ReadXpdr();
  });
  Read([](FakeDialog& dialog) { EXPECT_TRUE(dialog.Shown(DialogCheck::chkEOL).ticked); });
}

TEST_F(FormLife, ItMayGoInAnotherApartmentThanItCameIn) {
  std::shared_ptr<Zentrel> another;
  InAnotherApartment([&] { Create(); });
  another = Zentrel::Create();
  InAnotherApartment([&] { zentrel.reset(); });
  another.reset();
  Create();
  EXPECT_EQ(Read(Ok), S_OKAY);
}

// --- Shown while it is shown ---

TEST_F(FormLife, ShowingItFromWithinItsMessagesIsError400) {
  Create();
  const auto another = Zentrel::Create();
  for (const auto& [outer_name, outer] : kCommands) {
    for (const auto& [name, nested] : kCommands) {
      for (const auto& object : {zentrel, another}) {
        SCOPED_TRACE(std::string(name) + " within " + outer_name);
        Run(
            [&, nested = nested](FakeDialog& dialog) {
              bool done = false;
              TheWorld().Post(Milliseconds(10), [&] {
                const ErrorReport report = ReportOf([&] { (object.get()->*nested)(); });
                EXPECT_EQ(report.ErrorNumber, 400);
                EXPECT_EQ(report.ErrorDescription, "Form already displayed; can't show modally");
                done = true;
              });
              dialog.Wait(Milliseconds(20));
              EXPECT_TRUE(done);
              EXPECT_TRUE(dialog.IsUp());
              Ok(dialog);
            },
            outer);
      }
    }
  }
}

TEST_F(FormLife, AShowThatIsRefusedChangesNeitherTheControlsNorThePointer) {
  Create();
  const auto another = Zentrel::Create();
  another->Util(200);
  another->Tamper(100);
  Read([&](FakeDialog& dialog) {
    dialog.Turn(DialogSpin::udUtil, 99);
    ReportOf([&] { another->WriteXpdr(); });
    ReportOf([&] { another->ReadXpdr(); });
    EXPECT_EQ(TheWorld().pointers.back(), PointerShape::kArrow);
    dialog.Click(DialogCheck::chkEOL);
    EXPECT_EQ(dialog.Shown(DialogSpin::udUtil), 99);
    EXPECT_EQ(dialog.Shown(DialogSpin::udTamper), 0);
    Ok(dialog);
  });
  EXPECT_EQ(zentrel->Util(), 99);
  EXPECT_EQ(another->Util(), 200);
  EXPECT_EQ(zentrel->EOL_CTRL(), 31);
}

TEST_F(FormLife, ShowingItInAnotherApartmentWhileItIsShownIsError400) {
  Create();
  Read([&](FakeDialog& dialog) {
    InAnotherApartment([&] {
      const auto another = Zentrel::Create();
      EXPECT_EQ(ReportOf([&] { another->ReadXpdr(); }).ErrorNumber, 400);
      EXPECT_EQ(another->BoxStatus(), S_OKAY);
    });
    EXPECT_TRUE(dialog.IsUp());
    Ok(dialog);
  });
  EXPECT_EQ(Read(NoXpdr), S_TIMEOUT);
}

TEST_F(FormLife, WhatShowsNothingWorksWhileItIsShown) {
  InstallMessages();
  Create();
  zentrel->TELIC2Device("Meter");
  Read(NoZentrel);
  Read([&](FakeDialog& dialog) {
    EXPECT_EQ(zentrel->BoxStatus(), S_TIMEOUT);
    EXPECT_EQ(zentrel->DeviceOpen(kPort, true), S_OKAY);
    EXPECT_EQ(zentrel->DeviceInit(), S_BAD_PORT);
    EXPECT_EQ(zentrel->DeviceClose(), S_OKAY);
    Numbers ids{8};
    Numbers data{5};
    EXPECT_EQ(zentrel->TELIC2Write(1, LongArray(ids, 0), LongArray(data, 0)), S_OKAY);
    EXPECT_EQ(zentrel->TELIC2Read(1, LongArray(ids, 0), LongArray(data, 0)), S_OKAY);
    EXPECT_EQ(zentrel->TELIC2Test(1, LongArray(ids, 0), LongArray(data, 0)), S_OKAY);
    EXPECT_TRUE(dialog.IsUp());
    Ok(dialog);
  });
}

TEST_F(FormLife, ABoxStatusWithinTheDialogCountsForItsCloseBox) {
  Create();
  Read(NoXpdr);
  EXPECT_EQ(Read([&](FakeDialog& dialog) {
              EXPECT_EQ(zentrel->BoxStatus(), S_OKAY);
              CloseBox(dialog);
            }),
            S_OKAY);
}

TEST_F(FormLife, WithTheSwitchOffMeanwhileACommandWithinTheDialogTakesTheRealPath) {
  Create();
  Read([&](FakeDialog& dialog) {
    Switch(false);
    EXPECT_EQ(zentrel->ResetXpdr(), S_BAD_PORT);
    Ok(dialog);
  });
}

// --- Released while it is shown ---

TEST_F(FormLife, AnObjectReleasedAtTheDialogEndsWithItsCommand) {
  Create();
  const auto command = zentrel;  // the caller's own hold
  std::weak_ptr<Zentrel> watch = zentrel;
  TheWorld().dialog_user = [&](FakeDialog& dialog) {
    zentrel.reset();
    dialog.Move(7, 8);
    dialog.Turn(DialogSpin::udUtil, 99);
    Ok(dialog);
  };
  const auto run = [](std::shared_ptr<Zentrel> held) { return held->ReadXpdr(); };
  EXPECT_EQ(run(command), S_OKAY);
  EXPECT_EQ(command->Util(), 99);
  EXPECT_FALSE(watch.expired());
}

TEST_F(FormLife, TheCommandOfTheLastReferenceStillFindsTheForm) {
  Create();
  TheWorld().dialog_user = [&](FakeDialog& dialog) {
    zentrel.reset();
    Ok(dialog);
  };
  const auto run = [](std::shared_ptr<Zentrel> held) { return held->ReadXpdr(); };
  EXPECT_EQ(run(zentrel), S_OKAY);
  EXPECT_TRUE(TheWorld().registry.contains(kMaker + "Simulator")) << "and it is unloaded then";
}

TEST_F(FormLife, ObjectsComeAndGoWhileItIsShown) {
  Create();
  auto another = Zentrel::Create();
  Read([&](FakeDialog& dialog) {
    another.reset();
    auto third = Zentrel::Create();
    third.reset();
    EXPECT_TRUE(dialog.IsUp());
    dialog.Turn(DialogSpin::udUtil, 99);
    Ok(dialog);
  });
  EXPECT_EQ(zentrel->Util(), 99);
  EXPECT_FALSE(TheWorld().registry.contains(kMaker + "Simulator"));
}

// --- The end of the program, and no desktop ---

TEST_F(FormLife, TheEndOfTheProgramEndsTheDialogLikeItsCloseBoxAndIsPassedOnOnce) {
  for (const auto& [name, command] : kCommands) {
    Create();
    Read(NoXpdr);
    Run(
        [](FakeDialog& dialog) {
          TheWorld().PostQuit(Milliseconds(10), 5);
          dialog.Wait(Milliseconds(100));
          EXPECT_FALSE(dialog.IsUp());
          Ok(dialog);
        },
        command);
    std::vector<std::uintptr_t> quits;
    TheWorld().DispatchDue([&](std::uintptr_t code) { quits.push_back(code); });
    EXPECT_EQ(quits, (std::vector<std::uintptr_t>{5})) << name;
    EXPECT_EQ(Read(CloseBox), S_TIMEOUT) << "both statuses are as they were";
    EXPECT_EQ(zentrel->BoxStatus(), S_OKAY);
    zentrel.reset();
  }
}

TEST_F(FormLife, WithoutADesktopEveryCommandThatShowsItIsAFaultAndTheObjectLivesOn) {
  Create();
  TheWorld().has_desktop = false;
  for (const auto& [name, command] : kCommands) {
    TheWorld().pointers.clear();
    const ErrorReport report = ReportOf([&, command = command] { (zentrel.get()->*command)(); });
    EXPECT_NE(report.ErrorNumber, 0) << name;
    EXPECT_NE(report.ErrorDescription.find("desktop"), std::string::npos) << name;
    EXPECT_EQ(TheWorld().pointers.back(), PointerShape::kHourglass) << name;
  }
  EXPECT_EQ(zentrel->BoxStatus(), S_OKAY);
  Switch(false);
  EXPECT_EQ(zentrel->DeviceOpen(kPort, true), S_OKAY);
  TheWorld().ports[kPort].Answer({0x21, 100, 0xA5, 0, 0, 0, 0x2A});
  EXPECT_EQ(zentrel->BoxStatus(), S_OKAY);
  EXPECT_EQ(zentrel->ZentrelVersion(), "2.1");
  Switch(true);
  TheWorld().has_desktop = true;
  EXPECT_EQ(Read(NoXpdr), S_TIMEOUT);
}

TEST_F(FormLife, WithoutADesktopNothingIsKeptOfItsPlace) {
  Create();
  TheWorld().has_desktop = false;
  ReportOf([&] { zentrel->ReadXpdr(); });
  zentrel.reset();
  EXPECT_FALSE(TheWorld().registry.contains(kMaker + "Simulator"));
}

// --- Faults ---

TEST_F(FormLife, AFaultAtAClickIsReportedOnceAndEndsTheCommand) {
  struct Case {
    std::string subject;
    const char* procedure;
    std::function<void(FakeDialog&)> user;
  };
  for (const Case& test :
       {Case{kSimulatorKey, "cmdOK_Click", Ok}, Case{kSimulatorKey, "cmdNoXpdr_Click", NoXpdr},
        Case{"IDSources", "VersionedProp",
             [](FakeDialog& dialog) { dialog.Choose(DialogList::cboVersion, "4.0"); }},
        Case{"Encoder", "LoadMSI",
             [](FakeDialog& dialog) { dialog.Choose(DialogList::cboMIF, "[5] Register"); }},
        Case{"Ver", "LoadMIFVersions",
             [](FakeDialog& dialog) { dialog.Click(DialogCheck::chkSecondary); }}}) {
    SCOPED_TRACE(test.subject);
    Create();
    Read(NoXpdr);
    TheWorld().dialog_user = [&](FakeDialog& dialog) {
      FailAt(test.subject);
      test.user(dialog);
      EXPECT_FALSE(dialog.IsUp());
    };
    const ErrorReport report = ReportOf([&] { zentrel->ReadXpdr(); });
    EXPECT_EQ(report.ErrorNumber, 7);
    EXPECT_EQ(report.module, "frmZentrelSim");
    EXPECT_EQ(report.procedure, test.procedure);
    TheWorld().registry_fault = nullptr;
    EXPECT_EQ(zentrel->BoxStatus(), S_OKAY);
    EXPECT_EQ(Read(Ok), S_OKAY);
    zentrel.reset();
  }
}

TEST_F(FormLife, AfterAFaultAtTheDialogThePointerIsAnHourglassAsAfterEveryDialog) {
  Create();
  TheWorld().dialog_user = [](FakeDialog& dialog) {
    FailAt(kSimulatorKey);
    Ok(dialog);
  };
  ReportOf([&] { zentrel->ReadXpdr(); });
  TheWorld().registry_fault = nullptr;
  EXPECT_EQ(TheWorld().pointers, (std::vector{PointerShape::kArrow, PointerShape::kHourglass}));
}

TEST_F(FormLife, AFaultWhileTheStoredValuesAreShownIsReportedAndShowsNoDialog) {
  Create();
  FailAt("Util");
  const ErrorReport report = ReportOf([&] { zentrel->ReadXpdr(); });
  EXPECT_EQ(report.module, "frmZentrelSim");
  EXPECT_EQ(report.procedure, "ShowRead");
  EXPECT_EQ(TheWorld().dialogs_shown, 0);
  TheWorld().registry_fault = nullptr;
  EXPECT_EQ(Read(Ok), S_OKAY);
}

TEST_F(FormLife, AListIsReportedByItsSelection) {
  Create();
  for (const std::string selected : {"", "[0] Pulse"}) {
    int entered = 0;
    TheWorld().before_call = [&entered](const std::string& call) {
      if (call == "procedure" && ++entered == 3) throw std::bad_alloc();
    };
    const ErrorReport report = ReportOf([&] { zentrel->ReadXpdr(); });
    TheWorld().before_call = nullptr;
    EXPECT_EQ(report.procedure, "SelectByItemData");
    EXPECT_TRUE(report.parameters.starts_with("<list>{" + selected + "}</list>\r\n"))
        << report.parameters;
    Read([](FakeDialog& dialog) { dialog.Choose(DialogList::cboMIF, "[0] Pulse"); });
  }
}

TEST_F(FormLife, AFaultWhileItIsPlacedIsReportedAndTheNextShowWorks) {
  Create();
  FailAt(kMaker + "Simulator");
  EXPECT_EQ(ReportOf([&] { zentrel->ReadXpdr(); }).procedure, "Form_RestoreState");
  TheWorld().registry_fault = nullptr;
  EXPECT_EQ(Read(Ok), S_OKAY);
}

TEST_F(FormLife, TheReportShowsItsFieldsInTheirOrder) {
  Create();
  Read(NoZentrel);
  TheWorld().dialog_user = [](FakeDialog& dialog) {
    dialog.Choose(DialogList::cboMIF, "[5] Register");
    FailAt(kSimulatorKey);
    Ok(dialog);
  };
  const ErrorReport report = ReportOf([&] { zentrel->ReadXpdr(); });
  TheWorld().registry_fault = nullptr;
  EXPECT_EQ(report.module_variables, "<g_strKeyZentrelSim>" + kSimulatorKey +
                                         "</g_strKeyZentrelSim>\r\n"
                                         "<m_lngMIFsAvailable>3</m_lngMIFsAvailable>\r\n"
                                         "<m_lngSelectedMIF>5</m_lngSelectedMIF>\r\n"
                                         "<m_Status>1</m_Status>\r\n"
                                         "<m_NextStatus>1</m_NextStatus>\r\n");
}

TEST_F(FormLife, TheReportShowsMinusOneForAnInterfaceThatIsNotChosenAnyMore) {
  Create();
  TheWorld().dialog_user = [](FakeDialog& dialog) {
    dialog.Choose(DialogList::cboMIF, "[5] Register");
    dialog.Choose(DialogList::cboMIF, -1);
    FailAt(kSimulatorKey);
    NoXpdr(dialog);
  };
  const ErrorReport report = ReportOf([&] { zentrel->ReadXpdr(); });
  TheWorld().registry_fault = nullptr;
  EXPECT_NE(report.module_variables.find("<m_lngSelectedMIF>-1</m_lngSelectedMIF>"),
            std::string::npos)
      << report.module_variables;
}

TEST_F(FormLife, TheReportOfAVersionThatCannotBeLookedUpShowsWhatWasLookedFor) {
  StoreInterface(5, true);
  Create();
  TheWorld().dialog_user = [](FakeDialog& dialog) {
    FailAt("IDSources");
    dialog.Choose(DialogList::cboVersion, "4.0");
  };
  const ErrorReport report = ReportOf([&] { zentrel->ReadXpdr(); });
  TheWorld().registry_fault = nullptr;
  EXPECT_EQ(report.parameters, "<RegRootKey>" + InterfaceKey(5) +
                                   "</RegRootKey>\r\n<PropName>IDSources</PropName>\r\n"
                                   "<TargetVersion>4.0</TargetVersion>\r\n"
                                   "<Default>{Empty}</Default>\r\n");
}

// --- Creation that fails ---

TEST_F(FormLife, ACreationThatFailsWhileItIsLoadedIsUndone) {
  SetText(kBoxModes, "no number", "Odd");
  const ErrorReport report = ReportOf([&] { Create(); });
  EXPECT_EQ(report.procedure, "LoadSignatures");
  EXPECT_EQ(zentrel, nullptr);
  EXPECT_TRUE(TheWorld().open_keys.empty());
  EXPECT_TRUE(TheWorld().timers.empty());
  EXPECT_FALSE(TheWorld().registry.contains(kMaker + "Simulator"));
  TheWorld().registry[kBoxModes].erase("no number");
  Read([](FakeDialog& dialog) {
    EXPECT_EQ(dialog.Shown(DialogList::cboMIF).items.size(), 4U) << "nothing is in it twice";
    EXPECT_EQ(dialog.Shown(DialogList::cboSignature1).items.size(), 2U);
  });
}

TEST_F(FormLife, ACreationThatFailsElsewhereLeavesTheFormToTheOthers) {
  Create();
  Read([](FakeDialog& dialog) { dialog.Click(DialogCheck::chkEOL); });
  SetInterfaces(0, 15, 0);
  TheWorld().registry_fault = [](const std::string& call,
                                 const std::string&) -> std::optional<std::int32_t> {
    if (call == "RegQueryValueEx") throw std::bad_alloc();
    return std::nullopt;
  };
  ReportOf([] { Zentrel::Create(); });
  TheWorld().registry_fault = nullptr;
  Read([](FakeDialog& dialog) { EXPECT_TRUE(dialog.Shown(DialogCheck::chkEOL).ticked); });
  zentrel.reset();
  EXPECT_TRUE(TheWorld().registry.contains(kMaker + "Simulator")) << "the count is right";
}

TEST_F(FormLife, WithTheSwitchOffABadCatalogOfItsOwnHurtsNobody) {
  SetText(kBoxTypes, "no number", "Odd");
  Switch(false);
  Create();
  EXPECT_TRUE(TakeReports().empty());
}

}  // namespace
}  // namespace qmzentrel::tests
