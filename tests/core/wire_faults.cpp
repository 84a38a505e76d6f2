#include "tests/core/wire_faults.h"

#include <numeric>
#include <optional>
#include <utility>

namespace qmzentrel::tests::matrix {
namespace {

using fakes::Chunk;
using fakes::FakePort;
using fakes::Reaction;

// Too late by so much.
constexpr Milliseconds kBeyond{1};
// Once a reply has begun it has so long to end.
constexpr Milliseconds kRemainder{12'500};
// What a driver that does not take a frame whole is given to change its mind.
constexpr Milliseconds kDriver{1'000};

// One bit of start, eight of data, two of stop, at 9600 baud.
Microseconds OnWire(const Bytes& frame) {
  return Microseconds(static_cast<std::int64_t>(frame.size()) * 11 * 1'000'000 / 9600);
}

Bytes First(const Bytes& bytes, std::size_t count) {
  return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count)};
}
Bytes Rest(const Bytes& bytes, std::size_t from) {
  return {bytes.begin() + static_cast<std::ptrdiff_t>(from), bytes.end()};
}
Bytes Joined(Bytes first, const Bytes& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}
Bytes Altered(Bytes bytes, std::size_t at, int by) {
  bytes[at] = static_cast<std::uint8_t>(bytes[at] ^ by);
  return bytes;
}

// The reply has begun, and does not go on within its time.
Met Begun(const Exchange& /*exchange*/) {
  return {S_BAD_RESPONSE, {}, kRemainder};
}

// `bytes` come, of which the last that counts takes so long.
Met Taken(const Exchange& exchange, const Bytes& bytes, Microseconds takes) {
  const std::size_t length = exchange.reply.size();
  const int sum =
      std::accumulate(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length) - 1, 0) %
      256;
  if (exchange.summed && sum != bytes[length - 1]) return {S_BAD_SUM, {}, takes};
  return {S_OKAY, First(bytes, length), takes};
}

std::string InMs(Milliseconds time) {
  return std::to_string(time.count()) + " ms";
}

std::string Times(int count) {
  if (count == Fault::kAlways) return ", always";
  return count == 1 ? ", once" : ", " + std::to_string(count) + " times";
}

class Table {
 public:
  explicit Table(const Exchange& exchange) : exchange_(exchange), length_(exchange.reply.size()) {}

  std::vector<Fault> Fill() {
    Add({.name = "nothing wrong"});
    Silence();
    if (length_ > 0) {
      ShortReplies();
      WrongBytes();
      HeadlessReplies();
      LateReplies();
      Dribbles();
      ShiftedReplies();
      FailedReads();
      CutReads();
    }
    MoreThanTheReply();
    Unplugged();
    SupplyLost();
    ShortWrites();
    SlowWrites();
    Add({.name = "a port that another program has", .around = Around::kBusy});
    Add({.name = "a port that was gone when it was opened", .around = Around::kMissing});
    Add({.name = "a port that was gone, is back and has been opened again",
         .around = Around::kGoneBack});
    Add({.name = "a driver without lines, a box with a supply of its own",
         .around = Around::kNoLines});
    Add({.name = "a driver without lines, and no other supply", .around = Around::kNoSupply});
    return std::move(faults_);
  }

 private:
  void Add(Fault fault) { faults_.push_back(std::move(fault)); }

  // The box answers with what `make` makes of the whole reply, all of it at once.
  void AddBytes(std::string name, const std::function<Bytes(const Bytes&)>& make) {
    Add({.name = std::move(name),
         .react = [make](FakePort&, const Exchange& exchange, int) -> Reaction {
           return {{make(exchange.reply)}};
         },
         .met = [make](Link&, const Exchange& exchange,
                       int) { return Taken(exchange, make(exchange.reply), Milliseconds{0}); },
         .takes_turns = true});
  }

  // It does so once, or on every send.
  void Silence() {
    for (const int count : {1, 2, 6, 25, 26, Fault::kAlways}) {
      Add({.name = "silent" + Times(count),
           .count = count,
           .react = [](FakePort&, const Exchange&, int) { return Reaction{}; },
           .met = [](Link&, const Exchange& exchange, int) { return Nothing(exchange); }});
    }
  }

