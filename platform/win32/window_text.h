// The text of a window or control.
#pragma once

#include <windows.h>

#include <string>

namespace qmzentrel::platform {

std::wstring TextOf(HWND window);

/// Leaves a window alone that shows the text already: the user may have the cursor in it.
void ShowText(HWND window, const std::wstring& text);

/// Pixels that `text` takes on one line in the window's font.
int WidthOf(const std::wstring& text, HWND window);

}  // namespace qmzentrel::platform
