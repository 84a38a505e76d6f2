// Keeping the place of a window in the registry.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/desktop.h"

namespace qmzentrel::modCOM_FormHelpers {

enum class WindowState : std::int32_t { kNormal = 0, kMinimised = 1, kMaximised = 2 };

enum class BorderStyle : std::int32_t {
  kNone = 0,
  kFixedSingle = 1,
  kSizable = 2,
  kFixedDialog = 3,
  kFixedToolWindow = 4,
  kSizableToolWindow = 5
};

/// What is kept of a window.
struct FormWindow {
  WindowState state = WindowState::kNormal;
  BorderStyle border = BorderStyle::kFixedDialog;
  platform::WindowPlace place;
};

/// For the error report.
std::string DumpVariable(std::string_view name, const FormWindow& frm);

/// Stores the window's state, and while it is neither minimised nor maximised its place; with
/// `blnSaveSize` its size as well, if its border lets the user change it. The key is `strKeyName`
/// in `strSection`, which may be empty, below the component's root.
void Form_SaveState(const FormWindow& frm, bool blnSaveSize, const std::string& strSection,
                    const std::string& strKeyName);

/// Brings the window to its stored place, state and, if its border lets the user change it, size.
/// What is not stored stays. A window is no larger than the screen, and one that would not be
/// wholly on it is centred.
void Form_RestoreState(FormWindow& frm, const std::string& strSection,
                       const std::string& strKeyName);

}  // namespace qmzentrel::modCOM_FormHelpers
