#include "platform/message_box.h"

#include <windows.h>

#include "platform/hardware_faults.h"
#include "platform/win32/desktop.h"
#include "platform/win32/wide.h"

namespace qmzentrel::platform {

bool ShowStopMessage(const std::string& title, const std::string& text) {
  if (!HasVisibleDesktop()) return false;
  const std::wstring wide_title = Utf8ToWide(title);
  const std::wstring wide_text = Utf8ToWide(text);
  const HWND owner = ClientWindow();
  const ClientCode windows_of_the_client;
  return MessageBoxW(owner, wide_text.c_str(), wide_title.c_str(), MB_OK | MB_ICONSTOP) != 0;
}

}  // namespace qmzentrel::platform
