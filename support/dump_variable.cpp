#include "support/dump_variable.h"

#include <type_traits>
#include <variant>

#include "support/conversion.h"

namespace qmzentrel {
namespace {

std::string ElementTag(std::string_view name, std::int64_t index) {
  return std::string(name) + " Index=\"" + std::to_string(index) + "\"";
}

std::string Entry(std::string_view opening_tag, std::string_view value, std::string_view name) {
  std::string entry = "<";
  entry.append(opening_tag).append(">").append(value).append("</").append(name).append(">\r\n");
  return entry;
}

std::string PrintableText(const std::string& text) {
  const std::size_t zero = text.find('\0');
  return zero == std::string::npos ? text : text.substr(0, zero) + "{Null}";
}

template <class Array, class Format>
std::string DumpArray(std::string_view name, const Array& values, Format format,
                      std::int64_t lower_bound = 0) {
  if (values.empty()) return DumpFixedText(name, "{UnInitialised Array}");
  std::string entries;
  std::int64_t index = lower_bound;
  for (const auto& value : values) entries += Entry(ElementTag(name, index++), format(value), name);
  return entries;
}

}  // namespace

std::string DumpFixedText(std::string_view name, std::string_view text) {
  return Entry(name, text, name);
}

std::string DumpVariable(std::string_view name, bool value) {
  return Entry(name, value ? "True" : "False", name);
}

std::string DumpVariable(std::string_view name, std::int32_t value) {
  return Entry(name, std::to_string(value), name);
}

std::string DumpVariable(std::string_view name, std::int64_t value) {
  return Entry(name, std::to_string(value), name);
}

std::string DumpVariable(std::string_view name, float value) {
  return Entry(name, NumberText(value), name);
}

std::string DumpVariable(std::string_view name, double value) {
  return Entry(name, NumberText(value), name);
}

std::string DumpVariable(std::string_view name, const std::string& value) {
  return Entry(name, PrintableText(value), name);
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

}  // namespace qmzentrel
