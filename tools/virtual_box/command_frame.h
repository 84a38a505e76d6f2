// The command frames of the box: which there are, and where one ends in a stream of bytes.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "tools/virtual_box/basics.h"

namespace qmzentrel::virtual_box {

// First bytes of the single-byte commands.
inline constexpr std::uint8_t kBoxStatusByte = 0x80;
inline constexpr std::uint8_t kReadBlock1Byte = 0x40;
inline constexpr std::uint8_t kReadBlock2Byte = 0x42;
inline constexpr std::uint8_t kResetByte = 0xC0;

// A sub-device frame: mark, flags, command, number of bytes after this header.
inline constexpr std::uint8_t kSubDeviceMark = 0x7E;
inline constexpr std::uint8_t kSubDeviceAnswerFlag = 0x20;
inline constexpr std::uint8_t kSubDeviceWriteByte = 0xC6;
inline constexpr std::uint8_t kSubDeviceReadByte = 0xC7;
inline constexpr std::uint8_t kSubDeviceTestByte = 0xC9;
inline constexpr std::size_t kSubDeviceHeader = 4;

/// Longest frame that the box takes in: the size of its buffer.
inline constexpr std::size_t kBoxBuffer = 33;
inline constexpr std::size_t kWriteFrameLength = 12;
/// A write frame starts with the MIF byte: 4 bits type, 2 flag bits.
inline constexpr std::uint8_t kMaxMifByte = 0x3F;
/// Byte 10 of a block-2 write; in a block-1 write it is the meter-specific information, 0 to 15.
inline constexpr std::uint8_t kBlock2Mark = 0x20;

enum class CommandKind {
  kBoxStatus,
  kReadBlock1,
  kReadBlock2,
  kReset,
  kWriteBlock1,
  kWriteBlock2,
  kSubDeviceRead,
  kSubDeviceWrite,
  kSubDeviceTest,
  kUnknown,  ///< bytes that are no command
};

/// "Box Status", "read block 1", ...
std::string_view CommandName(CommandKind kind);

struct CommandFrame {
  CommandKind kind = CommandKind::kUnknown;
  Bytes bytes;
};

/// Collects bytes into command frames. Replies and commands carry no end mark, so the length comes
/// from the first bytes; after bytes that cannot be a command everything up to the next pause in
/// the stream belongs to them, because nothing tells where the next command starts.
class CommandSplitter {
 public:
  /// Takes one byte; gives the frame that it completes.
  std::optional<CommandFrame> Add(std::uint8_t byte);

  /// True while bytes are held that make no complete frame.
  bool HasRest() const { return !held_.empty(); }

  /// Ends the frame at a pause: hands out the held bytes, which are no command.
  CommandFrame TakeRest();

  /// True when the held bytes are the beginning of a command, false when they are no command.
  bool RestIsIncomplete() const { return !lost_; }

 private:
  std::optional<CommandFrame> Complete(CommandKind kind);

  Bytes held_;
  bool lost_ = false;
};

}  // namespace qmzentrel::virtual_box
