// What a frame says, for people to read: names and values as the control command `set` takes them,
// so that what a real box has answered can be told to a virtual one.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "tools/virtual_box/command_frame.h"

namespace qmzentrel::virtual_box {

/// "write block 1: mif=0x01 util=42 ...", "reset".
std::string CommandText(const CommandFrame& command);

/// "Box Status reply: box-version=2.1 ..." of a whole reply to that command.
std::string ReplyText(const CommandFrame& command, std::span<const std::uint8_t> reply);

}  // namespace qmzentrel::virtual_box