  void ShortReplies() {
    const auto cut = [](std::size_t count) {
      return [count](FakePort&, const Exchange& exchange, int) -> Reaction {
        return {{First(exchange.reply, count)}};
      };
    };
    const auto begun = [](Link&, const Exchange& exchange, int) { return Begun(exchange); };
    for (std::size_t count = 1; count < length_; ++count) {
      Add({.name = std::to_string(count) + " bytes of the reply",
           .react = cut(count),
           .met = begun,
           .takes_turns = true});
    }
    Add({.name = "silent once, then one byte of the reply",
         .react = [cut](FakePort& port, const Exchange& exchange, int send) -> Reaction {
           return send == 0 ? Reaction{} : cut(1)(port, exchange, send);
         },
         .met = [](Link&, const Exchange& exchange,
                   int send) { return send == 0 ? Nothing(exchange) : Begun(exchange); }});
  }

  // A driver that is still at work on a clearing takes the beginning of the reply with it.
  void HeadlessReplies() {
    for (const std::size_t lost : {std::size_t{1}, length_ / 2, length_ - 1, length_}) {
      Add({.name = "the first " + std::to_string(lost) + " bytes of the reply lost",
           .react = [lost](FakePort&, const Exchange& exchange, int) -> Reaction {
             return {{Rest(exchange.reply, lost)}};
           },
           .met =
               [lost](Link&, const Exchange& exchange, int) {
                 return lost == exchange.reply.size() ? Nothing(exchange) : Begun(exchange);
               },
           .one_step_only = true});
    }
  }

  void WrongBytes() {
    for (std::size_t at = 0; at < length_; ++at) {
      for (const int by : {0x01, 0xFF}) {
        AddBytes("byte " + std::to_string(at) + " wrong by " + std::to_string(by),
                 [at, by](const Bytes& reply) { return Altered(reply, at, by); });
      }
    }
    const auto wrong = [](const Bytes& reply) { return Altered(reply, reply.size() - 1, 1); };
    Add({.name = "silent once, then a wrong sum",
         .react = [wrong](FakePort&, const Exchange& exchange, int send) -> Reaction {
           return send == 0 ? Reaction{} : Reaction{{wrong(exchange.reply)}};
         },
         .met =
             [wrong](Link&, const Exchange& exchange, int send) {
               return send == 0 ? Nothing(exchange)
                                : Taken(exchange, wrong(exchange.reply), Milliseconds{0});
             }});
  }

  void LateReplies() {
    const auto late = [](Milliseconds after_limit) {
      return [after_limit](FakePort&, const Exchange& exchange, int) -> Reaction {
        return {{exchange.reply, exchange.limit + after_limit}};
      };
    };
    for (const Milliseconds early : {Milliseconds{1}, Milliseconds{0}}) {
      Add({.name = "the first byte " + InMs(early) + " before its limit",
           .react = late(-early),
           .met = [early](Link&, const Exchange& exchange, int) {
             return Taken(exchange, exchange.reply, exchange.limit - early);
           }});
    }
    Add({.name = "the first byte once beyond its limit",
         .count = 1,
         .react = late(kBeyond),
         .met = [](Link&, const Exchange& exchange, int) { return Nothing(exchange); },
         .one_step_only = true});
    Add({.name = "the first byte always beyond its limit",
         .react = late(kBeyond),
         .delay = [](const Exchange& exchange) { return exchange.limit + kBeyond; }});
    for (const Milliseconds delay : {Milliseconds{600}, Milliseconds{1'100}, Milliseconds{3'000}}) {
      Add({.name = "each reply " + InMs(delay) + " after its command",
           .react = [delay](FakePort&, const Exchange& exchange, int) -> Reaction {
             return {{exchange.reply, delay}};
           },
           .delay = [delay](const Exchange&) { return delay; }});
    }
    for (const std::size_t after : {std::size_t{1}, length_ / 2, length_ - 1}) {
      const auto halves = [after](Milliseconds pause) {
        return [after, pause](FakePort&, const Exchange& exchange, int) -> Reaction {
          return {{First(exchange.reply, after)}, {Rest(exchange.reply, after), pause}};
        };
      };
      const std::string name = "the rest behind byte " + std::to_string(after);
      Add({.name = name + " just within its limit",
           .react = halves(kRemainder),
           .met = [](Link&, const Exchange& exchange, int) {
             return Taken(exchange, exchange.reply, kRemainder);
           }});
      Add({.name = name + " just beyond its limit",
           .react = halves(kRemainder + Milliseconds{1}),
           .met = [](Link&, const Exchange& exchange, int) { return Begun(exchange); },
           .one_step_only = true});
    }
  }

