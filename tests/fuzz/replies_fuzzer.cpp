// Replies of a box that sends what it likes, when it likes.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "device/Zentrel.h"
#include "tests/fakes/fake_world.h"
#include "tests/fuzz/finding.h"
#include "tests/fuzz/fresh_world.h"

namespace qmzentrel::fuzz {
namespace {

using fakes::Bytes;
using fakes::Microseconds;
using fakes::Milliseconds;
using fakes::TheWorld;

constexpr std::int32_t kPort = 7;
constexpr std::size_t kBoxStatusReply = 7;
constexpr std::size_t kTransponderReply = 19;

std::string VersionOf(std::uint8_t byte) {
  char text[8];
  std::snprintf(text, sizeof text, "%X.%X", static_cast<unsigned>(byte >> 4),
                static_cast<unsigned>(byte & 15));
  return text;
}

// Tenths; a letter ends the number.
int TenthsOf(std::uint8_t byte) {
  const int high = byte >> 4;
  const int low = byte & 15;
  return high > 9 ? 0 : low > 9 ? high * 10 : high * 10 + low;
}

/// What the object holds, as far as replies decide it.
struct Holdings {
  std::int32_t mif = 0, util = 0, id = 0, tamper = 0, reading = 0, warmup = 0, interval = 0,
               msi = 0;
  std::string version;
  bool has_leak = false;
  std::int32_t settings[7] = {};
  std::int32_t threshold = 0;
  std::string box_version;
  float battery = 0;
  std::int32_t signature[2] = {};
  std::int32_t power_timeout = 60;

  bool operator==(const Holdings&) const = default;
};

Holdings HoldingsOf(const Zentrel& object) {
  return {object.DeviceMIF(),
          object.Util(),
          object.Xpdr(),
          object.Tamper(),
          object.Reading(),
          object.PLLWarmup(),
          object.TXI(),
          object.MSI(),
          object.TravonelVersion(),
          object.HasLeak(),
          {object.Freq_MSB(), object.Freq_MID(), object.Freq_LSB(), object.BR_MSB(),
           object.BR_LSB(), object.PA_CTRL(), object.EOL_CTRL()},
          object.LeakThreshold(),
          object.ZentrelVersion(),
          object.BatteryVoltage(),
          {object.ZentrelSignature(0), object.ZentrelSignature(1)},
          object.PowerTimeout()};
}

/// A byte on its way from the box.
struct Arrival {
  Microseconds time;
  std::uint8_t byte;
};

struct Sending {
  Bytes bytes;
  Microseconds time;
  std::vector<Arrival> reply;
};

/// Says, from what was sent when and answered how, what has to come of it.
class Model {
 public:
  Holdings now;

  ZentrelStatus BoxStatus() {
    const auto [status, reply] = Exchange({0x80}, kBoxStatusReply, 500);
    if (status == S_OKAY) TakeFacts(reply, 0);
    return status;
  }

  ZentrelStatus Reset() { return Exchange({0xC0}, kTransponderReply, 10).first; }

  ZentrelStatus Read() {
    auto [status, reply] = ExchangeTwice({0x40}, electric_ ? 12500 : 2500);
    if (status == S_OKAY) {
      TakeBlock1(reply);
    } else {
      now = {.settings = {},
             .threshold = now.threshold,
             .box_version = now.box_version,
             .battery = now.battery,
             .signature = {now.signature[0], now.signature[1]},
             .power_timeout = now.power_timeout};
      now.version = "0.0";
      std::copy(std::begin(settings_), std::end(settings_), now.settings);
      tenths_ = 0;
    }
    if (!HasBlock2()) return status;
    std::tie(status, reply) = ExchangeTwice({0x42}, electric_ ? 12500 : 2500);
    if (status != S_OKAY) {
      reply.assign(kTransponderReply, 0);
      reply[7] = 23;
    }
    TakeBlock2(reply);
    return status;
  }

