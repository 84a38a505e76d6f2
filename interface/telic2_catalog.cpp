#include "interface/telic2_catalog.h"

#include <algorithm>

#include "support/modCOM_Common.h"

namespace qmzentrel::catalogs {
namespace {

using modCOM_Registry::OpenKey;

constexpr const char* kTestMessages = "TestMessages";
constexpr const char* kNoName = "Invalid";

std::int32_t NumberOf(const std::string& messages_key, std::int32_t message,
                      const std::string& value) {
  const OpenKey key(platform::kLocalMachine, messages_key + "\\" + std::to_string(message));
  return ReadNumber(key, value, 0);
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

void OfferMessages(const std::string& device_key, const AddEntry& add) {
  constexpr std::int32_t kAllMessages = -1;
  std::int32_t commands = kAllMessages;
  if (!device_key.empty()) {
    commands = ReadNumber(OpenKey(platform::kLocalMachine, device_key), "Commands", kAllMessages);
  }
  const OpenKey key(platform::kLocalMachine, kMessagesKey);
  const Range range = ReadRange(key);
  // There is no bit below 0, hence nothing to offer there.
  for (std::int64_t n = std::max(range.first, 0); n <= range.last; ++n) {
    const auto message = static_cast<std::int32_t>(n);
    if (HasBit(commands, message)) add(message, ReadName(key, message, kNoName));
  }
}

void OfferTestMessages(const std::string& device_key, const AddEntry& add) {
  const OpenKey key(platform::kLocalMachine, device_key + kTestMessages);
  const Range range = ReadRange(key);
  for (std::int64_t n = range.first; n <= range.last; ++n) {
    const auto message = static_cast<std::int32_t>(n);
    add(message, ReadName(key, message, kNoName));
  }
}

std::int32_t MessageLength(std::int32_t message) {
  return NumberOf(kMessagesKey, message, "Bytes");
}

std::int32_t TestReadLength(const std::string& device_key, std::int32_t message) {
  return NumberOf(device_key + kTestMessages, message, "RBytes");
}

std::int32_t TestWriteLength(const std::string& device_key, std::int32_t message) {
  return NumberOf(device_key + kTestMessages, message, "PBytes");
}

}  // namespace qmzentrel::catalogs
