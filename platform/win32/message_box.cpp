#include "platform/message_box.h"

#include <windows.h>

#include "platform/hardware_faults.h"
#include "platform/win32/desktop.h"
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

bool Show(HWND owner, const std::wstring& title, const std::wstring& text) {
  const QuitPutOff quit_put_off;
  const ClientCode windows_of_the_client;
  // Neither 0 nor, as some systems have it, below: no box was seen.
  return MessageBoxW(owner, text.c_str(), title.c_str(), MB_OK | MB_ICONSTOP) > 0;
}

}  // namespace

bool ShowStopMessage(const std::string& title, const std::string& text) {
  if (!HasVisibleDesktop()) return false;
  const std::wstring wide_title = Utf8ToWide(title);
  const std::wstring wide_text = Utf8ToWide(text);
  const HWND owner = ClientWindow();
  // The owner may have gone by now.
  return Show(owner, wide_title, wide_text) ||
         (owner != nullptr && Show(nullptr, wide_title, wide_text));
}

}  // namespace qmzentrel::platform