  ZentrelStatus Write() {
    now.tamper = (now.tamper & 127) + (now.has_leak ? 128 : 0);
    const auto part = [](std::int32_t value, int shift) {
      return static_cast<std::uint8_t>(value >> shift & 255);
    };
    auto [status, reply] = ExchangeTwice(
        {part(now.mif, 0), part(now.util, 0), part(now.id, 16), part(now.id, 8), part(now.id, 0),
         part(now.tamper, 0), part(now.reading, 16), part(now.reading, 8), part(now.reading, 0),
         part(now.warmup * 16 + now.interval, 0), part(now.msi, 0), 0},
        2500);
    if (status != S_OKAY) return status;
    TakeBlock1(reply);
    if (!HasBlock2()) return status;
    Bytes block2{part(now.mif, 0)};
    for (const std::int32_t setting : settings_) block2.push_back(part(setting, 0));
    block2.insert(block2.end(), {part(255 - now.threshold, 0), 0, 0x20, 0});
    std::tie(status, reply) = ExchangeTwice(block2, 2500);
    if (status == S_OKAY) TakeBlock2(reply);
    return status;
  }

  std::vector<Sending> sent;  ///< by the command at work
  std::size_t judged = 0;     ///< of them

 private:
  void TakeFacts(const Bytes& reply, std::size_t first) {
    now.box_version = VersionOf(reply[first]);
    now.battery = static_cast<float>(reply[first + 1] * 0.039);
    now.signature[0] = reply[first + 2];
    now.signature[1] = reply[first + 3];
    electric_ = now.signature[0] == 0xA6;
    now.power_timeout = now.signature[0] == 0xA5 ? 20 : 60;
  }

  void TakeBlock1(const Bytes& b) {
    tenths_ = TenthsOf(b[11]);
    now.mif = b[0] & 63;
    now.util = b[1];
    now.id = b[2] * 65536 + b[3] * 256 + b[4];
    now.has_leak = tenths_ >= 80 && b[5] >= 128;
    now.tamper = now.has_leak && (b[0] & 32) == 0 ? b[5] - 128 : b[5];
    now.reading = b[6] * 65536 + b[7] * 256 + b[8];
    now.warmup = b[9] / 16;
    now.interval = b[9] % 16;
    now.msi = b[10] % 16;
    now.version = VersionOf(b[11]);
    TakeFacts(b, 12);
  }

  void TakeBlock2(const Bytes& b) {
    std::copy(b.begin() + 1, b.begin() + 8, std::begin(settings_));
    std::copy(std::begin(settings_), std::end(settings_), now.settings);
    now.threshold = 255 - b[8];
  }

  bool HasBlock2() const { return tenths_ < 40 || tenths_ >= 80; }

  using Result = std::pair<ZentrelStatus, Bytes>;

  Result ExchangeTwice(const Bytes& command, std::int32_t timeout_ms) {
    const Result first = Exchange(command, kTransponderReply, timeout_ms);
    return first.first == S_TIMEOUT ? Exchange(command, kTransponderReply, timeout_ms) : first;
  }

  Result Exchange(const Bytes& command, std::size_t length, std::int32_t timeout_ms) {
    Bytes reply;
    const bool woken = electric_;
    for (int sendings = woken ? timeout_ms / 500 + 1 : 1; sendings > 0 && reply.empty();
         --sendings) {
      Require(judged < sent.size(), "too few sendings");
      const Sending& sending = sent[judged++];
      Require(sending.bytes == command, "another command was sent");
      std::erase_if(line_, [&](const Arrival& arrival) { return arrival.time <= sending.time; });
      line_.insert(line_.end(), sending.reply.begin(), sending.reply.end());
      std::ranges::stable_sort(line_, {}, &Arrival::time);
      Microseconds limit = sending.time + Milliseconds(woken ? 500 : 2500);
      while (!line_.empty() && line_.front().time <= limit && reply.size() < length) {
        if (reply.empty()) limit = line_.front().time + Milliseconds(12500);
        reply.push_back(line_.front().byte);
        line_.erase(line_.begin());
      }
    }
    if (reply.empty()) return {S_TIMEOUT, reply};
    if (reply.size() < length) return {S_BAD_RESPONSE, reply};
    int sum = 0;
    for (std::size_t i = 0; i + 1 < length; ++i) sum += reply[i];
    return {sum % 256 == reply.back() ? S_OKAY : S_BAD_SUM, reply};
  }

