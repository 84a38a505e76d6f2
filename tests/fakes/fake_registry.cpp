#include <algorithm>
#include <cstring>

#include "platform/registry.h"
#include "tests/fakes/fake_world.h"

namespace qmzentrel::platform {

using fakes::TheWorld;

constexpr std::int32_t kInvalidHandle = 6;

// A key is there when it holds values, or other keys.
static bool HasKey(const std::string& path) {
  const auto& keys = TheWorld().registry;
  if (keys.contains(path)) return true;
  // In the order of the map, everything below a key follows its path and a backslash.
  const std::string below = path + '\\';
  const auto next = keys.lower_bound(below);
  const fakes::NoCaseLess less;
  return next != keys.end() && !less(next->first.substr(0, below.size()), below);
}

std::int32_t RegistryOpenKey(RegistryKey root, const std::string& path, std::uint32_t access,
                             RegistryKey& key) {
  fakes::World& world = TheWorld();
  ++world.registry_calls;
  world.opened_paths.push_back(path);
  world.opened_access.push_back(access);
  if (world.open_result) return *world.open_result;
  if (root != kLocalMachine) return kInvalidHandle;
  if (!HasKey(path)) return kRegistryFileNotFound;
  key = world.next_key++;
  world.open_keys[key] = path;
  return kRegistrySuccess;
}

std::int32_t RegistryQueryValue(RegistryKey key, const std::string& name, std::span<std::byte> data,
                                RegistryValueInfo& info) {
  fakes::World& world = TheWorld();
  ++world.registry_calls;
  if (world.before_query) world.before_query();
  if (world.query_result) return *world.query_result;
  const auto open_key = world.open_keys.find(key);
  if (open_key == world.open_keys.end()) return kInvalidHandle;
  const auto values = world.registry.find(open_key->second);
  if (values == world.registry.end()) return kRegistryFileNotFound;  // it holds only other keys
  const auto value = values->second.find(name);
  if (value == values->second.end()) return kRegistryFileNotFound;
  const std::string& bytes = value->second.bytes;
  info = {value->second.type, static_cast<std::uint32_t>(bytes.size())};
  if (bytes.size() > data.size()) return kRegistryMoreData;
  std::memcpy(data.data(), bytes.data(), bytes.size());
  return kRegistrySuccess;
}

std::int32_t RegistryCloseKey(RegistryKey key) {
  ++TheWorld().registry_calls;
  return TheWorld().open_keys.erase(key) == 1 ? kRegistrySuccess : kInvalidHandle;
}

}  // namespace qmzentrel::platform
