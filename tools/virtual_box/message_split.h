// Where the messages of the sub-device begin in the content of a reply. Frames carry no lengths per
// message, but a reply names the messages of its command in their order.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "tools/virtual_box/basics.h"

namespace qmzentrel::virtual_box {

/// Where each message begins, its identifier first and its data behind that; nothing where that is
/// possible in no way, or in more than one.
std::optional<std::vector<std::size_t>> SplitMessages(std::span<const std::uint8_t> identifiers,
                                                      std::span<const std::uint8_t> content);

}  // namespace qmzentrel::virtual_box
