// A window of a client whose procedure raises an exception of the client's language.
#pragma once

#include <windows.h>

#include "tests/clients/client_exceptions.h"

namespace qmzentrel::clients {

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
  /// Closes the dialog with this title instead, which lives as long as the program.
  void CloseSoon(const wchar_t* title) const {
    PostMessageW(window_, kClose, 0, reinterpret_cast<LPARAM>(title));
  }

 private:
  static constexpr UINT kRaise = WM_APP + 7;
  static constexpr UINT kClose = WM_APP + 8;

  __attribute__((force_align_arg_pointer)) static LRESULT CALLBACK Procedure(HWND window,
                                                                             UINT message,
                                                                             WPARAM wide,
                                                                             LPARAM parameter) {
    if (message == kRaise) RaiseClientException(CLIENT_EXCEPTION);
    if (message == kClose) {
      PostMessageW(FindWindowW(L"#32770", reinterpret_cast<const wchar_t*>(parameter)), WM_CLOSE, 0,
                   0);
    }
    return DefWindowProcW(window, message, wide, parameter);
  }

  HWND window_;
};

}  // namespace qmzentrel::clients
