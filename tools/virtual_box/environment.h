// Where a test program finds its box: the environment names ports and control channels.
#pragma once

#include <cstdint>
#include <optional>

namespace qmzentrel::virtual_box {

/// The number in an environment variable that holds "PORT" or "127.0.0.1:PORT"; nothing when there
/// is no such variable. Throws std::runtime_error when it holds anything else: a test must not take
/// a mistyped box for a missing one, without which it may be skipped.
std::optional<std::uint16_t> NumberFromEnvironment(const char* name);

}  // namespace qmzentrel::virtual_box
