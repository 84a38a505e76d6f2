// The dialog that plays the box: its lists, interlocks and stored values, and what its buttons mean
// to the command that shows it.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "interface/enumerations.h"
#include "platform/simulator_dialog.h"
#include "support/error_frame.h"
#include "support/modCOM_CboLstHelpers.h"
#include "support/modCOM_FormHelpers.h"
#include "support/variant.h"

namespace qmzentrel::simulator {

/// One per process, shared by all objects of the class. The controls keep what they hold from one
/// command to the next. A fault inside a procedure is reported once and leaves as kErrorReported.
class frmZentrelSim : private platform::DialogPresenter {
 public:
  frmZentrelSim() = default;
  frmZentrelSim(const frmZentrelSim&) = delete;
  frmZentrelSim& operator=(const frmZentrelSim&) = delete;

  /// Fills the lists if the switch is on; switched on later they stay empty.
  void Form_Load();
  /// Stores where the window stood, if it was ever shown.
  void Form_Unload();

  // --- Modal shows ---
  // Each returns when a button or the close box has hidden the dialog.

  /// With the stored values in the controls.
  void ShowRead();
  /// With what the controls hold.
  void ShowFactoryTest();
  void ShowWrite();

  /// What the simulated command in progress returns.
  ZentrelStatus CurrentStatus() const { return m_Status; }
  /// For a simulated Box Status, which shows nothing.
  void AdvanceStatus() { m_Status = m_NextStatus.load(); }

  // --- Values ---
  // A list without a selection reads as 0; a number that no entry has leaves the selection. A spin
  // takes the nearest value of its range.

  bool IDToggle() const { return Ticked(platform::DialogCheck::chkUserID); }
  void IDToggle(bool New_IDToggle) { Tick(platform::DialogCheck::chkUserID, New_IDToggle); }
  bool MIFSelect() const { return Ticked(platform::DialogCheck::chkSecondary); }
  void MIFSelect(bool New_MIFSelect) { Tick(platform::DialogCheck::chkSecondary, New_MIFSelect); }
  std::int32_t Util() const { return Spin(platform::DialogSpin::udUtil); }
  void Util(std::int32_t New_Util) { Spin(platform::DialogSpin::udUtil, New_Util); }
  std::int32_t Xpdr() const { return Spin(platform::DialogSpin::udXpdr); }
  void Xpdr(std::int32_t New_Xpdr) { Spin(platform::DialogSpin::udXpdr, New_Xpdr); }
  std::int32_t Reading() const { return Spin(platform::DialogSpin::udReading); }
  void Reading(std::int32_t New_Reading) { Spin(platform::DialogSpin::udReading, New_Reading); }
  std::int32_t Tamper() const { return Spin(platform::DialogSpin::udTamper); }
  void Tamper(std::int32_t New_Tamper) { Spin(platform::DialogSpin::udTamper, New_Tamper); }
  std::int32_t Threshold() const { return Spin(platform::DialogSpin::udThreshold); }
  void Threshold(std::int32_t New_Threshold) {
    Spin(platform::DialogSpin::udThreshold, New_Threshold);
  }
  std::int32_t MIF() const { return SelectedData(platform::DialogList::cboMIF); }
  void MIF(std::int32_t New_MIF) { SelectData(platform::DialogList::cboMIF, New_MIF); }
  std::int32_t MSI() const { return SelectedData(platform::DialogList::cboMSI); }
  void MSI(std::int32_t New_MSI) { SelectData(platform::DialogList::cboMSI, New_MSI); }
  std::int32_t TXI() const { return SelectedData(platform::DialogList::cboTXI); }
  void TXI(std::int32_t New_TXI) { SelectData(platform::DialogList::cboTXI, New_TXI); }

  /// The EOL state that a read reports.
  bool EOL() const { return Ticked(platform::DialogCheck::chkEOL); }
  /// Box type (0) and box mode (1).
  std::int32_t Signature(std::int32_t index) const;
  /// Version of the transponder as text.
  std::string XpdrVersion() const;
  /// As typed.
  const std::string& ZentrelVersion() const;
  /// As typed, with a dot for the user's decimal separator.
  std::string Battery() const;

  /// A property of a meter interface (`RegRootKey`) that each transponder version may give anew, as
  /// it is stored: the value of the last version up to `TargetVersion` that has it, else that of
  /// the interface, or `Default`.
  Variant VersionedProp(const std::string& RegRootKey, const std::string& PropName,
                        const std::string& TargetVersion,
                        const std::optional<Variant>& Default = std::nullopt) const;

