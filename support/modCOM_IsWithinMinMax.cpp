#include "support/modCOM_IsWithinMinMax.h"

#include <string>
#include <type_traits>
#include <vector>

#include "platform/text.h"
#include "support/error_frame.h"
#include "support/run_time_error.h"

namespace qmzentrel::modCOM_IsWithinMinMax {
namespace {

constexpr ModuleFields kFields = NoFields("modCOM_IsWithinMinMax");

// Null when `value` is no text.
const std::string* TextOf(const Variant& value) {
  if (std::holds_alternative<std::vector<std::string>>(value)) RaiseError(kErrorTypeMismatch);
  return std::get_if<std::string>(&value);
}

// Empty counts as 0; a text is never asked for its number.
double NumberOf(const Variant& value) {
  return std::visit(
      [](const auto& held) -> double {
        using Held = std::remove_cvref_t<decltype(held)>;
        if constexpr (std::is_same_v<Held, bool>) {
          return held ? -1 : 0;  // automation's True
        } else if constexpr (std::is_arithmetic_v<Held>) {
          return static_cast<double>(held);
        } else {
          return 0;
        }
      },
      value);
}

int Compare(const Variant& left, const Variant& right) {
  const std::string* left_text = TextOf(left);
  const std::string* right_text = TextOf(right);
  if (left_text && right_text) return platform::CompareTextNoCase(*left_text, *right_text);
  if (left_text) return IsEmpty(right) ? platform::CompareTextNoCase(*left_text, "") : 1;
  if (right_text) return IsEmpty(left) ? platform::CompareTextNoCase("", *right_text) : -1;
  const double difference = NumberOf(left) - NumberOf(right);
  return difference < 0 ? -1 : difference > 0 ? 1 : 0;
}

}  // namespace

bool IsWithinMinMax(const Variant& value, const Variant& minimum, const Variant& maximum) {
  std::int32_t lngToMinimum = 0;
  std::int32_t lngToMaximum = 0;
  ErrorFrame frame(kFields, "IsWithinMinMax", PARAMETERS(value, minimum, maximum),
                   LOCALS(lngToMinimum, lngToMaximum));
  return frame.Run([&] {
    STEP lngToMinimum = Compare(value, minimum);
    STEP lngToMaximum = Compare(value, maximum);
    STEP return lngToMinimum >= 0 && lngToMaximum <= 0;
  });
}

}  // namespace qmzentrel::modCOM_IsWithinMinMax
