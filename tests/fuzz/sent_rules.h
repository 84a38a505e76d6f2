// What may go out to the box, whatever has failed before.
#pragma once

#include <optional>

#include "tests/fuzz/seen.h"

namespace qmzentrel::fuzz {

/// Whether `frame` is one that this call sends, made by an object that showed `before`.
bool MaySend(const Call& call, const Shown& before, const Bytes& frame);

/// What an object shows after the replies to a Box Status and to a read of both blocks.
Shown ShownAfter(const Bytes& box_status, const Bytes& block_1, const Bytes& block_2);

}  // namespace qmzentrel::fuzz
