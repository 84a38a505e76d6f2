// Frames of sub-device messages: packing, unpacking, and the three commands that send them.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "device/Zentrel.h"
#include "interface/telic2_frame.h"
#include "support/run_time_error.h"
#include "tests/core/catalog_writer.h"
#include "tests/fakes/fake_world.h"
#include "tests/fuzz/drawn_number.h"
#include "tests/fuzz/finding.h"
#include "tests/fuzz/fresh_world.h"

namespace qmzentrel::fuzz {
namespace {

using fakes::Bytes;
using fakes::TheWorld;
using Numbers = std::vector<std::int32_t>;

constexpr std::int32_t kPort = 7;
constexpr std::int32_t kOverflow = 6;
constexpr std::int32_t kOutOfRange = 9;
constexpr std::size_t kBuffer = 33;
constexpr std::size_t kHeader = 4;
constexpr std::int64_t kLongest = 20;

// --- Input ---

std::int32_t AnyNumber(FuzzedDataProvider& input) {
  constexpr std::int32_t kEnds[] = {std::numeric_limits<std::int32_t>::min(),
                                    std::numeric_limits<std::int32_t>::max(),
                                    -1,
                                    99,
                                    255,
                                    256};
  return DrawnNumber(input, kEnds, 0, 12);
}

Numbers AnyNumbers(FuzzedDataProvider& input, std::size_t count) {
  Numbers numbers(count);
  for (std::int32_t& number : numbers) number = AnyNumber(input);
  return numbers;
}

/// Mostly of few bytes.
std::map<std::int32_t, std::int32_t> AnyLengths(FuzzedDataProvider& input) {
  std::map<std::int32_t, std::int32_t> lengths;
  for (std::int32_t message = 0; message <= 12; ++message) {
    lengths[message] = input.ConsumeIntegralInRange(0, 9) > 0 ? input.ConsumeIntegralInRange(-1, 5)
                                                              : AnyNumber(input);
  }
  return lengths;
}

// --- What has to come of it ---

/// Bytes of data in a frame.
std::size_t DataBytes(std::int64_t length) {
  return length < 0 ? 0 : length > 4 ? 4 : static_cast<std::size_t>(length);
}

template <class LengthOf>
Bytes Packed(const Numbers& ids, const Numbers& data, LengthOf length_of) {
  Bytes bytes;
  for (std::size_t i = 0; i < ids.size(); ++i) {
    bytes.push_back(static_cast<std::uint8_t>(ids[i] & 255));
    const std::size_t count = DataBytes(length_of(ids[i]));
    for (std::size_t place = 0; place < count; ++place) {
      const auto shift = 8 * (count - 1 - place);
      bytes.push_back(static_cast<std::uint8_t>(data[i] >> shift & 255));
    }
  }
  return bytes;
}

/// The data in a reply, as far as it and the buffer go; nothing when it goes beyond the buffer.
template <class LengthOf>
std::optional<Numbers> Unpacked(Bytes reply, LengthOf length_of) {
  Numbers data;
  const std::size_t received = reply.size();
  reply.resize(std::max(received, kBuffer));
  for (std::size_t at = kHeader; at < received;) {
    const std::size_t count = DataBytes(length_of(reply[at++]));
    if (at + count > kBuffer) return std::nullopt;
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < count; ++i) value = value * 256 + reply[at++];
    data.push_back(static_cast<std::int32_t>(value));
  }
  return data;
}

std::int32_t ErrorOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const RunTimeError& error) {
    return error.number;
  }
  return 0;
}

// --- Frames alone ---

void TryPacking(FuzzedDataProvider& input) {
  const auto lengths = AnyLengths(input);
  const auto length_of = [&](std::int32_t id) -> std::int64_t {
    const auto known = lengths.find(id);
    return known == lengths.end() ? 0 : known->second;
  };
  Numbers ids = AnyNumbers(input, input.ConsumeIntegralInRange<std::size_t>(0, 35));
  Numbers data = AnyNumbers(input, ids.size());
  const Bytes expected = Packed(ids, data, length_of);

  FrameBuffer frame;
  std::map<std::int32_t, int> asked;
  telic2::Lengths looked_up([&](std::int32_t id) {
    ++asked[id];
    return length_of(id);
  });
  const auto count = static_cast<std::int32_t>(ids.size());
  const std::int32_t error = ErrorOf(
      [&] { telic2::Pack(frame, count, LongArray(ids, 0), LongArray(data, 0), looked_up); });
  Require(error == (expected.size() > kBuffer - kHeader ? kOutOfRange : 0), "a frame fits or not");
  const std::span<const std::uint8_t> bytes = frame;
  const std::size_t common = std::min(expected.size(), kBuffer - kHeader);
  Require(std::equal(expected.begin(), expected.begin() + static_cast<std::ptrdiff_t>(common),
                     bytes.begin() + kHeader),
          "packed otherwise");
  Require(
      std::ranges::all_of(bytes.first(kHeader), [](auto byte) { return byte == 0; }) &&
          std::ranges::all_of(bytes.subspan(kHeader + common), [](auto byte) { return byte == 0; }),
      "bytes beside the messages");
  for (const auto& [id, times] : asked) {
    Require(times == 1, "length " + std::to_string(id) + " is looked up again");
  }
}

