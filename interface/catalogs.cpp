#include "interface/catalogs.h"

#include <algorithm>
#include <cmath>
#include <variant>

#include "support/conversion.h"
#include "support/modCOM_Common.h"
#include "support/modCOM_Hex.h"
#include "support/registry_values.h"

namespace qmzentrel::catalogs {
namespace {

using modCOM_Registry::OpenKey;
using modCOM_Registry::RegGetValue;

constexpr const char* kUnknown = "Unknown";

std::string Key(const std::string& parent, std::int32_t number) {
  return parent + std::to_string(number);
}

// "Ver" as a text, however it is stored; empty when it is no number.
std::string ReadVersion(const OpenKey& key) {
  Variant slot;
  RegGetValue(key, value::kVer, slot);
  if (const auto* number = std::get_if<std::int32_t>(&slot)) return std::to_string(*number);
  const auto* text = std::get_if<std::string>(&slot);
  return text != nullptr && NumericValue(*text) ? *text : "";
}

}  // namespace

Range ReadRange(const OpenKey& key) {
  const auto first = registry::Number(key, value::kMin);
  const auto last = registry::Number(key, value::kMax);
  return first && last ? Range{*first, *last} : Range{};
}

std::string ReadName(const OpenKey& parent, std::int32_t number, const std::string& absent) {
  if (!parent.IsOpen()) return absent;
  return registry::Text(OpenKey(parent.Handle(), std::to_string(number)), "", absent);
}

std::string ReadName(const std::string& path, std::int32_t number, const std::string& absent) {
  const OpenKey key(platform::kLocalMachine, Key(modCOM_Common::AddBackslash(path), number));
  return registry::Text(key, "", absent);
}

bool HasBit(std::int32_t mask, std::int32_t number) {
  return (mask & ToLong(std::exp2(number))) != 0;
}

void OfferInterfaces(const AddEntry& add) {
  const OpenKey key(platform::kLocalMachine, kInterfacesKey);
  const Range range = ReadRange(key);
  const std::int32_t mask = registry::Number(key, value::kMask, 0);
  // There is no bit below 0, hence nothing to offer there.
  for (std::int64_t n = std::max(range.first, 0); n <= range.last; ++n) {
    const auto number = static_cast<std::int32_t>(n);
    if (HasBit(mask, number)) add(number, ReadName(key, number, kUnknown));
  }
}

void OfferIntervals(const AddEntry& add) {
  const OpenKey key(platform::kLocalMachine, kIntervalsKey);
  const Range range = ReadRange(key);
  for (std::int64_t n = range.first; n <= range.last; ++n) {
    const auto number = static_cast<std::int32_t>(n);
    add(number, registry::Text(key, std::to_string(number), kUnknown));
  }
}

std::vector<std::string> VersionsOf(std::int32_t meter_interface) {
  std::vector<std::string> versions;
  std::vector<std::string> keys;
  const std::string path = Key(kInterfacesKey, meter_interface) + "\\";
  modCOM_Registry::RegEnumKeys(platform::kLocalMachine, path, keys, true);
  for (const std::string& key : keys) {
    std::string version = ReadVersion(OpenKey(platform::kLocalMachine, path + key));
    if (!version.empty()) versions.push_back(std::move(version));
  }
  return versions;
}

MsiDescription MsiOf(std::int32_t meter_interface) {
  const OpenKey interface_key(platform::kLocalMachine, Key(kInterfacesKey, meter_interface));
  const OpenKey key(platform::kLocalMachine,
                    kKernelKey + registry::Text(interface_key, value::kMsi, ""));
  MsiDescription msi;
  msi.caption = registry::Text(key, value::kCaption, msi.caption);
  msi.range = {registry::Number(key, value::kMin, msi.range.first),
               registry::Number(key, value::kMax, msi.range.last)};
  msi.preselected = registry::Number(key, value::kDefault, msi.preselected);
  for (std::int64_t n = msi.range.first; n <= msi.range.last; ++n) {
    const auto value = static_cast<std::int32_t>(n);
    const std::string bare = "0x" + modCOM_Hex::HexPad(value, 1);
    msi.names.push_back(registry::Text(key, std::to_string(value), bare));
  }
  return msi;
}

}  // namespace qmzentrel::catalogs
