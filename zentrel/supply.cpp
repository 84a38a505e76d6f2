#include "zentrel/supply.h"

#include <array>
#include <numeric>

#include "interface/box_facts.h"

namespace qmzentrel::program {
namespace {

// A box is silent for 2 seconds after it is supplied, and one of the electric kind sleeps until it
// has been called.
constexpr int kCalls = 6;
constexpr std::int32_t kCallMs = 500;

using BoxStatusReply = std::array<std::uint8_t, kBoxStatusLength>;

// The last byte is the sum of those before it. Another device may send as many bytes.
bool HasRightSum(const BoxStatusReply& reply) {
  const unsigned sum = std::accumulate(reply.begin(), reply.end() - 1, 0U);
  return (sum & 0xFF) == reply.back();
}

}  // namespace

std::string LinesText(platform::ModemLines lines) {
  if (lines.dtr && lines.rts) return "DTR and RTS";
  return lines.rts ? "RTS" : "DTR";
}

std::int32_t OpeningError(std::int32_t port) {
  platform::SerialPort serial;
  serial.Open(port, {}, {});
  return serial.OpenError();
}

bool BoxAnswers(std::int32_t port, platform::ModemLines lines) {
  platform::SerialPort serial;
  if (!serial.Open(port, {}, lines)) return false;
  bool answers = false;
  for (int call = 0; call < kCalls && !answers; ++call) {
    serial.ClearReceiveBuffer();
    serial.Write(std::array{kBoxStatusCommand});
    BoxStatusReply reply{};
    answers = serial.Read(reply, kCallMs) == reply.size() && HasRightSum(reply);
  }
  serial.SetLines({});
  return answers;
}

}  // namespace qmzentrel::program
