// What the installer's catalog in the registry says of sub-devices (TELIC2) and their messages.
// Read afresh with each call.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "interface/catalogs.h"

namespace qmzentrel::catalogs {

/// The test message that marks an invalid choice in lists. It is never sent.
inline constexpr std::int32_t kInvalidTestMessage = 99;

/// The key of one device type, with a backslash at its end. An empty name gives the key of all
/// types.
std::string DeviceKey(const std::string& device);

/// The names of the device types, sorted.
std::vector<std::string> DeviceTypes();

/// The messages from "Min" to "Max" whose bit in "Commands" of a device's key is set; with an empty
/// `device_key` all of them. Range and mask are read when the object is made.
class MessageList {
 public:
  explicit MessageList(const std::string& device_key);
  /// Error 6 at message 31, after the entries before it have been added.
  void Offer(const AddEntry& add) const;

 private:
  modCOM_Registry::OpenKey key_;
  Range range_;
  std::int32_t commands_;
};

/// The test messages of a device from "Min" to "Max", at most kMostNumbers. Both are read when the
/// object is made.
class TestMessageList {
 public:
  explicit TestMessageList(const std::string& device_key);
  void Offer(const AddEntry& add) const;

 private:
  modCOM_Registry::OpenKey key_;
  Range range_;
};

/// "Bytes" of a message, 0 when it is unknown. Its sign says nothing of the length.
std::int32_t MessageLength(std::int32_t message);

/// "RBytes" of a test message, 0 when it is unknown, -1 when it has no reply.
std::int32_t TestReadLength(const std::string& device_key, std::int32_t message);

/// "PBytes" of a test message, 0 when it is unknown.
std::int32_t TestWriteLength(const std::string& device_key, std::int32_t message);

}  // namespace qmzentrel::catalogs