  bool electric_ = false;
  int tenths_ = 0;
  std::int32_t settings_[7] = {};
  std::vector<Arrival> line_;
};

/// Mostly a whole reply with a good sum, else whatever the input says.
Bytes ReplyTo(std::span<const std::uint8_t> command, FuzzedDataProvider& input) {
  enum { kSilence, kAnything, kWrongSum, kWhole };
  const int kind = input.ConsumeIntegralInRange<int>(kSilence, 7);
  if (kind == kSilence) return {};
  if (kind == kAnything) {
    return input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegralInRange<std::size_t>(0, 60));
  }
  const std::size_t length = command[0] == 0x80 ? kBoxStatusReply : kTransponderReply;
  Bytes reply = input.ConsumeBytes<std::uint8_t>(length - 1);
  reply.resize(length - 1);
  constexpr std::uint8_t kSignatures[] = {0, 0xA5, 0xA6};
  const std::size_t signature = length == kBoxStatusReply ? 2 : 14;
  if (input.ConsumeBool()) reply[signature] = input.PickValueInArray(kSignatures);
  int sum = kind == kWrongSum ? 1 : 0;
  for (const std::uint8_t byte : reply) sum += byte;
  reply.push_back(static_cast<std::uint8_t>(sum));
  if (input.ConsumeIntegralInRange(0, 9) == 0) reply.push_back(0x55);
  return reply;
}

fakes::Reaction InChunks(Bytes reply, FuzzedDataProvider& input) {
  fakes::Reaction reaction;
  while (!reply.empty()) {
    const bool whole = input.ConsumeIntegralInRange(0, 3) != 0;
    const auto length =
        whole ? reply.size() : input.ConsumeIntegralInRange<std::size_t>(1, reply.size());
    const auto end = reply.begin() + static_cast<std::ptrdiff_t>(length);
    const bool at_once = input.ConsumeIntegralInRange(0, 3) != 0;
    reaction.push_back({Bytes(reply.begin(), end),
                        Milliseconds(at_once ? 0 : input.ConsumeIntegralInRange(0, 15000))});
    reply.erase(reply.begin(), end);
  }
  return reaction;
}

void RunCommands(FreshWorld& world, FuzzedDataProvider& input) {
  Model model;
  TheWorld().ports[kPort].device = [&](std::span<const std::uint8_t> command) {
    fakes::Reaction reaction = InChunks(ReplyTo(command, input), input);
    Sending sending{{command.begin(), command.end()}, TheWorld().now, {}};
    Microseconds time = TheWorld().now;
    for (const fakes::Chunk& chunk : reaction) {
      time += chunk.after;
      for (const std::uint8_t byte : chunk.bytes) sending.reply.push_back({time, byte});
    }
    model.sent.push_back(sending);
    return reaction;
  };
  const auto object = Zentrel::Create();
  object->DeviceOpen(kPort, input.ConsumeBool());
  for (int turn = 0; turn < 12 && input.remaining_bytes() > 0; ++turn) {
    struct Command {
      const char* name;
      ZentrelStatus (Zentrel::*run)();
      ZentrelStatus (Model::*expected)();
    };
    constexpr Command kCommands[] = {{"BoxStatus", &Zentrel::BoxStatus, &Model::BoxStatus},
                                     {"ReadXpdr", &Zentrel::ReadXpdr, &Model::Read},
                                     {"WriteXpdr", &Zentrel::WriteXpdr, &Model::Write},
                                     {"ResetXpdr", &Zentrel::ResetXpdr, &Model::Reset}};
    const Command& command = input.PickValueInArray(kCommands);
    model.sent.clear();
    model.judged = 0;
    ZentrelStatus status = S_OKAY;
    Require(world.FaultOf([&] { status = (object.get()->*command.run)(); }) == 0,
            std::string(command.name) + " fails");
    Require(status == (model.*command.expected)(), std::string(command.name) + ": another status");
    Require(model.judged == model.sent.size(), std::string(command.name) + ": too many sendings");
    Require(HoldingsOf(*object) == model.now, std::string(command.name) + ": another record");
    TheWorld().Pump(Milliseconds(input.ConsumeIntegralInRange(0, 20000)));
    Require(HoldingsOf(*object) == model.now, "a late byte has changed the record");
  }
}

}  // namespace
}  // namespace qmzentrel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qmzentrel::fuzz;
  FuzzedDataProvider input(data, size);
  FreshWorld world;
  RunCommands(world, input);
  return 0;
}
