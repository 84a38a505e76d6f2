#include "interface/mif_catalog.h"

#include <cstddef>
#include <utility>
#include <variant>

#include "interface/catalog_layout.h"
#include "support/conversion.h"
#include "support/modCOM_Registry.h"
#include "support/run_time_error.h"

namespace qmzentrel::catalogs {
namespace {

using modCOM_Registry::RegGetValue;
using platform::kLocalMachine;

// "Ver" as a text, however it is stored; empty when it is no number.
std::string ReadVersion(const std::string& path) {
  Variant slot;
  RegGetValue(kLocalMachine, path, value_name::kVer, slot);
  if (const auto* number = std::get_if<std::int32_t>(&slot)) return std::to_string(*number);
  const auto* text = std::get_if<std::string>(&slot);
  return text != nullptr && NumericValue(*text) ? *text : "";
}

}  // namespace

std::string InterfaceKey(std::int32_t meter_interface) {
  return kInterfacesKey + std::to_string(meter_interface);
}

std::int32_t PropertyNumber(const Variant& stored) {
  if (const auto* number = std::get_if<std::int32_t>(&stored)) return *number;
  const auto* const text = std::get_if<std::string>(&stored);
  if (text == nullptr) return 0;
  const auto number = NumericValue(*text);
  if (!number) RaiseError(kErrorTypeMismatch);
  return ToLong(*number);
}

Variant EncoderOf(std::int32_t meter_interface) {
  Variant encoder = false;  // so that a text is read as its number
  RegGetValue(kLocalMachine, InterfaceKey(meter_interface), value_name::kEncoder, encoder,
              Variant());
  return encoder;
}

std::vector<std::string> VersionsOf(std::int32_t meter_interface, std::vector<std::string> keys) {
  modCOM_Registry::RegKeys_QSort(keys, -1, -1);
  std::vector<std::string> versions;
  for (const std::string& key : keys) {
    std::string version = ReadVersion(InterfaceKey(meter_interface) + "\\" + key);
    if (!version.empty()) versions.push_back(std::move(version));
  }
  return versions;
}

bool HoldsFor(const std::string& version_key, const std::string& version) {
  return version_key <= version;
}

Variant VersionedLookup::Find(const std::string& root, const std::string& name,
                              const std::string& version, const std::optional<Variant>& absent) {
  if (!version.empty()) {
    index = modCOM_Registry::RegEnumKeys(kLocalMachine, root, keys, true);
    while (--index >= 0) {
      const std::string& version_key = keys[static_cast<std::size_t>(index)];
      if (!HoldsFor(version_key, version)) continue;
      key.assign(root).append("\\").append(version_key);
      if (RegGetValue(kLocalMachine, key, name, value)) return value;
    }
  }
  RegGetValue(kLocalMachine, root, name, value, absent);
  return value;
}

std::int32_t InterfaceInUse(std::int32_t meter_interface, bool secondary) {
  return secondary ? meter_interface : kPrimaryInterface;
}

InterfaceUse AllowedUse(std::int32_t mif) {
  const bool primary = (mif & 1) != 0;
  const bool secondary = (mif & ~1) != 0;
  if (primary == secondary) return InterfaceUse::kEither;
  return primary ? InterfaceUse::kPrimaryOnly : InterfaceUse::kSecondaryOnly;
}

bool HasOneIdSource(std::int32_t id_sources) {
  return ((id_sources & 1) != 0) != ((id_sources & 2) != 0);
}

}  // namespace qmzentrel::catalogs
