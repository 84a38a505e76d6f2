#include "support/modCOM_Registry.h"

#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/text.h"
#include "support/conversion.h"
#include "support/dump_variable.h"
#include "support/modCOM_Common.h"
#include "support/registry_data.h"

namespace qmzentrel::modCOM_Registry {
namespace {

using platform::RegistryKey;
using registry::StoredValue;

// READ_CONTROL, KEY_QUERY_VALUE and KEY_ENUMERATE_SUB_KEYS of the operating system, and its
// KEY_SET_VALUE.
constexpr std::uint32_t kReadAccess = 0x20009;
constexpr std::uint32_t kWriteAccess = 2;

// Result codes of the operating system.
constexpr std::int32_t kAccessDenied = 5;
constexpr std::int32_t kInvalidHandle = 6;
constexpr std::int32_t kInvalidParameter = 87;
constexpr std::int32_t kKeyDeleted = 1018;

// Requests that fail in a row for what may pass, another program's work on the same key.
constexpr int kMostErrors = 1000;

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

bool ReadValue(const OpenKey& key, const std::string& name, Variant& slot) {
  if (!key.IsOpen()) return false;
  const auto stored = QueryValue(key.Handle(), name);
  return stored && registry::ConvertInto(slot, *stored);
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

Variant ReadListed(RegistryKey key, std::uint32_t index, const platform::RegistryValueInfo& info) {
  StoredValue stored{info.type, std::string(info.size, '\0')};
  std::string name;
  platform::RegistryValueInfo read;
  const std::int32_t result = platform::RegistryEnumValue(
      key, index, name, std::as_writable_bytes(std::span(stored.bytes)), read);
  if (result != platform::kRegistrySuccess || read.size > stored.bytes.size()) return {};
  stored.bytes.resize(read.size);
  return registry::ListedData(stored);
}

std::string Join(const std::vector<std::string>& texts) {
  std::string joined;
  for (const std::string& text : texts) {
    if (&text != &texts.front()) joined += '\0';
    joined += text;
  }
  return joined;
}

// A key that is made where it is missing. Its Close says whether that has succeeded.
class KeyToWrite {
 public:
  KeyToWrite(RegistryKey root, const std::string& path)
      : open_(platform::RegistryCreateKey(root, platform::ToAnsi(NormaliseKeyPath(path)),
                                          kWriteAccess, key_) == platform::kRegistrySuccess) {}
  ~KeyToWrite() {
    if (open_) Close();
  }
  KeyToWrite(const KeyToWrite&) = delete;
  KeyToWrite& operator=(const KeyToWrite&) = delete;

  bool IsOpen() const { return open_; }
  RegistryKey Handle() const { return key_; }
  bool Close() {
    open_ = false;
    return platform::RegistryCloseKey(key_) == platform::kRegistrySuccess;
  }

 private:
  RegistryKey key_ = 0;  // before what fills it
  bool open_;
};

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
        Set(registry::kNumber, {reinterpret_cast<const char*>(&number), sizeof number});
    // Early systems knew no numbers in the registry.
    return result == kInvalidParameter ? (*this)(std::to_string(number)) : result;
  }
  std::int32_t operator()(float number) const { return (*this)(NumberText(number)); }
  std::int32_t operator()(double number) const { return (*this)(NumberText(number)); }
  std::int32_t operator()(const std::string& text) const {
    return Set(registry::kText, platform::ToAnsi(text) + '\0');
  }
  std::int32_t operator()(const std::vector<std::string>& texts) const {
    return Set(registry::kTexts, platform::ToAnsi(Join(texts)) + std::string(2, '\0'));
  }

  std::int32_t Set(std::uint32_t type, std::string_view bytes) const {
    return platform::RegistrySetValue(key, name, type, std::as_bytes(std::span(bytes)));
  }
};

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
  KeyToWrite key(root, path);
  if (!key.IsOpen()) return false;
  const bool stored =
      std::visit(Store{key.Handle(), platform::ToAnsi(name)}, data) == platform::kRegistrySuccess;
  return key.Close() && stored;
}

bool RegCanSetValue(RegistryKey root, const std::string& path) {
  RegistryKey key = 0;
  const std::int32_t opened =
      platform::RegistryOpenKey(root, platform::ToAnsi(NormaliseKeyPath(path)), kWriteAccess, key);
  if (opened == platform::kRegistrySuccess) platform::RegistryCloseKey(key);
  return opened == platform::kRegistrySuccess || opened == platform::kRegistryFileNotFound;
}

}  // namespace qmzentrel::modCOM_Registry
