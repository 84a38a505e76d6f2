#include "bench/box_status.h"

#include <array>
#include <cstdint>
#include <span>

#include "bench/measure.h"

namespace qmzentrel::bench {
namespace {

constexpr std::array<std::uint8_t, 1> kBoxStatus = {0x80};
constexpr std::size_t kReply = 7;
// Long, since the component asks a second time and this does not.
constexpr DWORD kFirstByteMs = 2500;
constexpr DWORD kRemainderMs = 12500;

}  // namespace

void BoxStatusInTheSameSteps(RawPort& port) {
  std::array<std::uint8_t, kReply> reply{};
  port.Purge();
  port.Write(kBoxStatus);
  const bool answered = port.Read(std::span(reply).first(1), kFirstByteMs) &&
                        port.Read(std::span(reply).subspan(1), kRemainderMs);
  Require(answered && HasRightSum(reply), "raw Box Status");
}

void BoxStatusAtItsLeast(RawPort& port) {
  std::array<std::uint8_t, kReply> reply{};
  port.Write(kBoxStatus);
  Require(port.Read(reply, kFirstByteMs) && HasRightSum(reply), "raw Box Status");
}

}  // namespace qmzentrel::bench
