// The controls of the simulator's form: what they hold and how programs and users change them.
#include <algorithm>

#include "platform/number.h"
#include "simulator/frmZentrelSim.h"
#include "support/run_time_error.h"

namespace qmzentrel::simulator {
namespace {

using platform::DialogCheck;
using platform::DialogList;
using platform::DialogSpin;
using platform::DialogText;

// Ranges of the transponder's fields.
constexpr std::int32_t kMaxByte = 0xFF;
constexpr std::int32_t kMax24Bit = 0xFFFFFF;

}  // namespace

platform::DialogContent frmZentrelSim::EmptyContent() {
  platform::DialogContent content;
  content.msi_caption = "MSI";
  content.tamper_caption = "Tamper";
  for (auto& spin : content.spins) spin.maximum = kMaxByte;
  content.Of(DialogSpin::udXpdr).maximum = kMax24Bit;
  content.Of(DialogSpin::udReading).maximum = kMax24Bit;
  return content;
}

// --- Lists ---

void frmZentrelSim::FormList::Clear() {
  form_.content_.Of(list_) = {};
}

void frmZentrelSim::FormList::AddItem(const std::string& text, std::int32_t data) {
  form_.content_.Of(list_).items.push_back({text, data});
}

std::int32_t frmZentrelSim::FormList::ListCount() const {
  return static_cast<std::int32_t>(form_.content_.Of(list_).items.size());
}

std::string frmZentrelSim::FormList::List(std::int32_t index) const {
  return form_.content_.Of(list_).items.at(static_cast<std::size_t>(index)).text;
}

std::int32_t frmZentrelSim::FormList::ItemData(std::int32_t index) const {
  return form_.content_.Of(list_).items.at(static_cast<std::size_t>(index)).data;
}

// The report shows a list by its default member, the selected text.
std::string frmZentrelSim::FormList::Dump(std::string_view name) const {
  return DumpDefault(name, [this] {
    const std::int32_t selected = form_.content_.Of(list_).selected;
    return selected < 0 ? std::string() : List(selected);
  });
}

// Selecting by program is followed by the same procedures as the user's own choice.
void frmZentrelSim::Select(DialogList list, std::int32_t index) {
  content_.Of(list).selected = index;
  platform::RefreshSimulatorDialog();
  if (list == DialogList::cboMIF) cboMIF_Click();
  if (list == DialogList::cboVersion) cboVersion_Click();
}

void frmZentrelSim::SelectData(DialogList list, std::int32_t data) {
  FormList entries(*this, list);
  modCOM_CboLstHelpers::SelectByItemData(entries, data);
}

std::int32_t frmZentrelSim::SelectedData(DialogList list) const {
  const auto& entries = content_.Of(list);
  if (entries.selected < 0) return 0;
  return entries.items.at(static_cast<std::size_t>(entries.selected)).data;
}

std::int32_t frmZentrelSim::Signature(std::int32_t index) const {
  return SelectedData(index == 0 ? DialogList::cboSignature0 : DialogList::cboSignature1);
}

std::string frmZentrelSim::XpdrVersion() const {
  const auto& versions = content_.Of(DialogList::cboVersion);
  if (versions.selected < 0) return "";
  return versions.items.at(static_cast<std::size_t>(versions.selected)).text;
}

// --- Check boxes ---

void frmZentrelSim::Tick(DialogCheck check, bool ticked) {
  bool& present = content_.Of(check).ticked;
  if (present == ticked) return;  // which is no click
  present = ticked;
  platform::RefreshSimulatorDialog();
  if (check == DialogCheck::chkSecondary) chkSecondary_Click();
}

bool frmZentrelSim::Ticked(DialogCheck check) const {
  return content_.Of(check).ticked;
}

void frmZentrelSim::Enable(DialogCheck check, bool enabled) {
  content_.Of(check).enabled = enabled;
  platform::RefreshSimulatorDialog();
}

// --- Spins ---
// Programs set them only before the dialog shows what they hold.

void frmZentrelSim::Spin(DialogSpin spin, std::int32_t value) {
  auto& control = content_.Of(spin);
  control.value = std::clamp(value, 0, control.maximum);
}

std::int32_t frmZentrelSim::Spin(DialogSpin spin) const {
  return content_.Of(spin).value;
}

// --- Texts ---

void frmZentrelSim::TextTyped(DialogText text, const std::string& typed) {
  content_.Of(text) = typed;
}

const std::string& frmZentrelSim::ZentrelVersion() const {
  return content_.Of(DialogText::txtZentrelVersion);
}

std::string frmZentrelSim::Battery() const {
  std::string text = content_.Of(DialogText::txtBattery);
  const std::string separator = platform::UserDecimalSeparator();
  const std::size_t place = separator.empty() ? std::string::npos : text.find(separator);
  if (place != std::string::npos) text.replace(place, separator.size(), ".");
  return text;
}

}  // namespace qmzentrel::simulator
