#include "support/modCOM_Registry.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/text.h"
#include "support/conversion.h"
#include "support/error_frame.h"
#include "support/modCOM_Common.h"
#include "support/run_time_error.h"

namespace qmzentrel::modCOM_Registry {
namespace {

constexpr ModuleFields kFields = NoFields("modCOM_Registry");

using platform::RegistryKey;

// READ_CONTROL, KEY_QUERY_VALUE and KEY_ENUMERATE_SUB_KEYS of the operating system.
constexpr std::uint32_t kReadAccess = 0x20009;

// Value types of the operating system.
constexpr std::uint32_t kRegSz = 1;
constexpr std::uint32_t kRegDword = 4;
constexpr std::uint32_t kRegMultiSz = 7;

// Result codes of the operating system.
constexpr std::int32_t kAccessDenied = 5;
constexpr std::int32_t kInvalidHandle = 6;
constexpr std::int32_t kInvalidParameter = 87;
constexpr std::int32_t kKeyDeleted = 1018;

constexpr std::uint32_t kWriteAccess = 2;  // KEY_SET_VALUE

// Requests that fail in a row for what may pass, another program's work on the same key.
constexpr int kMostErrors = 1000;

struct StoredValue {
  std::uint32_t type;
  std::string bytes;
};

// Nearly every value fits the first buffer, which saves a second request. One that grows between
// two requests is asked for again; that it grows for ever is somebody's malice, and it cannot be
// read.
std::optional<StoredValue> QueryValue(RegistryKey key, const std::string& name) {
  const std::string ansi_name = platform::ToAnsi(name);
  std::string bytes(256, '\0');
  for (int requests = 0; requests < kMostErrors; ++requests) {
    platform::RegistryValueInfo info;
    const std::int32_t result = platform::RegistryQueryValue(
        key, ansi_name, std::as_writable_bytes(std::span(bytes)), info);
    if (result == platform::kRegistryMoreData && info.size > bytes.size()) {
      bytes.resize(info.size);
      continue;
    }
    if (result != platform::kRegistrySuccess || info.size > bytes.size()) return std::nullopt;
    bytes.resize(info.size);
    return StoredValue{info.type, std::move(bytes)};
  }
  return std::nullopt;
}

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

bool ReadValue(const OpenKey& key, const std::string& name, Variant& slot) {
  if (!key.IsOpen()) return false;
  const auto stored = QueryValue(key.Handle(), name);
  return stored && Convert(*stored, slot) == platform::kRegistrySuccess;
}

// Decides whether an enumeration ends with `result`. An error may come from another program that is
// at work on the key, and pass: it ends the enumeration only if it cannot clear, or stays.
class EnumerationEnd {
 public:
  bool Reached(std::int32_t result) {
    if (result == platform::kRegistrySuccess) {
      errors_in_a_row_ = 0;
      return false;
    }
    return result == platform::kRegistryNoMoreItems || result == kKeyDeleted ||
           result == kInvalidHandle || result == kAccessDenied || ++errors_in_a_row_ == kMostErrors;
  }

 private:
  int errors_in_a_row_ = 0;
};

// The data of a value in a list; unlike a single read, a text keeps a last byte that is not zero.
Variant ListedData(const StoredValue& stored) {
  const std::string_view bytes = stored.bytes;
  const bool terminated = bytes.ends_with('\0');
  switch (stored.type) {
    case kRegSz:
      if (bytes.size() < 2) return {};
      return platform::FromAnsi(bytes.substr(0, bytes.size() - (terminated ? 1 : 0)));
    case kRegDword: {
      std::int32_t number = 0;
      if (bytes.size() < sizeof number) return {};
      std::memcpy(&number, bytes.data(), sizeof number);
      return number;
    }
    case kRegMultiSz:
      if (bytes.size() < 3) return {};
      return platform::FromAnsi(bytes.substr(0, bytes.size() - (terminated ? 2 : 0)));
    default:
      return {};
  }
}

Variant ReadListed(RegistryKey key, std::uint32_t index, const platform::RegistryValueInfo& info) {
  StoredValue stored{info.type, std::string(info.size, '\0')};
  std::string name;
  platform::RegistryValueInfo read;
  const std::int32_t result = platform::RegistryEnumValue(
      key, index, name, std::as_writable_bytes(std::span(stored.bytes)), read);
  if (result != platform::kRegistrySuccess || read.size > stored.bytes.size()) return {};
  stored.bytes.resize(read.size);
  return ListedData(stored);
}

std::string Join(const std::vector<std::string>& texts) {
  std::string joined;
  for (const std::string& text : texts) {
    if (&text != &texts.front()) joined += '\0';
    joined += text;
  }
  return joined;
}

// Writes a value of any kind in its stored form; gives the code of the operating system.
struct Store {
  RegistryKey key;
  std::string name;

