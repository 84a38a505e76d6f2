// The look of controls that the user has chosen for the desktop.
#pragma once

#include <windows.h>

namespace qmzentrel::platform {

/// Gives the visual styles of the desktop to windows of ours, whatever the client's program does,
/// and to none of the client's. Lives as long as these windows. Where there are no styles, controls
/// look as they always did.
class VisualStyles {
 public:
  /// `manifest` is the resource of `module` that asks for them. A number from 16 on: lower ones the
  /// loader takes as meant for the whole program or module.
  VisualStyles(HMODULE module, WORD manifest);
  ~VisualStyles();
  VisualStyles(const VisualStyles&) = delete;
  VisualStyles& operator=(const VisualStyles&) = delete;

  /// Windows that this thread makes have the styles as long as it lives. No code of the client runs
  /// meanwhile.
  class ForNewWindows {
   public:
    explicit ForNewWindows(const VisualStyles& styles);
    ~ForNewWindows();
    ForNewWindows(const ForNewWindows&) = delete;
    ForNewWindows& operator=(const ForNewWindows&) = delete;

   private:
    ULONG_PTR cookie_ = 0;  // before what fills it
    bool active_;
  };

 private:
  HANDLE context_;
};

}  // namespace qmzentrel::platform
