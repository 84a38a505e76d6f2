#include "platform/win32/window_text.h"

#include <cstddef>

namespace qmzentrel::platform {

std::wstring TextOf(HWND window) {
  const auto length = static_cast<std::size_t>(GetWindowTextLengthW(window));
  std::wstring text(length + 1, L'\0');
  text.resize(
      static_cast<std::size_t>(GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
  return text;
}

void ShowText(HWND window, const std::wstring& text) {
  if (TextOf(window) != text) SetWindowTextW(window, text.c_str());
}

int WidthOf(const std::wstring& text, HWND window) {
  const HDC device = GetDC(window);
  const HGDIOBJ before =
      SelectObject(device, reinterpret_cast<HGDIOBJ>(SendMessageW(window, WM_GETFONT, 0, 0)));
  SIZE size{};
  GetTextExtentPoint32W(device, text.data(), static_cast<int>(text.size()), &size);
  SelectObject(device, before);
  ReleaseDC(window, device);
  return size.cx;
}

}  // namespace qmzentrel::platform