  std::int32_t operator()(std::monostate) const { return platform::RegistryDeleteValue(key, name); }
  std::int32_t operator()(bool value) const {
    return (*this)(value ? -1 : 0);  // automation's True
  }
  std::int32_t operator()(std::int16_t number) const { return (*this)(std::int32_t{number}); }
  std::int32_t operator()(std::int32_t number) const {
    const std::int32_t result =
        Set(kRegDword, {reinterpret_cast<const char*>(&number), sizeof number});
    // Early systems knew no numbers in the registry.
    return result == kInvalidParameter ? (*this)(std::to_string(number)) : result;
  }
  std::int32_t operator()(float number) const { return (*this)(NumberText(number)); }
  std::int32_t operator()(double number) const { return (*this)(NumberText(number)); }
  std::int32_t operator()(const std::string& text) const {
    return Set(kRegSz, platform::ToAnsi(text) + '\0');
  }
  std::int32_t operator()(const std::vector<std::string>& texts) const {
    return Set(kRegMultiSz, platform::ToAnsi(Join(texts)) + std::string(2, '\0'));
  }

  std::int32_t Set(std::uint32_t type, std::string_view bytes) const {
    return platform::RegistrySetValue(key, name, type, std::as_bytes(std::span(bytes)));
  }
};

const std::string& NameOf(const std::string& key) {
  return key;
}
const std::string& NameOf(const Reg_KeyValues& value) {
  return value.name;
}

// How `name` sorts against the pivot: below 0, 0 or above 0.
int CompareWithPivot(const std::string& name, const Variant& pivot) {
  const auto* const number = std::get_if<double>(&pivot);
  if (number == nullptr) {
    return platform::CompareTextNoCase(name, std::get<std::string>(pivot));
  }
  const auto value = NumericValue(name);
  if (!value) RaiseError(kErrorTypeMismatch);
  return *value < *number ? -1 : *value > *number ? 1 : 0;
}

// Hoare's quicksort. `procedure` and `parameter_names` are what a report calls the procedure and
// its parameters. Parts wait for their pass in a list, in the order of a recursion: how many there
// are is decided by names of others, and for a recursion they could use up the stack.
template <class Entry>
void QSort(const char* procedure, const char* parameter_names, std::vector<Entry>& list,
           std::int32_t lngFirst, std::int32_t lngLast) {
  std::int32_t lngLow = 0;
  std::int32_t lngHigh = 0;
  std::int32_t lngMiddle = 0;
  Variant vntTempVal;
  Variant vntTestVal;
  std::vector<std::pair<std::int32_t, std::int32_t>> parts;
  ErrorFrame frame(kFields, procedure, Variables(parameter_names, list, lngFirst, lngLast),
                   LOCALS(lngLow, lngHigh, lngMiddle, vntTempVal, vntTestVal));
  frame.Run([&] {
    const auto at = [&list](std::int32_t index) -> Entry& {
      if (index < 0 || static_cast<std::size_t>(index) >= list.size()) {
        RaiseError(kErrorSubscriptOutOfRange);
      }
      return list[static_cast<std::size_t>(index)];
    };
    STEP if (lngFirst == -1) lngFirst = 0;
    STEP if (lngLast == -1) lngLast = static_cast<std::int32_t>(list.size()) - 1;
    STEP if (lngFirst < lngLast) parts.emplace_back(lngFirst, lngLast);
    STEP while (!parts.empty()) {
      STEP std::tie(lngFirst, lngLast) = parts.back();
      STEP parts.pop_back();
      STEP lngLow = lngFirst;
      STEP lngHigh = lngLast;
      STEP lngMiddle = lngLow + (lngHigh - lngLow) / 2;
      STEP vntTempVal = {};
      STEP vntTestVal = NameOf(at(lngMiddle));
      STEP if (const auto number = NumericValue(NameOf(at(lngMiddle)))) vntTestVal = *number;
      STEP while (lngLow <= lngHigh) {
        STEP while (CompareWithPivot(NameOf(at(lngLow)), vntTestVal) < 0) lngLow += 1;
        STEP while (CompareWithPivot(NameOf(at(lngHigh)), vntTestVal) > 0) lngHigh -= 1;
        STEP if (lngLow <= lngHigh) {
          STEP vntTempVal = NameOf(at(lngLow));
          STEP std::swap(at(lngLow), at(lngHigh));
          STEP lngLow += 1;
          STEP lngHigh -= 1;
        }
      }
      STEP if (lngLow < lngLast) parts.emplace_back(lngLow, lngLast);
      STEP if (lngFirst < lngHigh) parts.emplace_back(lngFirst, lngHigh);
    }
  });
}

}  // namespace

std::string DumpVariable(std::string_view name, const std::vector<Reg_KeyValues>&) {
  return DumpStructureParameter(name);
}

OpenKey::OpenKey(RegistryKey root, const std::string& path)
    : result_(platform::RegistryOpenKey(root, platform::ToAnsi(NormaliseKeyPath(path)), kReadAccess,
                                        key_)) {}

OpenKey::~OpenKey() {
  if (IsOpen()) platform::RegistryCloseKey(key_);
}

std::string NormaliseKeyPath(const std::string& path) {
  std::string normalised;
  for (std::size_t i = 0; i < path.size(); ++i) {
    normalised += path[i];
    if (path[i] == '\\' && path[i + 1] == '\\') ++i;  // the end reads as a zero
  }
  return modCOM_Common::StripBackslash(std::move(normalised));
}

std::int32_t RegEnumKeys(RegistryKey root, const std::string& path, std::vector<std::string>& keys,
                         bool sort) {
  keys.clear();
  const OpenKey key(root, path);
  if (!key.IsOpen()) return 0;
  EnumerationEnd end;
  std::string name;
  for (std::uint32_t index = 0;;) {
    const std::int32_t result = platform::RegistryEnumKey(key.Handle(), index, name);
    if (end.Reached(result)) break;
    if (result != platform::kRegistrySuccess) continue;  // the same index once more
    keys.push_back(platform::FromAnsi(name));
    ++index;
  }
  if (sort && !keys.empty()) RegKeys_QSort(keys, -1, -1);
  return static_cast<std::int32_t>(keys.size());
}

std::int32_t RegEnumValues(RegistryKey root, const std::string& path,
                           std::vector<Reg_KeyValues>& values, bool sort) {
  values.clear();
  const OpenKey key(root, path);
  if (!key.IsOpen()) return 0;
  EnumerationEnd end;
  for (std::uint32_t index = 0;; ++index) {
    std::string name;
    platform::RegistryValueInfo info;
    const std::int32_t result = platform::RegistryEnumValue(key.Handle(), index, name, {}, info);
    if (end.Reached(result)) break;
    if (result != platform::kRegistrySuccess || name.empty()) continue;
    values.push_back({platform::FromAnsi(name), ReadListed(key.Handle(), index, info)});
  }
  if (sort && !values.empty()) RegValues_QSort(values, -1, -1);
  return static_cast<std::int32_t>(values.size());
}

bool RegGetValue(RegistryKey root, const std::string& path, const std::string& name, Variant& slot,
                 const std::optional<Variant>& default_value) {
  return RegGetValue(OpenKey(root, path), name, slot, default_value);
}

bool RegGetValue(const OpenKey& key, const std::string& name, Variant& slot,
                 const std::optional<Variant>& default_value) {
  const bool read = ReadValue(key, name, slot);
  if (!read && default_value) slot = *default_value;
  return read;
}

bool RegSetValue(RegistryKey root, const std::string& path, const std::string& name,
                 const Variant& data) {
  RegistryKey key = 0;
  if (platform::RegistryCreateKey(root, platform::ToAnsi(NormaliseKeyPath(path)), kWriteAccess,
                                  key) != platform::kRegistrySuccess) {
    return false;
  }
  std::int32_t stored = 0;
  try {
    stored = std::visit(Store{key, platform::ToAnsi(name)}, data);
  } catch (...) {
    platform::RegistryCloseKey(key);
    throw;
  }
  const std::int32_t closed = platform::RegistryCloseKey(key);
  return stored == platform::kRegistrySuccess && closed == platform::kRegistrySuccess;
}

bool RegCanSetValue(RegistryKey root, const std::string& path) {
  RegistryKey key = 0;
  const std::int32_t opened =
      platform::RegistryOpenKey(root, platform::ToAnsi(NormaliseKeyPath(path)), kWriteAccess, key);
  if (opened == platform::kRegistrySuccess) platform::RegistryCloseKey(key);
  return opened == platform::kRegistrySuccess || opened == platform::kRegistryFileNotFound;
}

void RegKeys_QSort(std::vector<std::string>& Keys, std::int32_t lngFirst, std::int32_t lngLast) {
  QSort("RegKeys_QSort", "Keys, lngFirst, lngLast", Keys, lngFirst, lngLast);
}

void RegValues_QSort(std::vector<Reg_KeyValues>& KeyValues, std::int32_t lngFirst,
                     std::int32_t lngLast) {
  QSort("RegValues_QSort", "KeyValues, lngFirst, lngLast", KeyValues, lngFirst, lngLast);
}

}  // namespace qmzentrel::modCOM_Registry
