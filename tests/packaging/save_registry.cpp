// Saves a key with all below it to a file, in the form of the system: at once, where reg export
// asks for each key and value. In a prefix of both widths, both views of it.
//
//   save_registry HKLM\KEY|HKCU\KEY FILE
//
// Ends with 44 where there is no such key.
#include <windows.h>

#include <cstdio>
#include <string_view>

namespace {

constexpr int kNoKey = 44;  // no code that whatever starts this program has, too
constexpr int kNotSaved = 2;

// Without it nobody may save a key.
bool AllowBackup() {
  HANDLE token = nullptr;
  if (OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &token) == 0) return false;
  TOKEN_PRIVILEGES backup{};
  backup.PrivilegeCount = 1;
  backup.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
  const bool allowed =
      LookupPrivilegeValueW(nullptr, SE_BACKUP_NAME, &backup.Privileges[0].Luid) != 0 &&
      AdjustTokenPrivileges(token, FALSE, &backup, 0, nullptr, nullptr) != 0;
  CloseHandle(token);
  return allowed;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  if (count != 3) return kNotSaved;
  const std::wstring_view key = arguments[1];
  const bool machine = key.starts_with(L"HKLM\\");
  if ((!machine && !key.starts_with(L"HKCU\\")) || !AllowBackup()) return kNotSaved;
  HKEY opened = nullptr;
  LSTATUS status = RegOpenKeyExW(machine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER,
                                 key.substr(5).data(), 0, KEY_READ | KEY_WOW64_64KEY, &opened);
  if (status == ERROR_FILE_NOT_FOUND) return kNoKey;
  if (status == ERROR_SUCCESS) {
    DeleteFileW(arguments[2]);
    status = RegSaveKeyW(opened, arguments[2], nullptr);
  }
  if (status != ERROR_SUCCESS) std::fprintf(stderr, "The key is not saved: error %ld\n", status);
  return status == ERROR_SUCCESS ? 0 : kNotSaved;
}
