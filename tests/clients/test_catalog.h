// Catalogs in the registry of the test prefix.
#pragma once

#include <windows.h>

#include <string>

namespace qmzentrel::clients {

/// Removes the component's catalogs and what its simulator keeps, and again when it goes.
class TestCatalog {
 public:
  TestCatalog() { Remove(); }
  ~TestCatalog() { Remove(); }
  TestCatalog(const TestCatalog&) = delete;
  TestCatalog& operator=(const TestCatalog&) = delete;

  /// `key` is relative to HKEY_LOCAL_MACHINE\SOFTWARE\QuenmoorComms, `name` empty for the unnamed
  /// value.
  void Text(const std::wstring& key, const std::wstring& name, const std::wstring& text);
  void Number(const std::wstring& key, const std::wstring& name, DWORD number);

  /// Interfaces -1 to 5 ("Interface 3"), intervals ("Interval 7"), messages 8 to 18 ("Message 8":
  /// two bytes, from 17 on four), types "9", "10" and "1" of sub-devices. Type "1" has test
  /// messages 0 (reads 2 bytes), 1 (writes 1), 2 (writes 4, reads 4) and 3 (no reply).
  void Fill();

  /// Switches the simulator.
  void Simulator(bool on);

 private:
  static void Remove();
};

/// Filled as it is made.
class FilledTestCatalog : public TestCatalog {
 public:
  FilledTestCatalog() { Fill(); }
};

}  // namespace qmzentrel::clients
