// The lists of the simulator's form, filled from the catalogs, and the interlocks between meter
// interface, version and the two bits of the interface byte.
#include <algorithm>

#include "interface/catalogs.h"
#include "platform/number.h"
#include "simulator/frmZentrelSim.h"
#include "simulator/simulator_switch.h"
#include "simulator/simulator_values.h"
#include "support/conversion.h"
#include "support/modCOM_Registry.h"
#include "support/run_time_error.h"

namespace qmzentrel::simulator {
namespace {

using modCOM_Registry::RegEnumKeys;
using modCOM_Registry::RegGetValue;
using platform::DialogCheck;
using platform::DialogList;
using platform::kLocalMachine;

std::string ItemText(std::int32_t number, const std::string& name) {
  return "[" + platform::FormatNumber(number, "#0") + "] " + name;
}

std::string InterfaceKey(std::int32_t meter_interface) {
  return catalogs::kInterfacesKey + std::to_string(meter_interface);
}

// A property that is a number, however it is stored; nothing there is 0.
std::int32_t NumberOf(const Variant& value) {
  if (const auto* number = std::get_if<std::int32_t>(&value)) return *number;
  const auto* const text = std::get_if<std::string>(&value);
  if (text == nullptr) return 0;
  const auto number = NumericValue(*text);
  if (!number) RaiseError(kErrorTypeMismatch);
  return ToLong(*number);
}

std::string TextOf(const Variant& value) {
  if (const auto* number = std::get_if<std::int32_t>(&value)) return std::to_string(*number);
  const auto* const text = std::get_if<std::string>(&value);
  return text != nullptr ? *text : "";
}

}  // namespace

void frmZentrelSim::Form_Load() {
  ErrorFrame frame(Fields(), "Form_Load");
  frame.Run([&] {
    STEP g_strKeyZentrelSim = kSimulatorKey;
    STEP if (!SimulatorEnabled()) return;
    const auto adder = [this](DialogList list) {
      return [this, list](std::int32_t number, const std::string& name) {
        FormList(*this, list).AddItem(ItemText(number, name), number);
      };
    };
    STEP catalogs::OfferInterfaces(adder(DialogList::cboMIF));
    STEP catalogs::OfferIntervals(adder(DialogList::cboTXI));
    STEP LoadSignatures(0, catalogs::kBoxTypesKey);
    STEP LoadSignatures(1, catalogs::kBoxModesKey);
  });
}

void frmZentrelSim::LoadSignatures(std::int32_t index, const std::string& key) {
  std::vector<modCOM_Registry::Reg_KeyValues> values;
  const StructureArray shown_values;
  std::int32_t lngValue = 0;
  ErrorFrame frame(Fields(), "LoadSignatures", Parameters(NAMED(index), NAMED(key)),
                   Locals(NamedVariable<StructureArray>{"values", shown_values}, NAMED(lngValue)));
  frame.Run([&] {
    STEP FormList list(*this, index == 0 ? DialogList::cboSignature0 : DialogList::cboSignature1);
    STEP modCOM_Registry::RegEnumValues(kLocalMachine, key, values, false);
    STEP for (const auto& value : values) {
      STEP if (value.name.empty()) break;
      STEP lngValue = NumberOf("&H" + value.name);
      STEP list.AddItem(TextOf(value.data), lngValue);
    }
    STEP if (list.ListCount() > 0) list.ListIndex(0);
  });
}

void frmZentrelSim::cboMIF_Click() {
  ErrorFrame frame(Fields(), "cboMIF_Click");
  frame.Run([&] {
    const bool selected =
        content_.lists[static_cast<std::size_t>(DialogList::cboMIF)].selected >= 0;
    STEP m_lngSelectedMIF = selected ? MIF() : -1;
    STEP content_.ok_enabled = selected;
    STEP platform::RefreshSimulatorDialog();
    STEP RebuildLists();
  });
}

void frmZentrelSim::chkSecondary_Click() {
  ErrorFrame frame(Fields(), "chkSecondary_Click");
  frame.Run([&] { STEP RebuildLists(); });
}

// The lists decide the secondary box, and the box decides the lists: a catalog that contradicts
// itself would go round for ever.
void frmZentrelSim::RebuildLists() {
  const std::pair<std::int32_t, bool> state(m_lngSelectedMIF, MIFSelect());
  if (std::ranges::find(visited_, state) != visited_.end()) return;
  const bool outermost = visited_.empty();
  visited_.push_back(state);
  struct Ended {
    bool outermost;
    std::vector<std::pair<std::int32_t, bool>>& visited;
    ~Ended() {
      if (outermost) visited.clear();
    }
  } const ended{outermost, visited_};
  LoadMIFVersions();
  LoadMSI();
}

// Without the secondary bit a transponder reports through its primary interface, which is 0.
std::int32_t frmZentrelSim::ChosenInterface() const {
  return MIFSelect() ? m_lngSelectedMIF : 0;
}

void frmZentrelSim::LoadMIFVersions() {
  std::int32_t lngMIF = 0;
  std::vector<std::string> strKeys;
  std::vector<std::string> strVersions;
  ErrorFrame frame(Fields(), "LoadMIFVersions", Parameters(),
                   Locals(NAMED(lngMIF), NAMED(strKeys), NAMED(strVersions)));
  frame.Run([&] {
    STEP lngMIF = ChosenInterface();
    STEP if (RegEnumKeys(kLocalMachine, InterfaceKey(lngMIF), strKeys, false) == 0) return;
    STEP strVersions = catalogs::VersionsOf(lngMIF);
    STEP FormList versions(*this, DialogList::cboVersion);
    STEP versions.Clear();
    STEP for (const std::string& version : strVersions) {
      STEP versions.AddItem(version, 0);
    }
    STEP versions.ListIndex(versions.ListCount() - 1);
  });
}

void frmZentrelSim::cboVersion_Click() {
  std::string strKey;
  std::int32_t lngSources = 0;
  ErrorFrame frame(Fields(), "cboVersion_Click", Parameters(),
                   Locals(NAMED(strKey), NAMED(lngSources)));
  frame.Run([&] {
    STEP if (content_.lists[static_cast<std::size_t>(DialogList::cboVersion)].selected < 0) return;
    STEP strKey = InterfaceKey(m_lngSelectedMIF);
    STEP m_lngMIFsAvailable = NumberOf(VersionedProp(strKey, "MIF", XpdrVersion()));
    const bool primary = (m_lngMIFsAvailable & 1) != 0;
    const bool secondary = (m_lngMIFsAvailable & ~1) != 0;
    STEP Enable(DialogCheck::chkSecondary, primary == secondary);
    STEP if (primary != secondary) MIFSelect(secondary);
    STEP strKey = InterfaceKey(ChosenInterface());
    STEP lngSources = NumberOf(VersionedProp(strKey, "IDSources", XpdrVersion()));
    const bool one_source = ((lngSources & 1) != 0) != ((lngSources & 2) != 0);
    STEP Enable(DialogCheck::chkUserID, !one_source);
    STEP if (one_source) IDToggle(false);
  });
}

Variant frmZentrelSim::VersionedProp(const std::string& RegRootKey, const std::string& PropName,
                                     const std::string& TargetVersion,
                                     const std::optional<Variant>& Default) const {
  std::vector<std::string> strKeys;
  std::string strKey;
  std::int32_t lngIndex = 0;
  Variant vntValue;
  ErrorFrame frame(
      Fields(), "VersionedProp",
      Parameters(NAMED(RegRootKey), NAMED(PropName), NAMED(TargetVersion), NAMED(Default)),
      Locals(NAMED(strKeys), NAMED(strKey), NAMED(lngIndex), NAMED(vntValue)));
  return frame.Run([&] {
    STEP if (!TargetVersion.empty()) {
      STEP lngIndex = RegEnumKeys(kLocalMachine, RegRootKey, strKeys, true);
      // Letter by letter, as catalogs are made for it: "10.0" is below "4.0".
      STEP while (--lngIndex >= 0) {
        const std::string& version = strKeys[static_cast<std::size_t>(lngIndex)];
        STEP if (version > TargetVersion) continue;
        STEP strKey = RegRootKey;
        STEP strKey.append("\\").append(version);
        STEP if (RegGetValue(kLocalMachine, strKey, PropName, vntValue)) return vntValue;
      }
    }
    STEP RegGetValue(kLocalMachine, RegRootKey, PropName, vntValue, Default);
    STEP return vntValue;
  });
}

void frmZentrelSim::LoadMSI() {
  Variant vntEncoder = false;
  std::int32_t lngCode = 0;
  ErrorFrame frame(Fields(), "LoadMSI", Parameters(), Locals(NAMED(vntEncoder), NAMED(lngCode)));
  frame.Run([&] {
    STEP RegGetValue(kLocalMachine, InterfaceKey(m_lngSelectedMIF), "Encoder", vntEncoder,
                     Variant());
    STEP content_.tamper_caption = NumberOf(vntEncoder) != 0 ? "Status" : "Tamper";
    STEP const catalogs::MsiDescription msi = catalogs::MsiOf(ChosenInterface());
    STEP content_.msi_caption = msi.caption;
    STEP FormList list(*this, DialogList::cboMSI);
    STEP list.Clear();
    std::int64_t next = msi.range.first;
    STEP for (const std::string& name : msi.names) {
      lngCode = static_cast<std::int32_t>(next++);
      STEP list.AddItem(ItemText(lngCode, name), lngCode);
    }
    STEP platform::RefreshSimulatorDialog();
    STEP modCOM_CboLstHelpers::SelectByItemData(list, msi.preselected);
  });
}

}  // namespace qmzentrel::simulator
