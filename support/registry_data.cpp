#include "support/registry_data.h"

#include <cstddef>
#include <cstring>
#include <optional>
#include <string_view>

#include "platform/text.h"
#include "support/conversion.h"

namespace qmzentrel::registry {
namespace {

bool HoldsWholeNumber(const Variant& slot) {
  return std::holds_alternative<std::int16_t>(slot) || std::holds_alternative<std::int32_t>(slot) ||
         std::holds_alternative<bool>(slot);
}

bool TakesText(const Variant& slot) {
  return IsEmpty(slot) || std::holds_alternative<std::string>(slot);
}

// The terminator counts in the stored length and is dropped, whatever it is.
std::string TextOf(const std::string& bytes) {
  if (bytes.size() < 2) return "";
  return platform::FromAnsi(std::string_view(bytes).substr(0, bytes.size() - 1));
}

Variant TextsOf(const std::string& bytes) {
  if (bytes.size() < 3) return std::string();
  std::vector<std::string> texts;
  std::string_view rest = std::string_view(bytes).substr(0, bytes.size() - 2);
  for (;;) {
    const std::size_t zero = rest.find('\0');
    texts.push_back(platform::FromAnsi(rest.substr(0, zero)));
    if (zero == std::string_view::npos) return texts;
    rest.remove_prefix(zero + 1);
  }
}

std::optional<std::int32_t> NumberOf(std::string_view bytes) {
  std::int32_t number = 0;
  if (bytes.size() < sizeof number) return std::nullopt;
  std::memcpy(&number, bytes.data(), sizeof number);
  return number;
}

std::optional<std::int32_t> NumberInText(const std::string& text) {
  const auto value = NumericValue(text);
  return value ? RoundToLong(*value) : std::nullopt;
}

bool PutNumber(Variant& slot, const std::optional<std::int32_t>& number) {
  if (number) slot = *number;
  return number.has_value();
}

}  // namespace

bool ConvertInto(Variant& slot, const StoredValue& stored) {
  switch (stored.type) {
    case kText:
      if (HoldsWholeNumber(slot)) return PutNumber(slot, NumberInText(TextOf(stored.bytes)));
      if (!TakesText(slot)) return false;
      slot = TextOf(stored.bytes);
      return true;
    case kNumber:
      return (IsEmpty(slot) || HoldsWholeNumber(slot)) && PutNumber(slot, NumberOf(stored.bytes));
    case kTexts:
      if (!TakesText(slot)) return false;
      slot = TextsOf(stored.bytes);
      return true;
    default:
      // Deliberate: a caller learns that the value is there, and keeps what it had.
      return true;
  }
}

Variant ListedData(const StoredValue& stored) {
  const std::string_view bytes = stored.bytes;
  // Unlike a single read, a text in a list keeps a last byte that is not zero.
  const bool terminated = bytes.ends_with('\0');
  switch (stored.type) {
    case kText:
      if (bytes.size() < 2) return {};
      return platform::FromAnsi(bytes.substr(0, bytes.size() - (terminated ? 1 : 0)));
    case kNumber: {
      Variant data;
      PutNumber(data, NumberOf(bytes));
      return data;
    }
    case kTexts:
      if (bytes.size() < 3) return {};
      return platform::FromAnsi(bytes.substr(0, bytes.size() - (terminated ? 2 : 0)));
    default:
      return {};
  }
}

}  // namespace qmzentrel::registry
