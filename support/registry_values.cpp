#include "support/registry_values.h"

#include <utility>
#include <variant>

namespace qmzentrel::registry {
namespace {

using modCOM_Registry::OpenKey;

// The value of this kind, into which `slot` has the registry layer convert what is stored. A value
// of a type that it does not read counts as read and leaves the slot as it was.
template <class Kind>
std::optional<Kind> Read(const OpenKey& key, const std::string& name, Variant slot) {
  if (!modCOM_Registry::RegGetValue(key, name, slot)) return std::nullopt;
  auto* const value = std::get_if<Kind>(&slot);
  return value != nullptr ? std::optional(std::move(*value)) : std::nullopt;
}

}  // namespace

std::optional<std::int32_t> Number(const OpenKey& key, const std::string& name) {
  return Read<std::int32_t>(key, name, std::int16_t{0});  // a number that was read has 32 bits
}

std::int32_t Number(const OpenKey& key, const std::string& name, std::int32_t absent) {
  return Number(key, name).value_or(absent);
}

std::optional<std::string> Text(const OpenKey& key, const std::string& name) {
  return Read<std::string>(key, name, std::string());
}

std::string Text(const OpenKey& key, const std::string& name, const std::string& absent,
                 const std::string& unread) {
  return Read<std::string>(key, name, unread).value_or(absent);
}

}  // namespace qmzentrel::registry