void TryUnpacking(FuzzedDataProvider& input) {
  const auto lengths = AnyLengths(input);
  const auto length_of = [&](std::int32_t id) -> std::int64_t {
    const auto known = lengths.find(id);
    return known == lengths.end() ? 0 : known->second;
  };
  Bytes reply = input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegralInRange<std::size_t>(0, 33));
  FrameBuffer frame;
  std::ranges::copy(reply, frame.Range(0, static_cast<std::int32_t>(reply.size())).begin());
  const auto expected = Unpacked(reply, length_of);

  const Numbers untouched(input.ConsumeIntegralInRange<std::size_t>(0, 35), 0x55555555);
  Numbers data = untouched;
  telic2::Lengths looked_up(length_of);
  const std::int32_t error = ErrorOf([&] {
    telic2::Unpack(frame, static_cast<std::int64_t>(reply.size()), LongArray(data, 0), looked_up);
  });
  const bool fits = expected && expected->size() <= data.size();
  Require(error == (fits ? 0 : kOutOfRange), "a reply fits or not");
  if (!fits) return;
  Require(std::equal(expected->begin(), expected->end(), data.begin()), "unpacked otherwise");
  Require(std::all_of(data.begin() + std::ssize(*expected), data.end(),
                      [](std::int32_t number) { return number == 0x55555555; }),
          "an entry beyond the reply");
}

// --- Commands ---

void Install(const std::map<std::int32_t, std::int32_t>& lengths,
             const std::map<std::int32_t, std::int32_t>& read_lengths) {
  for (const auto& [message, bytes] : lengths) {
    tests::SetMessage(message, bytes);
    tests::SetTest("Meter", message, bytes, read_lengths.at(message));
  }
}

/// What is sent, and how long the reply has to be; a status or an error when nothing is.
struct Plan {
  ZentrelStatus status = S_OKAY;
  std::int32_t error = 0;
  Bytes frame;
  std::int64_t reply = 0;
};

struct Catalog {
  std::map<std::int32_t, std::int32_t> lengths;
  std::map<std::int32_t, std::int32_t> read_lengths;

  static std::int64_t At(const std::map<std::int32_t, std::int32_t>& all, std::int32_t id) {
    const auto known = all.find(id);
    return known == all.end() ? 0 : known->second;
  }
  std::int64_t Length(std::int32_t id) const { return std::abs(At(lengths, id)); }
  std::int64_t Written(std::int32_t id) const { return At(lengths, id); }
  std::int64_t Read(std::int32_t id) const { return At(read_lengths, id); }
};

Bytes Framed(std::uint8_t flags, std::uint8_t command, Bytes messages, std::int64_t length) {
  messages.insert(messages.begin(), {0x7E, flags, command, static_cast<std::uint8_t>(length - 4)});
  messages.resize(static_cast<std::size_t>(length));
  return messages;
}

Plan PlanOfRead(const Catalog& catalog, const Numbers& ids, const Numbers& /*data*/) {
  Plan plan;
  plan.reply = static_cast<std::int64_t>(kHeader + ids.size());
  Bytes messages;
  for (std::size_t i = 0; i < ids.size(); ++i) {
    messages.push_back(static_cast<std::uint8_t>(ids[i] == -1 ? 0 : ids[i] & 255));
    if (ids[i] == -1 || i >= kBuffer - kHeader) continue;
    if (catalog.Length(ids[i]) == 0) return {.status = S_BAD_PARAMETER};
    plan.reply += catalog.Length(ids[i]);
  }
  if (plan.reply > kLongest) return {.status = S_MSG_TOO_LONG};
  const auto length = std::ssize(messages) + std::int64_t{kHeader};
  plan.frame = Framed(0x20, 0xC7, messages, length);
  return plan;
}

Plan PlanOfWrite(const Catalog& catalog, const Numbers& ids, const Numbers& data) {
  Plan plan;
  plan.reply = static_cast<std::int64_t>(kHeader + ids.size());
  for (std::size_t i = 0; i < ids.size() && i < kBuffer - kHeader; ++i) {
    if (catalog.Length(ids[i]) == 0) return {.status = S_BAD_PARAMETER};
    plan.reply += catalog.Length(ids[i]);
  }
  if (plan.reply > kLongest) return {.status = S_MSG_TOO_LONG};
  plan.frame = Framed(0x20, 0xC6, Packed(ids, data, [&](auto id) { return catalog.Length(id); }),
                      plan.reply);
  return plan;
}

