// What the bytes of a value in the registry stand for.
#pragma once

#include <cstdint>
#include <string>

#include "support/variant.h"

namespace qmzentrel::registry {

// Value types of the operating system.
inline constexpr std::uint32_t kText = 1;
inline constexpr std::uint32_t kNumber = 4;
inline constexpr std::uint32_t kTexts = 7;

/// A value as it is stored; texts in the ANSI code page.
struct StoredValue {
  std::uint32_t type;
  std::string bytes;
};

/// Converts a value into `slot`, whose present type chooses how: modCOM_Registry::RegGetValue says
/// what goes into what. False when it does not go; then the slot is as it was.
bool ConvertInto(Variant& slot, const StoredValue& stored);

/// The data of a value in a list, as modCOM_Registry::RegEnumValues gives it.
Variant ListedData(const StoredValue& stored);

}  // namespace qmzentrel::registry
