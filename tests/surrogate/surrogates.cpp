#include "tests/surrogate/surrogates.h"

#include <gtest/gtest.h>

// After <windows.h>, which they need.
#include <psapi.h>
#include <tlhelp32.h>

#include <array>
#include <functional>
#include <map>

#include "platform/win32/handle.h"

namespace qmzentrel::clients {
namespace {

constexpr DWORD kEndLimitMs = 30000;
// The longest that the file system has, with the zero behind it.
constexpr DWORD kLongestPath = 0x8000;

using platform::OwnedHandle;

// The file from which `process` has the component; empty where it has not, or nobody may look.
std::wstring LibraryOf(DWORD process) {
  constexpr std::wstring_view kName = L"\\QmZentrel.dll";
  const OwnedHandle opened(
      OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, process));
  std::array<HMODULE, 1024> modules{};
  DWORD size = 0;
  // Of both widths: the component is always of the narrow one.
  if (!opened.IsValid() || EnumProcessModulesEx(opened.Get(), modules.data(), sizeof modules, &size,
                                                LIST_MODULES_ALL) == FALSE) {
    return L"";
  }
  // Whoever unpacks tests may do so far down.
  std::wstring text(kLongestPath, L'\0');
  for (std::size_t i = 0; i < modules.size() && i < size / sizeof(HMODULE); ++i) {
    std::wstring file(text.data(),
                      GetModuleFileNameExW(opened.Get(), modules[i], text.data(), kLongestPath));
    if (file.size() > kName.size() &&
        lstrcmpiW(file.c_str() + file.size() - kName.size(), kName.data()) == 0) {
      return file;
    }
  }
  return L"";
}

std::map<DWORD, std::wstring> Libraries() {
  std::map<DWORD, std::wstring> found;
  const OwnedHandle processes(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
  PROCESSENTRY32W entry{};
  entry.dwSize = sizeof entry;
  for (BOOL more = Process32FirstW(processes.Get(), &entry); more != FALSE;
       more = Process32NextW(processes.Get(), &entry)) {
    if (lstrcmpiW(entry.szExeFile, L"dllhost.exe") != 0) continue;
    const std::wstring library = LibraryOf(entry.th32ProcessID);
    if (!library.empty()) found[entry.th32ProcessID] = library;
  }
  return found;
}

}  // namespace

std::set<DWORD> Surrogates() {
  std::set<DWORD> processes;
  for (const auto& [process, library] : Libraries()) processes.insert(process);
  return processes;
}

std::set<std::wstring> LibrariesOfSurrogates() {
  std::set<std::wstring> files;
  for (const auto& [process, library] : Libraries()) files.insert(library);
  return files;
}

std::size_t ThreadsOf(DWORD process) {
  std::size_t count = 0;
  const OwnedHandle threads(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
  THREADENTRY32 entry{};
  entry.dwSize = sizeof entry;
  for (BOOL more = Thread32First(threads.Get(), &entry); more != FALSE;
       more = Thread32Next(threads.Get(), &entry)) {
    if (entry.th32OwnerProcessID == process) ++count;
  }
  return count;
}

void EndSurrogate(DWORD process) {
  const OwnedHandle opened(OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, process));
  if (!opened.IsValid()) return;
  TerminateProcess(opened.Get(), 1);  // refused to one that is about to go
  EXPECT_EQ(WaitForSingleObject(opened.Get(), kEndLimitMs), WAIT_OBJECT_0);
}

void EndSurrogates() {
  for (const DWORD process : Surrogates()) EndSurrogate(process);
}

bool IsSameFile(const std::wstring& one, const std::wstring& other) {
  // Open at once, since a file that nobody has open may give its number to another.
  const auto open = [](const std::wstring& name) {
    return OwnedHandle(CreateFileW(name.c_str(), 0,
                                   FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                   OPEN_EXISTING, 0, nullptr));
  };
  const OwnedHandle first = open(one);
  const OwnedHandle second = open(other);
  BY_HANDLE_FILE_INFORMATION a{};
  BY_HANDLE_FILE_INFORMATION b{};
  return GetFileInformationByHandle(first.Get(), &a) != FALSE &&
         GetFileInformationByHandle(second.Get(), &b) != FALSE &&
         a.dwVolumeSerialNumber == b.dwVolumeSerialNumber && a.nFileIndexHigh == b.nFileIndexHigh &&
         a.nFileIndexLow == b.nFileIndexLow;
}

}  // namespace qmzentrel::clients
