#include "support/dump_variable.h"

#include <cstdio>
#include <cstdlib>

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
  // The fewest digits that read back as the same Single; nine always do.
  char digits[32];
  for (int precision = 6; precision <= 9; ++precision) {
    std::snprintf(digits, sizeof digits, "%.*g", precision, static_cast<double>(value));
    if (std::strtof(digits, nullptr) == value) break;
  }
  return Entry(name, digits, name);
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

}  // namespace qmzentrel
