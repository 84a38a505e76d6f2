// Ports with the names that the system has for their devices.
#include <windows.h>

// After it, which they need.
#include <devguid.h>
#include <setupapi.h>

#include <algorithm>

#include "tests/automation/replaced_import.h"
#include "tests/program/program_test.h"
#include "tests/program/registered_port.h"
#include "zentrel/ports.h"

namespace qmzentrel::program_tests {
namespace {

// A device of the class of ports.
class InstalledDevice {
 public:
  InstalledDevice(const std::wstring& port, const std::wstring& friendly_name)
      : set_(SetupDiCreateDeviceInfoList(&GUID_DEVCLASS_PORTS, nullptr)) {
    device_.cbSize = sizeof device_;
    SetupDiCreateDeviceInfoW(set_, L"Root\\QmzTestPort\\0000", &GUID_DEVCLASS_PORTS, nullptr,
                             nullptr, 0, &device_);
    SetupDiRegisterDeviceInfo(set_, &device_, 0, nullptr, nullptr, nullptr);
    SetupDiSetDeviceRegistryPropertyW(set_, &device_, SPDRP_FRIENDLYNAME,
                                      reinterpret_cast<const BYTE*>(friendly_name.c_str()),
                                      SizeOf(friendly_name));
    const HKEY key =
        SetupDiCreateDevRegKeyW(set_, &device_, DICS_FLAG_GLOBAL, 0, DIREG_DEV, nullptr, nullptr);
    RegSetValueExW(key, L"PortName", 0, REG_SZ, reinterpret_cast<const BYTE*>(port.c_str()),
                   SizeOf(port));
    RegCloseKey(key);
  }
  ~InstalledDevice() {
    SetupDiCallClassInstaller(DIF_REMOVE, set_, &device_);
    SetupDiRemoveDevice(set_, &device_);
    SetupDiDestroyDeviceInfoList(set_);
  }
  InstalledDevice(const InstalledDevice&) = delete;
  InstalledDevice& operator=(const InstalledDevice&) = delete;

 private:
  static DWORD SizeOf(const std::wstring& text) {
    return static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
  }

  HDEVINFO set_;
  SP_DEVINFO_DATA device_{};
};

nlohmann::json FoundPort(int number) {
  const nlohmann::json ports = RunZentrel("ports --json").Document()["ports"];
  const auto found = std::ranges::find_if(
      ports, [number](const nlohmann::json& port) { return port["number"] == number; });
  return found == ports.end() ? nlohmann::json() : *found;
}

int g_values_asked_for = 0;

LSTATUS WINAPI TellOfADeletedKey(HKEY, DWORD, LPWSTR, DWORD*, DWORD*, DWORD*, BYTE*, DWORD*) {
  constexpr int kMost = 1000;
  return ++g_values_asked_for < kMost ? ERROR_KEY_DELETED : ERROR_NO_MORE_ITEMS;
}

// The key of the ports is volatile, and goes with a driver. What is asked of it then has no end.
TEST(ProgramPorts, AKeyThatGoesMeanwhileIsAskedNoFurther) {
  const automation::ReplacedImport<decltype(&RegEnumValueW)> gone(
      GetModuleHandleW(nullptr), L"advapi32", "RegEnumValueW", TellOfADeletedKey);
  const RegisteredPort port(41);
  g_values_asked_for = 0;
  program::FindPorts();
  EXPECT_EQ(g_values_asked_for, 1);
}

TEST(ProgramPorts, APortOfADriverIsListedWithoutAFriendlyName) {
  EXPECT_TRUE(FoundPort(41).is_null());
  const RegisteredPort port(41);
  EXPECT_EQ(FoundPort(41)["port"], "COM41");
  EXPECT_EQ(FoundPort(41)["name"], "");
}

TEST(ProgramPorts, ADeviceGivesItsPortAFriendlyName) {
  {
    const RegisteredPort port(42);
    const InstalledDevice device(L"COM42", L"Test Serial Port (COM42)");
    EXPECT_EQ(FoundPort(42)["name"], "Test Serial Port (COM42)");
  }
  EXPECT_TRUE(FoundPort(42).is_null());
}

}  // namespace
}  // namespace qmzentrel::program_tests
