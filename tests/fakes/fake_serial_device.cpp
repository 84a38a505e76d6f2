#include <utility>

#include "tests/fakes/fake_serial_port.h"
#include "tests/fakes/fake_world.h"

namespace qmzentrel::fakes {

std::string Hex(std::span<const std::uint8_t> bytes) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    if (!text.empty()) text += ' ';
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0xF];
  }
  return text;
}

Reaction FakePort::ReactTo(std::span<const std::uint8_t> command) {
  if (reactions.empty()) return device ? device(command) : Reaction{};
  Reaction reaction = std::move(reactions.front());
  reactions.pop_front();
  return reaction;
}

Bytes FakePort::Received() const {
  Bytes received;
  for (const auto& [passed, byte] : wire) {
    if (passed <= TheWorld().now) received.push_back(byte);
  }
  return received;
}

}  // namespace qmzentrel::fakes
