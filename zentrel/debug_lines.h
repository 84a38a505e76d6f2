// The debugger channel of the session: whatever programs send with OutputDebugString, as long as no
// debugger of their own takes it.
#pragma once

#include <windows.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "platform/win32/handle.h"

namespace qmzentrel::program {

struct DebugLine {
  SYSTEMTIME time;  ///< local, at which it came
  DWORD process;
  std::string program;  ///< as ProcessName has it
  std::string type;     ///< of a step line, "INFO"; empty for any other
  std::string text;     ///< a step or a whole line; UTF-8 as Printable has it
};

struct KeptLines {
  std::vector<DebugLine> lines;
  std::size_t missing = 0;  ///< lines behind them for which there was no room any more
};

/// One program in a session can receive; Failure when another one does already. Lines are received
/// by a thread that does nothing else: a sender waits up to ten seconds for each line that nobody
/// takes, and whoever shows them may be held up by the console for as long as its user likes.
class DebugLines {
 public:
  /// Keeps step lines, or every line.
  explicit DebugLines(bool all);
  ~DebugLines();
  DebugLines(const DebugLines&) = delete;
  DebugLines& operator=(const DebugLines&) = delete;

  /// What has come since the last time, as soon as there is some, `timeout_ms` have passed or
  /// `stop` is set.
  KeptLines Take(DWORD timeout_ms, HANDLE stop);

 private:
  static DWORD WINAPI ReceiveOf(void* lines);
  void Receive();
  void Keep(DWORD process, std::string_view ansi);

  bool all_;
  platform::OwnedHandle buffer_ready_;
  platform::OwnedHandle data_ready_;
  platform::OwnedHandle mapping_;
  const void* buffer_ = nullptr;
  platform::OwnedHandle ended_;     ///< set when no more is wanted
  platform::OwnedHandle has_some_;  ///< set while something is kept
  platform::OwnedHandle thread_;
  SRWLOCK lock_ = SRWLOCK_INIT;  ///< of what is kept
  KeptLines kept_;
};

/// UTF-8 as it may be printed: without the line ends behind it, and with a blank for each control
/// character, those from U+0080 to U+009F among them.
std::string Printable(std::string_view utf8);

/// "cscript.exe", or empty when the process has ended or does not let itself be asked.
std::string ProcessName(DWORD process);

}  // namespace qmzentrel::program