Plan PlanOfTest(const Catalog& catalog, const Numbers& ids, const Numbers& data) {
  Plan plan;
  auto length = static_cast<std::int64_t>(kHeader + ids.size());
  for (std::size_t i = 0; i < ids.size() && i < kBuffer - kHeader; ++i) {
    if (ids[i] == 99) return {.status = S_BAD_PARAMETER};
    length += catalog.Written(ids[i]);
    if (catalog.Read(ids[i]) > 0) plan.reply += catalog.Read(ids[i]) + 1;
  }
  if (plan.reply > 0) plan.reply += kHeader;
  if (ids.size() > kBuffer - kHeader || length > kLongest ||
      plan.reply > static_cast<std::int64_t>(kBuffer)) {
    return {.status = S_MSG_TOO_LONG};
  }
  // A negative length takes more from the frame than the messages bring.
  if (length < static_cast<std::int64_t>(kHeader)) return {.error = kOverflow};
  const Bytes messages = Packed(ids, data, [&](auto id) { return catalog.Written(id); });
  if (messages.size() > kBuffer - kHeader) return {.error = kOutOfRange};
  plan.frame = Framed(plan.reply > 0 ? 0x20 : 0, 0xC9, messages, length);
  return plan;
}

void TryCommand(FreshWorld& world, Zentrel& object, const Catalog& catalog,
                FuzzedDataProvider& input) {
  struct Command {
    Plan (*plan)(const Catalog&, const Numbers&, const Numbers&);
    ZentrelStatus (Zentrel::*run)(std::int32_t, const LongArray&, const LongArray&);
    bool answers;
    std::int64_t (Catalog::*length)(std::int32_t) const;
  };
  constexpr Command kCommands[] = {{PlanOfRead, &Zentrel::TELIC2Read, true, &Catalog::Length},
                                   {PlanOfWrite, &Zentrel::TELIC2Write, false, &Catalog::Length},
                                   {PlanOfTest, &Zentrel::TELIC2Test, true, &Catalog::Read}};
  const Command& command = input.PickValueInArray(kCommands);
  const auto most = input.ConsumeBool() ? std::size_t{4} : std::size_t{35};
  Numbers ids = AnyNumbers(input, input.ConsumeIntegralInRange<std::size_t>(0, most));
  Numbers data = AnyNumbers(input, ids.size());
  const Numbers given = data;
  const Plan plan = command.plan(catalog, ids, data);

  auto& port = TheWorld().ports[kPort];
  port.written.clear();
  Bytes reply = input.ConsumeBytes<std::uint8_t>(kBuffer);
  if (input.ConsumeIntegralInRange(0, 9) > 0) reply.resize(static_cast<std::size_t>(plan.reply));
  const bool answered = !reply.empty();
  reply.resize(std::min(reply.size(), static_cast<std::size_t>(plan.reply)));
  port.device = [&](std::span<const std::uint8_t>) {
    return fakes::Reaction{{reply, fakes::Milliseconds(1)}};
  };
  ZentrelStatus status = S_OKAY;
  const std::int32_t fault = world.FaultOf([&] {
    status = (object.*command.run)(static_cast<std::int32_t>(ids.size()), LongArray(ids, 0),
                                   LongArray(data, 0));
  });
  port.device = nullptr;
  if (plan.error != 0 || plan.status != S_OKAY) {
    Require(fault == plan.error && (fault != 0 || status == plan.status), "is not refused so");
    Require(port.written.empty() && data == given, "something was sent or stored");
    return;
  }
  Require(port.written == std::vector<Bytes>{plan.frame}, "another frame");
  const bool complete = std::ssize(reply) == plan.reply;
  const auto unpacked =
      complete && command.answers
          ? Unpacked(reply, [&](auto id) { return (catalog.*command.length)(id); })
          : Numbers();
  if (!unpacked || unpacked->size() > data.size()) {
    return Require(fault == kOutOfRange, "a reply that does not fit");
  }
  Require(fault == 0, "a whole reply fails");
  Require(status == (complete ? S_OKAY : answered ? S_BAD_RESPONSE : S_TIMEOUT), "another status");
  Numbers expected = given;
  std::ranges::copy(*unpacked, expected.begin());
  Require(data == expected, "other data");
}

void TryCommands(FreshWorld& world, FuzzedDataProvider& input) {
  const Catalog catalog{AnyLengths(input), AnyLengths(input)};
  Install(catalog.lengths, catalog.read_lengths);
  TheWorld().ports[kPort];
  const auto object = Zentrel::Create();
  object->DeviceOpen(kPort, true);
  object->TELIC2Device("Meter");
  for (int turn = 0; turn < 8 && input.remaining_bytes() > 0; ++turn) {
    TryCommand(world, *object, catalog, input);
  }
}

}  // namespace
}  // namespace qmzentrel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qmzentrel::fuzz;
  FuzzedDataProvider input(data, size);
  FreshWorld world;
  TryPacking(input);
  TryUnpacking(input);
  TryCommands(world, input);
  return 0;
}
