// Where in the frames of block 1 and 2 the facts of the transponder stand: in a write frame as in a
// reply.
#pragma once

#include <cstdint>
#include <span>

#include "tools/virtual_box/facts.h"

namespace qmzentrel::virtual_box {

/// The record, out of the first 11 bytes of a frame of block 1.
void TakeBlock1(std::span<const std::uint8_t> frame, Facts& facts);

/// The radio settings, out of the first 9 bytes of a frame of block 2. The first of them is the MIF
/// byte in a write frame and carries nothing in a reply.
void TakeBlock2(std::span<const std::uint8_t> frame, Facts& facts);

}  // namespace qmzentrel::virtual_box
