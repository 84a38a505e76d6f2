// How often a command goes out to the box, what is waited for, and what its reply is worth, by the
// rules alone: what the models of a session and of replies have in common.
#pragma once

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <utility>

#include "tests/fuzz/seen.h"

namespace qmzentrel::fuzz {

inline constexpr std::int32_t kOkay = 0;
inline constexpr std::int32_t kTimeout = 1;
inline constexpr std::int32_t kBadResponse = 2;
inline constexpr std::int32_t kBadSum = 4;

/// Time-outs of the commands, in milliseconds.
inline constexpr std::int32_t kBoxStatusTimeout = 500;
inline constexpr std::int32_t kResetTimeout = 10;
inline constexpr std::int32_t kWriteTimeout = 2500;
constexpr std::int32_t ReadTimeout(bool electric) {
  return electric ? 12500 : 2500;
}

/// How often one command is sent as long as no byte comes, and how long each time is waited for
/// one.
struct Sendings {
  int most;
  Time first_byte;
};
/// An electric box sleeps, and is asked until it is awake; any other box is asked once.
constexpr Sendings SendingsTo(bool electric, std::int32_t timeout) {
  constexpr std::int32_t kAskedEach = 500;
  return electric ? Sendings{timeout / kAskedEach + 1, milliseconds(kAskedEach)}
                  : Sendings{1, milliseconds(2500)};
}

/// From the first byte on.
inline constexpr Time kRestLimit = milliseconds(12500);

/// What came of a command.
struct Reply {
  std::int32_t status;
  Bytes bytes;
};

/// The worth of the bytes that came where `expected` are.
inline Reply Judged(Bytes bytes, std::size_t expected) {
  if (bytes.empty()) return {kTimeout, {}};
  if (bytes.size() != expected) return {kBadResponse, {}};
  const bool right = std::accumulate(bytes.begin(), bytes.end() - 1, 0) % 256 == bytes.back();
  return {right ? kOkay : kBadSum, std::move(bytes)};
}

/// A block that is not answered in time is asked for once more, in as many sendings.
template <class Command>
Reply WithRetry(Command command) {
  const Reply reply = command();
  return reply.status == kTimeout ? command() : reply;
}

}  // namespace qmzentrel::fuzz
