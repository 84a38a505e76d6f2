// The reply frames of the box: how long one is, and where it lies among other bytes.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "tools/virtual_box/basics.h"
#include "tools/virtual_box/command_frame.h"

namespace qmzentrel::virtual_box {

inline constexpr std::size_t kBoxStatusReplyLength = 7;
inline constexpr std::size_t kTransponderReplyLength = 19;

/// The last byte of every reply but those of the sub-device: the sum of the bytes before it. At
/// least one byte.
std::uint8_t SumOfOthers(std::span<const std::uint8_t> bytes);

/// False for the commands of the sub-device, whose replies end without a sum.
bool ReplyHasSum(CommandKind kind);

/// False for a command that asks for no reply.
bool AsksForReply(const CommandFrame& command);

/// How long the reply to that command is, whose first bytes these are; nothing while they do not
/// tell, or when they do not begin such a reply.
std::optional<std::size_t> ReplyLength(const CommandFrame& command,
                                       std::span<const std::uint8_t> bytes);

/// True when the bytes are a whole reply to that command, with the right sum.
bool IsReply(const CommandFrame& command, std::span<const std::uint8_t> bytes);

/// How many bytes stand ahead of the reply that the bytes end with; nothing when they end with
/// none.
std::optional<std::size_t> BytesBeforeReply(const CommandFrame& command,
                                            std::span<const std::uint8_t> bytes);

}  // namespace qmzentrel::virtual_box
