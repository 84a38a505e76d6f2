// Clients in processes of their own: this same program, started once more for a part that it plays.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/win32/handle.h"

namespace qmzentrel::clients {

/// What the program does instead of its tests when it is started to play `name`; what it returns
/// is the exit code. Made once for each part, at namespace level.
class ClientPart {
 public:
  using Play = int (*)(const std::vector<std::string>& arguments);
  ClientPart(const char* name, Play play);

 private:
  friend std::optional<int> PlayPart(int count, char** arguments);

  const char* name_;
  Play play_;
  ClientPart* next_;
};

/// Plays the part that the command line names; nothing when it names none.
std::optional<int> PlayPart(int count, char** arguments);

/// A process that plays a part. One that has not ended when this goes is ended by force.
class ClientProcess {
 public:
  explicit ClientProcess(const std::string& part, const std::vector<std::string>& arguments = {});
  ~ClientProcess();
  ClientProcess(const ClientProcess&) = delete;
  ClientProcess& operator=(const ClientProcess&) = delete;

  DWORD Id() const { return GetProcessId(process_.Get()); }

  /// Waits until it has ended by itself; nothing, and a failure of the test, when it hangs.
  std::optional<DWORD> ExitCode();

 private:
  platform::OwnedHandle process_;
};

}  // namespace qmzentrel::clients
