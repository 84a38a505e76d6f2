// How the library asks the operating system for a port, and an operating system that refuses it.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "tests/automation/replaced_import.h"

namespace qmzentrel::clients {

struct PortOpening {
  std::wstring device;
  DWORD share_mode;
};

/// Sees every opening of a device by the library while it lives. Wine lets two programs have one
/// port; Windows refuses the second one with an error, which this answers in its place.
class PortOpenings {
 public:
  /// `library` is loaded and stays so.
  explicit PortOpenings(HMODULE library);
  ~PortOpenings();
  PortOpenings(const PortOpenings&) = delete;
  PortOpenings& operator=(const PortOpenings&) = delete;

  std::vector<PortOpening> seen;
  /// From now on every opening fails with this error of the operating system.
  void Refuse(DWORD error) { refusal_ = error; }
  void Allow() { refusal_ = ERROR_SUCCESS; }

 private:
  static HANDLE WINAPI Open(LPCWSTR name, DWORD access, DWORD share_mode, SECURITY_ATTRIBUTES*,
                            DWORD disposition, DWORD flags, HANDLE pattern);

  static PortOpenings* the_only;
  automation::ReplacedImport<decltype(&CreateFileW)> import_;
  DWORD refusal_ = ERROR_SUCCESS;
};

}  // namespace qmzentrel::clients
