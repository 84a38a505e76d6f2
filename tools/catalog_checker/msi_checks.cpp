#include <algorithm>

#include "interface/msi_catalog.h"
#include "support/modCOM_Hex.h"
#include "tools/catalog_checker/catalog_parts.h"
#include "tools/catalog_checker/shared_checks.h"

namespace qmzentrel::catalog_checker {
namespace {

using catalogs::Range;

// A transponder holds the value in four bits.
constexpr std::int32_t kLast = 15;

constexpr const char* kNotWritten = "writing a record with such a value is refused: S_BAD_DATA";

void CheckMsiKey(const std::string& name, Findings& findings) {
  const CatalogKey key(catalogs::kKernelKey + name, findings);
  const catalogs::MsiDescription defaults;
  const auto taken_as = [](std::int32_t number) {
    return Defaulted("it is taken as " + std::to_string(number));
  };
  key.Text(value_name::kCaption, Defaulted("\"" + defaults.caption + "\" is shown"));
  const auto first = key.Number(value_name::kMin, taken_as(defaults.range.first));
  const auto last = key.Number(value_name::kMax, taken_as(defaults.range.last));
  const auto preselected = key.Number(value_name::kDefault, taken_as(defaults.preselected));
  const Range range{first.value_or(defaults.range.first), last.value_or(defaults.range.last)};

  if (range.first < 0)
    key.Fault(value_name::kMin, "is " + std::to_string(range.first) + ", below 0",
              EffectOfEnd(range.first, kNotWritten));
  if (range.last > kLast)
    key.Fault(value_name::kMax, "is " + std::to_string(range.last) + ", above 15",
              EffectOfEnd(range.last, kNotWritten));
  if (range.last < range.first) {
    key.Fault(value_name::kMax, "is " + std::to_string(range.last) + ", below Min",
              "no value is offered");
    return;
  }
  if (!IsWithin(range, preselected.value_or(defaults.preselected))) {
    key.Fault(value_name::kDefault, "does not lie between Min and Max",
              "no value is selected first");
  }
  CheckValueNames(
      key, {value_name::kCaption, value_name::kMin, value_name::kMax, value_name::kDefault}, range);
  for (std::int32_t n = std::max(range.first, 0); n <= std::min(range.last, kLast); ++n) {
    key.Name(std::to_string(n), Defaulted("0x" + modCOM_Hex::HexPad(n, 1) + " is shown"));
  }
}

}  // namespace

void CheckMsi(const std::vector<std::string>& names, Findings& findings) {
  for (const std::string& name : names) CheckMsiKey(name, findings);
  const CatalogKey kernel(catalogs::kKernelKey, findings);
  for (const std::string& name : kernel.SubKeyNames()) {
    if (IsTakenBelowKernel(name) || IsOneOf(name, names)) continue;
    kernel.SubKey(name).Remark("", "is named by no interface's MSI", "nothing reads it");
  }
}

}  // namespace qmzentrel::catalog_checker
