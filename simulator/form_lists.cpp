// The lists of the simulator's form, filled from the catalogs, and the interlocks between meter
// interface, version and the two bits of the interface byte.
#include <algorithm>

#include "interface/catalog_layout.h"
#include "interface/catalogs.h"
#include "interface/mif_catalog.h"
#include "interface/msi_catalog.h"
#include "interface/signatures.h"
#include "platform/number.h"
#include "simulator/frmZentrelSim.h"
#include "simulator/simulator_switch.h"
#include "simulator/simulator_values.h"
#include "support/modCOM_Registry.h"
#include "support/run_time_error.h"

namespace qmzentrel::simulator {
namespace {

using catalogs::InterfaceKey;
using catalogs::InterfaceUse;
using catalogs::PropertyNumber;
using modCOM_Registry::RegEnumKeys;
using platform::DialogCheck;
using platform::DialogList;
using platform::kLocalMachine;
namespace value_name = catalogs::value_name;

std::string ItemText(std::int32_t number, const std::string& name) {
  return "[" + platform::FormatNumber(number, "#0") + "] " + name;
}

}  // namespace

void frmZentrelSim::Form_Load() {
  ErrorFrame frame(fields_, "Form_Load");
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
  ErrorFrame frame(fields_, "LoadSignatures", PARAMETERS(index, key),
                   Variables("values, lngValue", shown_values, lngValue));
  frame.Run([&] {
    STEP FormList list(*this, index == 0 ? DialogList::cboSignature0 : DialogList::cboSignature1);
    STEP modCOM_Registry::RegEnumValues(kLocalMachine, key, values, false);
    STEP for (const auto& value : values) {
      STEP const auto number = catalogs::SignatureNumber(value.name);
      STEP if (!number) RaiseError(kErrorTypeMismatch);
      STEP lngValue = *number;
      STEP list.AddItem(catalogs::SignatureText(value.data), lngValue);
    }
    STEP if (list.ListCount() > 0) list.ListIndex(0);
  });
}

void frmZentrelSim::cboMIF_Click() {
  ErrorFrame frame(fields_, "cboMIF_Click");
  frame.Run([&] {
    const bool selected = content_.Of(DialogList::cboMIF).selected >= 0;
    STEP m_lngSelectedMIF = selected ? MIF() : -1;
    STEP content_.ok_enabled = selected;
    STEP platform::RefreshSimulatorDialog();
    STEP RebuildLists();
  });
}

void frmZentrelSim::chkSecondary_Click() {
  ErrorFrame frame(fields_, "chkSecondary_Click");
  frame.Run([&] { STEP RebuildLists(); });
}

// The lists decide the secondary box, and the box decides the lists. A catalog that contradicts
// itself would send them round for ever, so they stop at a state in which they have been.
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

std::int32_t frmZentrelSim::ChosenInterface() const {
  return catalogs::InterfaceInUse(m_lngSelectedMIF, MIFSelect());
}

void frmZentrelSim::LoadMIFVersions() {
  std::int32_t lngMIF = 0;
  std::vector<std::string> strKeys;
  std::vector<std::string> strVersions;
  ErrorFrame frame(fields_, "LoadMIFVersions", PARAMETERS(), LOCALS(lngMIF, strKeys, strVersions));
  frame.Run([&] {
    STEP lngMIF = ChosenInterface();
    STEP if (RegEnumKeys(kLocalMachine, InterfaceKey(lngMIF), strKeys, false) == 0) return;
    STEP strVersions = catalogs::VersionsOf(lngMIF, strKeys);
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
  ErrorFrame frame(fields_, "cboVersion_Click", PARAMETERS(), LOCALS(strKey, lngSources));
  frame.Run([&] {
    STEP if (content_.Of(DialogList::cboVersion).selected < 0) return;
    STEP strKey = InterfaceKey(m_lngSelectedMIF);
    STEP m_lngMIFsAvailable =
        PropertyNumber(VersionedProp(strKey, value_name::kMif, XpdrVersion()));
    const auto use = catalogs::AllowedUse(m_lngMIFsAvailable);
    const bool either = use == InterfaceUse::kEither;
    STEP Enable(DialogCheck::chkSecondary, either);
    STEP if (!either) MIFSelect(use == InterfaceUse::kSecondaryOnly);
    STEP strKey = InterfaceKey(ChosenInterface());
    STEP lngSources = PropertyNumber(VersionedProp(strKey, value_name::kIdSources, XpdrVersion()));
    const bool one_source = catalogs::HasOneIdSource(lngSources);
    STEP Enable(DialogCheck::chkUserID, !one_source);
    STEP if (one_source) IDToggle(false);
  });
}

Variant frmZentrelSim::VersionedProp(const std::string& RegRootKey, const std::string& PropName,
                                     const std::string& TargetVersion,
                                     const std::optional<Variant>& Default) const {
  catalogs::VersionedLookup lookup;
  const auto& [strKeys, strKey, lngIndex, vntValue] = lookup;
  ErrorFrame frame(fields_, "VersionedProp",
                   PARAMETERS(RegRootKey, PropName, TargetVersion, Default),
                   LOCALS(strKeys, strKey, lngIndex, vntValue));
  return frame.Run([&] { STEP return lookup.Find(RegRootKey, PropName, TargetVersion, Default); });
}

void frmZentrelSim::LoadMSI() {
  Variant vntEncoder = false;
  std::int32_t lngCode = 0;
  ErrorFrame frame(fields_, "LoadMSI", PARAMETERS(), LOCALS(vntEncoder, lngCode));
  frame.Run([&] {
    STEP vntEncoder = catalogs::EncoderOf(m_lngSelectedMIF);
    STEP content_.tamper_caption = PropertyNumber(vntEncoder) != 0 ? "Status" : "Tamper";
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
