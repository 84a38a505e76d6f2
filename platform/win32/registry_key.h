// A key of the registry, owned.
#pragma once

#include <windows.h>

namespace qmzentrel::platform {

/// Closes its key when it goes.
class OwnedRegistryKey {
 public:
  OwnedRegistryKey() = default;
  /// Null and INVALID_HANDLE_VALUE are none: calls that hand a key out use one or the other.
  explicit OwnedRegistryKey(HKEY key) : key_(key == INVALID_HANDLE_VALUE ? nullptr : key) {}
  ~OwnedRegistryKey() {
    if (IsOpen()) RegCloseKey(key_);
  }
  OwnedRegistryKey(const OwnedRegistryKey&) = delete;
  OwnedRegistryKey& operator=(const OwnedRegistryKey&) = delete;

  bool IsOpen() const { return key_ != nullptr; }
  HKEY Get() const { return key_; }

  /// Opens the key, as RegOpenKeyExW does. Only while none is open.
  LSTATUS Open(HKEY root, const wchar_t* path, REGSAM access) {
    return RegOpenKeyExW(root, path, 0, access, Receive());
  }
  /// For another call that hands a key out. Only while none is open.
  HKEY* Receive() { return &key_; }

 private:
  HKEY key_ = nullptr;
};

}  // namespace qmzentrel::platform
