#include "platform/message_box.h"

#include <windows.h>

#include <iterator>
#include <string>
#include <string_view>

#include "platform/hardware_faults.h"
#include "platform/win32/client_window.h"
#include "platform/win32/wide.h"

namespace qmzentrel::platform {

namespace {

// An end of the program that is waiting already would close a box before anybody has seen it; it
// waits until the box has gone.
class QuitPutOff {
 public:
  QuitPutOff() : pending_(PeekMessageW(&quit_, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE) != FALSE) {}
  ~QuitPutOff() {
    if (pending_) PostQuitMessage(static_cast<int>(quit_.wParam));
  }
  QuitPutOff(const QuitPutOff&) = delete;
  QuitPutOff& operator=(const QuitPutOff&) = delete;

 private:
  MSG quit_{};
  bool pending_;
};

bool IsQuitPending() {
  MSG quit;
  return PeekMessageW(&quit, nullptr, WM_QUIT, WM_QUIT, PM_NOREMOVE) != FALSE;
}

BOOL CALLBACK CloseBox(HWND window, LPARAM title) {
  wchar_t text[64];
  GetClassNameW(window, text, static_cast<int>(std::size(text)));
  if (std::wstring_view(text) != L"#32770") return TRUE;
  GetWindowTextW(window, text, static_cast<int>(std::size(text)));
  if (*reinterpret_cast<const std::wstring*>(title) == text) DestroyWindow(window);
  return TRUE;
}

// Whether a box was seen, be it that the end of the program has closed it.
bool Show(HWND owner, const std::wstring& title, const std::wstring& text) {
  const bool owner_was_enabled = owner != nullptr && IsWindowEnabled(owner) != FALSE;
  const UINT place = GoesAboveAll(owner) ? MB_TOPMOST | MB_SETFOREGROUND : 0;
  try {
    // Below 0 is how some systems say that there was none.
    return CallOut([&] {
             return MessageBoxW(owner, text.c_str(), title.c_str(), MB_OK | MB_ICONSTOP | place);
           }) > 0 ||
           IsQuitPending();
  } catch (const ClientUnwinding&) {
    // Nobody is left to answer the box, and its owner would stay locked.
    if (owner_was_enabled) EnableWindow(owner, TRUE);
    EnumThreadWindows(GetCurrentThreadId(), CloseBox, reinterpret_cast<LPARAM>(&title));
    throw;
  }
}

}  // namespace

bool ShowStopMessage(const std::string& title, const std::string& text) {
  if (!HasVisibleDesktop()) return false;
  const std::wstring wide_title = Utf8ToWide(title);
  const std::wstring wide_text = Utf8ToWide(text);
  const HWND owner = ClientWindow();
  const ClientCode windows_of_the_client;
  const QuitPutOff quit_put_off;
  if (Show(owner, wide_title, wide_text)) return true;
  const bool owner_has_gone = owner != nullptr && IsWindow(owner) == FALSE;
  return owner_has_gone && Show(nullptr, wide_title, wide_text);
}

}  // namespace qmzentrel::platform
