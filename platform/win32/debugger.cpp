#include "platform/debugger.h"

#include <windows.h>

#include "platform/text.h"

namespace qmzentrel::platform {

void DebuggerOutput(const std::string& text) {
  OutputDebugStringA(ToAnsi(text).c_str());
}

}  // namespace qmzentrel::platform
