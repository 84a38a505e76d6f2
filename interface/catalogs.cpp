#include "interface/catalogs.h"

#include <algorithm>
#include <cmath>

#include "support/conversion.h"
#include "support/modCOM_Common.h"
#include "support/registry_values.h"

namespace qmzentrel::catalogs {
namespace {

using modCOM_Registry::OpenKey;

constexpr const char* kUnknown = "Unknown";

}  // namespace

std::int32_t LastLookedUp(const Range& range) {
  const std::int64_t last = std::int64_t{range.first} + kMostNumbers - 1;
  return static_cast<std::int32_t>(std::min<std::int64_t>(range.last, last));
}

Range ReadRange(const OpenKey& key) {
  const auto first = registry::Number(key, value_name::kMin);
  const auto last = registry::Number(key, value_name::kMax);
  return first && last ? Range{*first, *last} : Range{};
}

std::string ReadName(const OpenKey& parent, std::int32_t number, const std::string& absent) {
  if (!parent.IsOpen()) return absent;
  return registry::Text(OpenKey(parent.Handle(), std::to_string(number)), "", absent);
}

std::string ReadName(const std::string& path, std::int32_t number, const std::string& absent) {
  const OpenKey key(platform::kLocalMachine,
                    modCOM_Common::AddBackslash(path) + std::to_string(number));
  return registry::Text(key, "", absent);
}

bool HasBit(std::int32_t mask, std::int32_t number) {
  return (mask & ToLong(std::exp2(number))) != 0;
}

void OfferInterfaces(const AddEntry& add) {
  const OpenKey key(platform::kLocalMachine, kInterfacesKey);
  const Range range = ReadRange(key);
  const std::int32_t mask = registry::Number(key, value_name::kMask, 0);
  // Below 0 there is no bit: no need to go through the numbers there.
  for (std::int64_t n = std::max(range.first, 0); n <= range.last; ++n) {
    const auto number = static_cast<std::int32_t>(n);
    if (HasBit(mask, number)) add(number, ReadName(key, number, kUnknown));
  }
}

void OfferIntervals(const AddEntry& add) {
  const OpenKey key(platform::kLocalMachine, kIntervalsKey);
  const Range range = ReadRange(key);
  for (std::int64_t n = range.first; n <= LastLookedUp(range); ++n) {
    const auto number = static_cast<std::int32_t>(n);
    add(number, registry::Text(key, std::to_string(number), kUnknown));
  }
}

}  // namespace qmzentrel::catalogs
