// A slow way to the box: an answer comes when its command has been sent once more, and the second
// one after the next command, which it must not be taken for.
#include <algorithm>
#include <array>
#include <chrono>
#include <random>
#include <set>

#include "tests/core/core_test.h"

namespace qmzentrel::tests {
namespace {

constexpr std::uint8_t kElectric = 0xA6;
constexpr std::uint8_t kAwake = 0xA5;

class LateAnswers : public ZentrelTest {
 protected:
  /// Whether the record is as the transponder has it, whether the status says that it is not.
  enum class Outcome { kRight, kFailed, kWrong };

  void Prepare(std::uint8_t signature) {
    MakeObject();
    Port() = {};
    OpenBox(true, signature);
    record_ = {.version = 0x80, .signature = signature};
    zentrel->VDelay(0);
    Port().device = [this](std::span<const std::uint8_t> command) -> fakes::Reaction {
      return {{AnswerTo(command), delay_}};
    };
  }

  Bytes AnswerTo(std::span<const std::uint8_t> command) {
    const bool radio = command.size() == 1 ? command[0] == 0x42 : command[10] == 0x20;
    if (radio) return Block2Reply({11, 22, 33, 44, 55, 66, 77, 200});
    ++record_.reading;  // the meter goes on,
    --record_.battery;  // and the battery
    return Block1Reply(record_);
  }

  Outcome OutcomeOf(ZentrelStatus status) {
    if (status != S_OKAY) return Outcome::kFailed;
    const bool right = zentrel->Freq_MSB() == 11 && zentrel->Freq_MID() == 22 &&
                       zentrel->Freq_LSB() == 33 && zentrel->BR_MSB() == 44 &&
                       zentrel->LeakThreshold() == 55 && zentrel->Xpdr() == 0x123456 &&
                       zentrel->Util() == 17;
    return right ? Outcome::kRight : Outcome::kWrong;
  }

  /// Since the journal was taken last.
  static std::ptrdiff_t Sendings() {
    return std::ranges::count_if(TheWorld().TakeJournal(), [](const std::string& line) {
      return line.starts_with("write ");
    });
  }

  Outcome Read() { return OutcomeOf(zentrel->ReadXpdr()); }
  Outcome Write() { return OutcomeOf(zentrel->WriteXpdr()); }

