#include "tests/fakes/fake_serial_port.h"

#include <algorithm>

#include "platform/serial_port.h"
#include "tests/fakes/fake_world.h"

namespace qmzentrel::platform {
namespace {

using fakes::FakePort;
using fakes::Microseconds;
using fakes::Milliseconds;
using fakes::TheWorld;

// How long the driver is given to take what is written.
constexpr Milliseconds kWriteLimit{1000};

std::string NameOf(ModemLines lines) {
  if (lines.dtr && lines.rts) return "DTR and RTS";
  return lines.dtr ? "DTR" : lines.rts ? "RTS" : "off";
}

std::string NameOf(const SerialSettings& settings) {
  return std::to_string(settings.baud_rate) + " baud, parity " + std::to_string(settings.parity) +
         ", " + std::to_string(settings.data_bits) + " data, stop setting " +
         std::to_string(settings.stop_bits);
}

// What has not passed by now never will.
void CutWire(FakePort& port) {
  std::erase_if(port.wire, [](const auto& byte) { return byte.first > TheWorld().now; });
}

void PutOnWire(FakePort& port, std::span<const std::uint8_t> bytes) {
  Microseconds begin = TheWorld().now + port.sends_late;
  if (!port.wire.empty()) begin = std::max(begin, port.wire.back().first);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    port.wire.emplace_back(begin + Microseconds(WireMicroseconds(port.settings, i + 1)), bytes[i]);
  }
}

void SwitchLines(FakePort& port, ModemLines lines) {
  if (port.refuses_lines) return;
  if ((port.lines.dtr && !lines.dtr) || (port.lines.rts && !lines.rts)) CutWire(port);
  port.lines = lines;
  port.line_history.push_back(lines);
}

std::int32_t WhyNotToOpen(const FakePort* port) {
  if (port == nullptr || port->vanished) return kPortMissing;
  if (port->open) return kPortInUse;
  constexpr std::int32_t kInvalidParameter = 87;
  return port->refuses_settings ? kInvalidParameter : 0;
}

}  // namespace

struct SerialPort::State {
  std::int32_t number = 0;

  FakePort* Port() const {
    const auto port = TheWorld().ports.find(number);
    return number != 0 && port != TheWorld().ports.end() ? &port->second : nullptr;
  }
};

SerialPort::SerialPort() : state_(std::make_unique<State>()) {}
SerialPort::~SerialPort() {
  Close();
}

bool SerialPort::Open(std::int32_t number, const SerialSettings& settings, ModemLines lines) {
  Close();
  const auto found = TheWorld().ports.find(number);
  open_error_ = WhyNotToOpen(found != TheWorld().ports.end() ? &found->second : nullptr);
  const bool usable = open_error_ == 0;
  TheWorld().Note([&] {
    return "open COM" + std::to_string(number) + " (" + NameOf(settings) + "), supply " +
           NameOf(lines) + (usable ? "" : ": refused");
  });
  if (!usable) return false;
  FakePort& port = found->second;
  port.open = true;
  port.settings = settings;
  port.lines = lines;
  port.line_history.push_back(lines);
  port.incoming.clear();
  state_->number = number;
  return true;
}

bool SerialPort::IsOpen() const {
  return state_->number != 0;
}

void SerialPort::Close() {
  if (!IsOpen()) return;
  TheWorld().Note("close COM" + std::to_string(state_->number));
  if (FakePort* port = state_->Port()) {
    CutWire(*port);
    SwitchLines(*port, {});
    port->open = false;
  }
  state_->number = 0;
}

void SerialPort::ClearReceiveBuffer() {
  FakePort* port = state_->Port();
  if (!port) return;
  ++port->clears;
  port->incoming.erase(port->incoming.begin(), port->incoming.upper_bound(TheWorld().now));
}

bool SerialPort::Write(std::span<const std::uint8_t> bytes) {
  FakePort* port = state_->Port();
  if (!port) return false;
  TheWorld().Note([&] { return "write " + fakes::Hex(bytes); });
  if (port->vanished) return false;
  TheWorld().Advance(port->write_takes);
  const auto taken = bytes.first(std::min(bytes.size(), port->driver_room.value_or(bytes.size())));
  port->written.emplace_back(taken.begin(), taken.end());
  PutOnWire(*port, taken);
  if (taken.size() < bytes.size()) {
    TheWorld().Advance(kWriteLimit);
    return false;
  }
  Microseconds time = TheWorld().now;
  for (const fakes::Chunk& chunk : port->ReactTo(bytes)) {
    time += chunk.after;
    for (const std::uint8_t byte : chunk.bytes) port->incoming.emplace(time, byte);
  }
  return true;
}

bool SerialPort::AwaitSent() {
  FakePort* port = state_->Port();
  if (!port) return false;
  fakes::World& world = TheWorld();
  if (!port->wire.empty()) world.now = std::max(world.now, port->wire.back().first);
  world.Note(port->vanished ? "not sent" : "sent");
  return !port->vanished;
}

void SerialPort::DropUnsent() {
  if (FakePort* port = state_->Port()) CutWire(*port);
}

std::size_t SerialPort::Read(std::span<std::uint8_t> buffer, std::int32_t timeout_ms) {
  FakePort* port = state_->Port();
  if (!port) return 0;
  fakes::World& world = TheWorld();
  if (!port->reads_fail.empty()) {
    const bool fails = port->reads_fail.front();
    port->reads_fail.pop_front();
    if (fails) {
      world.Note("read " + std::to_string(buffer.size()) + " failed");
      return 0;
    }
  }
  const Microseconds deadline = world.now + Milliseconds(timeout_ms);
  std::size_t count = 0;
  while (!port->vanished && count < buffer.size() && !port->incoming.empty() &&
         port->incoming.begin()->first <= deadline) {
    const auto byte = port->incoming.begin();
    world.now = std::max(world.now, byte->first);
    buffer[count++] = byte->second;
    port->incoming.erase(byte);
    if (port->vanishes_after && --*port->vanishes_after == 0) port->vanished = true;
  }
  if (count < buffer.size()) {
    world.now = std::max(world.now, deadline);
    if (port->loses_cut_reads) count = 0;
  }
  world.Note([&] {
    return "read " + std::to_string(buffer.size()) + " within " + std::to_string(timeout_ms) +
           ": " + (count == 0 ? "nothing" : fakes::Hex(buffer.first(count)));
  });
  return count;
}

void SerialPort::SetLines(ModemLines lines) {
  TheWorld().Enter("SerialPort::SetLines");
  TheWorld().Note([&] { return "supply " + NameOf(lines); });
  if (FakePort* port = state_->Port()) SwitchLines(*port, lines);
}

}  // namespace qmzentrel::platform
