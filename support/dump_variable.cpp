#include "support/dump_variable.h"

#include <cstdio>
#include <cstdlib>
#include <type_traits>
#include <variant>

namespace qmzentrel {
namespace {

std::string ElementTag(std::string_view name, std::size_t index) {
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

// The fewest digits that read back as the same number; three more than always fit always do.
template <class Number>
std::string ShortestDigits(Number value, int precision, Number (*parse)(const char*, char**)) {
  char digits[32];
  const int most = precision + 3;
  for (; precision <= most; ++precision) {
    std::snprintf(digits, sizeof digits, "%.*g", precision, static_cast<double>(value));
    if (parse(digits, nullptr) == value) break;
  }
  return digits;
}

template <class Array, class Format>
std::string DumpArray(std::string_view name, const Array& values, Format format) {
  if (values.empty()) return DumpFixedText(name, "{UnInitialised Array}");
  std::string entries;
  for (std::size_t i = 0; i < values.size(); ++i) {
    entries += Entry(ElementTag(name, i), format(values[i]), name);
  }
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

std::string DumpVariable(std::string_view name, float value) {
  return Entry(name, ShortestDigits<float>(value, 6, std::strtof), name);
}

std::string DumpVariable(std::string_view name, double value) {
  return Entry(name, ShortestDigits<double>(value, 15, std::strtod), name);
}

std::string DumpVariable(std::string_view name, const std::string& value) {
  return Entry(name, PrintableText(value), name);
}

std::string DumpVariable(std::string_view name, std::span<const std::uint8_t> value) {
  return DumpArray(name, value, [](std::uint8_t byte) { return std::to_string(byte); });
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
