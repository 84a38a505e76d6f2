#include <algorithm>
#include <iterator>
#include <utility>

#include "interface/mif_catalog.h"
#include "support/conversion.h"
#include "tools/catalog_checker/catalog_parts.h"
#include "tools/catalog_checker/shared_checks.h"

namespace qmzentrel::catalog_checker {
namespace {

using Texts = std::vector<std::string>;

constexpr const char* kNotOffered = "the version is not offered";

// What the simulator offers for the interface; nothing where the sort fails.
Texts OfferedFor(std::int32_t number) {
  Texts names;
  modCOM_Registry::RegEnumKeys(platform::kLocalMachine, catalogs::InterfaceKey(number), names,
                               false);
  return SortFails(names) ? Texts{} : catalogs::VersionsOf(number, std::move(names));
}

// The texts of all versions that can be chosen with the interface, as a primary or secondary one.
Texts OfferedWith(std::int32_t number) {
  Texts offered = OfferedFor(catalogs::kPrimaryInterface);
  if (number != catalogs::kPrimaryInterface) {
    std::ranges::copy(OfferedFor(number), std::back_inserter(offered));
  }
  return offered;
}

void CheckText(const CatalogKey& version) {
  if (!version.HasValue(value_name::kVer)) {
    version.Fault(value_name::kVer, "is missing", kNotOffered);
    return;
  }
  const Variant stored = version.Value(value_name::kVer);
  const auto* text = std::get_if<std::string>(&stored);
  if (const auto* number = std::get_if<std::int32_t>(&stored)) {
    version.Remark(value_name::kVer, "is stored as a number",
                   "it is shown as \"" + std::to_string(*number) + "\"");
  } else if (text == nullptr || !NumericValue(*text)) {
    version.FaultOfData(value_name::kVer, "number", kNotOffered, kNotOffered);
  }
}

// Looks for an override that holds for no version that is offered, or for one that is older.
void CheckOverride(const CatalogKey& version, const std::string& name, const std::string& value,
                   const Texts& offered) {
  CheckVersioned(version, value, Optional("it is taken as 0"));
  if (!version.HasValue(value) || offered.empty()) return;
  const auto overrides = [&name](const std::string& text) {
    return catalogs::HoldsFor(name, text);
  };
  if (std::ranges::none_of(offered, overrides)) {
    version.Fault(value, "belongs to a version that sorts as text behind all that are offered",
                  "it overrides nothing");
    return;
  }
  const auto own = NumericValue(name);
  for (const std::string& text : offered) {
    const auto other = NumericValue(text);
    if (own && other && *other < *own && overrides(text)) {
      version.Remark(value, "belongs to a version that sorts as text before \"" + text + "\"",
                     "it holds for that version, too");
      return;
    }
  }
}

}  // namespace

void CheckVersions(const CatalogKey& interface_key, std::int32_t number, const Absence& without) {
  const Texts names = interface_key.SubKeyNames();
  if (names.empty()) {
    interface_key.Missing("", "has no versions", without);
    return;
  }
  CheckSorting(interface_key, names);
  const auto overrides = [&interface_key](const std::string& name) {
    const CatalogKey version = interface_key.SubKey(name);
    return version.HasValue(value_name::kIdSources) || version.HasValue(value_name::kMif);
  };
  const Texts offered = std::ranges::any_of(names, overrides) ? OfferedWith(number) : Texts();
  for (const std::string& name : names) {
    const CatalogKey version = interface_key.SubKey(name);
    CheckValueNames(version, {value_name::kVer, value_name::kIdSources, value_name::kMif});
    CheckText(version);
    CheckOverride(version, name, value_name::kIdSources, offered);
    CheckOverride(version, name, value_name::kMif, offered);
  }
}

}  // namespace qmzentrel::catalog_checker
