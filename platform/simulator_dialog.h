// The dialog that stands for the box: a passive window over the content that its presenter owns.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/desktop.h"

namespace qmzentrel::platform {

enum class DialogList { cboMIF, cboVersion, cboTXI, cboMSI, cboSignature0, cboSignature1 };
inline constexpr std::size_t kDialogLists = 6;

enum class DialogCheck { chkUserID, chkSecondary, chkEOL };
inline constexpr std::size_t kDialogChecks = 3;

enum class DialogSpin { udXpdr, udReading, udTamper, udUtil, udThreshold };
inline constexpr std::size_t kDialogSpins = 5;

enum class DialogText { txtZentrelVersion, txtBattery };
inline constexpr std::size_t kDialogTexts = 2;

enum class DialogButton { cmdOK, cmdNoXpdr, cmdNoZentrel };

/// An entry of a list. `data` goes into the window as well, for programs that drive it.
struct DialogItem {
  std::string text;
  std::int32_t data = 0;
  bool operator==(const DialogItem&) const = default;
};

/// Everything that the dialog shows. Text is UTF-8.
struct DialogContent {
  struct List {
    std::vector<DialogItem> items;
    std::int32_t selected = -1;  ///< -1: none
  };
  struct Check {
    bool ticked = false;
    bool enabled = true;
  };
  struct Spin {
    std::int32_t value = 0;    ///< 0 to `maximum`
    std::int32_t maximum = 0;  ///< of the transponder's field
  };

  std::string caption;
  std::array<List, kDialogLists> lists;
  std::array<Check, kDialogChecks> checks;
  std::array<Spin, kDialogSpins> spins;
  std::array<std::string, kDialogTexts> texts;
  std::string msi_caption;     ///< of lblMSI
  std::string tamper_caption;  ///< of udTamper
  bool ok_enabled = false;
  std::string notice;  ///< a line of its own, empty for none

  List& Of(DialogList list) { return lists[static_cast<std::size_t>(list)]; }
  const List& Of(DialogList list) const { return lists[static_cast<std::size_t>(list)]; }
  Check& Of(DialogCheck check) { return checks[static_cast<std::size_t>(check)]; }
  const Check& Of(DialogCheck check) const { return checks[static_cast<std::size_t>(check)]; }
  Spin& Of(DialogSpin spin) { return spins[static_cast<std::size_t>(spin)]; }
  const Spin& Of(DialogSpin spin) const { return spins[static_cast<std::size_t>(spin)]; }
  std::string& Of(DialogText text) { return texts[static_cast<std::size_t>(text)]; }
  const std::string& Of(DialogText text) const { return texts[static_cast<std::size_t>(text)]; }
};

/// Told of what the user does while the dialog is up, on the thread that shows it. The dialog never
/// changes the content itself: that is for the presenter to do.
class DialogPresenter {
 public:
  virtual ~DialogPresenter() = default;
  /// The window has been made and is not visible yet. `place` is where it would stand, in its
  /// designed size; the presenter may change it, and the window will stand there.
  virtual void Placing(WindowPlace& place) = 0;
  /// An entry, counted from 0.
  virtual void ListChosen(DialogList list, std::int32_t index) = 0;
  /// What the click has made of the box.
  virtual void CheckClicked(DialogCheck check, bool ticked) = 0;
  /// A value within the spin's range: typed ones are brought into it first.
  virtual void SpinTurned(DialogSpin spin, std::int32_t value) = 0;
  /// The whole text as it is now, with every letter that is typed.
  virtual void TextTyped(DialogText text, const std::string& typed) = 0;
  virtual void ButtonPressed(DialogButton button) = 0;
  /// The dialog goes, in whatever way; `place` is where it stood.
  virtual void Hiding(const WindowPlace& place) = 0;
};

/// Shows the dialog until HideSimulatorDialog or its close box, in front of the client's active
/// window, which takes no input meanwhile and gets it back in any case. OK has the focus at first
/// if it is enabled. Messages of the thread are dispatched; the end of the program (WM_QUIT) ends
/// the dialog and is passed on. False when no window can be made, as without a desktop.
bool ShowSimulatorDialog(const DialogContent& content, DialogPresenter& presenter);

// While the dialog is up, on its thread; without effect otherwise. These show what the content
// holds now and tell the presenter of nothing.

void RefreshSimulatorDialog();
void HideSimulatorDialog();

}  // namespace qmzentrel::platform
