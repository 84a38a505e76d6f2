#include "zentrel/ports.h"

#include <windows.h>

// After it, which they need.
#include <devguid.h>
#include <setupapi.h>

#include <array>
#include <charconv>
#include <map>
#include <optional>

#include "platform/win32/registry_key.h"
#include "platform/win32/wide.h"
#include "zentrel/component.h"

namespace qmzentrel::program {
namespace {

// Port numbers with their friendly names; empty where nobody has given one.
using Names = std::map<std::int32_t, std::string>;

// Long enough for the names of devices, which have at most 255 characters.
using NameBuffer = std::array<wchar_t, 512>;

std::optional<std::int32_t> NumberOf(std::wstring_view wide) {
  const std::string name = platform::WideToUtf8(wide);
  if (!name.starts_with("COM")) return std::nullopt;
  std::int32_t number = 0;
  const char* const last = name.data() + name.size();
  const auto [end, error] = std::from_chars(name.data() + 3, last, number);
  if (error != std::errc() || end != last || number < 1) return std::nullopt;
  return number;
}

// What the drivers of ports write, volatile.
void AddRegistered(Names& names) {
  platform::OwnedRegistryKey key;
  if (key.Open(HKEY_LOCAL_MACHINE, L"HARDWARE\\DEVICEMAP\\SERIALCOMM", KEY_QUERY_VALUE) !=
      ERROR_SUCCESS) {
    return;
  }
  NameBuffer device;
  NameBuffer port;
  for (DWORD index = 0;; ++index) {
    auto device_length = static_cast<DWORD>(device.size());
    auto port_size = static_cast<DWORD>(sizeof port - sizeof(wchar_t));
    port.fill(L'\0');
    DWORD type = REG_NONE;
    const LSTATUS result = RegEnumValueW(key.Get(), index, device.data(), &device_length, nullptr,
                                         &type, reinterpret_cast<BYTE*>(port.data()), &port_size);
    if (result == ERROR_MORE_DATA) continue;  // no name of a port is so long
    if (result != ERROR_SUCCESS) break;
    if (type != REG_SZ) continue;
    if (const auto number = NumberOf(port.data())) names.try_emplace(*number);
  }
}

// The devices of the class of ports that are there now.
class PortDevices {
 public:
  PortDevices()
      : set_(SetupDiGetClassDevsW(&GUID_DEVCLASS_PORTS, nullptr, nullptr, DIGCF_PRESENT)) {}
  ~PortDevices() {
    if (set_ != INVALID_HANDLE_VALUE) SetupDiDestroyDeviceInfoList(set_);
  }
  PortDevices(const PortDevices&) = delete;
  PortDevices& operator=(const PortDevices&) = delete;

  void AddTo(Names& names) const {
    SP_DEVINFO_DATA device{};
    device.cbSize = sizeof device;
    for (DWORD i = 0; SetupDiEnumDeviceInfo(set_, i, &device) != FALSE; ++i) {
      // A printer port is of the class, too, and has another name.
      const auto number = NumberOf(PortNameOf(device));
      if (!number) continue;
      std::string& name = names[*number];
      if (name.empty()) name = FriendlyNameOf(device);
    }
  }

 private:
  std::wstring PortNameOf(SP_DEVINFO_DATA& device) const {
    const platform::OwnedRegistryKey key(
        SetupDiOpenDevRegKey(set_, &device, DICS_FLAG_GLOBAL, 0, DIREG_DEV, KEY_QUERY_VALUE));
    if (!key.IsOpen()) return L"";
    NameBuffer name{};
    auto size = static_cast<DWORD>(sizeof name - sizeof(wchar_t));
    RegQueryValueExW(key.Get(), L"PortName", nullptr, nullptr, reinterpret_cast<BYTE*>(name.data()),
                     &size);
    return name.data();
  }

  std::string FriendlyNameOf(SP_DEVINFO_DATA& device) const {
    for (const DWORD property : {SPDRP_FRIENDLYNAME, SPDRP_DEVICEDESC}) {
      NameBuffer name{};
      if (SetupDiGetDeviceRegistryPropertyW(
              set_, &device, property, nullptr, reinterpret_cast<BYTE*>(name.data()),
              static_cast<DWORD>(sizeof name - sizeof(wchar_t)), nullptr) != FALSE) {
        return platform::WideToUtf8(name.data());
      }
    }
    return "";
  }

  HDEVINFO set_;
};

// Ports of drivers that register them nowhere.
void AddOpenable(Names& names) {
  std::wstring devices(0x10000, L'\0');
  DWORD length = 0;
  while ((length = QueryDosDeviceW(nullptr, devices.data(), static_cast<DWORD>(devices.size()))) ==
             0 &&
         GetLastError() == ERROR_INSUFFICIENT_BUFFER) {
    devices.resize(devices.size() * 2);
  }
  devices.resize(length);
  for (std::size_t begin = 0; begin < devices.size();) {
    const std::size_t end = std::min(devices.find(L'\0', begin), devices.size());
    if (const auto number = NumberOf(std::wstring_view(devices).substr(begin, end - begin))) {
      names.try_emplace(*number);
    }
    begin = end + 1;
  }
}

}  // namespace

std::vector<Port> FindPorts() {
  Names names;
  AddRegistered(names);
  PortDevices().AddTo(names);
  AddOpenable(names);
  std::vector<Port> ports;
  for (const auto& [number, name] : names) ports.push_back({number, name});
  return ports;
}

std::string ShownName(const Port& port) {
  std::string name = PortName(port.number);
  if (port.friendly_name.empty()) return name;
  // Most friendly names have the port in them.
  if (port.friendly_name.find("(" + name + ")") != std::string::npos) return port.friendly_name;
  return port.friendly_name + " (" + name + ")";
}

}  // namespace qmzentrel::program
