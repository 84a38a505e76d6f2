// The message box of the operating system.
#pragma once

#include <string>

namespace qmzentrel::platform {

/// Shows `text` with a stop icon and one button until the user has closed it, in front of the
/// client's active window, which takes no input meanwhile, or above all windows where the client
/// has none in this process. Texts are UTF-8. Messages of the thread are dispatched. False when
/// nobody could see it, as without a desktop.
bool ShowStopMessage(const std::string& title, const std::string& text);

}  // namespace qmzentrel::platform