  // Byte by byte. A pause may be longer than an electric box has for its first byte.
  void Dribbles() {
    const auto pauses = static_cast<std::int64_t>(length_ - 1);
    const Milliseconds longest = kRemainder / pauses;
    for (const Milliseconds pause : {Milliseconds{1}, Milliseconds{40}, Milliseconds{600}, longest,
                                     longest + Milliseconds{1}}) {
      const bool in_time = pause * pauses <= kRemainder;
      Add({.name = "one byte each " + InMs(pause),
           .react = [pause](FakePort&, const Exchange& exchange, int) -> Reaction {
             Reaction reaction;
             for (const std::uint8_t byte : exchange.reply) {
               reaction.push_back({{byte}, reaction.empty() ? Milliseconds{0} : pause});
             }
             return reaction;
           },
           .met =
               [pause, in_time](Link&, const Exchange& exchange, int) {
                 const auto parts = static_cast<std::int64_t>(exchange.reply.size() - 1);
                 return in_time ? Taken(exchange, exchange.reply, pause * parts) : Begun(exchange);
               },
           .one_step_only = !in_time});
    }
  }

  // Bytes ahead of the reply or in the middle of it push its end out.
  void ShiftedReplies() {
    for (const std::size_t count : {std::size_t{1}, std::size_t{2}, length_ - 1, length_}) {
      AddBytes(std::to_string(count) + " stray bytes ahead of the reply",
               [count](const Bytes& reply) { return Joined(Bytes(count, 0x55), reply); });
    }
    for (std::size_t at = 1; at < length_; ++at) {
      AddBytes("a stray byte behind byte " + std::to_string(at), [at](const Bytes& reply) {
        return Joined(Joined(First(reply, at), {0xAA}), Rest(reply, at));
      });
    }
    AddBytes("a flood ahead of the reply",
             [](const Bytes& reply) { return Joined(Bytes(400, 0x55), reply); });
    AddBytes("a flood in the middle of the reply", [](const Bytes& reply) {
      const std::size_t half = reply.size() / 2;
      return Joined(Joined(First(reply, half), Bytes(400, 0xAA)), Rest(reply, half));
    });
    AddBytes("a flood instead of the reply", [](const Bytes&) { return Bytes(400, 0x55); });
    // The sum of nothing but zeros is right.
    AddBytes("a flood of zeros instead of the reply", [](const Bytes&) { return Bytes(400); });
    Add({.name = "a flood of one byte a millisecond instead of the reply",
         .react =
             [](FakePort&, const Exchange&, int) {
               Reaction reaction{{{0x55}}};
               reaction.resize(400, Chunk{{0x55}, Milliseconds{1}});
               return reaction;
             },
         .met =
             [](Link&, const Exchange& exchange, int) {
               const std::size_t length = exchange.reply.size();
               return Taken(exchange, Bytes(length, 0x55),
                            Milliseconds{1} * static_cast<std::int64_t>(length - 1));
             },
         .one_step_only = true});
    for (const std::size_t count : {std::size_t{1}, length_ - 1}) {
      Add({.name = std::to_string(count) + " stray bytes and no reply",
           .react = [count](FakePort&, const Exchange&, int) -> Reaction {
             return {{Bytes(count, 0x55)}};
           },
           .met = [](Link&, const Exchange& exchange, int) { return Begun(exchange); },
           .takes_turns = true});
    }
  }

  // What comes behind the reply, or before the command, is none of it.
  void MoreThanTheReply() {
    for (const std::size_t count :
         {std::size_t{1}, std::size_t{2}, std::size_t{40}, std::size_t{400}}) {
      Add({.name = std::to_string(count) + " bytes behind the reply",
           .react = [count](FakePort&, const Exchange& exchange, int) -> Reaction {
             return {{Joined(exchange.reply, Bytes(count, 0x55))}};
           },
           .takes_turns = true});
    }
    Add({.name = "bytes left from before", .around = Around::kBytesLeft});
  }

  // A read that ends at once with no byte, though the reply is there.
  void FailedReads() {
    for (const int count : {1, 2, 3, Fault::kAlways}) {
      Add({.name = "a first read without a byte" + Times(count),
           .count = count,
           .react = [](FakePort& port, const Exchange& exchange, int) -> Reaction {
             port.reads_fail = {true};
             return {{exchange.reply}};
           },
           .met =
               [](Link&, const Exchange&, int) {
                 return Met{S_TIMEOUT, {}, Microseconds{0}};
               }});
    }
    Add({.name = "a second read without a byte",
         .react = [](FakePort& port, const Exchange& exchange, int) -> Reaction {
           port.reads_fail = {false, true};
           return {{exchange.reply}};
         },
         .met =
             [](Link&, const Exchange&, int) {
               return Met{S_BAD_RESPONSE, {}, Microseconds{0}};
             }});
  }

