// Replies of a box that sends what it likes, when it likes.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "device/Zentrel.h"
#include "tests/fakes/fake_world.h"
#include "tests/fuzz/finding.h"
#include "tests/fuzz/fresh_world.h"
#include "tests/fuzz/late_answers.h"
#include "tests/fuzz/properties.h"
#include "tests/fuzz/record_model.h"
#include "tests/fuzz/sending_rules.h"
#include "tests/fuzz/told_blocks.h"

namespace qmzentrel::fuzz {
namespace {

using fakes::Microseconds;
using fakes::Milliseconds;
using fakes::TheWorld;

constexpr std::int32_t kPort = 7;
constexpr std::int32_t kVerifyDelay = 4000;
constexpr std::size_t kBoxStatusReply = 7;
constexpr std::size_t kTransponderReply = 19;

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
  /// What the object shows.
  Shown Now() const {
    Shown shown;
    record_.Show(shown);
    shown.power_timeout = power_timeout_;
    shown.verify_delay = kVerifyDelay;
    return shown;
  }

  std::int32_t BoxStatus() {
    const auto [status, reply] = Exchange({0x80}, kBoxStatusReply, kBoxStatusTimeout);
    if (status == kOkay) {
      record_.TakeBoxFacts(reply.data());
      NoteSignature();
    }
    return status;
  }

  std::int32_t Reset() { return Exchange({0xC0}, kTransponderReply, kResetTimeout).status; }

  std::int32_t Read() {
    const Reply block_1 = Block(0, {0x40}, ReadTimeout(record_.IsElectric()));
    if (block_1.status == kOkay) {
      TakeBlock1(block_1.bytes);
    } else {
      record_.ClearBlock1();
    }
    if (!record_.HasBlock2()) return block_1.status;
    const Reply block_2 = Block(1, {0x42}, ReadTimeout(record_.IsElectric()));
    if (block_2.status == kOkay) {
      record_.TakeBlock2(block_2.bytes);
    } else {
      record_.ClearBlock2();
    }
    return block_2.status;
  }

  // What has come in a reply is in range, so that it can be sent.
  std::int32_t Write() {
    record_.AdjustLeak();
    const Reply block_1 = Block(0, record_.Block1(), kWriteTimeout);
    if (block_1.status != kOkay) return block_1.status;
    TakeBlock1(block_1.bytes);
    if (!record_.HasBlock2()) return block_1.status;
    const Reply block_2 = Block(1, record_.Block2().value(), kWriteTimeout);
    if (block_2.status == kOkay) record_.TakeBlock2(block_2.bytes);
    return block_2.status;
  }

  std::vector<Sending> sent;  ///< by the command at work
  std::size_t judged = 0;     ///< of them

 private:
  void TakeBlock1(const Bytes& reply) {
    record_.TakeBlock1(reply);
    NoteSignature();
  }

  void NoteSignature() { power_timeout_ = record_.Signature() == 0xA5 ? 20 : 60; }

  Reply Block(std::size_t block, const Bytes& command, std::int32_t timeout) {
    Reply reply = WithRetry([&] { return Exchange(command, kTransponderReply, timeout, block); });
    if (reply.status == kOkay) late_.Take(block, reply.bytes);
    return reply;
  }

  Reply Exchange(const Bytes& command, std::size_t length, std::int32_t timeout,
                 std::optional<std::size_t> block = {}) {
    Bytes reply;
    const Sendings sendings = SendingsTo(record_.IsElectric(), timeout);
    for (int left = sendings.most; left > 0 && reply.empty(); --left) {
      Require(judged < sent.size(), "too few sendings");
      const Sending& sending = sent[judged++];
      Require(sending.bytes == command, "another command was sent");
      std::erase_if(line_, [&](const Arrival& arrival) { return arrival.time <= sending.time; });
      line_.insert(line_.end(), sending.reply.begin(), sending.reply.end());
      std::ranges::stable_sort(line_, {}, &Arrival::time);
      Microseconds now = sending.time;
      late_.Send(block, now);
      do {
        reply = Receive(length, now, sendings.first_byte);
      } while (reply.size() == length && late_.PassesOver(block, reply, now));
      if (!reply.empty()) late_.Answer(now);
    }
    return Judged(std::move(reply), length);
  }

