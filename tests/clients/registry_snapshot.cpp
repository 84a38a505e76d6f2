#include "tests/clients/registry_snapshot.h"

#include <windows.h>

#include <array>
#include <cstddef>

#include "platform/win32/both_widths.h"

namespace qmzentrel::clients {
namespace {

constexpr DWORD kLongestName = 1024;
constexpr std::size_t kLargestData = 65536;

void Collect(HKEY parent, const std::wstring& name, const std::wstring& path, REGSAM view,
             RegistrySnapshot& snapshot) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(parent, name.c_str(), 0, KEY_READ | view, &key) != ERROR_SUCCESS) return;
  snapshot[path] = {};
  std::wstring text(kLongestName, L'\0');
  std::vector<unsigned char> data(kLargestData);
  for (DWORD i = 0;; ++i) {
    DWORD length = kLongestName;
    DWORD type = 0;
    auto size = static_cast<DWORD>(data.size());
    if (RegEnumValueW(key, i, text.data(), &length, nullptr, &type, data.data(), &size) !=
        ERROR_SUCCESS) {
      break;
    }
    auto& entry = snapshot[path + L" : " + text.substr(0, length)];
    entry.assign(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(size));
    entry.push_back(static_cast<unsigned char>(type));
  }
  for (DWORD i = 0;; ++i) {
    DWORD length = kLongestName;
    if (RegEnumKeyExW(key, i, text.data(), &length, nullptr, nullptr, nullptr, nullptr) !=
        ERROR_SUCCESS) {
      break;
    }
    const std::wstring child = text.substr(0, length);
    Collect(key, child, std::wstring(path).append(L"\\").append(child), view, snapshot);
  }
  RegCloseKey(key);
}

void List(const char* mark, const RegistrySnapshot& left, const RegistrySnapshot& right,
          std::string& list) {
  for (const auto& [path, data] : left) {
    const auto other = right.find(path);
    if (other != right.end() && other->second == data) continue;
    list += mark + std::string(path.begin(), path.end()) + "\n";
  }
}

}  // namespace

RegistrySnapshot TakeRegistrySnapshot() {
  RegistrySnapshot snapshot;
  Collect(HKEY_LOCAL_MACHINE, L"Software\\Classes", L"machine", 0, snapshot);
  Collect(HKEY_CURRENT_USER, L"Software\\Classes", L"user", 0, snapshot);
  return snapshot;
}

RegistrySnapshot TakeRegistrySnapshot(const std::vector<std::wstring>& keys, RegistryView view) {
  constexpr std::array<REGSAM, 3> kAccess = {0, KEY_WOW64_32KEY, KEY_WOW64_64KEY};
  RegistrySnapshot snapshot;
  for (const std::wstring& key : keys) {
    Collect(HKEY_LOCAL_MACHINE, L"Software\\Classes\\" + key, L"machine\\" + key,
            kAccess.at(static_cast<std::size_t>(view)), snapshot);
  }
  return snapshot;
}

bool HasBothWidths() {
  return platform::HasBothWidths();
}

std::string Differences(const RegistrySnapshot& left, const RegistrySnapshot& right) {
  std::string list;
  List("- ", left, right, list);
  List("+ ", right, left, list);
  return list;
}

std::wstring ClassesText(const std::wstring& key, const wchar_t* name) {
  std::wstring text(kLongestName, L'\0');
  DWORD size = kLongestName * sizeof(wchar_t);
  if (RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), name, RRF_RT_REG_SZ, nullptr, text.data(),
                   &size) != ERROR_SUCCESS) {
    return {};
  }
  text.resize(size / sizeof(wchar_t) - 1);  // without its zero
  return text;
}

}  // namespace qmzentrel::clients
