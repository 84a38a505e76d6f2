// What every command has to do with the box and with the client's record, stated once more and
// without the component: sends, retries, statuses, events, supply, record and time.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "tests/core/wire_faults.h"

namespace qmzentrel::tests::matrix {

enum class Order {
  kBoxStatus,
  kDeviceInit,
  kReadXpdr,
  kWriteXpdr,
  kResetXpdr,
  kTelic2Read,
  kTelic2Write,
  kTelic2Test,
  kTelic2Send,  ///< a test whose messages have no reply
};

/// A command, over a transponder of this version.
struct Command {
  std::string name;
  Order order;
  std::uint8_t version = 0x51;

  bool IsTelic2() const { return order >= Order::kTelic2Read; }
  /// With nothing wrong it has a second step.
  bool HasBlock2() const {
    return version == 0x80 && (order == Order::kReadXpdr || order == Order::kWriteXpdr);
  }
};

inline void PrintTo(const Command& command, std::ostream* stream) {
  *stream << command.name;
}

/// The sub-device messages of a command.
struct Messages {
  std::vector<std::int32_t> identifiers;
  std::vector<std::int32_t> data;
};
Messages MessagesOf(Order order);

/// The numbers that a client reads from the object, by name; versions as their byte.
using Facts = std::map<std::string, std::int64_t>;

struct Outlook {
  ZentrelStatus status = S_OKAY;
  bool raises = false;            ///< error 65535 instead of a status
  std::vector<std::string> sent;  ///< frame by frame, as text
  std::size_t to_port = 0;        ///< of these, before the port had gone
  std::vector<bool> events;
  Microseconds takes{0};
  Facts facts;
  std::vector<std::int32_t> data;  ///< of the client's messages
  bool line = false;               ///< the supply line at the end
  /// It has waited for the clock of the day, which is a Single, read again at most each
  /// millisecond: `takes` is good to kClockError.
  bool waited_for_clock = false;
};

inline constexpr Milliseconds kClockError{5};

/// How long a box without a signature rests after each Box Status.
inline constexpr Milliseconds kRest{3'750};

/// Which steps of a command a fault befalls.
enum class Where { kFirst, kSecond, kBoth };

/// A box and a transponder that answer as they should.
Bytes ReplyOf(const Command& command, int step, std::uint8_t signature);
/// What they have answered before.
Bytes EarlierBoxStatus(std::uint8_t signature);
Bytes EarlierBlock1(const Command& command, std::uint8_t signature);
Bytes EarlierBlock2();

class Rules {
 public:
  Rules(const Command& command, std::uint8_t signature, bool maintained, Facts known)
      : facts(std::move(known)),
        command_(command),
        signature_(signature),
        maintained_(maintained) {}

  /// What has to come of running the command now.
  Outlook Run(const Fault& fault, Where where);
  /// The exchange of a step with a box of this signature.
  Exchange ExchangeOf(int step) const;

  Facts facts;
  Link link;
  bool supplied = false;  ///< as the object believes
  /// Seconds until the supply goes off, 0 while nothing counts them.
  std::int64_t seconds_left = 0;
  /// When the command begins.
  Microseconds now{0};
  /// Until when a box without a signature rests.
  Microseconds rests_until{0};

 private:
  bool IsElectric() const { return facts.at("signature 0") == 0xA6; }
  int Attempts() const;
  void SetPower(bool on);
  void LetRest();
  Met OneSend(int step, int send);
  Met AwaitAnswer(int step, const Exchange& exchange, Milliseconds delay);
  Met Try(int step, int& send);
  Met TryTwice(int step);
  void TakeBoxFacts(const Bytes& reply, std::size_t at);
  void TakeBlock1(const Bytes& reply);
  void TakeBlock2(const Bytes& reply);
  void ClearBlock1();
  void ClearBlock2();
  bool HasBlock2() const;
  Bytes WriteFrame(int step) const;
  ZentrelStatus BoxStatus(int& send);
  ZentrelStatus Read();
  ZentrelStatus Write();
  void Unpack(const Bytes& reply);

  Command command_;
  std::uint8_t signature_;
  bool maintained_;
  const Fault* fault_ = nullptr;
  Where where_ = Where::kBoth;
  Outlook outlook_;

  struct Coming {
    int step;
    Microseconds at;
    Bytes reply;
  };
  std::vector<Coming> coming_;  ///< to this command, in the order of its sends
  std::array<Bytes, 2> told_;   ///< to this command, step by step
};

}  // namespace qmzentrel::tests::matrix
