#include "support/modCOM_Registry.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <vector>

#include "platform/text.h"
#include "support/conversion.h"
#include "support/modCOM_Common.h"

namespace qmzentrel::modCOM_Registry {
namespace {

using platform::RegistryKey;

// READ_CONTROL, KEY_QUERY_VALUE and KEY_ENUMERATE_SUB_KEYS of the operating system.
constexpr std::uint32_t kReadAccess = 0x20009;

// Value types of the operating system.
constexpr std::uint32_t kRegSz = 1;
constexpr std::uint32_t kRegDword = 4;
constexpr std::uint32_t kRegMultiSz = 7;

constexpr std::int32_t kInvalidParameter = 87;

struct StoredValue {
  std::uint32_t type = 0;
  std::string bytes;
};

// Closes the key it holds.
class OpenKey {
 public:
  OpenKey(RegistryKey root, const std::string& path)
      : result_(platform::RegistryOpenKey(root, platform::ToAnsi(NormaliseKeyPath(path)),
                                          kReadAccess, key_)) {}
  ~OpenKey() {
    if (IsOpen()) platform::RegistryCloseKey(key_);
  }
  OpenKey(const OpenKey&) = delete;
  OpenKey& operator=(const OpenKey&) = delete;

  bool IsOpen() const { return result_ == platform::kRegistrySuccess; }
  RegistryKey Handle() const { return key_; }

 private:
  RegistryKey key_ = 0;
  std::int32_t result_;
};

// Nearly every value fits the first buffer, which saves a second request.
std::optional<StoredValue> QueryValue(RegistryKey key, const std::string& name) {
  const std::string ansi_name = platform::ToAnsi(name);
  std::string bytes(256, '\0');
  for (;;) {
    platform::RegistryValueInfo info;
    const std::int32_t result = platform::RegistryQueryValue(
        key, ansi_name, std::as_writable_bytes(std::span(bytes)), info);
    if (result == platform::kRegistryMoreData && info.size > bytes.size()) {
      bytes.resize(info.size);
      continue;  // a value that grows between two requests is asked for again
    }
    if (result != platform::kRegistrySuccess || info.size > bytes.size()) return std::nullopt;
    bytes.resize(info.size);
    return StoredValue{info.type, std::move(bytes)};
  }
}

bool HoldsWholeNumber(const Variant& slot) {
  return std::holds_alternative<std::int16_t>(slot) || std::holds_alternative<std::int32_t>(slot) ||
         std::holds_alternative<bool>(slot);
}

bool IsEmpty(const Variant& slot) {
  return std::holds_alternative<std::monostate>(slot);
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

std::int32_t StoreWholeNumber(const std::string& text, Variant& slot) {
  const auto value = NumericValue(text);
  const auto number = value ? RoundToLong(*value) : std::nullopt;
  if (!number) return kInvalidParameter;
  slot = *number;
  return platform::kRegistrySuccess;
}

std::int32_t Convert(const StoredValue& stored, Variant& slot) {
  switch (stored.type) {
    case kRegSz:
      if (TakesText(slot)) {
        slot = TextOf(stored.bytes);
        return platform::kRegistrySuccess;
      }
      return HoldsWholeNumber(slot) ? StoreWholeNumber(TextOf(stored.bytes), slot)
                                    : kInvalidParameter;
    case kRegDword: {
      std::int32_t number = 0;
      if (!(IsEmpty(slot) || HoldsWholeNumber(slot)) || stored.bytes.size() < sizeof number) {
        return kInvalidParameter;
      }
      std::memcpy(&number, stored.bytes.data(), sizeof number);
      slot = number;
      return platform::kRegistrySuccess;
    }
    case kRegMultiSz:
      if (!TakesText(slot)) return kInvalidParameter;
      slot = TextsOf(stored.bytes);
      return platform::kRegistrySuccess;
    default:
      // Deliberate: a caller learns that the value is there, and keeps what it had.
      return platform::kRegistrySuccess;
  }
}

bool ReadValue(RegistryKey root, const std::string& path, const std::string& name, Variant& slot) {
  const OpenKey key(root, path);
  if (!key.IsOpen()) return false;
  const auto stored = QueryValue(key.Handle(), name);
  return stored && Convert(*stored, slot) == platform::kRegistrySuccess;
}

}  // namespace

std::string NormaliseKeyPath(const std::string& path) {
  std::string normalised;
  for (std::size_t i = 0; i < path.size(); ++i) {
    normalised += path[i];
    if (path[i] == '\\' && i + 1 < path.size() && path[i + 1] == '\\') ++i;
  }
  return modCOM_Common::StripBackslash(std::move(normalised));
}

bool RegGetValue(RegistryKey root, const std::string& path, const std::string& name, Variant& slot,
                 const std::optional<Variant>& default_value) {
  const bool read = ReadValue(root, path, name, slot);
  if (!read && default_value) slot = *default_value;
  return read;
}

}  // namespace qmzentrel::modCOM_Registry