  Bytes Receive(std::size_t length, Microseconds& now, Microseconds first_byte) {
    Bytes reply;
    Microseconds limit = now + first_byte;
    while (!line_.empty() && line_.front().time <= limit && reply.size() < length) {
      now = std::max(now, line_.front().time);
      if (reply.empty()) limit = now + kRestLimit;
      reply.push_back(line_.front().byte);
      line_.erase(line_.begin());
    }
    if (!reply.empty() && reply.size() < length) now = limit;
    return reply;
  }

  RecordModel record_;
  std::int32_t power_timeout_ = 60;
  std::vector<Arrival> line_;
  LateAnswers late_;
};

/// A whole reply with a good sum.
Bytes DrawReply(std::size_t length, FuzzedDataProvider& input) {
  Bytes reply = input.ConsumeBytes<std::uint8_t>(length - 1);
  reply.resize(length - 1);
  constexpr std::uint8_t kSignatures[] = {0, 0xA5, 0xA6};
  const std::size_t signature = length == kBoxStatusReply ? 2 : 14;
  if (input.ConsumeBool()) reply[signature] = input.PickValueInArray(kSignatures);
  int sum = 0;
  for (const std::uint8_t byte : reply) sum += byte;
  reply.push_back(static_cast<std::uint8_t>(sum));
  return reply;
}

/// Mostly such a one, else whatever the input says.
Bytes ReplyTo(std::span<const std::uint8_t> command, ToldBlocks& told, FuzzedDataProvider& input) {
  enum { kSilence, kAnything, kWrongSum, kWhole };
  const int kind = input.ConsumeIntegralInRange<int>(kSilence, 7);
  if (kind == kSilence) return {};
  if (kind == kAnything) {
    return input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegralInRange<std::size_t>(0, 60));
  }
  Bytes reply =
      command[0] == 0x80
          ? DrawReply(kBoxStatusReply, input)
          : told.Answer(command, input, [&] { return DrawReply(kTransponderReply, input); });
  if (kind == kWrongSum) ++reply.back();
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
  ToldBlocks told;
  TheWorld().ports[kPort].device = [&](std::span<const std::uint8_t> command) {
    fakes::Reaction reaction = InChunks(ReplyTo(command, told, input), input);
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
      std::int32_t (Model::*expected)();
    };
    constexpr Command kCommands[] = {{"BoxStatus", &Zentrel::BoxStatus, &Model::BoxStatus},
                                     {"ReadXpdr", &Zentrel::ReadXpdr, &Model::Read},
                                     {"WriteXpdr", &Zentrel::WriteXpdr, &Model::Write},
                                     {"ResetXpdr", &Zentrel::ResetXpdr, &Model::Reset}};
    const Command& command = input.PickValueInArray(kCommands);
    model.sent.clear();
    model.judged = 0;
    ZentrelStatus status = S_OKAY;
    const auto require = [&command](bool holds, const char* what) {
      Require(holds, [&] { return std::string(command.name) + what; });
    };
    require(world.FaultOf([&] { status = (object.get()->*command.run)(); }) == 0, " fails");
    require(status == (model.*command.expected)(), ": another status");
    require(model.judged == model.sent.size(), ": too many sendings");
    require(ShownBy(*object) == model.Now(), ": another record");
    TheWorld().Pump(Milliseconds(input.ConsumeIntegralInRange(0, 20000)));
    Require(ShownBy(*object) == model.Now(), "a late byte has changed the record");
  }
}

const LateAnswersSaid kSaidAtTheEnd;

}  // namespace
}  // namespace qmzentrel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qmzentrel::fuzz;
  FuzzedDataProvider input(data, size);
  FreshWorld world;
  RunCommands(world, input);
  return 0;
}
