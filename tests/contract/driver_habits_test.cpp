// Every command that meets the box, in every power mode, through the real port before a driver with
// each of the habits that drivers have: what came is held against the rules of the matrix of
// faults.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/contract/driver_model.h"
#include "tests/contract/harness.h"
#include "tests/core/matrix_client.h"

namespace qmzentrel::tests::matrix {
namespace {

using contract::DriverHabits;
using contract::DriverModel;

// What comes of a habit.
enum class Effect {
  kNone,         ///< the command ends as it does with any driver
  kUntaken,      ///< the driver takes no byte within its second
  kHeld,         ///< it takes them, and none reaches the box
  kByteOnWait,   ///< a byte comes when a request has waited in vain, once
  kDeadOnWait,   ///< the port is dead once a read has waited in vain
  kDeadOnWrite,  ///< and once a write has
  kGone,         ///< the port is dead already
  kNoLines,      ///< the lines stay as they are
  kNoOpening,    ///< nothing when it begins in an open port, which cannot be opened any more
};

// What happens when it begins.
enum class Event {
  kNone,
  kVanishes,
  kLineFails,
  kLineFailsOnReply,  ///< each time that the box replies
  kDropsLines,
  kBytesLeft
};

struct Habit {
  std::string name;
  DriverHabits habits{};
  Effect effect = Effect::kNone;
  Milliseconds late{0};  ///< a send may take so much longer
  Event event = Event::kNone;
  bool long_frames_only = false;  ///< for those of one byte it is another one
  bool unplugged_within = false;  ///< it meets what is pulled out within a command, too
};

const std::vector<Habit>& Habits() {
  // A request that is cancelled after its limit, and then is given up.
  constexpr Milliseconds kCancelled{1'100};
  constexpr Milliseconds kGivenUp{2'100};
  static const std::vector<Habit> habits{
      {.name = "no habit", .unplugged_within = true},
      {.name = "hands over what a cancelled read has",
       .habits = {.cancelled_reads_give_nothing = false, .keeps_its_limits = false},
       .late = kCancelled},
      {.name = "opens with its lines off", .habits = {.opens_with_lines_of_last_block = false}},
      {.name = "keeps its lines when it is closed", .habits = {.closing_drops_lines = false}},
      {.name = "knows no limits", .habits = {.keeps_its_limits = false}, .late = kCancelled},
      {.name = "fails at its limits", .habits = {.fails_at_its_limits = true}},
      {.name = "does not wait in reads", .habits = {.reads_wait = false}},
      {.name = "knows no status", .habits = {.refuses_status = ERROR_INVALID_FUNCTION}},
      {.name = "fails to tell its status",
       .habits = {.fails_at_its_limits = true, .refuses_status = ERROR_IO_DEVICE}},
      {.name = "takes long over its status",
       .habits = {.status_ms = 900},
       .late = Milliseconds{1'900}},
      {.name = "is asked for its status as a byte comes",
       .habits = {.arrives_then = 0x55},
       .effect = Effect::kByteOnWait},
      {.name = "takes long over its status, and a byte comes then",
       .habits = {.status_ms = 900, .arrives_then = 0x55},
       .effect = Effect::kByteOnWait,
       .late = Milliseconds{1'900}},
      {.name = "cannot drop what came", .habits = {.purges = false}, .late = Milliseconds{30}},
      {.name = "cannot drop what came, and bytes are left",
       .habits = {.purges = false},
       .late = Milliseconds{50},
       .event = Event::kBytesLeft},
      {.name = "has bytes left", .event = Event::kBytesLeft},
      {.name = "refuses its lines", .habits = {.refuses_lines = true}, .effect = Effect::kNoLines},
      {.name = "refuses its settings",
       .habits = {.refuses_settings = ERROR_NOT_READY},
       .effect = Effect::kNoOpening},
      {.name = "refuses its settings without a reason",
       .habits = {.refuses_settings = ERROR_SUCCESS},
       .effect = Effect::kNoOpening},
      {.name = "takes no flow limits but its own", .habits = {.takes_other_flow_limits = false}},
      {.name = "loses cancels",
       .habits = {.keeps_its_limits = false, .loses_cancels = 2},
       .late = Milliseconds{1'300}},
      {.name = "never ends what is cancelled, but keeps its limits",
       .habits = {.never_ends_cancelled = true}},
      {.name = "never ends a read",
       .habits = {.keeps_its_limits = false, .never_ends_cancelled = true},
       .effect = Effect::kDeadOnWait,
       .late = kGivenUp},
      {.name = "never ends a write",
       .habits = {.keeps_its_limits = false, .never_ends_cancelled = true, .most_held = 0},
       .effect = Effect::kDeadOnWrite,
       .late = kGivenUp},
      {.name = "takes nothing", .habits = {.most_held = 0}, .effect = Effect::kUntaken},
      {.name = "takes nothing, and knows no limits",
       .habits = {.keeps_its_limits = false, .most_held = 0},
       .effect = Effect::kUntaken,
       .late = 2 * kCancelled},
      {.name = "takes a part, and sends nothing",
       .habits = {.most_held = 5, .sends_nothing = true},
       .effect = Effect::kUntaken,
       .long_frames_only = true},
      {.name = "holds five bytes", .habits = {.most_held = 5}, .late = Milliseconds{30}},
      {.name = "sends nothing",
       .habits = {.sends_nothing = true},
       .effect = Effect::kHeld,
       .late = Milliseconds{100}},
      {.name = "takes writes in parts", .habits = {.most_of_a_write = 5}},
      {.name = "has a slow wire", .habits = {.byte_ms = 5}, .late = Milliseconds{150}},
      {.name = "begins late", .habits = {.on_the_way_ms = 200}, .late = Milliseconds{400}},
      {.name = "does not count what its chip holds", .habits = {.uncounted = 16}},
      {.name = "has vanished with a bad command",
       .effect = Effect::kGone,
       .event = Event::kVanishes},
      {.name = "has vanished with an invalid function",
       .habits = {.reason_when_gone = ERROR_INVALID_FUNCTION},
       .effect = Effect::kGone,
       .event = Event::kVanishes},
      {.name = "has vanished with access denied",
       .habits = {.reason_when_gone = ERROR_ACCESS_DENIED},
       .effect = Effect::kGone,
       .event = Event::kVanishes},
      {.name = "vanishes with an invalid function",
       .habits = {.reason_when_gone = ERROR_INVALID_FUNCTION},
       .unplugged_within = true},
      {.name = "vanishes with access denied",
       .habits = {.reason_when_gone = ERROR_ACCESS_DENIED},
       .unplugged_within = true},
      {.name = "has dropped its lines", .event = Event::kDropsLines},
      {.name = "stops at a line error", .event = Event::kLineFails},
      {.name = "stops at a line error within the command", .event = Event::kLineFailsOnReply},
      {.name = "stops at a line error that cannot be cleared",
       .habits = {.refuses_status = ERROR_INVALID_FUNCTION},
       .effect = Effect::kUntaken,
       .event = Event::kLineFails},
  };
  return habits;
}

// The wire's own faults that a habit may make worse.
std::vector<Fault> WiresOf(const Command& command, const Habit& habit) {
  std::set<std::string> wanted{"nothing wrong"};
  const std::size_t length = ReplyOf(command, 0, 0).size();
  if (habit.effect == Effect::kNone || habit.effect == Effect::kByteOnWait ||
      habit.effect == Effect::kDeadOnWait) {
    wanted.insert({"silent, once", "silent, always", "40 bytes behind the reply",
                   std::to_string(length / 2) + " bytes of the reply"});
  }
  if (habit.unplugged_within) {
    wanted.insert({"unplugged within the command", "unplugged behind byte 1 of the reply",
                   "unplugged behind byte " + std::to_string(length / 2) + " of the reply"});
  }
  std::vector<Fault> wires = FaultsOf(command);
  std::erase_if(wires, [&](const Fault& fault) { return !wanted.contains(fault.name); });
  return wires;
}

// What is never sent takes the driver a second to refuse.
Met Refused(Link&, const Exchange& exchange, int) {
  Met met = Unsent(exchange);
  met.takes += Milliseconds{1'000};
  return met;
}

// A wait for a reply that lasts longer begins with a request of this length.
constexpr Milliseconds kFirstRequest{500};
// Once a reply has begun it has so long to end.
constexpr Milliseconds kRestOfReply{12'500};

// The fault of the wire before a driver with this habit.
Fault FaultOf(const Habit& habit, Fault fault) {
  fault.name = "a driver that " + habit.name + ", " + fault.name;
  switch (habit.effect) {
    case Effect::kUntaken:
      fault.met = Refused;
      fault.hits_sending = true;
      break;
    case Effect::kDeadOnWrite:
      fault.met = [](Link& link, const Exchange& exchange, int send) {
        link.gone = true;
        return Refused(link, exchange, send);
      };
      fault.hits_sending = true;
      break;
    case Effect::kHeld:
      fault.met = [](Link& link, const Exchange& exchange, int send) {
        return exchange.reply.empty() ? Refused(link, exchange, send) : Nothing(exchange);
      };
      fault.hits_sending = true;
      break;
    case Effect::kByteOnWait:
      if (!fault.met) break;
      fault.met = [met = fault.met](Link& link, const Exchange& exchange, int send) {
        Met outcome = met(link, exchange, send);
        if (outcome.status != S_TIMEOUT || exchange.limit <= kFirstRequest || link.stray_came) {
          return outcome;
        }
        link.stray_came = true;
        return Met{S_BAD_RESPONSE, {}, kFirstRequest + kRestOfReply};
      };
      break;
    case Effect::kDeadOnWait:
      if (!fault.met) break;
      fault.met = [met = fault.met](Link& link, const Exchange& exchange, int send) {
        link.gone = true;
        return met(link, exchange, send);
      };
      break;
    default:
      break;
  }
  return fault;
}

enum class Begins { kInOpenPort, kBeforeOpening };

struct HabitCase {
  Case in_matrix;
  const Habit* habit;
  Begins begins;
};

// The two kinds of box take turns. What befalls the reply alone is the same to a supply that is
// still on and to one that was off: so do these.
std::vector<HabitCase> HabitCasesOf(const Command& command) {
  std::vector<HabitCase> cases;
  std::size_t turn = 0;
  const bool has_long_frame = command.IsTelic2() || command.order == Order::kWriteXpdr;
  for (const Habit& habit : Habits()) {
    if (habit.long_frames_only && !has_long_frame) continue;
    for (const Fault& wire : WiresOf(command, habit)) {
      const auto fault = std::make_shared<const Fault>(FaultOf(habit, wire));
      const auto add = [&](Where where, Mode mode, Begins begins) {
        const std::uint8_t signature = turn % 2 == 0 ? 0xA6 : 0xA5;
        cases.push_back({{command, fault, where, mode, signature}, &habit, begins});
      };
      for (const Where where : WheresOf(command, *fault)) {
        ++turn;
        const bool still_on = !wire.react || turn / 2 % 2 == 0;
        const bool off = !wire.react || !still_on;
        add(where, Mode::kMaintained, Begins::kInOpenPort);
        if (still_on) add(where, Mode::kOnDemandStillOn, Begins::kInOpenPort);
        if (off) add(where, Mode::kOnDemandOff, Begins::kInOpenPort);
      }
      if (wire.react || habit.event != Event::kNone) continue;
      ++turn;
      add(Where::kBoth, Mode::kMaintained, Begins::kBeforeOpening);
      add(Where::kBoth, Mode::kOnDemandStillOn, Begins::kBeforeOpening);
    }
  }
  return cases;
}

class DriverHabitsMatrix : public MatrixClient, public testing::WithParamInterface<Command> {
 protected:
  void TearDown() override {
    Driver().SetHabits({});
    MatrixClient::TearDown();
    Driver().Reset();
  }

  void RunHabitCase(const HabitCase& one) {
    SCOPED_TRACE(one.begins == Begins::kBeforeOpening ? "from the opening on" : "in the open port");
    habit_ = one.habit;
    begins_ = one.begins;
    RunCase(one.in_matrix);
  }

 private:
  // Between two bytes of a frame passes less.
  static constexpr Milliseconds kFrameGap{100};
  // Of a send: the wire, and the way to it.
  static constexpr Milliseconds kSending{60};
  // The port's clock counts whole milliseconds.
  static constexpr Milliseconds kTick{2};
  // Nothing that is held is still on its way then; and the lines, which are not set again when they
  // were just set, no longer count as such.
  static constexpr Milliseconds kQuiet{600};

  static DriverModel& Driver() { return DriverModel::The(); }

  std::int32_t PortNumber() const override { return DriverModel::kPort; }

  void ResetPort() override {
    Driver().SetHabits({});
    Port() = {};
    Driver().Reset();
    frame_.clear();
    frame_length_ = 1;
    under_habit_ = pulled_ = false;
    Driver().AnswerBy([this](std::uint8_t byte) { return Hear(byte); });
  }

  /// The box: its byte of a frame, and its answer.
  Bytes Hear(std::uint8_t byte) {
    if (TheWorld().now - last_byte_ > kFrameGap) frame_.clear();
    last_byte_ = TheWorld().now;
    frame_.push_back(byte);
    if (frame_.size() < frame_length_) return {};
    const Bytes frame = std::exchange(frame_, {});
    TheWorld().Note("write " + fakes::Hex(frame));
    Port().lines = Driver().Lines();
    Bytes reply;
    for (const fakes::Chunk& chunk : Port().ReactTo(frame)) {
      EXPECT_EQ(chunk.after, Milliseconds{0});
      reply.insert(reply.end(), chunk.bytes.begin(), chunk.bytes.end());
    }
    if (under_habit_) Interrupt();
    return reply;
  }

  // What happens as the box replies.
  void Interrupt() {
    if (habit_->event == Event::kLineFailsOnReply) Driver().FailLine();
    if (Port().vanished) Driver().Vanish();
    if (Port().vanishes_after) Driver().VanishBehind(*Port().vanishes_after);
    pulled_ = pulled_ || Port().vanished || Port().vanishes_after;
  }

  void Strike(Rules& rules) override {
    TheWorld().Advance(kQuiet);
    frame_length_ = rules.ExchangeOf(0).frame.size();
    const Effect effect = habit_->effect;
    rules.link.lines_refused = effect == Effect::kNoLines;
    Driver().SetHabits(habit_->habits);
    under_habit_ = true;
    if (begins_ == Begins::kBeforeOpening) {
      Reopen(rules, effect == Effect::kNoOpening ? S_BAD_PORT : S_OKAY);
    }
    Meet(rules, *Present().fault);
    switch (habit_->event) {
      case Event::kNone:
      case Event::kLineFailsOnReply:
        break;
      case Event::kVanishes:
        Driver().Vanish();
        rules.link.gone = true;
        break;
      case Event::kLineFails:
        Driver().FailLine();
        break;
      case Event::kDropsLines:
        Driver().DropLines();
        break;
      case Event::kBytesLeft:
        Driver().Send(Bytes(40, 0x55));
        break;
    }
    clearings_ = Driver().Seen().clearings;
  }

  void Mend(Rules& rules) override {
    Driver().SetHabits({});
    under_habit_ = false;
    rules.link.lines_refused = false;
    if (habit_->effect == Effect::kGone || pulled_) {
      Reopen(rules, S_BAD_PORT);
      Driver().ComeBack();
    }
    Port().vanished = pulled_ = false;
    Port().vanishes_after.reset();
    if (rules.link.gone || !rules.link.open) Reopen(rules, S_OKAY);
    EXPECT_TRUE(Driver().EndStuckRequests()) << "their memory must still be there";
    Meet(rules, kNoFault);
    NothingIsHeld();
    clearings_ = Driver().Seen().clearings;
  }

  /// No command that has failed reaches the box later.
  static void NothingIsHeld() {
    TheWorld().TakeJournal();
    TheWorld().Advance(kQuiet);
    Driver().Received(0);
    EXPECT_EQ(TheWorld().TakeJournal(), std::vector<std::string>{});
  }

  bool LineIs(bool otherwise) override {
    const platform::ModemLines lines = Driver().Lines();
    EXPECT_FALSE(lines.rts);
    const bool closed = habit_->effect == Effect::kNoOpening && begins_ == Begins::kBeforeOpening;
    const bool ours = !under_habit_ || (habit_->effect != Effect::kGone && !pulled_ && !closed);
    EXPECT_FALSE(closed && under_habit_ && lines.dtr);
    return ours ? lines.dtr : otherwise;
  }

  void LookAtPort(const Outlook& wanted, Outlook& seen) override {
    // Each send begins by dropping what has come before.
    const int before = std::exchange(clearings_, Driver().Seen().clearings);
    const auto sends = static_cast<std::size_t>(clearings_ - before);
    EXPECT_EQ(sends, wanted.sent.size()) << "sends";
    std::vector<std::string> heard = wanted.sent;
    heard.resize(!under_habit_ || PassesTheWire() ? wanted.to_port : 0);
    EXPECT_EQ(seen.sent, heard) << "what the box hears";
    seen.sent = wanted.sent;

    const auto count = static_cast<int>(wanted.sent.size());
    const Milliseconds late = kSending + (under_habit_ ? habit_->late : Milliseconds{0});
    EXPECT_GE(seen.takes, wanted.takes - count * kTick);
    EXPECT_LE(seen.takes, wanted.takes + count * late);
    seen.takes = wanted.takes;
  }

  bool PassesTheWire() const {
    switch (habit_->effect) {
      case Effect::kUntaken:
      case Effect::kHeld:
      case Effect::kDeadOnWrite:
        return false;
      default:
        return true;
    }
  }

  const Habit* habit_ = nullptr;
  Begins begins_ = Begins::kInOpenPort;
  bool under_habit_ = false;
  bool pulled_ = false;  ///< within the command
  int clearings_ = 0;
  Bytes frame_;
  std::size_t frame_length_ = 1;
  Microseconds last_byte_{0};
};

TEST_P(DriverHabitsMatrix, EndsAsTheRulesSay) {
  RunEach(HabitCasesOf(GetParam()), [this](const HabitCase& one) { RunHabitCase(one); });
}

INSTANTIATE_TEST_SUITE_P(Commands, DriverHabitsMatrix, testing::ValuesIn(Commands()),
                         [](const auto& one) { return std::to_string(one.index); });

TEST(DriverHabitsTable, HasItsCases) {
  std::size_t cases = 0;
  for (const Command& command : Commands()) cases += HabitCasesOf(command).size();
  EXPECT_GE(cases, 5'500U);
  RecordProperty("cases", static_cast<int>(cases));
}

// All of them: with one more this does not compile.
auto FieldsOf(const DriverHabits& habits) {
  const auto& [cancelled_reads, opens_with_lines, closing, keeps_limits, fails_at_limits, waits,
               refuses_status, status, arrives, reason, purges, refuses_lines, refuses_settings,
               flow_limits, loses_cancels, never_ends, held, sends_nothing, part, byte, on_the_way,
               uncounted] = habits;
  return std::tie(cancelled_reads, opens_with_lines, closing, keeps_limits, fails_at_limits, waits,
                  refuses_status, status, arrives, reason, purges, refuses_lines, refuses_settings,
                  flow_limits, loses_cancels, never_ends, held, sends_nothing, part, byte,
                  on_the_way, uncounted);
}

template <std::size_t... kFields>
void ExpectARowForEach(std::index_sequence<kFields...>) {
  static const DriverHabits usual;
  const auto expect = [](auto field) {
    EXPECT_TRUE(std::ranges::any_of(Habits(),
                                    [](const Habit& habit) {
                                      constexpr std::size_t kField = decltype(field)::value;
                                      return std::get<kField>(FieldsOf(habit.habits)) !=
                                             std::get<kField>(FieldsOf(usual));
                                    }))
        << "field " << field;
  };
  (expect(std::integral_constant<std::size_t, kFields>{}), ...);
}

TEST(DriverHabitsTable, HasARowForEachFieldOfTheModel) {
  constexpr std::size_t kFields =
      std::tuple_size_v<decltype(FieldsOf(std::declval<DriverHabits>()))>;
  ExpectARowForEach(std::make_index_sequence<kFields>{});
}

}  // namespace
}  // namespace qmzentrel::tests::matrix
