// The registry's own numbers, as the operating system has them.
#pragma once

#include <cstdint>

#include "platform/registry.h"

namespace qmzentrel::tests {

/// HKEY_CURRENT_USER, a root that the component does not use.
inline constexpr platform::RegistryKey kCurrentUser = 0x80000001u;

// Access rights.
inline constexpr std::uint32_t kReadAccess = 0x20009;  ///< READ_CONTROL, query, enumerate sub-keys
inline constexpr std::uint32_t kWriteAccess = 2;       ///< KEY_SET_VALUE

// Types of values.
inline constexpr std::uint32_t kRegNone = 0;
inline constexpr std::uint32_t kRegSz = 1;
inline constexpr std::uint32_t kRegExpandSz = 2;
inline constexpr std::uint32_t kRegBinary = 3;
inline constexpr std::uint32_t kRegDword = 4;
inline constexpr std::uint32_t kRegDwordBigEndian = 5;
inline constexpr std::uint32_t kRegMultiSz = 7;
inline constexpr std::uint32_t kRegQword = 11;

// Results, beside those of platform/registry.h.
inline constexpr std::int32_t kAccessDenied = 5;
inline constexpr std::int32_t kInvalidHandle = 6;
inline constexpr std::int32_t kInvalidParameter = 87;
inline constexpr std::int32_t kKeyDeleted = 1018;
inline constexpr std::int32_t kNoResources = 1450;

}  // namespace qmzentrel::tests
