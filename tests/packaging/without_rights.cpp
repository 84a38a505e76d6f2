// Starts a program as a user without administrator rights does, and ends with its exit code.
//
//   without_rights COMMAND_LINE
#include <windows.h>

#include <array>
#include <cstdio>
#include <string>

namespace {

constexpr int kNotStarted = 100;

int Failed(const char* what) {
  std::fprintf(stderr, "%s: error %lu\n", what, GetLastError());
  return kNotStarted;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  if (count != 2) return kNotStarted;
  HANDLE own = nullptr;
  if (OpenProcessToken(GetCurrentProcess(), TOKEN_ALL_ACCESS, &own) == 0) return Failed("Token");
  std::array<BYTE, SECURITY_MAX_SID_SIZE> administrators{};
  DWORD size = administrators.size();
  if (CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, administrators.data(), &size) == 0) {
    return Failed("Group");
  }
  SID_AND_ATTRIBUTES not_in{.Sid = administrators.data(), .Attributes = 0};
  HANDLE limited = nullptr;
  if (CreateRestrictedToken(own, 0, 1, &not_in, 0, nullptr, 0, nullptr, &limited) == 0) {
    return Failed("Restricted token");
  }
  STARTUPINFOW start{};
  start.cb = sizeof start;
  PROCESS_INFORMATION process{};
  std::wstring line = arguments[1];
  if (CreateProcessAsUserW(limited, nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr,
                           nullptr, &start, &process) == 0) {
    return Failed("Program");
  }
  WaitForSingleObject(process.hProcess, INFINITE);
  DWORD code = kNotStarted;
  GetExitCodeProcess(process.hProcess, &code);
  return static_cast<int>(code);
}
