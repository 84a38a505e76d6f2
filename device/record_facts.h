// Facts of the transponder's record that several commands rely on.
#pragma once

#include <cstdint>

namespace qmzentrel {

/// On the transponder the leak flag is bit 7 of the tamper count.
inline constexpr std::int32_t kLeakFlag = 128;

inline constexpr std::int32_t kMaxByte = 0xFF;

}  // namespace qmzentrel
