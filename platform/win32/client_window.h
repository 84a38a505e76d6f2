// The desktop of the process, for windows that wait for a user.
#pragma once

#include <windows.h>

namespace qmzentrel::platform {

/// Whether anybody can see a window of this process. A service may make windows, but on a desktop
/// that nobody sees; it would wait for ever.
bool HasVisibleDesktop();

/// The client's window that one of ours stands in front of. Null when it has none.
HWND ClientWindow();

}  // namespace qmzentrel::platform
