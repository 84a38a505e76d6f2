#include "platform/pause.h"

#include <windows.h>

#include <algorithm>

namespace qmzentrel::platform {

void Pause(std::int32_t milliseconds) {
  Sleep(static_cast<DWORD>(std::max(milliseconds, 0)));
}

}  // namespace qmzentrel::platform
