// A registry key that nobody may write.
#pragma once

#include <windows.h>

// After it, which it needs.
#include <sddl.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace qmzentrel::automation {

/// Lets everybody read a key below HKEY_LOCAL_MACHINE that is there, and nobody write it, as long
/// as it lives; afterwards its rights are what they were.
class ReadOnlyKey {
 public:
  explicit ReadOnlyKey(const std::wstring& path) {
    // Opened before, since nobody would be let in to give the rights back.
    Require(RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, READ_CONTROL | WRITE_DAC, &key_));
    DWORD size = 0;
    RegGetKeySecurity(key_, DACL_SECURITY_INFORMATION, nullptr, &size);
    before_.resize(size);
    Require(RegGetKeySecurity(key_, DACL_SECURITY_INFORMATION, before_.data(), &size));
    PSECURITY_DESCRIPTOR read_only = nullptr;
    if (ConvertStringSecurityDescriptorToSecurityDescriptorW(L"D:P(A;;KR;;;WD)", SDDL_REVISION_1,
                                                             &read_only, nullptr) == FALSE) {
      Require(static_cast<LSTATUS>(GetLastError()));
    }
    const LSTATUS result = RegSetKeySecurity(key_, DACL_SECURITY_INFORMATION, read_only);
    LocalFree(read_only);
    Require(result);
  }
  ~ReadOnlyKey() {
    RegSetKeySecurity(key_, DACL_SECURITY_INFORMATION, before_.data());
    RegCloseKey(key_);
  }
  ReadOnlyKey(const ReadOnlyKey&) = delete;
  ReadOnlyKey& operator=(const ReadOnlyKey&) = delete;

 private:
  static void Require(LSTATUS result) {
    if (result != ERROR_SUCCESS) {
      throw std::runtime_error("no rights of a key, error " + std::to_string(result));
    }
  }

  HKEY key_ = nullptr;
  std::vector<BYTE> before_;
};

}  // namespace qmzentrel::automation
