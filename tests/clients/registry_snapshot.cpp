#include "tests/clients/registry_snapshot.h"

#include <windows.h>

#include <array>
#include <cstddef>

#include "platform/win32/both_widths.h"

namespace qmzentrel::clients {
namespace {

constexpr DWORD kLongestName = 1024;
constexpr std::size_t kLargestData = 65536;
constexpr wchar_t kMachine[] = L"machine";
constexpr wchar_t kUser[] = L"user";

class Collector {
 public:
  Collector(REGSAM view, RegistrySnapshot& snapshot) : view_(view), snapshot_(snapshot) {}

  void Collect(HKEY parent, const std::wstring& name, const std::wstring& path) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(parent, name.c_str(), 0, KEY_READ | view_, &key) != ERROR_SUCCESS) return;
    snapshot_[path] = {};
    for (DWORD i = 0;; ++i) {
      DWORD length = kLongestName;
      DWORD type = 0;
      auto size = static_cast<DWORD>(data_.size());
      if (RegEnumValueW(key, i, text_.data(), &length, nullptr, &type, data_.data(), &size) !=
          ERROR_SUCCESS) {
        break;
      }
      auto& entry = snapshot_[path + L" : " + text_.substr(0, length)];
      entry.assign(data_.begin(), data_.begin() + static_cast<std::ptrdiff_t>(size));
      entry.push_back(static_cast<unsigned char>(type));
    }
    for (DWORD i = 0;; ++i) {
      DWORD length = kLongestName;
      if (RegEnumKeyExW(key, i, text_.data(), &length, nullptr, nullptr, nullptr, nullptr) !=
          ERROR_SUCCESS) {
        break;
      }
      const std::wstring child = text_.substr(0, length);
      if (IsOfTheSystem(path, child)) continue;
      Collect(key, child, std::wstring(path).append(L"\\").append(child));
    }
    RegCloseKey(key);
  }

 private:
  /// Where Windows notes for itself, at any time, what programs are called and what is installed.
  static bool IsOfTheSystem(const std::wstring& parent, const std::wstring& key) {
    return key == L"Local Settings" && (parent == kMachine || parent == kUser);
  }

  REGSAM view_;
  RegistrySnapshot& snapshot_;
  // Of one key at a time: made anew for each they would take most of the time.
  std::wstring text_ = std::wstring(kLongestName, L'\0');
  std::vector<unsigned char> data_ = std::vector<unsigned char>(kLargestData);
};

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
  RegistrySnapshot snapshot = TakeRegistrySnapshotOfUser();
  Collector(0, snapshot).Collect(HKEY_LOCAL_MACHINE, L"Software\\Classes", kMachine);
  return snapshot;
}

RegistrySnapshot TakeRegistrySnapshotOfUser() {
  RegistrySnapshot snapshot;
  Collector(0, snapshot).Collect(HKEY_CURRENT_USER, L"Software\\Classes", kUser);
  return snapshot;
}

RegistrySnapshot TakeRegistrySnapshot(const std::vector<std::wstring>& keys, RegistryView view) {
  constexpr std::array<REGSAM, 3> kAccess = {0, KEY_WOW64_32KEY, KEY_WOW64_64KEY};
  RegistrySnapshot snapshot;
  Collector collector(kAccess.at(static_cast<std::size_t>(view)), snapshot);
  for (const std::wstring& key : keys) {
    collector.Collect(HKEY_LOCAL_MACHINE, L"Software\\Classes\\" + key, L"machine\\" + key);
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
