#include <algorithm>
#include <cstring>

#include "platform/registry.h"
#include "tests/fakes/fake_world.h"

namespace qmzentrel::platform {

using fakes::TheWorld;

constexpr std::int32_t kInvalidHandle = 6;

std::int32_t RegistryOpenKey(RegistryKey root, const std::string& path, std::uint32_t access,
                             RegistryKey& key) {
  fakes::World& world = TheWorld();
  ++world.registry_calls;
  world.opened_paths.push_back(path);
  world.opened_access.push_back(access);
  if (world.open_result) return *world.open_result;
  if (root != kLocalMachine) return kInvalidHandle;
  if (!world.registry.contains(path)) return kRegistryFileNotFound;
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
  const auto& values = world.registry[open_key->second];
  const auto value = values.find(name);
  if (value == values.end()) return kRegistryFileNotFound;
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
