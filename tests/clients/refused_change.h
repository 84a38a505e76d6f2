// Changes of the registry that the system refuses the library.
#pragma once

#include <windows.h>

#include "tests/automation/replaced_import.h"

namespace qmzentrel::clients {

/// A registry that refuses one change of the library's and allows all others.
class RefusedChange {
 public:
  RefusedChange(HMODULE library, int number)
      : left_(number),
        create_(library, L"advapi32", "RegCreateKeyExW", &RefusedChange::CreateKey),
        set_(library, L"advapi32", "RegSetValueExW", &RefusedChange::SetValue) {
    the_only = this;
  }
  ~RefusedChange() { the_only = nullptr; }
  RefusedChange(const RefusedChange&) = delete;
  RefusedChange& operator=(const RefusedChange&) = delete;

  bool Happened() const { return left_ <= 0; }

 private:
  static bool IsRefused() { return --the_only->left_ == 0; }
  static LSTATUS WINAPI CreateKey(HKEY key, LPCWSTR name, DWORD reserved, LPWSTR type,
                                  DWORD options, REGSAM access, SECURITY_ATTRIBUTES* security,
                                  HKEY* made, DWORD* disposition) {
    if (IsRefused()) return ERROR_NO_SYSTEM_RESOURCES;
    return the_only->create_.System()(key, name, reserved, type, options, access, security, made,
                                      disposition);
  }
  static LSTATUS WINAPI SetValue(HKEY key, LPCWSTR name, DWORD reserved, DWORD type,
                                 const BYTE* data, DWORD size) {
    if (IsRefused()) return ERROR_NO_SYSTEM_RESOURCES;
    return the_only->set_.System()(key, name, reserved, type, data, size);
  }

  static inline RefusedChange* the_only = nullptr;
  int left_;
  automation::ReplacedImport<decltype(&RegCreateKeyExW)> create_;
  automation::ReplacedImport<decltype(&RegSetValueExW)> set_;
};

}  // namespace qmzentrel::clients
