// Serial ports with scripted devices behind them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "platform/serial_port.h"
#include "tests/fakes/fake_time.h"

namespace qmzentrel::fakes {

using Bytes = std::vector<std::uint8_t>;

/// "12 AB FF".
std::string Hex(std::span<const std::uint8_t> bytes);

/// Bytes that a device sends, `after` the command or the chunk before.
struct Chunk {
  Bytes bytes;
  Milliseconds after{0};
};

/// What a device does on one command: nothing, or one or more chunks.
using Reaction = std::vector<Chunk>;

/// One serial port of the machine, open or not.
struct FakePort {
  bool refuses_settings = false;
  bool vanished = false;           ///< pulled out: silent until the port is closed, then gone
  std::deque<Reaction> reactions;  ///< one per command, in order; none left is silence
  std::function<Reaction(std::span<const std::uint8_t>)> device;  ///< asked when none is queued

  bool open = false;
  platform::SerialSettings settings;
  platform::ModemLines lines;
  std::vector<platform::ModemLines> line_history;  ///< each setting since the port was there
  std::vector<Bytes> written;                      ///< what the driver was handed, write by write
  std::optional<std::size_t> driver_room;  ///< bytes of a write that the driver takes; unset: all
  Milliseconds write_takes{0};             ///< until the driver takes a write
  Milliseconds sends_late{0};              ///< what the driver has taken goes out so much later
  bool loses_cut_reads = false;  ///< a read that is not full at its end hands over nothing
  std::deque<bool> reads_fail;   ///< one per read, in order: true ends it at once with no byte
  std::optional<std::size_t> vanishes_after;  ///< so many bytes read; then it has `vanished`
  bool refuses_lines = false;                 ///< the lines stay as they are
  /// Each byte with the moment at which its last bit has passed the wire. A line that goes off
  /// takes the supply from the box, and a closing empties the driver: either cuts what has not
  /// passed.
  std::vector<std::pair<Microseconds, std::uint8_t>> wire;
  int clears = 0;                                      ///< of the receive buffer
  std::multimap<Microseconds, std::uint8_t> incoming;  ///< by time of arrival

  /// What the device does on a command.
  Reaction ReactTo(std::span<const std::uint8_t> command);

  /// What has reached the device by now.
  Bytes Received() const;

  /// Queues a reaction that is one chunk.
  void Answer(Bytes bytes, Milliseconds after = Milliseconds{0}) {
    reactions.push_back({{std::move(bytes), after}});
  }
  /// Queues the silence on `commands` commands.
  void StaySilent(int commands = 1) {
    for (int i = 0; i < commands; ++i) reactions.emplace_back();
  }
};

struct FakePorts {
  std::map<std::int32_t, FakePort> ports;  ///< by number
};

}  // namespace qmzentrel::fakes
