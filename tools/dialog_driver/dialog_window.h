// The simulator's dialog, or a message box, seen from another thread or another process, which acts
// on it by messages as a user does with mouse and keyboard. Controls are named by their
// identifiers.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace qmzentrel::dialog_driver {

/// Of a list, with the number that it stands for.
struct Entry {
  std::wstring text;
  std::int32_t data = 0;
};

class DialogWindow {
 public:
  explicit DialogWindow(HWND window) : window_(window) {}

  /// The dialog with this title, once it is visible. Nothing when it has not come after
  /// `patience_ms`, or when `give_up` says so.
  static std::optional<DialogWindow> WaitFor(
      const std::wstring& title, DWORD patience_ms,
      const std::function<bool()>& give_up = [] { return false; });

  HWND Window() const { return window_; }
  HWND Control(int id) const { return GetDlgItem(window_, id); }
  bool IsUp() const { return IsWindowVisible(window_) != FALSE; }
  /// Waits until it has gone; false when it is still there after `patience_ms`.
  bool WaitUntilGone(DWORD patience_ms) const;

  // What it shows.

  std::wstring Title() const;
  std::wstring Text(int id) const;
  /// Of a message box.
  std::wstring Message() const { return Text(kMessageText); }
  bool IsEnabled(int id) const { return IsWindowEnabled(Control(id)) != FALSE; }
  bool IsVisible(int id) const { return IsWindowVisible(Control(id)) != FALSE; }
  /// Whether all of it is on the screen, and in the part of the dialog that is not scrolled away.
  bool IsInView(int id) const;
  /// WS_HSCROLL, WS_VSCROLL.
  LONG Bars() const;
  /// The control that has the keyboard, 0 when none of the dialog's has.
  int Focused() const;
  bool IsTicked(int id) const;
  std::vector<Entry> Entries(int list) const;
  /// Index of the selected entry, -1 when there is none.
  std::int32_t Selected(int list) const;
  std::int32_t Value(int spin) const;

  // What a user does.

  void Choose(int list, std::int32_t index) const;
  /// On a check box or a button. Nothing happens on a disabled one.
  void Click(int id) const;
  void Turn(int spin, std::int32_t value) const;
  void Type(int box, const std::wstring& text) const;
  void CloseBox() const;

 private:
  static constexpr int kMessageText = 0xFFFF;  // the operating system's

  LRESULT Send(HWND window, UINT message, WPARAM wide = 0, LPARAM parameter = 0) const;

  HWND window_;
};

}  // namespace qmzentrel::dialog_driver
