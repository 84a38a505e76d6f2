// A serial port as its driver registers it, for as long as a test needs it.
#pragma once

#include <windows.h>

#include <string>

namespace qmzentrel::program_tests {

class RegisteredPort {
 public:
  explicit RegisteredPort(int number) : device_(L"\\Device\\QmzTest" + std::to_wstring(number)) {
    const std::wstring name = L"COM" + std::to_wstring(number);
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, kSerialPorts, device_.c_str(), REG_SZ, name.c_str(),
                    static_cast<DWORD>((name.size() + 1) * sizeof(wchar_t)));
  }
  ~RegisteredPort() { RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kSerialPorts, device_.c_str()); }
  RegisteredPort(const RegisteredPort&) = delete;
  RegisteredPort& operator=(const RegisteredPort&) = delete;

 private:
  static constexpr wchar_t kSerialPorts[] = L"HARDWARE\\DEVICEMAP\\SERIALCOMM";

  std::wstring device_;
};

}  // namespace qmzentrel::program_tests
