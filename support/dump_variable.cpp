#include "support/dump_variable.h"

#include <algorithm>
#include <new>
#include <type_traits>
#include <variant>

#include "platform/hardware_faults.h"
#include "platform/late_bound.h"
#include "support/conversion.h"
#include "support/run_time_error.h"
#include "support/shown_text.h"

namespace qmzentrel {
namespace {

using platform::ArrayDimension;
using platform::LateValue;

// How deep objects within objects are followed: one whose default member is itself has no end.
constexpr int kDeepestObject = 16;

std::string ErrorText(std::int32_t number) {
  return "{Error " + std::to_string(number) + " formatting for output}";
}

// What `format` makes of a value.
template <class Format>
std::string TextOrError(Format format) {
  try {
    return platform::RaisingFaults(format);
  } catch (const platform::ClientUnwinding&) {
    throw;
  } catch (const RunTimeError& error) {
    return ErrorText(error.number);
  } catch (const std::bad_alloc&) {
    return ErrorText(kErrorOutOfMemory);
  } catch (...) {
    return ErrorText(kErrorInternal);
  }
}

// One entry whose value `format` gives.
template <class Format>
std::string Entry(std::string_view name, const std::string& attribute, Format format) {
  std::string entry = "<";
  entry.append(name).append(attribute).append(">").append(TextOrError(format));
  entry.append("</").append(name).append(">\r\n");
  return entry;
}

template <class Format>
std::string Entry(std::string_view name, Format format) {
  return Entry(name, "", format);
}

std::string IndexAttribute(const std::string& index) {
  return " Index=\"" + index + "\"";
}

std::string PrintableText(const std::string& text) {
  const std::size_t zero = text.find('\0');
  return zero == std::string::npos ? text : WithZerosShown(text.substr(0, zero + 1));
}

template <class Array, class Format>
std::string DumpArray(std::string_view name, const Array& values, Format format,
                      std::int64_t lower_bound = 0) {
  if (values.empty()) return DumpFixedText(name, "{UnInitialised Array}");
  std::string entries;
  std::int64_t index = lower_bound;
  for (const auto& value : values) {
    entries += Entry(name, IndexAttribute(std::to_string(index++)), [&] { return format(value); });
  }
  return entries;
}

// --- Values of automation ---

std::string TextOf(const LateValue& value, int depth);

void RaiseFailure(const std::optional<platform::LateFailure>& failure) {
  if (failure) RaiseError(failure->number);
}

std::string MembersText(const std::vector<LateValue>& members, int depth) {
  std::string text = "[";
  for (const LateValue& member : members) {
    if (&member != &members.front()) text += ",";
    text += TextOf(member, depth);
  }
  return text + "]";
}

std::string ObjectText(platform::ClientObject object, int depth) {
  if (object.object == nullptr) return "{Nothing}";
  if (depth > kDeepestObject) RaiseError(kErrorOutOfStackSpace);
  if (platform::IsDataObject(object)) return "{DataObject}";
  std::optional<std::vector<LateValue>> members;
  RaiseFailure(platform::LateMembers(object, members));
  if (members) return MembersText(*members, depth + 1);
  LateValue value;
  RaiseFailure(platform::LateDefault(object, value));
  return "{" + TextOf(value, depth + 1) + "}";
}

struct ValueText {
  int depth;

