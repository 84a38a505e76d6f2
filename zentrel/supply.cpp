#include "zentrel/supply.h"

#include <array>

namespace qmzentrel::program {
namespace {

// A box is silent for 2 seconds after it is supplied, and one of the electric kind sleeps until it
// has been called.
constexpr int kCalls = 6;
constexpr std::int32_t kCallMs = 500;

constexpr std::uint8_t kBoxStatusCommand = 0x80;
constexpr std::size_t kBoxStatusLength = 7;

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
    std::array<std::uint8_t, kBoxStatusLength> reply{};
    answers = serial.Read(reply, kCallMs) == reply.size();
  }
  serial.SetLines({});
  return answers;
}

}  // namespace qmzentrel::program
