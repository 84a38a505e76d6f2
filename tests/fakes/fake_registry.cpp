#include "tests/fakes/fake_registry.h"

#include <algorithm>
#include <cstring>

#include "platform/registry.h"
#include "tests/fakes/fake_world.h"

namespace qmzentrel::fakes {
namespace {

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

}  // namespace

bool NoCaseLess::operator()(const std::string& left, const std::string& right) const {
  // A loop, since tests on a whole catalog spend most of their time here.
  for (std::size_t i = 0; i < left.size() && i < right.size(); ++i) {
    const char one = Lower(left[i]);
    const char other = Lower(right[i]);
    if (one != other) return one < other;
  }
  return left.size() < right.size();
}

void FakeRegistry::SetText(const std::string& path, const std::string& name,
                           const std::string& text) {
  constexpr std::uint32_t kRegSz = 1;
  registry[path][name] = {kRegSz, text + '\0'};
}

void FakeRegistry::SetNumber(const std::string& path, const std::string& name,
                             std::uint32_t number) {
  constexpr std::uint32_t kRegDword = 4;
  std::string bytes;
  for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(number >> shift & 0xFF);
  registry[path][name] = {kRegDword, bytes};
}

void FakeRegistry::SetTexts(const std::string& path, const std::string& name,
                            const std::vector<std::string>& texts) {
  constexpr std::uint32_t kRegMultiSz = 7;
  std::string bytes;
  for (const std::string& text : texts) bytes += text + '\0';
  registry[path][name] = {kRegMultiSz, bytes + '\0'};
}

}  // namespace qmzentrel::fakes

