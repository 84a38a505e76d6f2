// What the controls of the simulator's dialog show.
#pragma once

#include <windows.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/simulator_dialog.h"
#include "platform/win32/caption_tips.h"
#include "platform/win32/scrolled_window.h"
#include "platform/win32/simulator_dialog_controls.h"

namespace qmzentrel::platform {

/// The controls by the enumerations of the seam.
inline constexpr std::array<int, kDialogLists> kListControls = {
    IDC_cboMIF, IDC_cboVersion, IDC_cboTXI, IDC_cboMSI, IDC_cboSignature0, IDC_cboSignature1};
inline constexpr std::array<int, kDialogChecks> kCheckControls = {IDC_chkUserID, IDC_chkSecondary,
                                                                  IDC_chkEOL};
inline constexpr std::array<int, kDialogSpins> kSpinBoxes = {
    IDC_udXpdrBox, IDC_udReadingBox, IDC_udTamperBox, IDC_udUtilBox, IDC_udThresholdBox};
inline constexpr std::array<int, kDialogTexts> kTextControls = {IDC_txtZentrelVersion,
                                                                IDC_txtBattery};
inline constexpr std::array<int, 3> kButtonControls = {IDC_cmdOK, IDC_cmdNoXpdr, IDC_cmdNoZentrel};

/// Brings content into the controls, and tells nobody. While it does so the controls notify the
/// dialog as if the user had done it: see IsShowing.
class DialogView {
 public:
  /// Once the window has been made, and before anything is shown.
  void Begin(HWND window);

  void Show(const DialogContent& content);
  bool IsShowing() const { return showing_; }

  /// Where the window is too small for its controls, it scrolls.
  ScrolledWindow& Scrolled() { return scrolled_; }

  HWND Control(int id) const { return GetDlgItem(window_, id); }

  /// The number that the box of a spin has come to; what is beyond its range is shown as its end.
  /// The one shown before when the box is empty or holds anything but digits.
  std::int32_t TakeTyped(std::size_t spin);
  std::int32_t ShownNumber(std::size_t spin) const { return shown_spins_[spin].value; }
  /// Puts the number of a spin into its box, whatever stands there.
  void SettleSpin(std::size_t spin);

 private:
  WindowPlace PlaceOfControl(int id) const;
  void AlignBoxes();
  void ShowList(std::size_t list, const DialogContent::List& wanted);
  void ShowCheck(std::size_t check, const DialogContent::Check& wanted);
  void ShowSpin(std::size_t spin, const DialogContent::Spin& wanted);
  void ShowNotice(const std::string& text);
  void Enable(HWND control, bool enabled);

  HWND window_ = nullptr;
  CaptionTips tips_;
  ScrolledWindow scrolled_;
  bool showing_ = false;
  bool notice_shown_ = false;
  std::array<std::vector<DialogItem>, kDialogLists> shown_items_;
  std::array<DialogContent::Spin, kDialogSpins> shown_spins_;
};

}  // namespace qmzentrel::platform
