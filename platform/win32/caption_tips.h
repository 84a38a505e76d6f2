// Captions in full where their labels have no room for them.
#pragma once

#include <windows.h>

namespace qmzentrel::platform {

/// Shows the whole caption of a label beside the mouse, as long as it ends in an ellipsis.
class CaptionTips {
 public:
  /// For labels of `dialog`, which takes the tips with it when it goes.
  void Begin(HWND dialog);
  /// `label` has SS_NOTIFY, or the mouse would not find it.
  void Add(HWND label);
  /// To be called when a caption has changed.
  void Update(HWND label);

 private:
  HWND window_ = nullptr;
};

}  // namespace qmzentrel::platform
