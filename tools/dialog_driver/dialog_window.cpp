#include "tools/dialog_driver/dialog_window.h"

// After <windows.h>, which it needs.
#include <commctrl.h>

namespace qmzentrel::dialog_driver {
namespace {

constexpr DWORD kPauseMs = 10;
// How long the program behind the dialog may take over one message.
constexpr UINT kPatienceMs = 20'000;
constexpr wchar_t kDialogClass[] = L"#32770";

}  // namespace

std::optional<DialogWindow> DialogWindow::WaitFor(const std::wstring& title, DWORD patience_ms,
                                                  const std::function<bool()>& give_up) {
  const DWORD begin = GetTickCount();
  while (!give_up()) {
    const HWND window = FindWindowW(kDialogClass, title.c_str());
    if (window != nullptr && IsWindowVisible(window) != FALSE) return DialogWindow(window);
    if (GetTickCount() - begin >= patience_ms) break;
    Sleep(kPauseMs);
  }
  return std::nullopt;
}

bool DialogWindow::WaitUntilGone(DWORD patience_ms) const {
  for (const DWORD begin = GetTickCount(); IsUp(); Sleep(kPauseMs)) {
    if (GetTickCount() - begin >= patience_ms) return false;
  }
  return true;
}

LRESULT DialogWindow::Send(HWND window, UINT message, WPARAM wide, LPARAM parameter) const {
  DWORD_PTR result = 0;
  SendMessageTimeoutW(window, message, wide, parameter, SMTO_NORMAL, kPatienceMs, &result);
  return static_cast<LRESULT>(result);
}

std::wstring DialogWindow::Title() const {
  std::wstring text(static_cast<std::size_t>(Send(window_, WM_GETTEXTLENGTH)) + 1, L'\0');
  text.resize(static_cast<std::size_t>(
      Send(window_, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()))));
  return text;
}

std::wstring DialogWindow::Text(int id) const {
  return DialogWindow(Control(id)).Title();
}

bool DialogWindow::IsInView(int id) const {
  RECT place{};
  GetWindowRect(Control(id), &place);
  RECT view{};
  GetClientRect(window_, &view);
  MapWindowPoints(window_, nullptr, reinterpret_cast<POINT*>(&view), 2);
  const RECT screen{0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)};
  RECT seen{};
  IntersectRect(&seen, &view, &screen);
  RECT both{};
  UnionRect(&both, &seen, &place);
  return EqualRect(&both, &seen) != FALSE;
}

LONG DialogWindow::Bars() const {
  return GetWindowLongW(window_, GWL_STYLE) & (WS_HSCROLL | WS_VSCROLL);
}

int DialogWindow::Focused() const {
  GUITHREADINFO info{};
  info.cbSize = sizeof info;
  GetGUIThreadInfo(GetWindowThreadProcessId(window_, nullptr), &info);
  return IsChild(window_, info.hwndFocus) != FALSE ? GetDlgCtrlID(info.hwndFocus) : 0;
}

bool DialogWindow::IsTicked(int id) const {
  return Send(Control(id), BM_GETCHECK) == BST_CHECKED;
}

std::vector<Entry> DialogWindow::Entries(int list) const {
  const HWND control = Control(list);
  std::vector<Entry> entries(static_cast<std::size_t>(Send(control, CB_GETCOUNT)));
  for (std::size_t i = 0; i < entries.size(); ++i) {
    std::wstring text(static_cast<std::size_t>(Send(control, CB_GETLBTEXTLEN, i)) + 1, L'\0');
    const LRESULT length = Send(control, CB_GETLBTEXT, i, reinterpret_cast<LPARAM>(text.data()));
    text.resize(static_cast<std::size_t>(length));
    entries[i] = {text, static_cast<std::int32_t>(Send(control, CB_GETITEMDATA, i))};
  }
  return entries;
}

std::int32_t DialogWindow::Selected(int list) const {
  return static_cast<std::int32_t>(Send(Control(list), CB_GETCURSEL));
}

std::int32_t DialogWindow::Value(int spin) const {
  return static_cast<std::int32_t>(Send(Control(spin), UDM_GETPOS32));
}

void DialogWindow::Choose(int list, std::int32_t index) const {
  Send(Control(list), CB_SETCURSEL, static_cast<WPARAM>(index));
  Send(window_, WM_COMMAND, MAKEWPARAM(list, CBN_SELCHANGE),
       reinterpret_cast<LPARAM>(Control(list)));
}

void DialogWindow::Click(int id) const {
  if (IsEnabled(id)) Send(Control(id), BM_CLICK);
}

void DialogWindow::Turn(int spin, std::int32_t value) const {
  Send(Control(spin), UDM_SETPOS32, 0, value);
}

void DialogWindow::Type(int box, const std::wstring& text) const {
  Send(Control(box), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str()));
}

void DialogWindow::CloseBox() const {
  Send(window_, WM_SYSCOMMAND, SC_CLOSE);
}

}  // namespace qmzentrel::dialog_driver
