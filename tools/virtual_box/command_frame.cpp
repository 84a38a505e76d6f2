#include "tools/virtual_box/command_frame.h"

#include <utility>

namespace qmzentrel::virtual_box {
namespace {

CommandKind SingleByteKind(std::uint8_t byte) {
  switch (byte) {
    case kBoxStatusByte:
      return CommandKind::kBoxStatus;
    case kReadBlock1Byte:
      return CommandKind::kReadBlock1;
    case kReadBlock2Byte:
      return CommandKind::kReadBlock2;
    case kResetByte:
      return CommandKind::kReset;
    default:
      return CommandKind::kUnknown;
  }
}

CommandKind SubDeviceKind(std::uint8_t byte) {
  switch (byte) {
    case kSubDeviceReadByte:
      return CommandKind::kSubDeviceRead;
    case kSubDeviceWriteByte:
      return CommandKind::kSubDeviceWrite;
    case kSubDeviceTestByte:
      return CommandKind::kSubDeviceTest;
    default:
      return CommandKind::kUnknown;
  }
}

CommandKind WriteKind(const Bytes& frame) {
  if (frame[11] != 0) return CommandKind::kUnknown;
  if (frame[10] <= 15) return CommandKind::kWriteBlock1;
  if (frame[10] == kBlock2Mark && frame[9] == 0) return CommandKind::kWriteBlock2;
  return CommandKind::kUnknown;
}

}  // namespace

std::string_view CommandName(CommandKind kind) {
  switch (kind) {
    case CommandKind::kBoxStatus:
      return "Box Status";
    case CommandKind::kReadBlock1:
      return "read block 1";
    case CommandKind::kReadBlock2:
      return "read block 2";
    case CommandKind::kReset:
      return "reset";
    case CommandKind::kWriteBlock1:
      return "write block 1";
    case CommandKind::kWriteBlock2:
      return "write block 2";
    case CommandKind::kSubDeviceRead:
      return "sub-device read";
    case CommandKind::kSubDeviceWrite:
      return "sub-device write";
    case CommandKind::kSubDeviceTest:
      return "sub-device test";
    case CommandKind::kUnknown:
      break;
  }
  return "no command";
}

std::optional<CommandFrame> CommandSplitter::Add(std::uint8_t byte) {
  held_.push_back(byte);
  if (lost_) return std::nullopt;
  if (held_.size() == 1) {
    const CommandKind kind = SingleByteKind(byte);
    if (kind != CommandKind::kUnknown) return Complete(kind);
    lost_ = byte > kMaxMifByte && byte != kSubDeviceMark;
    return std::nullopt;
  }
  if (held_[0] == kSubDeviceMark) {
    if (held_.size() < kSubDeviceHeader) return std::nullopt;
    const CommandKind kind = SubDeviceKind(held_[2]);
    const std::size_t length = kSubDeviceHeader + held_[3];
    if (kind == CommandKind::kUnknown || length > kBoxBuffer) {
      lost_ = true;
      return std::nullopt;
    }
    if (held_.size() < length) return std::nullopt;
    return Complete(kind);
  }
  if (held_.size() < kWriteFrameLength) return std::nullopt;
  const CommandKind kind = WriteKind(held_);
  if (kind != CommandKind::kUnknown) return Complete(kind);
  lost_ = true;
  return std::nullopt;
}

CommandFrame CommandSplitter::TakeRest() {
  lost_ = false;
  return {CommandKind::kUnknown, std::exchange(held_, {})};
}

std::optional<CommandFrame> CommandSplitter::Complete(CommandKind kind) {
  return CommandFrame{kind, std::exchange(held_, {})};
}

}  // namespace qmzentrel::virtual_box
