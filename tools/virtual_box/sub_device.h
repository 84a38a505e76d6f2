// The sub-device behind the transponder: numbered messages with stored data, and test messages.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "tools/virtual_box/basics.h"
#include "tools/virtual_box/command_frame.h"

namespace qmzentrel::virtual_box {

/// A frame carries no lengths per message, so the box has to know them, as the client's catalog
/// does. Both sides must be told the same.
struct TestMessage {
  std::size_t write_length = 0;  ///< data bytes that follow the identifier in the command
  Bytes reply;                   ///< data of the reply; empty: the message yields no reply
  Bytes written;                 ///< data of the last command
};

class SubDevice {
 public:
  /// Messages 8 to 16 hold two zero bytes, 17 and 18 four; no test messages.
  SubDevice();

  /// The reply to a sub-device command, after carrying it out: a read gives each identifier with
  /// its data, a write echoes the command, a test gives the replies of its messages. Nothing when
  /// the command asks for no reply. Such replies carry no sum.
  std::optional<Bytes> Answer(const CommandFrame& command);

  /// Stored data by identifier; an unknown message has none.
  Bytes& Message(std::uint8_t identifier) { return messages_[identifier]; }
  TestMessage& Test(std::uint8_t identifier) { return tests_[identifier]; }

 private:
  Bytes Read(std::span<const std::uint8_t> identifiers) const;
  void Write(std::span<const std::uint8_t> messages);
  Bytes RunTests(std::span<const std::uint8_t> messages);

  std::array<Bytes, 256> messages_;
  std::array<TestMessage, 256> tests_;
};

}  // namespace qmzentrel::virtual_box
