#include "platform/registry.h"

#include <windows.h>

#include <array>

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

std::int32_t RegistryCreateKey(RegistryKey root, const std::string& path, std::uint32_t access,
                               RegistryKey& key) {
  char key_class[] = "";
  SECURITY_ATTRIBUTES security{sizeof security, nullptr, FALSE};
  HKEY created = nullptr;
  const LSTATUS result =
      RegCreateKeyExA(ToHandle(root), path.c_str(), 0, key_class, REG_OPTION_NON_VOLATILE, access,
                      &security, &created, nullptr);
  if (result == ERROR_SUCCESS) key = reinterpret_cast<RegistryKey>(created);
  return result;
}

std::int32_t RegistryEnumKey(RegistryKey key, std::uint32_t index, std::string& name) {
  std::array<char, kRegistryNameRoom> buffer{};
  std::array<char, kRegistryNameRoom> key_class{};
  DWORD length = kRegistryNameRoom;
  DWORD class_length = kRegistryNameRoom;
  const LSTATUS result = RegEnumKeyExA(ToHandle(key), index, buffer.data(), &length, nullptr,
                                       key_class.data(), &class_length, nullptr);
  if (result == ERROR_SUCCESS) name.assign(buffer.data(), length);
  return result;
}

std::int32_t RegistryEnumValue(RegistryKey key, std::uint32_t index, std::string& name,
                               std::span<std::byte> data, RegistryValueInfo& info) {
  std::array<char, kRegistryNameRoom> buffer{};
  DWORD length = kRegistryNameRoom;
  DWORD type = 0;
  auto size = static_cast<DWORD>(data.size());
  auto* const bytes = data.empty() ? nullptr : reinterpret_cast<BYTE*>(data.data());
  const LSTATUS result =
      RegEnumValueA(ToHandle(key), index, buffer.data(), &length, nullptr, &type, bytes, &size);
  if (result == ERROR_SUCCESS) {
    name.assign(buffer.data(), length);
    info = {type, size};
  }
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

std::int32_t RegistrySetValue(RegistryKey key, const std::string& name, std::uint32_t type,
                              std::span<const std::byte> data) {
  return RegSetValueExA(ToHandle(key), name.c_str(), 0, type,
                        reinterpret_cast<const BYTE*>(data.data()),
                        static_cast<DWORD>(data.size()));
}

std::int32_t RegistryDeleteValue(RegistryKey key, const std::string& name) {
  return RegDeleteValueA(ToHandle(key), name.c_str());
}

std::int32_t RegistryCloseKey(RegistryKey key) {
  return RegCloseKey(ToHandle(key));
}

}  // namespace qmzentrel::platform