  Milliseconds delay_{0};
  Record record_;
};

TEST_F(LateAnswers, AreNotTakenForThoseOfTheOtherBlock) {
  for (const std::uint8_t signature : {kElectric, kAwake}) {
    // Slower than that nothing can be told any more: whole commands end before their answers come.
    for (int delay = 50; delay <= 3'000; delay += 50) {
      SCOPED_TRACE(delay);
      Prepare(signature);
      delay_ = Milliseconds(delay);
      for (int turn = 0; turn < 3; ++turn) EXPECT_NE(Read(), Outcome::kWrong);
      EXPECT_NE(Write(), Outcome::kWrong);
      EXPECT_NE(Read(), Outcome::kWrong);
    }
  }
}

// Whatever is asked, of transponders with and without block 2, and however the way holds up what it
// carries, up to 3 s: never is one block taken for the other.
TEST_F(LateAnswers, AreNotTakenForThoseOfTheOtherBlockAtAnyPace) {
  using Command = ZentrelStatus (Zentrel::*)();
  constexpr std::array<Command, 4> kCommands{&Zentrel::ReadXpdr, &Zentrel::WriteXpdr,
                                             &Zentrel::ResetXpdr, &Zentrel::BoxStatus};
  std::array<int, kCommands.size()> right{};
  for (unsigned seed = 0; seed < 400; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 chance(seed);
    const auto below = [&](unsigned limit) { return static_cast<int>(chance() % limit); };
    Prepare(seed % 2 == 0 ? kElectric : kAwake);
    EXPECT_EQ(Read(), Outcome::kRight);  // a block that was never read cannot be told
    const int shortest = below(3'001);
    const unsigned spread = below(2) == 0 ? 1 : 3'001 - static_cast<unsigned>(shortest);
    Milliseconds last_arrival{0};
    fakes::Microseconds there_from{0};  // it takes a while to go from one transponder to another
    Port().device = [&](std::span<const std::uint8_t> command) -> fakes::Reaction {
      const bool is_for_box = command[0] == 0x80;
      if (!is_for_box && TheWorld().now < there_from) return {};
      const auto now = std::chrono::ceil<Milliseconds>(TheWorld().now);
      last_arrival = std::max(last_arrival, now + Milliseconds(shortest + below(spread)));
      const Bytes answer =
          is_for_box ? BoxStatusReply(0x21, 100, record_.signature, 0) : AnswerTo(command);
      return {{answer, last_arrival - now}};
    };
    for (int turn = 0; turn < 12; ++turn) {
      if (below(3) == 0) {
        record_.version = record_.version == 0x80 ? 0x51 : 0x80;
        there_from = TheWorld().now + Milliseconds(3'000);
      }
      if (below(4) == 0) TheWorld().Pump(Milliseconds(below(4'000)));
      const auto command = static_cast<std::size_t>(below(kCommands.size()));
      if (((*zentrel).*kCommands[command])() != S_OKAY) continue;
      ++right[command];
      const bool is_about_transponder = command < 2;
      if (!is_about_transponder || zentrel->TravonelVersion() == "0.0") continue;
      EXPECT_EQ(zentrel->Xpdr(), 0x123456);
      if (zentrel->TravonelVersion() == "8.0") {
        EXPECT_EQ(zentrel->Freq_MSB(), 11);
      }
      if (HasFailure()) return;
    }
  }
  EXPECT_GT(std::ranges::min(right), 200) << "most commands are answered";
}

TEST_F(LateAnswers, ArePassedOver) {
  for (const auto& [signature, delay] : {std::pair{kElectric, 700}, std::pair{kElectric, 1'300},
                                         std::pair{kElectric, 2'400}, std::pair{kAwake, 3'000}}) {
    SCOPED_TRACE(delay);
    Prepare(signature);
    delay_ = Milliseconds(delay);
    EXPECT_EQ(Read(), Outcome::kRight);
  }
}

TEST_F(LateAnswers, OfBlock2AreNotTakenForBlock1Next) {
  Prepare(kElectric);
  EXPECT_EQ(Read(), Outcome::kRight);
  int turn = 0;
  Port().device = [&](std::span<const std::uint8_t> command) -> fakes::Reaction {
    // Only the first answers about block 2 are late, two of them.
    const bool late = command[0] == 0x42 && turn++ < 2;
    return {{AnswerTo(command), Milliseconds(late ? 700 : 0)}};
  };
  EXPECT_EQ(Read(), Outcome::kRight);
  TheWorld().Pump(Milliseconds(480));
  Port().device = [&](std::span<const std::uint8_t> command) -> fakes::Reaction {
    return {{AnswerTo(command), Milliseconds(100)}};
  };
  EXPECT_EQ(Read(), Outcome::kRight);
}

// An answer that is still to come needs a sending that was not answered.
TEST_F(LateAnswers, AreNoneWhereEachSendingWasAnswered) {
  Prepare(kElectric);
  Port().device = [&](std::span<const std::uint8_t>) -> fakes::Reaction {
    return {{Block1Reply(record_), Milliseconds(100)}};
  };
  TheWorld().TakeJournal();
  for (int turn = 0; turn < 3; ++turn) EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
  EXPECT_EQ(zentrel->Freq_MSB(), 17) << "a transponder whose blocks are the same";
  EXPECT_EQ(Sendings(), 6);
}

TEST_F(LateAnswers, AreToldByWhatStaysTheSame) {
  const std::set<std::size_t> told{0, 1, 2, 3, 4, 9, 10, 11, 12, 14, 15};
  for (std::size_t byte = 0; byte < 18; ++byte) {
    SCOPED_TRACE(byte);
    Prepare(kElectric);
    Port().StaySilent();
    Port().device = [&](std::span<const std::uint8_t> command) -> fakes::Reaction {
      Bytes reply = Block1Reply(record_);
      reply.pop_back();
      if (command[0] == 0x42) reply[byte] ^= 1;
      return {{WithSum(reply), Milliseconds(0)}};
    };
    TheWorld().TakeJournal();
    EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
    EXPECT_EQ(Sendings(), told.contains(byte) ? 3 : 4) << "one that is passed over is asked again";
  }
}

TEST_F(LateAnswers, OfBlock2AreToldByItsSettings) {
  for (std::size_t byte = 0; byte < 18; ++byte) {
    SCOPED_TRACE(byte);
    Prepare(kElectric);
    EXPECT_EQ(Read(), Outcome::kRight);
    // Only the retry of block 2 is answered; then block 1 gets that answer once more, but for a
    // byte.
    Port().reactions = {{{Block1Reply(record_)}}, {}};
    EXPECT_EQ(Read(), Outcome::kRight);
    bool first = true;
    Port().device = [&](std::span<const std::uint8_t> command) -> fakes::Reaction {
      Bytes reply = AnswerTo(std::array<std::uint8_t, 1>{first ? std::uint8_t{0x42} : command[0]});
      reply.pop_back();
      if (first) reply[byte] ^= 1;
      first = false;
      return {{WithSum(reply), Milliseconds(0)}};
    };
    const bool told = byte >= 1 && byte <= 8;
    EXPECT_EQ(Read(), told ? Outcome::kWrong : Outcome::kRight);
  }
}

TEST_F(LateAnswers, ArePassedOverNoMoreOftenThanWasSentInVain) {
  for (const int late : {2, 3}) {
    SCOPED_TRACE(late);
    Prepare(kElectric);
    Port().StaySilent(2);
    Port().device = [&](std::span<const std::uint8_t> command) -> fakes::Reaction {
      if (command[0] == 0x40) return {{Block1Reply(record_), Milliseconds(0)}};
      fakes::Reaction answers;
      for (int i = 0; i < late; ++i) answers.push_back({Block1Reply(record_), Milliseconds(400)});
      answers.push_back({AnswerTo(command), Milliseconds(400)});
      return answers;
    };
    EXPECT_EQ(Read(), late == 2 ? Outcome::kRight : Outcome::kWrong);
  }
}

TEST_F(LateAnswers, MayComeOfACommandThatSeemedToHaveFailed) {
  Prepare(kAwake);
  Port().StaySilent();
  EXPECT_EQ(zentrel->BoxStatus(), S_TIMEOUT);
  Port().device = [&](std::span<const std::uint8_t> command) -> fakes::Reaction {
    if (command[0] == 0x40) return {{Block1Reply(record_), Milliseconds(0)}};
    return {{Block1Reply(record_), Milliseconds(0)}, {AnswerTo(command), Milliseconds(0)}};
  };
  EXPECT_EQ(Read(), Outcome::kRight);
  EXPECT_EQ(Read(), Outcome::kWrong) << "all has been answered";
}

TEST_F(LateAnswers, AreNoLongerToComeAfterThreeAndAHalfSeconds) {
  for (const int ms : {3'500, 3'501}) {
    SCOPED_TRACE(ms);
    Prepare(kAwake);
    Port().StaySilent();
    EXPECT_EQ(zentrel->BoxStatus(), S_TIMEOUT);
    TheWorld().Pump(Milliseconds(ms - 2'500));
    Port().device = [&](std::span<const std::uint8_t> command) -> fakes::Reaction {
      if (command[0] == 0x40) return {{Block1Reply(record_), Milliseconds(0)}};
      return {{Block1Reply(record_), Milliseconds(0)}, {AnswerTo(command), Milliseconds(0)}};
    };
    EXPECT_EQ(Read(), ms == 3'500 ? Outcome::kRight : Outcome::kWrong);
  }
}

// One byte is an answer, if a bad one: nothing is to come any more of what was sent before.
TEST_F(LateAnswers, AreNotToComeBehindAnAnswerCutShort) {
  Prepare(kAwake);
  Port().StaySilent();
  EXPECT_EQ(zentrel->BoxStatus(), S_TIMEOUT);
  Port().Answer({0x32});
  EXPECT_EQ(zentrel->BoxStatus(), S_BAD_RESPONSE);
  Port().device = [&](std::span<const std::uint8_t> command) -> fakes::Reaction {
    if (command[0] == 0x40) return {{Block1Reply(record_), Milliseconds(0)}};
    return {{Block1Reply(record_), Milliseconds(0)}, {AnswerTo(command), Milliseconds(0)}};
  };
  EXPECT_EQ(Read(), Outcome::kWrong) << "a transponder whose blocks are the same";
}

TEST_F(LateAnswers, AreFollowedByWhatIsReadAsEveryAnswerIs) {
  const Bytes whole = Block2Reply({11, 22, 33, 44, 55, 66, 77, 200});
  Bytes broken = whole;
  broken.back() ^= 1;
  const Bytes cut(whole.begin(), whole.begin() + 18);
  const auto after = [&](const fakes::Reaction& behind) {
    Prepare(kElectric);
    Port().StaySilent();
    Port().device = [&](std::span<const std::uint8_t> command) -> fakes::Reaction {
      fakes::Reaction answer{{Block1Reply(record_), Milliseconds(0)}};
      if (command[0] == 0x42) answer.insert(answer.end(), behind.begin(), behind.end());
      return answer;
    };
    return zentrel->ReadXpdr();
  };
  EXPECT_EQ(after({{broken, Milliseconds(500)}}), S_BAD_SUM);
  EXPECT_EQ(zentrel->Freq_MSB(), 0);
  EXPECT_EQ(after({{cut, Milliseconds(500)}}), S_BAD_RESPONSE);
  EXPECT_EQ(zentrel->Freq_MSB(), 0);
  EXPECT_EQ(after({{{whole.begin(), whole.begin() + 1}, Milliseconds(500)},
                   {{whole.begin() + 1, whole.end()}, Milliseconds(12'500)}}),
            S_OKAY);
  EXPECT_EQ(zentrel->Freq_MSB(), 11);
}

TEST_F(LateAnswers, WithNothingBehindThemAreATimeout) {
  for (const bool answers_retry : {false, true}) {
    Prepare(kAwake);
    Port().reactions = {{}, {{Block1Reply(record_)}}, {{Block1Reply(record_)}}};
    if (!answers_retry) Port().StaySilent();
    TheWorld().TakeJournal();
    const Outcome outcome = Read();
    EXPECT_EQ(Sendings(), 4);
    EXPECT_EQ(outcome, answers_retry ? Outcome::kRight : Outcome::kFailed);
    EXPECT_EQ(zentrel->Freq_MSB(), answers_retry ? 11 : 0);
  }
}

// A transponder that nobody has written to looks like the settings of another.
class BlankTransponder : public LateAnswers {
 protected:
  void Prepare(std::uint8_t signature) {
    LateAnswers::Prepare(signature);
    record_.id = 0x123456;
    Port().device = [this](std::span<const std::uint8_t> command) -> fakes::Reaction {
      const bool radio = command[0] == 0x42;
      return {{radio ? Block2Reply(Bytes(8)) : Block1Reply(record_), Milliseconds(0)}};
    };
  }

  void ReachForTheBlankOne() {
    record_ = {.mif = 7,
               .util = 0,
               .id = 0,
               .tamper = 0,
               .reading = 0,
               .version = 0x80,
               .signature = record_.signature};
  }

  bool Reads() {
    return zentrel->ReadXpdr() == S_OKAY && zentrel->DeviceMIF() == (record_.mif & 0xF) &&
           zentrel->Xpdr() == record_.id && zentrel->ZentrelSignature(0) == record_.signature;
  }
};

TEST_F(BlankTransponder, IsReadAfterACommandThatFailed) {
  for (const std::uint8_t signature : {kElectric, kAwake}) {
    Prepare(signature);
    EXPECT_TRUE(Reads());
    Port().StaySilent(26);
    EXPECT_EQ(zentrel->BoxStatus(), S_TIMEOUT);
    Port().reactions.clear();
    ReachForTheBlankOne();
    EXPECT_TRUE(Reads());
    TheWorld().TakeJournal();
    EXPECT_TRUE(Reads());
    EXPECT_EQ(Sendings(), 2);
  }
}

TEST_F(BlankTransponder, IsReadAfterTheOtherBlockFailed) {
  for (const std::uint8_t signature : {kElectric, kAwake}) {
    Prepare(signature);
    EXPECT_TRUE(Reads());
    Port().reactions = {{{Block1Reply(record_)}}};
    Port().StaySilent(52);
    EXPECT_EQ(zentrel->ReadXpdr(), S_TIMEOUT);
    Port().reactions.clear();
    ReachForTheBlankOne();
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(Reads());
  }
}

TEST_F(BlankTransponder, IsKnownAgain) {
  for (const std::uint8_t signature : {kElectric, kAwake}) {
    Prepare(signature);
    ReachForTheBlankOne();
    EXPECT_TRUE(Reads());
    for (int i = 0; i < 3; ++i) {
      Port().StaySilent(26);
      EXPECT_EQ(zentrel->BoxStatus(), S_TIMEOUT);
      Port().reactions.clear();
      TheWorld().TakeJournal();
      EXPECT_TRUE(Reads());
      EXPECT_EQ(Sendings(), 2);
    }
  }
}

}  // namespace
}  // namespace qmzentrel::tests
