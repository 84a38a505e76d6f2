// Variables as text for the error report: one entry per value, "<name>value</name>" and a line
// break.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/late_value.h"
#include "support/string_array.h"
#include "support/variant.h"

namespace qmzentrel {

/// Entries of one value. Text is cut at its first zero character, as every display of it would be;
/// angle brackets and ampersands in it stay as they are. A value that cannot be formatted shows the
/// number of the error instead.
std::string DumpVariable(std::string_view name, bool value);
std::string DumpVariable(std::string_view name, std::int32_t value);
std::string DumpVariable(std::string_view name, std::int64_t value);
std::string DumpVariable(std::string_view name, float value);
std::string DumpVariable(std::string_view name, double value);
std::string DumpVariable(std::string_view name, const std::string& value);
/// A text literal would pass for a Boolean.
std::string DumpVariable(std::string_view name, const char* value) = delete;
inline std::string DumpVariable(std::string_view name, std::int16_t value) {
  return DumpVariable(name, std::int32_t{value});
}

/// Entries of an array, one per element, the index as an attribute; the lower bound is 0 unless the
/// array has its own.
std::string DumpVariable(std::string_view name, std::span<const std::uint8_t> value);
std::string DumpVariable(std::string_view name, const std::vector<std::string>& value);
std::string DumpVariable(std::string_view name, std::span<const std::int32_t> value,
                         std::int32_t lower_bound);
std::string DumpVariable(std::string_view name, const StringArray& value);

/// The entry or entries of whatever the value holds; "{Empty}" when it holds nothing. An automation
/// object shows its members, or else its default member.
std::string DumpVariable(std::string_view name, const Variant& value);
std::string DumpVariable(std::string_view name, const platform::LateValue& value);

/// An entry for an object of the component's own classes, which have no default member. Null stands
/// for no object.
std::string DumpObject(std::string_view name, const void* object);

/// An entry for an object whose default member `default_text` reads.
std::string DumpDefault(std::string_view name, const std::function<std::string()>& default_text);

/// Stands for an array of structures, whose elements are not shown.
struct StructureArray {};
std::string DumpVariable(std::string_view name, StructureArray value);

/// The value of an optional parameter, "{Empty}" when it is missing.
std::string DumpVariable(std::string_view name, const std::optional<Variant>& value);

/// An entry for a parameter that is a structure.
std::string DumpStructureParameter(std::string_view name);

/// One entry whose value is a fixed text: what cannot be shown says why.
std::string DumpFixedText(std::string_view name, std::string_view text);

}  // namespace qmzentrel
