// The sorting of modCOM_Registry: names of keys and values, by number or by text.
#include <tuple>
#include <utility>

#include "platform/text.h"
#include "support/conversion.h"
#include "support/error_frame.h"
#include "support/modCOM_Registry.h"
#include "support/run_time_error.h"

namespace qmzentrel::modCOM_Registry {
namespace {

constexpr ModuleFields kFields = NoFields("modCOM_Registry");

const std::string& NameOf(const std::string& key) {
  return key;
}
const std::string& NameOf(const Reg_KeyValues& value) {
  return value.name;
}

// How `name` sorts against the pivot: below 0, 0 or above 0.
int CompareWithPivot(const std::string& name, const Variant& pivot) {
  const auto* const number = std::get_if<double>(&pivot);
  if (number == nullptr) {
    return platform::CompareTextNoCase(name, std::get<std::string>(pivot));
  }
  const auto value = NumericValue(name);
  if (!value) RaiseError(kErrorTypeMismatch);
  return *value < *number ? -1 : *value > *number ? 1 : 0;
}

// Hoare's quicksort. `procedure` and `parameter_names` are what a report calls the procedure and
// its parameters. Parts wait for their pass in a list, in the order of a recursion: how many there
// are is decided by names of others, and for a recursion they could use up the stack.
template <class Entry>
void QSort(const char* procedure, const char* parameter_names, std::vector<Entry>& list,
           std::int32_t lngFirst, std::int32_t lngLast) {
  std::int32_t lngLow = 0;
  std::int32_t lngHigh = 0;
  std::int32_t lngMiddle = 0;
  Variant vntTempVal;
  Variant vntTestVal;
  std::vector<std::pair<std::int32_t, std::int32_t>> parts;
  ErrorFrame frame(kFields, procedure, Variables(parameter_names, list, lngFirst, lngLast),
                   LOCALS(lngLow, lngHigh, lngMiddle, vntTempVal, vntTestVal));
  frame.Run([&] {
    const auto at = [&list](std::int32_t index) -> Entry& {
      if (index < 0 || static_cast<std::size_t>(index) >= list.size()) {
        RaiseError(kErrorSubscriptOutOfRange);
      }
      return list[static_cast<std::size_t>(index)];
    };
    STEP if (lngFirst == -1) lngFirst = 0;
    STEP if (lngLast == -1) lngLast = static_cast<std::int32_t>(list.size()) - 1;
    STEP if (lngFirst < lngLast) parts.emplace_back(lngFirst, lngLast);
    STEP while (!parts.empty()) {
      STEP std::tie(lngFirst, lngLast) = parts.back();
      STEP parts.pop_back();
      STEP lngLow = lngFirst;
      STEP lngHigh = lngLast;
      STEP lngMiddle = lngLow + (lngHigh - lngLow) / 2;
      STEP vntTempVal = {};
      STEP vntTestVal = NameOf(at(lngMiddle));
      STEP if (const auto number = NumericValue(NameOf(at(lngMiddle)))) vntTestVal = *number;
      STEP while (lngLow <= lngHigh) {
        STEP while (CompareWithPivot(NameOf(at(lngLow)), vntTestVal) < 0) lngLow += 1;
        STEP while (CompareWithPivot(NameOf(at(lngHigh)), vntTestVal) > 0) lngHigh -= 1;
        STEP if (lngLow <= lngHigh) {
          STEP vntTempVal = NameOf(at(lngLow));
          STEP std::swap(at(lngLow), at(lngHigh));
          STEP lngLow += 1;
          STEP lngHigh -= 1;
        }
      }
      STEP if (lngLow < lngLast) parts.emplace_back(lngLow, lngLast);
      STEP if (lngFirst < lngHigh) parts.emplace_back(lngFirst, lngHigh);
    }
  });
}

}  // namespace

void RegKeys_QSort(std::vector<std::string>& Keys, std::int32_t lngFirst, std::int32_t lngLast) {
  QSort("RegKeys_QSort", "Keys, lngFirst, lngLast", Keys, lngFirst, lngLast);
}

void RegValues_QSort(std::vector<Reg_KeyValues>& KeyValues, std::int32_t lngFirst,
                     std::int32_t lngLast) {
  QSort("RegValues_QSort", "KeyValues, lngFirst, lngLast", KeyValues, lngFirst, lngLast);
}

}  // namespace qmzentrel::modCOM_Registry
