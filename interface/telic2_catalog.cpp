#include "interface/telic2_catalog.h"

#include <algorithm>

#include "support/modCOM_Common.h"
#include "support/registry_values.h"

namespace qmzentrel::catalogs {
namespace {

using modCOM_Registry::OpenKey;

constexpr const char* kNoName = "Invalid";
constexpr std::int32_t kAllMessages = -1;

std::int32_t NumberOf(const std::string& messages_key, std::int32_t message,
                      const std::string& value) {
  const OpenKey key(platform::kLocalMachine, messages_key + "\\" + std::to_string(message));
  return registry::Number(key, value, 0);
}

}  // namespace

std::string DeviceKey(const std::string& device) {
  return modCOM_Common::AddBackslash(std::string(kDeviceTypesKey) + "\\" + device);
}

std::vector<std::string> DeviceTypes() {
  std::vector<std::string> names;
  modCOM_Registry::RegEnumKeys(platform::kLocalMachine, kDeviceTypesKey, names, true);
  return names;
}

MessageList::MessageList(const std::string& device_key)
    : key_(platform::kLocalMachine, kMessagesKey),
      range_(ReadRange(key_)),
      commands_(device_key.empty() ? kAllMessages
                                   : registry::Number(OpenKey(platform::kLocalMachine, device_key),
                                                      value_name::kCommands, kAllMessages)) {}

void MessageList::Offer(const AddEntry& add) const {
  // Below 0 there is no bit: no need to go through the numbers there.
  for (std::int64_t n = std::max(range_.first, 0); n <= range_.last; ++n) {
    const auto message = static_cast<std::int32_t>(n);
    if (HasBit(commands_, message)) add(message, ReadName(key_, message, kNoName));
  }
}

TestMessageList::TestMessageList(const std::string& device_key)
    : key_(platform::kLocalMachine, device_key + kTestMessagesName), range_(ReadRange(key_)) {}

void TestMessageList::Offer(const AddEntry& add) const {
  for (std::int64_t n = range_.first; n <= LastLookedUp(range_); ++n) {
    const auto message = static_cast<std::int32_t>(n);
    add(message, ReadName(key_, message, kNoName));
  }
}

std::int32_t MessageLength(std::int32_t message) {
  return NumberOf(kMessagesKey, message, value_name::kBytes);
}

std::int32_t TestReadLength(const std::string& device_key, std::int32_t message) {
  return NumberOf(device_key + kTestMessagesName, message, value_name::kRBytes);
}

std::int32_t TestWriteLength(const std::string& device_key, std::int32_t message) {
  return NumberOf(device_key + kTestMessagesName, message, value_name::kPBytes);
}

}  // namespace qmzentrel::catalogs
