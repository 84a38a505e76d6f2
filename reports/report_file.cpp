#include "reports/report_file.h"

// After <windows.h>, which it needs.
#include <shlobj.h>

#include <cstddef>
#include <vector>

#include "platform/win32/access_rights.h"
#include "platform/win32/handle.h"

namespace qmzentrel::reports {
namespace {

using platform::OwnedHandle;

constexpr wchar_t kFile[] = L"reports.log";
constexpr wchar_t kOldFile[] = L"reports.old.log";

// Below the common application data every user may create, but only change what he has created
// himself. Here the system and administrators may do everything, users read, write and set the full
// file aside; who may write may also take reports away, so they prove nothing against a user.
constexpr wchar_t kAccess[] = L"D:(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;0x1301bf;;;BU)";

std::wstring CommonFolder() {
  wchar_t path[MAX_PATH];
  const HRESULT found =
      SHGetFolderPathW(nullptr, CSIDL_COMMON_APPDATA, nullptr, SHGFP_TYPE_CURRENT, path);
  return found == S_OK ? path : L"";
}

// Those that are there stay as they are.
void MakeFolders(const std::wstring& folder) {
  const std::wstring parent = folder.substr(0, folder.rfind(L'\\'));
  platform::AccessRights access(kAccess);
  CreateDirectoryW(parent.c_str(), nullptr);  // others keep their things there
  CreateDirectoryW(folder.c_str(), access.Get());
}

// Who waits for others waits this long at most, and looks again and again.
constexpr DWORD kLimitMs = 1000;
constexpr DWORD kPauseMs = 5;

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// A right to append and none to write: the system puts each piece at the end of the file as it is
// then.
OwnedHandle OpenNow(const std::wstring& path) {
  constexpr DWORD kAppend = FILE_APPEND_DATA | FILE_READ_DATA | FILE_READ_ATTRIBUTES | SYNCHRONIZE;
  return OwnedHandle(CreateFileW(path.c_str(), kAppend, kShareAll, nullptr, OPEN_ALWAYS,
                                 FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
}

bool IsLink(HANDLE file) {
  BY_HANDLE_FILE_INFORMATION about{};
  return GetFileInformationByHandle(file, &about) != FALSE &&
         (about.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

// A virus scanner or a backup may have the file for itself for a moment. A link that somebody has
// put in its place is neither followed nor written to.
OwnedHandle Open(const std::wstring& path) {
  const ULONGLONG begin = GetTickCount64();
  OwnedHandle file = OpenNow(path);
  while (!file.IsValid() && GetLastError() == ERROR_SHARING_VIOLATION &&
         GetTickCount64() - begin < kLimitMs) {
    Sleep(kPauseMs);
    file = OpenNow(path);
  }
  if (!file.IsValid() || !IsLink(file.Get())) return file;
  file = OwnedHandle();
  SetLastError(ERROR_ACCESS_DENIED);
  return file;
}

// One process at a time, as far as they all keep to it: not every system finds the end of a file
// and writes there in one step. Who waits for too long goes on without.
class Turn {
 public:
  explicit Turn(HANDLE file) : file_(file) {
    place_.OffsetHigh = kFarBehind;
    const ULONGLONG begin = GetTickCount64();
    while (!(taken_ = Lock()) && GetLastError() == ERROR_LOCK_VIOLATION &&
           GetTickCount64() - begin < kLimitMs) {
      Sleep(kPauseMs);
    }
  }
  ~Turn() {
    if (taken_) UnlockFileEx(file_, 0, 1, 0, &place_);
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

 private:
  bool Lock() {
    return LockFileEx(file_, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0,
                      &place_) != FALSE;
  }

  // Where no text ever comes: the lock keeps nobody from reading.
  static constexpr DWORD kFarBehind = 0x40000000;

  HANDLE file_;
  OVERLAPPED place_{};
  bool taken_ = false;
};

bool IsFull(HANDLE file) {
  LARGE_INTEGER size{};
  return GetFileSizeEx(file, &size) != FALSE && size.QuadPart >= kLargestFile;
}

// Renames the very file that was found full, not what has its name by now: two processes that do so
// at the same time rename it once. Where somebody reads it in a way that forbids this, it grows on.
void SetAside(const std::wstring& path, const std::wstring& old_path) {
  const OwnedHandle file(CreateFileW(path.c_str(), DELETE | SYNCHRONIZE | FILE_READ_ATTRIBUTES,
                                     kShareAll, nullptr, OPEN_EXISTING,
                                     FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
  if (!file.IsValid() || !IsFull(file.Get())) return;
  const std::size_t bytes = old_path.size() * sizeof(wchar_t);
  std::vector<std::byte> room(sizeof(FILE_RENAME_INFO) + bytes);
  auto* const rename = reinterpret_cast<FILE_RENAME_INFO*>(room.data());
  rename->ReplaceIfExists = TRUE;
  rename->FileNameLength = static_cast<DWORD>(bytes);
  old_path.copy(rename->FileName, old_path.size());
  SetFileInformationByHandle(file.Get(), FileRenameInfo, rename, static_cast<DWORD>(room.size()));
}

}  // namespace

std::wstring ReportFilePath() {
  const std::wstring common = CommonFolder();
  return common.empty() ? L"" : common + L"\\QuenmoorComms\\QmZentrel\\" + kFile;
}

DWORD AppendReport(std::string_view text) {
  const std::wstring path = ReportFilePath();
  if (path.empty()) return ERROR_PATH_NOT_FOUND;
  const std::wstring folder = path.substr(0, path.rfind(L'\\'));
  OwnedHandle file = Open(path);
  if (!file.IsValid() && GetLastError() == ERROR_PATH_NOT_FOUND) {
    MakeFolders(folder);
    file = Open(path);
  }
  if (file.IsValid() && IsFull(file.Get())) {
    SetAside(path, folder + L"\\" + kOldFile);
    file = Open(path);
  }
  if (!file.IsValid()) return GetLastError();
  const Turn turn(file.Get());
  DWORD written = 0;
  const auto size = static_cast<DWORD>(text.size());
  if (WriteFile(file.Get(), text.data(), size, &written, nullptr) == FALSE) return GetLastError();
  return written == size ? ERROR_SUCCESS : ERROR_DISK_FULL;
}

}  // namespace qmzentrel::reports
