#include "tools/virtual_box/reply_frame.h"

#include <algorithm>
#include <numeric>

namespace qmzentrel::virtual_box {

std::uint8_t SumOfOthers(std::span<const std::uint8_t> bytes) {
  const std::uint32_t sum = std::accumulate(bytes.begin(), bytes.end() - 1, std::uint32_t{0});
  return static_cast<std::uint8_t>(sum & 0xFF);
}

bool ReplyHasSum(CommandKind kind) {
  return kind != CommandKind::kSubDeviceRead && kind != CommandKind::kSubDeviceWrite &&
         kind != CommandKind::kSubDeviceTest;
}

bool AsksForReply(const CommandFrame& command) {
  return command.kind != CommandKind::kSubDeviceTest ||
         (command.bytes[1] & kSubDeviceAnswerFlag) != 0;
}

std::optional<std::size_t> ReplyLength(const CommandFrame& command,
                                       std::span<const std::uint8_t> bytes) {
  if (command.kind == CommandKind::kBoxStatus) return kBoxStatusReplyLength;
  if (ReplyHasSum(command.kind)) return kTransponderReplyLength;
  // It repeats mark and command, and says itself how long it is.
  if (bytes.size() < kSubDeviceHeader || bytes[0] != kSubDeviceMark ||
      bytes[2] != command.bytes[2]) {
    return std::nullopt;
  }
  return kSubDeviceHeader + bytes[3];
}

bool IsReply(const CommandFrame& command, std::span<const std::uint8_t> bytes) {
  return ReplyLength(command, bytes) == bytes.size() &&
         (!ReplyHasSum(command.kind) || bytes.back() == SumOfOthers(bytes));
}

std::optional<std::size_t> BytesBeforeReply(const CommandFrame& command,
                                            std::span<const std::uint8_t> bytes) {
  for (std::size_t before = 0; before < bytes.size(); ++before) {
    if (IsReply(command, bytes.subspan(before))) return before;
  }
  return std::nullopt;
}

}  // namespace qmzentrel::virtual_box
