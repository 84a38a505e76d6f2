// Values of automation objects, as far as they can be shown.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace qmzentrel::platform {

/// An automation object, held as long as this or a copy of it lives; null is nothing.
using HeldObject = std::shared_ptr<void>;

struct NullValue {};
/// A number, date or Boolean in automation's text form.
struct PlainValue {
  std::string text;
};
struct StructureValue {
  std::string type_name;
};
struct ObjectValue {
  HeldObject object;
};
/// An object that carries data to be pasted or dropped and has no members.
struct DataObjectValue {};
/// What automation cannot turn into text, by the number of the error that it gives.
struct UnreadableValue {
  std::int32_t error;
};

struct ArrayDimension {
  std::int32_t lower_bound;
  std::uint32_t count;
};

/// What has more dimensions can have very many elements, which are left out.
inline constexpr std::size_t kMostDimensions = 3;

struct LateValue;
/// Its elements in the order of their indices, the last index changing fastest. A dimension whose
/// bounds cannot be read is missing, and then there are no elements; nor are there any of an array
/// of more than kMostDimensions.
struct ArrayValue {
  std::vector<std::optional<ArrayDimension>> dimensions;
  std::vector<LateValue> elements;
};

/// Empty (std::monostate) or one of the above. Text is UTF-8 and may hold zero characters.
struct LateValue : std::variant<std::monostate, NullValue, PlainValue, std::string, StructureValue,
                                ObjectValue, DataObjectValue, UnreadableValue, ArrayValue> {
  using variant::variant;
};

}  // namespace qmzentrel::platform
