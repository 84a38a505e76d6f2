#include "tools/catalog_checker/catalog_parts.h"
#include "tools/catalog_checker/shared_checks.h"

namespace qmzentrel::catalog_checker {
namespace {

using catalogs::Range;

constexpr const char* kNoneOffered = "no interval is offered";
constexpr const char* kNotWritten = "writing a record with such an interval is refused: S_BAD_DATA";

}  // namespace

void CheckIntervals(Findings& findings) {
  const CatalogKey key(catalogs::kIntervalsKey, findings);
  if (!key.IsThere()) {
    key.Fault("", "is missing", "no interval is offered, and TXIName is empty");
    return;
  }
  const Range all{0, catalogs::kLastInterval};
  const auto range = CheckRange(key, kNoneOffered);
  if (range && range->first < all.first) {
    key.Fault(value_name::kMin, "is " + std::to_string(range->first) + ", below 0",
              EffectOfEnd(range->first, kNotWritten));
  }
  if (range && range->last > all.last) {
    key.Fault(value_name::kMax, "is " + std::to_string(range->last) + ", above 15",
              EffectOfEnd(range->last, kNotWritten));
  }
  CheckValueNames(key, {value_name::kMin, value_name::kMax}, all);
  for (std::int32_t n = all.first; n <= all.last; ++n) {
    key.Name(std::to_string(n), range && IsWithin(*range, n)
                                    ? Required("it is listed as \"Unknown\"")
                                    : Defaulted("TXIName is empty"));
  }
}

}  // namespace qmzentrel::catalog_checker
