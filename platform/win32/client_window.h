// The client's window that one of ours stands in front of while it waits for the user.
#pragma once

#include <windows.h>

namespace qmzentrel::platform {

/// Whether anybody can see a window of this process. A service may make one, but on a desktop that
/// nobody sees, where it would wait for ever.
bool HasVisibleDesktop();

/// The one in use: the active window of this thread, else the window of this process that the user
/// works with. Null when there is none, or when it does not answer.
HWND ClientWindow();

/// Where a window of ours goes that stands in front of `owner`: above all windows of the desktop if
/// the client has none in this process at all, where it would come up behind that of another one.
bool GoesAboveAll(HWND owner);

}  // namespace qmzentrel::platform
