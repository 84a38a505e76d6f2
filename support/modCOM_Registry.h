// The one layer through which the component reads the Windows registry. A registry failure never
// raises: a read falls back to its default.
#pragma once

#include <optional>
#include <string>

#include "platform/registry.h"
#include "support/variant.h"

namespace qmzentrel::modCOM_Registry {

/// Root of almost every key that the component knows.
inline constexpr const char* kQuenmoorKey = "SOFTWARE\\QuenmoorComms\\";

/// `path` as the operating system gets it: every doubled backslash made single in one pass, then
/// one trailing backslash taken off. Callers join paths with separators at both ends.
std::string NormaliseKeyPath(const std::string& path);

/// Reads one value into `slot`, whose present type chooses the conversion:
/// - a stored text goes into an empty slot or a text as it is, into a whole number or Boolean as a
///   32-bit number if it reads as one;
/// - a stored 32-bit number goes into an empty slot, a whole number or a Boolean;
/// - a stored list of texts goes into an empty slot or a text, as an array (an empty list as "");
/// - any other stored type leaves the slot as it is and counts as read.
/// True when the value was read and converted. Otherwise false, and the slot holds `default_value`
/// if there is one.
bool RegGetValue(platform::RegistryKey root, const std::string& path, const std::string& name,
                 Variant& slot, const std::optional<Variant>& default_value = std::nullopt);

}  // namespace qmzentrel::modCOM_Registry
