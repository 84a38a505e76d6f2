// The registry calls of the operating system: bytes in the ANSI code page and result codes, exactly
// as advapi32 gives them. What the bytes mean is decided by modCOM_Registry.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace qmzentrel::platform {

/// A key handle or one of the predefined roots, as the operating system numbers them.
using RegistryKey = std::uintptr_t;

/// HKEY_LOCAL_MACHINE, the root under which all settings and catalogs live.
inline constexpr RegistryKey kLocalMachine = 0x80000002u;

// Result codes of the operating system that callers act on; any other code is a plain failure.
inline constexpr std::int32_t kRegistrySuccess = 0;
inline constexpr std::int32_t kRegistryFileNotFound = 2;
inline constexpr std::int32_t kRegistryMoreData = 234;
inline constexpr std::int32_t kRegistryNoMoreItems = 259;

/// Room for a name in an enumeration, in bytes; a longer one is kRegistryMoreData.
inline constexpr std::size_t kRegistryNameRoom = 1024;

/// Type and size in bytes of a stored value.
struct RegistryValueInfo {
  std::uint32_t type = 0;
  std::uint32_t size = 0;
};

/// RegOpenKeyExA with options 0. `root` is a root or an open key, `path` in the ANSI code page. On
/// success `key` is open and must be closed by the caller; on failure it is left as it was.
std::int32_t RegistryOpenKey(RegistryKey root, const std::string& path, std::uint32_t access,
                             RegistryKey& key);

/// RegCreateKeyExA with option 0 (not volatile): the key with everything above it is made when it
/// is missing. Otherwise as RegistryOpenKey.
std::int32_t RegistryCreateKey(RegistryKey root, const std::string& path, std::uint32_t access,
                               RegistryKey& key);

/// RegEnumKeyExA: the name of sub-key number `index`, counted from 0, or kRegistryNoMoreItems.
std::int32_t RegistryEnumKey(RegistryKey key, std::uint32_t index, std::string& name);

/// RegEnumValueA: name, type and size of value number `index`, counted from 0, or
/// kRegistryNoMoreItems. `data` gets the value itself: kRegistryMoreData when it has no room for
/// it. An empty `data` asks for no value.
std::int32_t RegistryEnumValue(RegistryKey key, std::uint32_t index, std::string& name,
                               std::span<std::byte> data, RegistryValueInfo& info);

/// RegQueryValueExA. `name` is in the ANSI code page. Fills `data` as far as the value goes and
/// `info` with the stored type and size; a value longer than `data` is kRegistryMoreData, with
/// `info` still filled.
std::int32_t RegistryQueryValue(RegistryKey key, const std::string& name, std::span<std::byte> data,
                                RegistryValueInfo& info);

/// RegSetValueExA.
std::int32_t RegistrySetValue(RegistryKey key, const std::string& name, std::uint32_t type,
                              std::span<const std::byte> data);

/// RegDeleteValueA.
std::int32_t RegistryDeleteValue(RegistryKey key, const std::string& name);

/// RegCloseKey.
std::int32_t RegistryCloseKey(RegistryKey key);

}  // namespace qmzentrel::platform
