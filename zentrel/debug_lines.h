// The debugger channel of the session: whatever programs send with OutputDebugString, as long as no
// debugger of their own takes it.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>

#include "platform/win32/handle.h"

namespace qmzentrel::program {

struct DebugLine {
  DWORD process;
  std::string text;  ///< UTF-8, without line ends, blanks for control characters
};

/// One program in a session can receive; Failure when another one does already.
class DebugLines {
 public:
  DebugLines();
  ~DebugLines();
  DebugLines(const DebugLines&) = delete;
  DebugLines& operator=(const DebugLines&) = delete;

  /// The next line; nothing when `timeout_ms` have passed or `stop` is set.
  std::optional<DebugLine> Next(DWORD timeout_ms, HANDLE stop);

 private:
  platform::OwnedHandle buffer_ready_;
  platform::OwnedHandle data_ready_;
  platform::OwnedHandle mapping_;
  const void* buffer_ = nullptr;
};

/// UTF-8 as it may be printed: without the line ends behind it, and with a blank for each control
/// character, those from U+0080 to U+009F among them.
std::string Printable(std::string_view utf8);

/// "cscript.exe", or empty when the process has ended or does not let itself be asked.
std::string ProcessName(DWORD process);

}  // namespace qmzentrel::program