  std::string operator()(std::monostate) const { return "{Empty}"; }
  std::string operator()(const platform::NullValue&) const { return "{Null}"; }
  std::string operator()(const platform::PlainValue& value) const { return value.text; }
  std::string operator()(const std::string& value) const { return PrintableText(value); }
  std::string operator()(const platform::StructureValue& value) const {
    return "{UDT - " + value.type_name + "}";
  }
  std::string operator()(const platform::ObjectValue& value) const {
    return ObjectText({value.object.get()}, depth);
  }
  std::string operator()(const platform::DataObjectValue&) const { return "{DataObject}"; }
  std::string operator()(const platform::UnreadableValue& value) const { RaiseError(value.error); }
  // An array within a value has no text of its own.
  std::string operator()(const platform::ArrayValue&) const { RaiseError(kErrorTypeMismatch); }
};

std::string TextOf(const LateValue& value, int depth) {
  return std::visit(ValueText{depth}, value);
}

// "3" or "0,1" or "0,1,2" of the element at `place`, the last index changing fastest.
std::string IndicesOf(const platform::ArrayValue& array, std::size_t place) {
  std::string indices;
  for (std::size_t dimension = array.dimensions.size(); dimension-- > 0;) {
    const ArrayDimension& bounds = array.dimensions[dimension].value();
    const auto index =
        std::int64_t{bounds.lower_bound} + static_cast<std::int64_t>(place % bounds.count);
    place /= bounds.count;
    if (!indices.empty()) indices.insert(0, ",");
    indices.insert(0, std::to_string(index));
  }
  return indices;
}

std::string DumpArrayValue(std::string_view name, const platform::ArrayValue& array) {
  const std::size_t count = array.dimensions.size();
  if (count > platform::kMostDimensions) {
    return DumpFixedText(name, "{Dump truncated at " + std::to_string(count) + " dimensions}");
  }
  for (std::size_t dimension = 0; dimension < count; ++dimension) {
    const bool read = array.dimensions[dimension].has_value();
    if (read) continue;
    if (dimension == 0) break;
    return DumpFixedText(name,
                         "{UnInitialised Array Dimension " + std::to_string(dimension + 1) + "}");
  }
  if (array.elements.empty()) return DumpFixedText(name, "{UnInitialised Array}");
  std::string entries;
  for (std::size_t place = 0; place < array.elements.size(); ++place) {
    entries += Entry(name, IndexAttribute(IndicesOf(array, place)),
                     [&] { return TextOf(array.elements[place], 0); });
  }
  return entries;
}

}  // namespace

std::string DumpFixedText(std::string_view name, std::string_view text) {
  return Entry(name, [&] { return std::string(text); });
}

std::string DumpVariable(std::string_view name, bool value) {
  return DumpFixedText(name, value ? "True" : "False");
}

std::string DumpVariable(std::string_view name, std::int32_t value) {
  return DumpVariable(name, std::int64_t{value});
}

std::string DumpVariable(std::string_view name, std::int64_t value) {
  return Entry(name, [&] { return std::to_string(value); });
}

std::string DumpVariable(std::string_view name, float value) {
  return Entry(name, [&] { return NumberText(value); });
}

std::string DumpVariable(std::string_view name, double value) {
  return Entry(name, [&] { return NumberText(value); });
}

std::string DumpVariable(std::string_view name, const std::string& value) {
  return Entry(name, [&] { return PrintableText(value); });
}

std::string DumpVariable(std::string_view name, std::span<const std::uint8_t> value) {
  return DumpArray(name, value, [](std::uint8_t byte) { return std::to_string(byte); });
}

std::string DumpVariable(std::string_view name, std::span<const std::int32_t> value,
                         std::int32_t lower_bound) {
  return DumpArray(
      name, value, [](std::int32_t number) { return std::to_string(number); }, lower_bound);
}

std::string DumpVariable(std::string_view name, const StringArray& value) {
  return DumpArray(name, value.Elements(), PrintableText, value.LowerBound());
}

std::string DumpVariable(std::string_view name, const std::vector<std::string>& value) {
  return DumpArray(name, value, PrintableText);
}

std::string DumpVariable(std::string_view name, const Variant& value) {
  return std::visit(
      [name](const auto& held) {
        using Held = std::remove_cvref_t<decltype(held)>;
        if constexpr (std::is_same_v<Held, std::monostate>) {
          return DumpFixedText(name, "{Empty}");
        } else {
          return DumpVariable(name, held);
        }
      },
      value);
}

std::string DumpVariable(std::string_view name, const LateValue& value) {
  if (const auto* array = std::get_if<platform::ArrayValue>(&value)) {
    return DumpArrayValue(name, *array);
  }
  return Entry(name, [&] { return TextOf(value, 0); });
}

std::string DumpObject(std::string_view name, const void* object) {
  if (object == nullptr) return DumpFixedText(name, "{Nothing}");
  return DumpFixedText(name, ErrorText(kErrorMemberNotSupported));
}

std::string DumpDefault(std::string_view name, const std::function<std::string()>& default_text) {
  return Entry(name, [&] { return "{" + PrintableText(default_text()) + "}"; });
}

std::string DumpVariable(std::string_view name, StructureArray /*value*/) {
  return DumpFixedText(name, "{Cannot dump UDT arrays}");
}

std::string DumpVariable(std::string_view name, const std::optional<Variant>& value) {
  return DumpVariable(name, value.value_or(Variant()));
}

std::string DumpStructureParameter(std::string_view name) {
  return DumpFixedText(name, "{Can't dump UDT parameters}");
}

}  // namespace qmzentrel
