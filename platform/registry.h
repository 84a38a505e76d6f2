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

/// Type and size in bytes of a stored value.
struct RegistryValueInfo {
  std::uint32_t type = 0;
  std::uint32_t size = 0;
};

/// RegOpenKeyExA with options 0. `path` is in the ANSI code page. On success `key` is open and must
/// be closed by the caller; on failure it is left as it was.
std::int32_t RegistryOpenKey(RegistryKey root, const std::string& path, std::uint32_t access,
                             RegistryKey& key);

/// RegQueryValueExA. `name` is in the ANSI code page. Fills `data` as far as the value goes and
/// `info` with the stored type and size; a value longer than `data` is kRegistryMoreData, with
/// `info` still filled.
std::int32_t RegistryQueryValue(RegistryKey key, const std::string& name, std::span<std::byte> data,
                                RegistryValueInfo& info);

/// RegCloseKey.
std::int32_t RegistryCloseKey(RegistryKey key);

}  // namespace qmzentrel::platform