  // Many drivers hand over nothing of a read that they cancel, though bytes had come.
  void CutReads() {
    for (const std::size_t count : {std::size_t{1}, std::size_t{2}, length_ / 2, length_ - 1}) {
      Add({.name = "a driver that keeps what a cut read had, " + std::to_string(count) +
                   " bytes of the reply",
           .react = [count](FakePort&, const Exchange& exchange, int) -> Reaction {
             return {{First(exchange.reply, count)}};
           },
           .met = [](Link&, const Exchange& exchange, int) { return Begun(exchange); },
           .loses_cut_reads = true});
    }
    Add({.name = "a driver that keeps what a cut read had, and the whole reply",
         .loses_cut_reads = true});
  }

  void Unplugged() {
    Add({.name = "unplugged before the command", .around = Around::kGone});
    Add({.name = "unplugged within the command",
         .react =
             [](FakePort& port, const Exchange&, int) {
               port.vanished = true;
               return Reaction{};
             },
         .met =
             [](Link& link, const Exchange& exchange, int) {
               link.gone = true;
               // That it has gone shows only when the bytes should have passed.
               return exchange.reply.empty() ? Met{S_TIMEOUT, {}, OnWire(exchange.frame)}
                                             : Nothing(exchange);
             },
         .hits_sending = true});
    for (std::size_t count = 1; count <= length_; ++count) {
      Add({.name = "unplugged behind byte " + std::to_string(count) + " of the reply",
           .react = [count](FakePort& port, const Exchange& exchange, int) -> Reaction {
             port.vanishes_after = count;
             return {{exchange.reply}};
           },
           .met =
               [count](Link& link, const Exchange& exchange, int) {
                 link.gone = true;
                 return count < exchange.reply.size() ? Begun(exchange) : Whole(exchange);
               },
           .takes_turns = true});
    }
  }

  // The box goes dark until somebody switches the line on again.
  void SupplyLost() {
    Add({.name = "the supply lost before the command", .around = Around::kDarkened});
    for (std::size_t count = 0; count <= length_; ++count) {
      Add({.name = "the supply lost behind byte " + std::to_string(count) + " of the reply",
           .count = 1,
           .react = [count](FakePort& port, const Exchange& exchange, int) -> Reaction {
             port.lines = {};
             return {{First(exchange.reply, count)}};
           },
           .met =
               [count](Link& link, const Exchange& exchange, int) {
                 link.line = false;
                 if (count == exchange.reply.size()) return Whole(exchange);
                 return count == 0 ? Nothing(exchange) : Begun(exchange);
               },
           .hits_sending = true,
           .takes_turns = count > 0});
    }
  }

  void ShortWrites() {
    for (std::size_t room = 0; room < exchange_.frame.size(); ++room) {
      Add({.name = "a driver that takes " + std::to_string(room) + " bytes of a command",
           .met =
               [](Link&, const Exchange& exchange, int) {
                 Met met = Unsent(exchange);
                 met.takes += kDriver;
                 return met;
               },
           .hits_sending = true,
           .driver_room = room});
    }
  }

  // The bytes begin to pass when the driver has taken them, and the box answers then.
  void SlowWrites() {
    for (const Milliseconds takes : {Milliseconds{1}, Milliseconds{400}, Milliseconds{999}}) {
      const std::string name = "a driver that takes " + InMs(takes) + " over a write";
      Add({.name = name, .write_takes = takes});
      Add({.name = name + ", silent" + Times(1),
           .count = 1,
           .react = [](FakePort&, const Exchange&, int) { return Reaction{}; },
           .met = [](Link&, const Exchange& exchange, int) { return Nothing(exchange); },
           .write_takes = takes});
    }
  }

  const Exchange& exchange_;
  std::size_t length_;
  std::vector<Fault> faults_;
};

}  // namespace

Met Unsent(const Exchange& exchange) {
  return {S_TIMEOUT, {}, exchange.reply.empty() ? Milliseconds{0} : exchange.limit};
}

Met Nothing(const Exchange& exchange) {
  return exchange.reply.empty() ? Whole(exchange) : Met{S_TIMEOUT, {}, exchange.limit};
}

Met Whole(const Exchange& exchange) {
  if (exchange.reply.empty()) return {S_OKAY, {}, OnWire(exchange.frame)};
  return Taken(exchange, exchange.reply, Milliseconds{0});
}

std::vector<Fault> FaultsOf(const Exchange& exchange) {
  return Table(exchange).Fill();
}

}  // namespace qmzentrel::tests::matrix
