// What the catalog says of one meter interface, and what follows for the two bits that say how a
// transponder uses it. Read afresh with each call.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "support/variant.h"

namespace qmzentrel::catalogs {

/// The key of a meter interface, below HKEY_LOCAL_MACHINE.
std::string InterfaceKey(std::int32_t meter_interface);

/// A property as it is stored, as a number: nothing there is 0. Error 13 for a text that is no
/// number, 6 for one beyond 32 bits.
std::int32_t PropertyNumber(const Variant& stored);

/// "Encoder" as it is stored; not 0 means that the interface is one of encoders.
Variant EncoderOf(std::int32_t meter_interface);

// --- Versions ---

/// The versions below these sub-keys of a meter interface: the "Ver" texts that are numbers, in the
/// sorted order of the sub-keys.
std::vector<std::string> VersionsOf(std::int32_t meter_interface, std::vector<std::string> keys);

/// Whether what stands in the sub-key of this name holds for `version`. Decided letter by letter,
/// as catalogs are made for it: "10.0" is below "4.0", and holds for it.
bool HoldsFor(const std::string& version_key, const std::string& version);

/// The look-up of a property that each version of an interface may give anew. Its members are what
/// it works with, for a report to show when it fails.
struct VersionedLookup {
  std::vector<std::string> keys;  ///< sub-keys of the interface, sorted
  std::string key;                ///< path of the one asked last
  std::int32_t index = 0;         ///< of the one at work, which goes from the last to the first
  Variant value;

  /// The value `name` of the last sub-key of `root` that has it and holds for `version`; else that
  /// of `root` itself, or `absent`. For no version in particular, an empty one, sub-keys do not
  /// count.
  Variant Find(const std::string& root, const std::string& name, const std::string& version,
               const std::optional<Variant>& absent = std::nullopt);
};

// --- Primary and secondary interfaces ---

/// Stands for every interface that a transponder uses as its primary one.
inline constexpr std::int32_t kPrimaryInterface = 0;

/// The interface whose versions, identifier sources and MSI a transponder has: its own only if it
/// is used as the secondary one.
std::int32_t InterfaceInUse(std::int32_t meter_interface, bool secondary);

enum class InterfaceUse { kEither, kPrimaryOnly, kSecondaryOnly };

/// The use that the bits of "MIF" allow. None at all is left to the user, as both are.
InterfaceUse AllowedUse(std::int32_t mif);

/// Whether "IDSources" has exactly one of the two sources, so that there is nothing to toggle.
bool HasOneIdSource(std::int32_t id_sources);

}  // namespace qmzentrel::catalogs
