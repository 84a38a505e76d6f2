#include "tools/catalog_checker/catalog_key.h"

#include <array>
#include <utility>

#include "platform/registry.h"
#include "platform/text.h"
#include "support/conversion.h"
#include "support/registry_values.h"

namespace qmzentrel::catalog_checker {
namespace {

using modCOM_Registry::RegGetValue;

std::string TypeName(std::uint32_t type) {
  // In the order of the operating system's numbers.
  constexpr std::array kNames = {"REG_NONE",
                                 "REG_SZ",
                                 "REG_EXPAND_SZ",
                                 "REG_BINARY",
                                 "REG_DWORD",
                                 "REG_DWORD_BIG_ENDIAN",
                                 "REG_LINK",
                                 "REG_MULTI_SZ",
                                 "REG_RESOURCE_LIST",
                                 "REG_FULL_RESOURCE_DESCRIPTOR",
                                 "REG_RESOURCE_REQUIREMENTS_LIST",
                                 "REG_QWORD"};
  return type < kNames.size() ? kNames[type] : "type " + std::to_string(type);
}

std::string ShownName(const std::string& name) {
  return name.empty() ? kUnnamed : name;
}

}  // namespace

Absence Required(std::string effect) {
  return {Grade::kFault, std::move(effect), ""};
}

Absence Defaulted(std::string effect) {
  return {Grade::kRemark, std::move(effect), ""};
}

Absence Optional(std::string effect) {
  return {std::nullopt, std::move(effect), ""};
}

CatalogKey::CatalogKey(const std::string& path, Findings& findings)
    : path_(modCOM_Registry::NormaliseKeyPath(path)),
      key_(platform::kLocalMachine, path_),
      findings_(findings) {}

CatalogKey CatalogKey::SubKey(const std::string& name) const {
  return {path_ + "\\" + name, findings_};
}

std::vector<std::string> CatalogKey::SubKeyNames() const {
  std::vector<std::string> names;
  modCOM_Registry::RegEnumKeys(platform::kLocalMachine, path_, names, false);
  return names;
}

std::vector<std::string> CatalogKey::ValueNames() const {
  std::vector<modCOM_Registry::Reg_KeyValues> values;
  modCOM_Registry::RegEnumValues(platform::kLocalMachine, path_, values, false);
  std::vector<std::string> names;
  names.reserve(values.size());
  for (auto& value : values) names.push_back(std::move(value.name));
  return names;
}

bool CatalogKey::HasValue(const std::string& name) const {
  return StoredType(name).has_value();
}

Variant CatalogKey::Value(const std::string& name) const {
  Variant value;
  RegGetValue(key_, name, value);
  return value;
}

std::optional<std::int32_t> CatalogKey::Number(const std::string& name,
                                               const Absence& absence) const {
  if (!HasValue(name)) {
    Missing(ShownName(name), "is missing", absence);
    return std::nullopt;
  }
  const auto number = registry::Number(key_, name);
  if (!number) {
    FaultOfData(name, "number", absence.effect,
                absence.effect_unread.empty() ? absence.effect : absence.effect_unread);
    return std::nullopt;
  }
  const Variant stored = Value(name);
  const auto* text = std::get_if<std::string>(&stored);
  if (text != nullptr && NumericValue(*text) != *number) {
    Remark(ShownName(name), "is no whole number: \"" + *text + "\"",
           "it is rounded to " + std::to_string(*number));
  }
  return number;
}

std::optional<std::string> CatalogKey::Text(const std::string& name, const Absence& absence) const {
  if (!HasValue(name)) {
    Missing(ShownName(name), "is missing", absence);
    return std::nullopt;
  }
  if (!std::holds_alternative<std::string>(Value(name))) {
    FaultOfData(name, "text", absence.effect, "it is taken as empty");
  }
  return registry::Text(key_, name);
}

void CatalogKey::Name(const std::string& name, const Absence& absence) const {
  const auto text = Text(name, absence);
  if (text && text->empty() && std::holds_alternative<std::string>(Value(name))) {
    Fault(ShownName(name), "is empty", "nothing is shown as the name");
  }
}

void CatalogKey::Fault(const std::string& value, const std::string& problem,
                       const std::string& effect) const {
  Find(Grade::kFault, value, problem, effect);
}

void CatalogKey::Remark(const std::string& value, const std::string& problem,
                        const std::string& effect) const {
  Find(Grade::kRemark, value, problem, effect);
}

void CatalogKey::Missing(const std::string& value, const std::string& problem,
                         const Absence& absence) const {
  if (absence.grade) Find(*absence.grade, value, problem, absence.effect);
}

void CatalogKey::FaultOfData(const std::string& name, const std::string& wanted,
                             const std::string& effect, const std::string& effect_unread) const {
  const Variant stored = Value(name);
  const std::string type = TypeName(StoredType(name).value_or(0));
  if (const auto* text = std::get_if<std::string>(&stored)) {
    Fault(ShownName(name), "is no " + wanted + ": \"" + *text + "\"", effect);
  } else if (!std::holds_alternative<std::monostate>(stored)) {
    Fault(ShownName(name), "is no " + wanted + " but " + type, effect);
  } else if (Variant untouched; RegGetValue(key_, name, untouched)) {
    Fault(ShownName(name), "is stored as " + type + ", which is not read", effect_unread);
  } else {
    Fault(ShownName(name), "is too short for " + type, effect);
  }
}

std::optional<std::uint32_t> CatalogKey::StoredType(const std::string& name) const {
  if (!IsThere()) return std::nullopt;
  platform::RegistryValueInfo info;
  const std::int32_t result =
      platform::RegistryQueryValue(key_.Handle(), platform::ToAnsi(name), {}, info);
  const bool found = result == platform::kRegistrySuccess || result == platform::kRegistryMoreData;
  return found ? std::optional(info.type) : std::nullopt;
}

void CatalogKey::Find(Grade grade, const std::string& value, const std::string& problem,
                      const std::string& effect) const {
  findings_.push_back({grade, path_, value, problem, effect});
}

}  // namespace qmzentrel::catalog_checker
