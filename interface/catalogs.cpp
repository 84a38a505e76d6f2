#include "interface/catalogs.h"

#include <algorithm>
#include <cmath>
#include <variant>

#include "support/conversion.h"
#include "support/modCOM_Common.h"
#include "support/modCOM_Hex.h"

namespace qmzentrel::catalogs {
namespace {

using modCOM_Registry::OpenKey;
using modCOM_Registry::RegGetValue;

constexpr const char* kUnknown = "Unknown";

std::optional<std::int32_t> ReadNumber(const OpenKey& key, const std::string& name) {
  // A value of a type that is no number counts as read and leaves the slot as it was.
  Variant slot = std::int16_t{0};
  RegGetValue(key, name, slot);
  const auto* const number = std::get_if<std::int32_t>(&slot);
  return number != nullptr ? std::optional(*number) : std::nullopt;
}

std::string Key(const std::string& parent, std::int32_t number) {
  return parent + std::to_string(number);
}

// "Ver" as a text, however it is stored; empty when it is no number.
std::string ReadVersion(const OpenKey& key) {
  Variant slot;
  RegGetValue(key, "Ver", slot);
  if (const auto* number = std::get_if<std::int32_t>(&slot)) return std::to_string(*number);
  const auto* text = std::get_if<std::string>(&slot);
  return text != nullptr && NumericValue(*text) ? *text : "";
}

}  // namespace

Range ReadRange(const OpenKey& key) {
  const auto first = ReadNumber(key, "Min");
  const auto last = ReadNumber(key, "Max");
  return first && last ? Range{*first, *last} : Range{};
}

std::int32_t ReadNumber(const OpenKey& key, const std::string& name, std::int32_t absent) {
  return ReadNumber(key, name).value_or(absent);
}

std::string ReadText(const OpenKey& key, const std::string& name, const std::string& absent) {
  Variant slot = std::string();
  RegGetValue(key, name, slot, absent);
  const auto* text = std::get_if<std::string>(&slot);
  return text != nullptr ? *text : absent;  // a list of texts is no name
}

std::string ReadName(const OpenKey& parent, std::int32_t number, const std::string& absent) {
  if (!parent.IsOpen()) return absent;
  return ReadText(OpenKey(parent.Handle(), std::to_string(number)), "", absent);
}

std::string ReadName(const std::string& path, std::int32_t number, const std::string& absent) {
  const OpenKey key(platform::kLocalMachine, Key(modCOM_Common::AddBackslash(path), number));
  return ReadText(key, "", absent);
}

bool HasBit(std::int32_t mask, std::int32_t number) {
  return (mask & ToLong(std::exp2(number))) != 0;
}

void OfferInterfaces(const AddEntry& add) {
  const OpenKey key(platform::kLocalMachine, kInterfacesKey);
  const Range range = ReadRange(key);
  const std::int32_t mask = ReadNumber(key, "Mask", 0);
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
    add(number, ReadText(key, std::to_string(number), kUnknown));
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
  const OpenKey key(platform::kLocalMachine, kKernelKey + ReadText(interface_key, "MSI", ""));
  MsiDescription msi;
  msi.caption = ReadText(key, "Caption", msi.caption);
  msi.range = {ReadNumber(key, "Min", msi.range.first), ReadNumber(key, "Max", msi.range.last)};
  msi.preselected = ReadNumber(key, "Default", msi.preselected);
  for (std::int64_t n = msi.range.first; n <= msi.range.last; ++n) {
    const auto value = static_cast<std::int32_t>(n);
    const std::string bare = "0x" + modCOM_Hex::HexPad(value, 1);
    msi.names.push_back(ReadText(key, std::to_string(value), bare));
  }
  return msi;
}

}  // namespace qmzentrel::catalogs
