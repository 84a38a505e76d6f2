// A value whose type is known only while the program runs.
#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace qmzentrel {

/// Holds nothing yet (std::monostate, automation's Empty), a 16-bit or 32-bit whole number, a
/// Boolean, a single or double, a text, or an array of texts.
using Variant = std::variant<std::monostate, std::int16_t, std::int32_t, bool, float, double,
                             std::string, std::vector<std::string>>;

/// Whether it holds nothing yet.
inline bool IsEmpty(const Variant& value) {
  return std::holds_alternative<std::monostate>(value);
}

}  // namespace qmzentrel