namespace qmzentrel::platform {

using fakes::TheWorld;

constexpr std::int32_t kAccessDenied = 5;
constexpr std::int32_t kInvalidHandle = 6;

// Calls begin here: they are noted, and fail when the test says so.
static std::optional<std::int32_t> Enter(const std::string& call, const std::string& subject) {
  fakes::World& world = TheWorld();
  ++world.registry_requests;
  if (world.keeps_journal) world.registry_calls.push_back(call + " " + subject);
  return world.registry_fault ? world.registry_fault(call, subject) : std::nullopt;
}

static void NoteOpened(const std::string& path, std::uint32_t access) {
  fakes::World& world = TheWorld();
  if (!world.keeps_journal) return;
  world.opened_paths.push_back(path);
  world.opened_access.push_back(access);
}

static bool IsBelow(const std::string& path, const std::string& prefix) {
  const fakes::NoCaseLess less;
  const std::string start = path.substr(0, prefix.size());
  return path.size() > prefix.size() && !less(start, prefix) && !less(prefix, start);
}

// A key is there when it holds values, or other keys.
static bool HasKey(const std::string& path) {
  const auto& keys = TheWorld().registry;
  if (keys.contains(path)) return true;
  // In the order of the map, everything below a key follows its path and a backslash.
  const std::string below = path + '\\';
  const auto next = keys.lower_bound(below);
  return next != keys.end() && IsBelow(next->first, below);
}

static std::optional<std::string> PathOf(RegistryKey key) {
  const auto open_key = TheWorld().open_keys.find(key);
  if (open_key == TheWorld().open_keys.end()) return std::nullopt;
  return open_key->second;
}

// Where `path` below `root`, a root or an open key, leads to.
static std::optional<std::string> Join(RegistryKey root, const std::string& path) {
  if (root == kLocalMachine) return path;
  auto start = PathOf(root);
  if (!start || path.empty()) return start;
  return *start + '\\' + path;
}

static bool IsRefused(const std::string& path, std::uint32_t access) {
  constexpr std::uint32_t kSetValue = 2;
  return (access & kSetValue) != 0 && TheWorld().read_only_keys.contains(path);
}

static RegistryKey NewHandle(const std::string& path) {
  const RegistryKey key = TheWorld().next_key++;
  TheWorld().open_keys[key] = path;
  return key;
}

static std::vector<std::string> SubKeysOf(const std::string& path) {
  if (const auto order = TheWorld().key_order.find(path); order != TheWorld().key_order.end()) {
    return order->second;
  }
  std::vector<std::string> names;
  const std::string below = path + '\\';
  const auto& keys = TheWorld().registry;
  for (auto next = keys.lower_bound(below); next != keys.end(); ++next) {
    const std::string& key = next->first;
    if (!IsBelow(key, below)) break;
    std::string name = key.substr(below.size());
    name.resize(std::min(name.find('\\'), name.size()));
    if (std::ranges::find(names, name) == names.end()) names.push_back(name);
  }
  return names;
}

static std::vector<std::string> ValuesOf(const std::string& path) {
  if (const auto order = TheWorld().value_order.find(path); order != TheWorld().value_order.end()) {
    return order->second;
  }
  std::vector<std::string> names;
  for (const auto& [name, value] : TheWorld().registry[path]) names.push_back(name);
  return names;
}

static std::int32_t Read(const std::string& path, const std::string& name,
                         std::span<std::byte> data, bool size_only, RegistryValueInfo& info) {
  const auto values = TheWorld().registry.find(path);
  if (values == TheWorld().registry.end()) return kRegistryFileNotFound;  // holds only other keys
  const auto value = values->second.find(name);
  if (value == values->second.end()) return kRegistryFileNotFound;
  const std::string& bytes = value->second.bytes;
  info = {value->second.type, static_cast<std::uint32_t>(bytes.size())};
  if (size_only) return kRegistrySuccess;
  if (bytes.size() > data.size()) return kRegistryMoreData;
  std::memcpy(data.data(), bytes.data(), bytes.size());
  info.size += TheWorld().overstated_by;
  return kRegistrySuccess;
}

std::int32_t RegistryOpenKey(RegistryKey root, const std::string& path, std::uint32_t access,
                             RegistryKey& key) {
  NoteOpened(path, access);
  if (const auto fault = Enter("RegOpenKeyEx", path)) return *fault;
  if (const auto& result = TheWorld().open_result) return *result;
  const auto whole = Join(root, path);
  if (!whole) return kInvalidHandle;
  if (!HasKey(*whole)) return kRegistryFileNotFound;
  if (IsRefused(*whole, access)) return kAccessDenied;
  key = NewHandle(*whole);
  return kRegistrySuccess;
}

std::int32_t RegistryCreateKey(RegistryKey root, const std::string& path, std::uint32_t access,
                               RegistryKey& key) {
  NoteOpened(path, access);
  if (const auto fault = Enter("RegCreateKeyEx", path)) return *fault;
  const auto whole = Join(root, path);
  if (!whole) return kInvalidHandle;
  if (IsRefused(*whole, access)) return kAccessDenied;
  TheWorld().registry[*whole];
  key = NewHandle(*whole);
  return kRegistrySuccess;
}

std::int32_t RegistryEnumKey(RegistryKey key, std::uint32_t index, std::string& name) {
  if (const auto fault = Enter("RegEnumKeyEx", std::to_string(index))) return *fault;
  const auto path = PathOf(key);
  if (!path) return kInvalidHandle;
  const auto names = SubKeysOf(*path);
  if (index >= names.size()) return kRegistryNoMoreItems;
  if (names[index].size() >= kRegistryNameRoom) return kRegistryMoreData;
  name = names[index];
  return kRegistrySuccess;
}

std::int32_t RegistryEnumValue(RegistryKey key, std::uint32_t index, std::string& name,
                               std::span<std::byte> data, RegistryValueInfo& info) {
  if (const auto fault = Enter("RegEnumValue", std::to_string(index))) return *fault;
  const auto path = PathOf(key);
  if (!path) return kInvalidHandle;
  const auto names = ValuesOf(*path);
  if (index >= names.size()) return kRegistryNoMoreItems;
  if (names[index].size() >= kRegistryNameRoom) return kRegistryMoreData;
  RegistryValueInfo found;
  const std::int32_t result = Read(*path, names[index], data, data.empty(), found);
  if (result == kRegistrySuccess) {
    name = names[index];
    info = found;
  }
  return result;
}

std::int32_t RegistryQueryValue(RegistryKey key, const std::string& name, std::span<std::byte> data,
                                RegistryValueInfo& info) {
  fakes::World& world = TheWorld();
  if (world.before_query) world.before_query();
  if (const auto fault = Enter("RegQueryValueEx", name)) return *fault;
  if (world.query_result) return *world.query_result;
  const auto path = PathOf(key);
  return path ? Read(*path, name, data, false, info) : kInvalidHandle;
}

std::int32_t RegistrySetValue(RegistryKey key, const std::string& name, std::uint32_t type,
                              std::span<const std::byte> data) {
  if (const auto fault = Enter("RegSetValueEx", name)) return *fault;
  const auto path = PathOf(key);
  if (!path) return kInvalidHandle;
  const auto* const bytes = reinterpret_cast<const char*>(data.data());
  TheWorld().registry[*path][name] = {type, std::string(bytes, data.size())};
  return kRegistrySuccess;
}

std::int32_t RegistryDeleteValue(RegistryKey key, const std::string& name) {
  if (const auto fault = Enter("RegDeleteValue", name)) return *fault;
  const auto path = PathOf(key);
  if (!path) return kInvalidHandle;
  const auto values = TheWorld().registry.find(*path);
  const bool was_there = values != TheWorld().registry.end() && values->second.erase(name) == 1;
  return was_there ? kRegistrySuccess : kRegistryFileNotFound;
}

std::int32_t RegistryCloseKey(RegistryKey key) {
  const auto fault = Enter("RegCloseKey", PathOf(key).value_or("?"));
  const bool was_open = TheWorld().open_keys.erase(key) == 1;
  if (fault) return *fault;
  return was_open ? kRegistrySuccess : kInvalidHandle;
}

}  // namespace qmzentrel::platform
