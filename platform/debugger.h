// The debugger channel of the operating system.
#pragma once

#include <string>

namespace qmzentrel::platform {

/// Sends one line, without a terminator, to whoever debugs the process (OutputDebugStringA); `text`
/// is UTF-8 and arrives in the ANSI code page.
void DebuggerOutput(const std::string& text);

}  // namespace qmzentrel::platform
