#include <algorithm>
#include <set>

#include "interface/mif_catalog.h"
#include "tools/catalog_checker/catalog_parts.h"
#include "tools/catalog_checker/shared_checks.h"

namespace qmzentrel::catalog_checker {
namespace {

using catalogs::Range;

// The first interface whose name an object loads.
constexpr std::int32_t kLowest = -1;
// A transponder holds the number of its interface in four bits.
constexpr std::int32_t kLastOfTransponder = 15;

constexpr const char* kNoNames =
    "no names are loaded: MIFName and TXIName fail with error 65535; no interface is offered";
constexpr const char* kNamesTo0 =
    "names are loaded as if it were 0: MIFName fails with error 65535 above; no interface is "
    "offered";
constexpr const char* kNoneOffered = "no interface is offered";
constexpr const char* kNothingReadsIt = "nothing reads it";

class Interfaces {
 public:
  explicit Interfaces(Findings& findings)
      : findings_(findings), key_(catalogs::kInterfacesKey, findings) {}

  void Check();

 private:
  void CheckLast(std::int32_t last) const;
  void CheckMask(std::int32_t mask, const Range& range);
  void CheckNames(std::int32_t last) const;
  void CheckInterface(std::int32_t number);
  void CheckDetails(const CatalogKey& key, std::int32_t number);
  void CheckMsiName(const CatalogKey& key, const Absence& absence);

  bool IsOffered(std::int32_t number) const { return offered_.contains(number); }
  bool IsPrimaryOfOthers(std::int32_t number) const {
    return number == catalogs::kPrimaryInterface && !offered_.empty();
  }

  Findings& findings_;
  CatalogKey key_;
  std::set<std::int32_t> offered_;
  std::vector<std::string> msi_names_;
};

void Interfaces::Check() {
  if (!key_.IsThere()) {
    key_.Fault("", "is missing", kNoNames);
    return;
  }
  CheckValueNames(key_, {value_name::kMin, value_name::kMax, value_name::kMask});
  const auto first = key_.Number(value_name::kMin, Required(kNoneOffered));
  const auto last = key_.Number(value_name::kMax, {Grade::kFault, kNoNames, kNamesTo0});
  const auto mask = key_.Number(value_name::kMask, Required(kNoneOffered));
  if (mask && *mask == 0) key_.Fault(value_name::kMask, "is 0", kNoneOffered);
  if (!last) return;
  CheckLast(*last);
  if (*last < kLowest) return;
  const auto range = CheckRange(key_, first, last, kNoneOffered);
  if (range && mask) CheckMask(*mask, *range);
  CheckNames(*last);
  for (std::int32_t n = kLowest; n <= std::min(*last, HighestBit()); ++n) CheckInterface(n);
  CheckMsi(msi_names_, findings_);
}

void Interfaces::CheckLast(std::int32_t last) const {
  const std::string is = "is " + std::to_string(last) + ", ";
  if (last < kLowest) {
    key_.Fault(value_name::kMax, is + "below -1", "no object can be created (0x800AFFFF)");
  } else if (last > kPromptRange.last) {
    key_.Fault(value_name::kMax, is + "above " + std::to_string(kPromptRange.last),
               "each new object reads a key for every number, the first " +
                   std::to_string(catalogs::kMostNumbers) +
                   " of them; the list of interfaces ends with error 6");
  } else if (last > HighestBit()) {
    key_.Fault(value_name::kMax, is + "above " + std::to_string(HighestBit()),
               "the list of interfaces ends with error 6 at " + std::to_string(HighestBit() + 1));
  }
}

void Interfaces::CheckMask(std::int32_t mask, const Range& range) {
  CheckBitRange(key_, range);
  CheckBits(key_, value_name::kMask, mask, range);
  std::vector<std::int32_t> beyond;
  for (std::int32_t n = std::max(range.first, 0); n <= std::min(range.last, HighestBit()); ++n) {
    if (!catalogs::HasBit(mask, n)) continue;
    offered_.insert(n);
    if (n > kLastOfTransponder) beyond.push_back(n);
  }
  if (!beyond.empty()) {
    key_.Remark(value_name::kMask,
                "offers interfaces that no transponder reports: " + Listed(beyond),
                "the simulator keeps the lowest four bits of the number");
  }
}

void Interfaces::CheckNames(std::int32_t last) const {
  for (const std::string& name : key_.SubKeyNames()) {
    const auto number = PlainNumber(name);
    if (!number) {
      key_.SubKey(name).Fault("", "is not named by a number in plain decimal", kNothingReadsIt);
    } else if (!IsWithin({kLowest, last}, *number)) {
      key_.SubKey(name).Fault("", "lies outside -1 to Max", kNothingReadsIt);
    }
  }
}

void Interfaces::CheckInterface(std::int32_t number) {
  const CatalogKey key = key_.SubKey(std::to_string(number));
  const bool offered = IsOffered(number);
  const Absence no_name =
      offered ? Required("it is listed as \"Unknown\"") : Defaulted("MIFName is empty");
  if (key.IsThere()) {
    key.Name("", no_name);
    CheckDetails(key, number);
  } else if (IsPrimaryOfOthers(number)) {
    key.Fault("", "is missing",
              "primary interfaces take versions and MSI from here: none are left");
  } else {
    key.Missing("", "is missing", no_name);
  }
}

void Interfaces::CheckDetails(const CatalogKey& key, std::int32_t number) {
  if (number < 0) {
    CheckValueNames(key, {});
    return;
  }
  constexpr std::int32_t kAllSources = 3;
  const bool needed = IsOffered(number) || IsPrimaryOfOthers(number);
  const auto absent = [needed](const std::string& effect) {
    return needed ? Defaulted(effect) : Optional(effect);
  };
  CheckValueNames(
      key, {value_name::kEncoder, value_name::kMsi, value_name::kIdSources, value_name::kMif});
  key.Number(value_name::kEncoder,
             absent("it is taken as 0: the tamper count is captioned \"Tamper\""));
  CheckVersioned(key, value_name::kMif, absent("it is taken as 0 where no version gives it"));
  const auto sources = CheckVersioned(key, value_name::kIdSources,
                                      absent("it is taken as 0 where no version gives it"));
  if (sources && (*sources & ~kAllSources) != 0) {
    key.Remark(value_name::kIdSources, "has bits above bit 1", "they mean nothing");
  }
  CheckMsiName(key, absent("caption and values of the MSI are the defaults"));
  CheckVersions(key, number,
                IsPrimaryOfOthers(number)
                    ? Required("the simulator offers no version for primary interfaces")
                    : absent("as a secondary interface it leaves the version list as it was"));
}

void Interfaces::CheckMsiName(const CatalogKey& key, const Absence& absence) {
  const auto name = key.Text(value_name::kMsi, absence);
  if (!name || name->empty()) return;
  if (IsTakenBelowKernel(*name)) {
    key.Fault(value_name::kMsi, "names a key that is no MSI description: " + *name,
              "the values of that key are taken");
  } else if (!CatalogKey(catalogs::kKernelKey + *name, findings_).IsThere()) {
    key.Fault(value_name::kMsi, "names a key that does not exist: " + *name, absence.effect);
  } else if (!IsOneOf(*name, msi_names_)) {
    msi_names_.push_back(*name);
  }
}

}  // namespace

void CheckInterfaces(Findings& findings) {
  Interfaces(findings).Check();
}

}  // namespace qmzentrel::catalog_checker
