#include "platform/registry.h"

#include <windows.h>

namespace qmzentrel::platform {
namespace {

HKEY ToHandle(RegistryKey key) {
  return reinterpret_cast<HKEY>(key);
}

}  // namespace

std::int32_t RegistryOpenKey(RegistryKey root, const std::string& path, std::uint32_t access,
                             RegistryKey& key) {
  HKEY opened = nullptr;
  const LSTATUS result = RegOpenKeyExA(ToHandle(root), path.c_str(), 0, access, &opened);
  if (result == ERROR_SUCCESS) key = reinterpret_cast<RegistryKey>(opened);
  return result;
}

std::int32_t RegistryQueryValue(RegistryKey key, const std::string& name, std::span<std::byte> data,
                                RegistryValueInfo& info) {
  // Without a buffer the call would report success for a value that does not fit.
  std::byte none{};
  auto* const buffer = reinterpret_cast<BYTE*>(data.empty() ? &none : data.data());
  DWORD type = 0;
  auto size = static_cast<DWORD>(data.size());
  const LSTATUS result =
      RegQueryValueExA(ToHandle(key), name.c_str(), nullptr, &type, buffer, &size);
  if (result == ERROR_SUCCESS || result == ERROR_MORE_DATA) info = {type, size};
  return result;
}

std::int32_t RegistryCloseKey(RegistryKey key) {
  return RegCloseKey(ToHandle(key));
}

}  // namespace qmzentrel::platform
