// The line that carries the supply, declared in the registry as an installation does it.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

namespace qmzentrel::clients {

/// As long as it lives.
class DeclaredSupplyLine {
 public:
  explicit DeclaredSupplyLine(const std::wstring& line) {
    const auto bytes = static_cast<DWORD>((line.size() + 1) * sizeof(wchar_t));
    const LSTATUS result =
        RegSetKeyValueW(HKEY_LOCAL_MACHINE, kKey, kName, REG_SZ, line.c_str(), bytes);
    EXPECT_EQ(result, ERROR_SUCCESS);
  }
  ~DeclaredSupplyLine() { RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kKey, kName); }
  DeclaredSupplyLine(const DeclaredSupplyLine&) = delete;
  DeclaredSupplyLine& operator=(const DeclaredSupplyLine&) = delete;

 private:
  static constexpr const wchar_t* kKey = L"SOFTWARE\\QuenmoorComms\\Zentrel";
  static constexpr const wchar_t* kName = L"SupplyLine";
};

}  // namespace qmzentrel::clients
