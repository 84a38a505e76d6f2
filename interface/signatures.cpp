#include "interface/signatures.h"

#include <variant>

#include "support/conversion.h"

namespace qmzentrel::catalogs {

std::optional<std::int32_t> SignatureNumber(const std::string& name) {
  const auto number = NumericValue("&H" + name);
  return number ? RoundToLong(*number) : std::nullopt;
}

std::string SignatureText(const Variant& data) {
  if (const auto* number = std::get_if<std::int32_t>(&data)) return std::to_string(*number);
  const auto* const text = std::get_if<std::string>(&data);
  return text != nullptr ? *text : "";
}

}  // namespace qmzentrel::catalogs
