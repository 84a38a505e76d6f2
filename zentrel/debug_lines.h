// The debugger channel of the session: whatever programs send with OutputDebugString, as long as no
// debugger of their own takes it.
#pragma once

#include <windows.h>

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

#include "platform/win32/handle.h"

namespace qmzentrel::program {

struct DebugLine {
  SYSTEMTIME time;  ///< local, at which it came
  DWORD process;
  std::string program;      ///< as ProcessName has it
  std::string text;         ///< UTF-8, without line ends, blanks for control characters
  std::size_t missing = 0;  ///< lines before it for which there was no room any more
};

/// One program in a session can receive; Failure when another one does already. Lines are received
/// by a thread that does nothing else: a sender waits up to ten seconds for each line that nobody
/// takes, and whoever shows them may be held up by the console for as long as its user likes.
class DebugLines {
 public:
  DebugLines();
  ~DebugLines();
  DebugLines(const DebugLines&) = delete;
  DebugLines& operator=(const DebugLines&) = delete;

  /// The next line; nothing when `timeout_ms` have passed or `stop` is set.
  std::optional<DebugLine> Next(DWORD timeout_ms, HANDLE stop);

 private:
  static DWORD WINAPI ReceiveOf(void* lines);
  void Receive();
  void Keep(DebugLine line);

  platform::OwnedHandle buffer_ready_;
  platform::OwnedHandle data_ready_;
  platform::OwnedHandle mapping_;
  const void* buffer_ = nullptr;
  platform::OwnedHandle ended_;     ///< set when no more is wanted
  platform::OwnedHandle has_some_;  ///< set while something is kept
  platform::OwnedHandle thread_;
  SRWLOCK lock_ = SRWLOCK_INIT;  ///< of the two below
  std::deque<DebugLine> kept_;
  std::size_t missing_ = 0;
};

/// UTF-8 as it may be printed: without the line ends behind it, and with a blank for each control
/// character, those from U+0080 to U+009F among them.
std::string Printable(std::string_view utf8);

/// "cscript.exe", or empty when the process has ended or does not let itself be asked.
std::string ProcessName(DWORD process);

}  // namespace qmzentrel::program
