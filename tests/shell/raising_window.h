// A window of a client whose procedure raises an exception of the client's language.
#pragma once

#include <windows.h>

#include "tests/shell/client_exceptions.h"

namespace qmzentrel::shell {

/// Raises when it is told to.
class RaisingWindow {
 public:
  explicit RaisingWindow(DWORD style = WS_POPUP) {
    WNDCLASSW kind{};
    kind.lpfnWndProc = Procedure;
    kind.lpszClassName = L"RaisingWindow";
    RegisterClassW(&kind);
    window_ = CreateWindowExW(0, kind.lpszClassName, L"", style, 0, 0, 10, 10, nullptr, nullptr,
                              nullptr, nullptr);
  }
  ~RaisingWindow() { DestroyWindow(window_); }
  RaisingWindow(const RaisingWindow&) = delete;
  RaisingWindow& operator=(const RaisingWindow&) = delete;

  HWND Window() const { return window_; }
  /// With the next message that is dispatched.
  void RaiseSoon() const { PostMessageW(window_, kRaise, 0, 0); }

 private:
  static constexpr UINT kRaise = WM_APP + 7;

  __attribute__((force_align_arg_pointer)) static LRESULT CALLBACK Procedure(HWND window,
                                                                             UINT message,
                                                                             WPARAM wide,
                                                                             LPARAM parameter) {
    if (message == kRaise) RaiseClientException(CLIENT_EXCEPTION);
    return DefWindowProcW(window, message, wide, parameter);
  }

  HWND window_;
};

}  // namespace qmzentrel::shell
