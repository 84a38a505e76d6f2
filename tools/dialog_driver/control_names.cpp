#include "tools/dialog_driver/control_names.h"

#include <algorithm>

#include "platform/win32/simulator_dialog_controls.h"

namespace qmzentrel::dialog_driver {
namespace {

constexpr NamedControl kControls[] = {
    {L"cboMIF", ControlKind::kList, IDC_cboMIF},
    {L"cboVersion", ControlKind::kList, IDC_cboVersion},
    {L"chkSecondary", ControlKind::kCheck, IDC_chkSecondary},
    {L"udXpdr", ControlKind::kSpin, IDC_udXpdr},
    {L"udXpdrBox", ControlKind::kText, IDC_udXpdrBox},
    {L"chkUserID", ControlKind::kCheck, IDC_chkUserID},
    {L"chkEOL", ControlKind::kCheck, IDC_chkEOL},
    {L"udReading", ControlKind::kSpin, IDC_udReading},
    {L"udReadingBox", ControlKind::kText, IDC_udReadingBox},
    {L"lblTamper", ControlKind::kLabel, IDC_lblTamper},
    {L"udTamper", ControlKind::kSpin, IDC_udTamper},
    {L"udTamperBox", ControlKind::kText, IDC_udTamperBox},
    {L"udUtil", ControlKind::kSpin, IDC_udUtil},
    {L"udUtilBox", ControlKind::kText, IDC_udUtilBox},
    {L"cboTXI", ControlKind::kList, IDC_cboTXI},
    {L"lblMSI", ControlKind::kLabel, IDC_lblMSI},
    {L"cboMSI", ControlKind::kList, IDC_cboMSI},
    {L"udThreshold", ControlKind::kSpin, IDC_udThreshold},
    {L"udThresholdBox", ControlKind::kText, IDC_udThresholdBox},
    {L"cboSignature0", ControlKind::kList, IDC_cboSignature0},
    {L"cboSignature1", ControlKind::kList, IDC_cboSignature1},
    {L"txtZentrelVersion", ControlKind::kText, IDC_txtZentrelVersion},
    {L"txtBattery", ControlKind::kText, IDC_txtBattery},
    {L"lblNotice", ControlKind::kLabel, IDC_lblNotice},
    {L"cmdOK", ControlKind::kButton, IDC_cmdOK},
    {L"cmdNoXpdr", ControlKind::kButton, IDC_cmdNoXpdr},
    {L"cmdNoZentrel", ControlKind::kButton, IDC_cmdNoZentrel},
};

}  // namespace

std::span<const NamedControl> NamedControls() {
  return kControls;
}

const NamedControl* FindControl(std::wstring_view name) {
  const auto* const found = std::ranges::find(kControls, name, &NamedControl::name);
  return found == std::end(kControls) ? nullptr : found;
}

}  // namespace qmzentrel::dialog_driver
