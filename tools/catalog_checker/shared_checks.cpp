#include "tools/catalog_checker/shared_checks.h"

#include <algorithm>
#include <charconv>

#include "platform/text.h"
#include "support/conversion.h"
#include "support/modErrorReportSupport.h"
#include "support/run_time_error.h"

namespace qmzentrel::catalog_checker {
namespace {

using catalogs::Range;

bool HasTestableBit(std::int32_t number) {
  try {
    catalogs::HasBit(0, number);
    return true;
  } catch (const RunTimeError&) {
    return false;
  }
}

}  // namespace

std::int32_t HighestBit() {
  static const std::int32_t highest = [] {
    std::int32_t number = 0;
    while (HasTestableBit(number + 1)) ++number;
    return number;
  }();
  return highest;
}

std::optional<std::int32_t> PlainNumber(const std::string& name) {
  std::int32_t number = 0;
  std::from_chars(name.data(), name.data() + name.size(), number);
  return std::to_string(number) == name ? std::optional(number) : std::nullopt;
}

std::string Listed(const std::vector<std::int32_t>& numbers) {
  std::string list;
  for (const std::int32_t number : numbers) {
    if (!list.empty()) list += ", ";
    list += std::to_string(number);
  }
  return list;
}

bool IsWithin(const Range& range, std::int32_t number) {
  return number >= range.first && number <= range.last;
}

bool IsOneOf(const std::string& name, const std::vector<std::string>& names) {
  return std::ranges::any_of(names, [&name](const std::string& other) {
    return platform::CompareTextNoCase(name, other) == 0;
  });
}

bool IsTakenBelowKernel(const std::string& name) {
  return IsOneOf(name, {catalogs::kInterfacesName, catalogs::kIntervalsName});
}

std::optional<Range> CheckRange(const CatalogKey& key, const std::string& effect) {
  const auto first = key.Number(value_name::kMin, Required(effect));
  const auto last = key.Number(value_name::kMax, Required(effect));
  return CheckRange(key, first, last, effect);
}

std::optional<Range> CheckRange(const CatalogKey& key, const std::optional<std::int32_t>& first,
                                const std::optional<std::int32_t>& last,
                                const std::string& effect) {
  if (!first || !last) return std::nullopt;
  const Range range{*first, *last};
  if (range.last >= range.first) return range;
  key.Fault(value_name::kMax, "is " + std::to_string(range.last) + ", below Min", effect);
  return std::nullopt;
}

std::string EffectOfEnd(std::int32_t end, const std::string& effect) {
  if (IsWithin(kPromptRange, end)) return effect;
  return "its numbers are looked up one by one, the first " +
         std::to_string(catalogs::kMostNumbers) + " of them; " + effect;
}

std::optional<std::int32_t> CheckVersioned(const CatalogKey& key, const std::string& name,
                                           const Absence& absence) {
  const Variant stored = key.Value(name);
  const auto* const text = std::get_if<std::string>(&stored);
  const auto number = text != nullptr ? NumericValue(*text) : std::nullopt;
  if (text == nullptr || (number && RoundToLong(*number))) return key.Number(name, absence);
  key.FaultOfData(name, "number",
                  "the simulator's dialog fails with error " +
                      std::to_string(number ? kErrorOverflow : kErrorTypeMismatch) +
                      " when it is chosen",
                  absence.effect);
  return std::nullopt;
}

void CheckBitRange(const CatalogKey& key, const Range& range) {
  constexpr const char* kNotOffered = "no list offers a number below 0";
  const std::string is = "is " + std::to_string(range.first);
  if (range.first < kPromptRange.first) {
    key.Fault(value_name::kMin, is + ", below -1", kNotOffered);
  } else if (range.first < 0) {
    key.Remark(value_name::kMin, is, kNotOffered);
  }
}

void CheckBits(const CatalogKey& key, const std::string& name, std::int32_t bits,
               const Range& range) {
  constexpr std::int32_t kAll = -1;
  constexpr std::int32_t kSignBit = 31;
  if (bits == kAll) return;
  std::vector<std::int32_t> outside;
  for (std::int32_t bit = 0; bit <= HighestBit(); ++bit) {
    if (catalogs::HasBit(bits, bit) && !IsWithin(range, bit)) outside.push_back(bit);
  }
  if (bits < 0) outside.push_back(kSignBit);
  if (!outside.empty()) {
    key.Fault(name, "has bits outside Min to Max: " + Listed(outside), "nothing is offered there");
  }
}

void CheckValueNames(const CatalogKey& key, const std::vector<std::string>& known,
                     const Range& numbered) {
  for (const std::string& name : key.ValueNames()) {
    if (IsOneOf(name, known)) continue;
    const auto number = PlainNumber(name);
    if (number && IsWithin(numbered, *number)) continue;
    if (number) {
      key.Fault(name, "lies outside the range", "nothing reads it");
    } else if (NumericValue(name)) {
      key.Fault(name, "is not named in plain decimal", "nothing reads it");
    } else {
      key.Remark(name, "is no value of the catalog", "nothing reads it");
    }
  }
}

bool SortFails(std::vector<std::string> names) {
  const modErrorReportSupport::ReportsWithheld tried_only;
  try {
    modCOM_Registry::RegKeys_QSort(names, -1, -1);
    return false;
  } catch (const RunTimeError&) {
    return true;
  }
}

void CheckSorting(const CatalogKey& key, const std::vector<std::string>& names) {
  const auto is_number = [](const std::string& name) { return NumericValue(name).has_value(); };
  if (std::ranges::all_of(names, is_number) || std::ranges::none_of(names, is_number)) return;
  key.Fault("", "has sub-keys named by numbers and others named by words",
            SortFails(names) ? "sorting them fails with error 13, and there is no list"
                             : "they are not sorted by number, and one more can make it fail");
}

}  // namespace qmzentrel::catalog_checker
