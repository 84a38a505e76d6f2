// Each procedure of the simulator's form fails once.
#include "tests/core/fault_report.h"
#include "tests/core/simulator_test.h"

namespace qmzentrel::tests {
namespace {

constexpr const char* kModule = "frmZentrelSim";

class SimulatorFaults : public FaultTest<SimulatorTest> {
 protected:
  /// Reads with this user at the dialog, who runs into a fault.
  void ExpectReportAtDialog(const DialogUser& user, const ExpectedReport& expected) {
    Create();
    TheWorld().dialog_user = user;
    ExpectReport([this] { zentrel->ReadXpdr(); }, expected);
    EXPECT_EQ(TheWorld().dialogs_shown, 1);
  }
};

// --- The life of the form ---

TEST_F(SimulatorFaults, Form_LoadIsReportedWhole) {
  SetInterfaces(0, 31, 0);
  ExpectReport([this] { Create(); }, {kOverflow, kModule, "catalogs::OfferInterfaces(", "", ""});
}

TEST_F(SimulatorFaults, Form_UnloadIsReportedWhole) {
  simulator::frmZentrelSim form;
  FailAtEntry();
  ExpectReport([&] { form.Form_Unload(); }, {kStackOverflow, kModule, kBeforeTheFirstLine, "", ""});
}

// --- Lists ---

TEST_F(SimulatorFaults, LoadSignaturesIsReportedWhole) {
  SetText(kBoxModes, "no number", "Odd");
  ExpectReport([this] { Create(); },
               {kTypeMismatch, kModule, "RaiseError(kErrorTypeMismatch)",
                Shown("index", 1) + Shown("key", kBoxModes),
                Shown("values", "{Cannot dump UDT arrays}") + Shown("lngValue", 2)});
}

TEST_F(SimulatorFaults, cboMIF_ClickIsReportedWhole) {
  ExpectReportAtDialog(
      [](FakeDialog& dialog) {
        constexpr int kAfterTheChoiceItself = 2;
        FailIn("RefreshSimulatorDialog", ViolateAccess, kAfterTheChoiceItself);
        dialog.Choose(DialogList::cboMIF, "[5] Register");
      },
      {kAccessViolation, kModule, "platform::RefreshSimulatorDialog()", "", ""});
}

TEST_F(SimulatorFaults, chkSecondary_ClickIsReportedWhole) {
  ExpectReportAtDialog(
      [](FakeDialog& dialog) {
        constexpr int kAfterTheDialogItself = 2;
        FailAtEntry(kAfterTheDialogItself);
        dialog.Click(DialogCheck::chkSecondary);
      },
      {kStackOverflow, kModule, kBeforeTheFirstLine, "", ""});
}

TEST_F(SimulatorFaults, LoadMIFVersionsIsReportedWhole) {
  StoreInterface(5, true);
  ExpectReportAtDialog(
      [](FakeDialog& dialog) {
        RunOutOfMemoryInRegistry("RegEnumKeyEx", "2");
        dialog.Click(DialogCheck::chkSecondary);
      },
      {kOutOfMemory, kModule, "RegEnumKeys(kLocalMachine, InterfaceKey(lngMIF)", "",
       Shown("lngMIF", 0) + ShownTexts("strKeys", {"4.0", "5.0"}) +
           Shown("strVersions", "{UnInitialised Array}")});
}

// What they hold by then.
class SimulatorListFaults : public SimulatorFaults {};

TEST_F(SimulatorListFaults, LoadSignaturesIsReportedWhole) {
  RunOutOfMemoryInRegistry("RegOpenKeyEx", kBoxTypes);
  ExpectReport([this] { Create(); },
               {kOutOfMemory, kModule, "RegEnumValues(kLocalMachine, key, values, false)",
                Shown("index", 0) + Shown("key", kBoxTypes),
                Shown("values", "{Cannot dump UDT arrays}") + Shown("lngValue", 0)});
}

TEST_F(SimulatorListFaults, LoadMIFVersionsIsReportedWhole) {
  StoreInterface(5, true);
  SetVersion(0, "10.0");
  ExpectReportAtDialog(
      [](FakeDialog& dialog) {
        RunOutOfMemoryInRegistry("RegQueryValueEx", "Ver");
        dialog.Click(DialogCheck::chkSecondary);
      },
      {kOutOfMemory, kModule, "strVersions = catalogs::VersionsOf(lngMIF, strKeys)", "",
       Shown("lngMIF", 0) + ShownTexts("strKeys", {"10.0", "4.0", "5.0", "8.0"}) +
           Shown("strVersions", "{UnInitialised Array}")});
}

class SimulatorEntryFaults : public SimulatorFaults {};

TEST_F(SimulatorEntryFaults, LoadMIFVersionsIsReportedWhole) {
  ExpectReportAtDialog(
      [](FakeDialog& dialog) {
        constexpr int kAfterTheDialogItselfAndTheClick = 3;
        FailAtEntry(kAfterTheDialogItselfAndTheClick);
        dialog.Click(DialogCheck::chkSecondary);
      },
      {kStackOverflow, kModule, kBeforeTheFirstLine, "",
       Shown("lngMIF", 0) + Shown("strKeys", "{UnInitialised Array}") +
           Shown("strVersions", "{UnInitialised Array}")});
}

TEST_F(SimulatorFaults, cboVersion_ClickIsReportedWhole) {
  StoreInterface(5, true);
  ExpectReportAtDialog(
      [](FakeDialog& dialog) {
        SetText(InterfaceKey(5), "IDSources", "both");
        dialog.Choose(DialogList::cboVersion, "4.0");
      },
      {kTypeMismatch, kModule, "PropertyNumber(VersionedProp(strKey, value_name::kIdSources", "",
       Shown("strKey", InterfaceKey(5)) + Shown("lngSources", 0)});
}

TEST_F(SimulatorFaults, VersionedPropIsReportedWhole) {
  StoreInterface(5, true);
  ExpectReportAtDialog(
      [](FakeDialog& dialog) {
        RunOutOfMemoryInRegistry("RegQueryValueEx", "IDSources");
        dialog.Choose(DialogList::cboVersion, "9.0");
      },
      {kOutOfMemory, kModule, "lookup.Find(RegRootKey, PropName",
       Shown("RegRootKey", InterfaceKey(5)) + Shown("PropName", "IDSources") +
           Shown("TargetVersion", "9.0") + Shown("Default", "{Empty}"),
       ShownTexts("strKeys", {"4.0", "9.0"}) + Shown("strKey", InterfaceKey(5) + "\\9.0") +
           Shown("lngIndex", 1) + Shown("vntValue", "{Empty}")});
}

TEST_F(SimulatorFaults, LoadMSIIsReportedWhole) {
  ExpectReportAtDialog(
      [](FakeDialog& dialog) {
        RunOutOfMemoryInRegistry("RegQueryValueEx", "Encoder");
        dialog.Choose(DialogList::cboMIF, "[5] Register");
      },
      {kOutOfMemory, kModule, "catalogs::EncoderOf(", "",
       Shown("vntEncoder", false) + Shown("lngCode", 0)});
}

TEST_F(SimulatorFaults, SelectByItemDataIsReportedWhole) {
  Read(CloseBox);
  constexpr int kAfterTheCommandAndTheShow = 3;
  FailAtEntry(kAfterTheCommandAndTheShow);
  ExpectReport([this] { zentrel->ReadXpdr(); },
               {kStackOverflow, "modCOM_CboLstHelpers", kBeforeTheFirstLine,
                Shown("list", "{[15] Unknown}") + Shown("lngData", 15),
                Shown("lngIndex", 0) + Shown("lngCount", 0)});
}

// --- Shows ---

TEST_F(SimulatorFaults, ShowReadIsReportedWhole) {
  Create();
  RunOutOfMemoryInRegistry("RegQueryValueEx", "Util");
  ExpectReport([this] { zentrel->ReadXpdr(); },
               {kOutOfMemory, kModule, "ShowStoredValues()", "", ""});
}

TEST_F(SimulatorFaults, ShowFactoryTestIsReportedWhole) {
  Create();
  TheWorld().has_desktop = false;
  ExpectReport([this] { zentrel->ResetXpdr(); },
               {{5, "The simulator needs a desktop to show its window"},
                kModule,
                "Show(\"Zentrel Simulator - Factory Test\")",
                "",
                ""});
}

TEST_F(SimulatorFaults, ShowWriteIsReportedWhole) {
  Create();
  RunOutOfMemoryInRegistry("RegQueryValueEx", "Battery");
  ExpectReport([this] { zentrel->WriteXpdr(); },
               {kOutOfMemory, kModule, "Show(\"Zentrel Simulator - Write\")", "", ""});
}

// --- Buttons ---

TEST_F(SimulatorFaults, cmdOK_ClickIsReportedWhole) {
  ExpectReportAtDialog(
      [](FakeDialog& dialog) {
        RunOutOfMemoryInRegistry("RegSetValueEx", "Util");
        Ok(dialog);
      },
      {kOutOfMemory, kModule, "WriteSimulatorValue(\"Util\", Util())", "", ""});
}

TEST_F(SimulatorFaults, cmdNoXpdr_ClickIsReportedWhole) {
  ExpectReportAtDialog(
      [](FakeDialog& dialog) {
        RunOutOfMemoryInRegistry("RegSetValueEx", "Version");
        NoXpdr(dialog);
      },
      {kOutOfMemory, kModule, "StoreBoxValues()", "", ""});
}

TEST_F(SimulatorFaults, cmdNoZentrel_ClickIsReportedWhole) {
  ExpectReportAtDialog(
      [](FakeDialog& dialog) {
        FailIn("HideSimulatorDialog", ViolateAccess);
        NoZentrel(dialog);
      },
      {kAccessViolation, kModule, "Answer(S_TIMEOUT, S_TIMEOUT)", "", ""});
}

}  // namespace
}  // namespace qmzentrel::tests
