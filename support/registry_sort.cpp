// The sorting of modCOM_Registry: names of keys and values, by number or by text.
#include <cmath>
#include <optional>
#include <tuple>
#include <utility>

#include "support/error_frame.h"
#include "support/modCOM_Registry.h"
#include "support/pass_order.h"
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

template <class Entry>
std::vector<const std::string*> NamesOf(const std::vector<Entry>& list) {
  std::vector<const std::string*> names;
  names.reserve(list.size());
  for (const Entry& entry : list) names.push_back(&NameOf(entry));
  return names;
}

// Hoare's quicksort, pass by pass: which equal names change places, and which one a pass of numbers
// stumbles over, can be seen. But the names are those of others, and can be such that each pass
// parts off a single one: so a pass finds where it stops without a look at what lies between, and
// parts wait for theirs in a list, in the order of a recursion that could use up the stack.
// `procedure` and `parameter_names` are what a report calls the procedure and its parameters.
template <class Entry>
void QSort(const char* procedure, const char* parameter_names, std::vector<Entry>& list,
           std::int32_t lngFirst, std::int32_t lngLast) {
  std::int32_t lngLow = 0;
  std::int32_t lngHigh = 0;
  std::int32_t lngMiddle = 0;
  Variant vntTempVal;
  Variant vntTestVal;
  std::vector<std::pair<std::int32_t, std::int32_t>> parts;
  std::optional<PassKeys> numbers;
  std::optional<PassKeys> texts;  // once a pass compares texts
  ErrorFrame frame(kFields, procedure, Variables(parameter_names, list, lngFirst, lngLast),
                   LOCALS(lngLow, lngHigh, lngMiddle, vntTempVal, vntTestVal));
  frame.Run([&] {
    const auto place = [&list](std::int32_t index) {
      if (index < 0 || static_cast<std::size_t>(index) >= list.size()) {
        RaiseError(kErrorSubscriptOutOfRange);
      }
      return static_cast<std::size_t>(index);
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
      STEP const std::size_t middle = place(lngMiddle);
      STEP vntTestVal = NameOf(list[middle]);
      STEP if (!numbers) numbers.emplace(NumbersOf(NamesOf(list)));
      STEP const bool numeric = !std::isnan(numbers->At(middle));
      STEP if (numeric) vntTestVal = numbers->At(middle);
      STEP if (!numeric && !texts) texts.emplace(RanksOf(NamesOf(list)));
      const PassKeys& keys = numeric ? *numbers : *texts;
      const double pivot = keys.At(middle);
      STEP while (lngLow <= lngHigh) {
        STEP lngLow = static_cast<std::int32_t>(keys.UpTo(place(lngLow), pivot));
        STEP if (std::isnan(keys.At(place(lngLow)))) RaiseError(kErrorTypeMismatch);
        STEP lngHigh = static_cast<std::int32_t>(keys.DownTo(place(lngHigh), pivot));
        STEP if (std::isnan(keys.At(place(lngHigh)))) RaiseError(kErrorTypeMismatch);
        STEP if (lngLow <= lngHigh) {
          STEP const std::size_t low = place(lngLow);
          STEP const std::size_t high = place(lngHigh);
          STEP vntTempVal = NameOf(list[low]);
          STEP std::swap(list[low], list[high]);
          STEP numbers->Swap(low, high);
          STEP if (texts) texts->Swap(low, high);
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
