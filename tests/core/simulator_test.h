// A client whose commands are answered by the simulator's dialog, with catalogs to fill its lists.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "simulator/frmZentrelSim.h"
#include "simulator/simulator_values.h"
#include "tests/core/catalog_writer.h"
#include "tests/core/core_test.h"
#include "tests/fakes/fake_dialog.h"

namespace qmzentrel::tests {

using fakes::FakeDialog;
using platform::DialogButton;
using platform::DialogCheck;
using platform::DialogList;
using platform::DialogSpin;
using platform::DialogText;

using DialogUser = std::function<void(FakeDialog& dialog)>;

inline const std::string kBoxTypes = kMaker + "Zentrel\\Types";
inline const std::string kBoxModes = kMaker + "Zentrel\\Modes";
inline const std::string kKernel = kMaker + "Kernel";

/// One version of an interface, as installers name its key.
inline void SetVersion(std::int32_t meter_interface, const std::string& version) {
  SetText(InterfaceKey(meter_interface) + '\\' + version, "Ver", version);
}

/// Interfaces 0, 5, 7 (an encoder) and 15 (without a name), whose versions and interface bits leave
/// all to the user; intervals 0 to 3; three box types and two box modes; code names of interface 0.
inline void InstallSimulatorCatalogs() {
  SetInterfaces(0, 15, 1 << 0 | 1 << 5 | 1 << 7 | 1 << 15);
  SetName(kInterfaces, 0, "Pulse");
  SetName(kInterfaces, 5, "Register");
  SetName(kInterfaces, 6, "not offered");
  SetName(kInterfaces, 7, "Encoder meter");
  for (const std::int32_t meter_interface : {0, 5, 7, 15}) {
    SetNumber(InterfaceKey(meter_interface), "MIF", 3);
    SetNumber(InterfaceKey(meter_interface), "IDSources", 3);
    SetVersion(meter_interface, "4.0");
  }
  SetVersion(0, "5.0");
  SetVersion(0, "8.0");
  SetVersion(5, "9.0");
  SetVersion(7, "2.0");
  SetNumber(InterfaceKey(7), "Encoder", 1);

  SetRange(kIntervals, 0, 3);
  SetText(kIntervals, "0", "5 s");
  SetText(kIntervals, "1", "1 min");
  SetText(kIntervals, "3", "1 h");

  SetText(kBoxTypes, "A5", "Short supply");
  SetText(kBoxTypes, "A6", "Electric");
  SetText(kBoxTypes, "1A", "Bench");
  SetText(kBoxModes, "0", "Normal");
  SetText(kBoxModes, "2", "Fast");

  SetText(InterfaceKey(0), "MSI", "Plain");
  SetText(kKernel + "\\Plain", "Caption", "Leakage");
  SetRange(kKernel + "\\Plain", 1, 3);
  SetNumber(kKernel + "\\Plain", "Default", 2);
  SetText(kKernel + "\\Plain", "1", "low");
  SetText(kKernel + "\\Plain", "2", "medium");
}

class SimulatorTest : public CoreTest {
 protected:
  static constexpr std::int32_t kPort = 7;

  void SetUp() override {
    CoreTest::SetUp();
    simulator::ForgetUnsavedSimulatorValues();
    InstallSimulatorCatalogs();
    Switch(true);
    TheWorld().ports[kPort];
  }

  void TearDown() override {
    zentrel.reset();
    simulator::ForgetUnsavedSimulatorValues();
    CoreTest::TearDown();
  }

  static void Switch(bool on) { SetNumber(kSimulatorKey, "", on ? -1 : 0); }

  /// A first object, which loads the form, once the test has written its catalogs.
  void Create() {
    zentrel = Zentrel::Create();
    TheWorld().TakeJournal();
  }

  /// Commands with this user at the dialog.
  ZentrelStatus Read(const DialogUser& user) { return Run(user, &Zentrel::ReadXpdr); }
  ZentrelStatus Reset(const DialogUser& user) { return Run(user, &Zentrel::ResetXpdr); }
  ZentrelStatus Write(const DialogUser& user) { return Run(user, &Zentrel::WriteXpdr); }
  ZentrelStatus Run(const DialogUser& user, ZentrelStatus (Zentrel::*command)()) {
    if (!zentrel) Create();
    const int before = TheWorld().dialogs_shown;
    TheWorld().dialog_user = user;
    const ZentrelStatus status = (zentrel.get()->*command)();
    EXPECT_EQ(TheWorld().dialogs_shown, before + 1);
    return status;
  }

  /// What a Read shows; the dialog is closed by its close box.
  platform::DialogContent ShownByRead() {
    platform::DialogContent shown;
    Read([&](FakeDialog& dialog) { shown = dialog.Shown(); });
    return shown;
  }

  /// A Read with an interface and the state of the secondary box, as stored.
  void StoreInterface(std::int32_t meter_interface, bool secondary) {
    SetNumber(kSimulatorKey, "MIF", meter_interface | (secondary ? 32 : 0));
  }

  static void Ok(FakeDialog& dialog) { dialog.Press(DialogButton::cmdOK); }
  static void NoXpdr(FakeDialog& dialog) { dialog.Press(DialogButton::cmdNoXpdr); }
  static void NoZentrel(FakeDialog& dialog) { dialog.Press(DialogButton::cmdNoZentrel); }
  static void CloseBox(FakeDialog& dialog) { dialog.CloseBox(); }

  std::string Field(const std::string& name) const { return tests::Field(*zentrel, name); }

  // --- What is stored under the simulator's key ---

  using StoredValues = std::map<std::string, std::pair<std::uint32_t, std::string>>;
  static StoredValues Stored() {
    StoredValues stored;
    for (const auto& [name, value] : TheWorld().registry[kSimulatorKey]) {
      stored[name] = {value.type, value.bytes};
    }
    return stored;
  }
  static std::pair<std::uint32_t, std::string> Number(std::int32_t number) {
    std::string bytes;
    const auto bits = static_cast<std::uint32_t>(number);
    for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(bits >> shift & 0xFF);
    return {4, bytes};
  }
  static std::pair<std::uint32_t, std::string> Text(const std::string& text) {
    return {1, text + '\0'};
  }

  /// What a list shows.
  static Texts TextsOf(const platform::DialogContent::List& list) {
    Texts texts;
    for (const platform::DialogItem& item : list.items) texts.push_back(item.text);
    return texts;
  }

  template <class Array, class Name>
  static const auto& At(const Array& array, Name name) {
    return array.at(static_cast<std::size_t>(name));
  }

  std::shared_ptr<Zentrel> zentrel;
};

}  // namespace qmzentrel::tests
