#include "platform/win32/caption_tips.h"

// After <windows.h>, which it needs.
#include <commctrl.h>

#include <string>

#include "platform/win32/window_text.h"

namespace qmzentrel::platform {
namespace {

TTTOOLINFOW ToolOf(HWND label) {
  TTTOOLINFOW tool{};
  // Without the last member, which older libraries do not know.
  tool.cbSize = TTTOOLINFOW_V2_SIZE;
  tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
  tool.hwnd = GetParent(label);
  tool.uId = reinterpret_cast<UINT_PTR>(label);
  return tool;
}

}  // namespace

void CaptionTips::Begin(HWND dialog) {
  window_ = CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr,
                            WS_POPUP | TTS_ALWAYSTIP | TTS_NOPREFIX, CW_USEDEFAULT, CW_USEDEFAULT,
                            CW_USEDEFAULT, CW_USEDEFAULT, dialog, nullptr, nullptr, nullptr);
  // A caption may be longer than the screen is wide.
  RECT area{};
  GetClientRect(dialog, &area);
  SendMessageW(window_, TTM_SETMAXTIPWIDTH, 0, area.right);
}

void CaptionTips::Add(HWND label) {
  wchar_t none[] = L"";
  TTTOOLINFOW tool = ToolOf(label);
  tool.lpszText = none;
  SendMessageW(window_, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
}

void CaptionTips::Update(HWND label) {
  std::wstring caption = TextOf(label);
  RECT area{};
  GetClientRect(label, &area);
  if (WidthOf(caption, label) <= area.right) caption.clear();  // and no tip is shown
  TTTOOLINFOW tool = ToolOf(label);
  tool.lpszText = caption.data();
  SendMessageW(window_, TTM_UPDATETIPTEXTW, 0, reinterpret_cast<LPARAM>(&tool));
}

}  // namespace qmzentrel::platform