  /// The fields in declared order, for the error report.
  std::string DumpFields() const;

 private:
  // One list of the dialog, for the helpers that fill and select.
  class FormList : public modCOM_CboLstHelpers::ItemList {
   public:
    FormList(frmZentrelSim& form, platform::DialogList list) : form_(form), list_(list) {}
    void Clear();
    void AddItem(const std::string& text, std::int32_t data);
    std::int32_t ListCount() const override;
    std::string List(std::int32_t index) const override;
    std::int32_t ItemData(std::int32_t index) const override;
    void ListIndex(std::int32_t index) override { form_.Select(list_, index); }
    std::string Dump(std::string_view name) const override;

   private:
    frmZentrelSim& form_;
    platform::DialogList list_;
  };

  // Lists and interlocks
  void LoadSignatures(std::int32_t index, const std::string& key);
  void cboMIF_Click();
  void chkSecondary_Click();
  void cboVersion_Click();
  void LoadMIFVersions();
  void LoadMSI();
  void RebuildLists();
  std::int32_t ChosenInterface() const;

  // Buttons and stored values
  void cmdOK_Click();
  void cmdNoXpdr_Click();
  void cmdNoZentrel_Click();
  void Answer(ZentrelStatus status, ZentrelStatus next_status);
  void Show(const char* caption);
  void ShowStoredValues();
  void ShowBoxTexts();
  void StoreBoxValues() const;

  // Controls
  void Select(platform::DialogList list, std::int32_t index);
  void SelectData(platform::DialogList list, std::int32_t data);
  std::int32_t SelectedData(platform::DialogList list) const;
  void Tick(platform::DialogCheck check, bool ticked);
  bool Ticked(platform::DialogCheck check) const;
  void Enable(platform::DialogCheck check, bool enabled);
  void Spin(platform::DialogSpin spin, std::int32_t value);
  std::int32_t Spin(platform::DialogSpin spin) const;

  // DialogPresenter
  void Placing(platform::WindowPlace& place) override;
  void ListChosen(platform::DialogList list, std::int32_t index) override { Select(list, index); }
  void CheckClicked(platform::DialogCheck check, bool ticked) override { Tick(check, ticked); }
  void SpinTurned(platform::DialogSpin spin, std::int32_t value) override { Spin(spin, value); }
  void TextTyped(platform::DialogText text, const std::string& typed) override;
  void ButtonPressed(platform::DialogButton button) override;
  void Hiding(const platform::WindowPlace& place) override;

  ModuleFields fields_ = FieldsOf("frmZentrelSim", this);

  // In the order in which the error report shows them.
  std::string g_strKeyZentrelSim;
  std::int32_t m_lngMIFsAvailable = 0;
  std::int32_t m_lngSelectedMIF = 0;
  std::atomic<ZentrelStatus> m_Status = S_OKAY;
  std::atomic<ZentrelStatus> m_NextStatus = S_OKAY;

  platform::DialogContent content_ = EmptyContent();
  // States that the interlocks have been in since the click that they follow from.
  std::vector<std::pair<std::int32_t, bool>> visited_;
  bool box_texts_shown_ = false;
  std::optional<modCOM_FormHelpers::FormWindow> window_;  // once it was shown

  static platform::DialogContent EmptyContent();
};

/// Keeps the one form loaded; every object of the class has one. The first loads it, the last
/// unloads it. Raises what Form_Load raises.
class LoadedForm {
 public:
  LoadedForm();
  ~LoadedForm();
  LoadedForm(const LoadedForm&) = delete;
  LoadedForm& operator=(const LoadedForm&) = delete;
};

/// One simulated command's use of the form, from the values it puts in to those it takes out. Error
/// 400 while another command, of whatever object or apartment, uses it. Only while it is loaded.
class FormUse {
 public:
  FormUse();
  ~FormUse();
  FormUse(const FormUse&) = delete;
  FormUse& operator=(const FormUse&) = delete;

  frmZentrelSim& operator*() const { return form_; }
  frmZentrelSim* operator->() const { return &form_; }

 private:
  frmZentrelSim& form_;
};

/// The form for a command that shows nothing: its statuses may be used at any time.
frmZentrelSim& SharedForm();

}  // namespace qmzentrel::simulator
