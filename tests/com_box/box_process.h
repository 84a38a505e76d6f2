// A Windows program that a test starts, with its output and its end.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace qmzentrel::com_box {

class Process {
 public:
  /// Runs `command_line` at a console of its own, whose window does not show.
  explicit Process(std::string command_line);
  /// Ends the program if it still runs, as the end of this one does.
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  /// The next line of its output, without its end; waits for it. What there is when the program
  /// has closed its output.
  std::string ReadLine();

  /// Waits for its end, but not for ever; what it has said that has not been read, less than a pipe
  /// holds. Others that it has started may have its output open still.
  std::string RestOfOutput() const;

  /// Presses Ctrl-C at its console and waits for its end, but not for ever.
  bool PressCtrlC() const;

  /// Waits for its end, but not for ever; its exit code.
  std::optional<DWORD> ExitCode() const;

 private:
  HANDLE job_;
  PROCESS_INFORMATION process_{};
  HANDLE output_ = nullptr;
};

}  // namespace qmzentrel::com_box
