// No reply, however broken, crashes, keeps a command beyond its limits or leaves half a record.
#include <random>

#include "tests/core/core_test.h"

namespace qmzentrel::tests {
namespace {

constexpr int kRounds = 1000;

class BrokenReplies : public ZentrelTest, public testing::WithParamInterface<bool> {
 protected:
  /// A fresh object on a fresh port at ten o'clock: neither late bytes nor midnight from before.
  void StartRound() {
    TheWorld().SetClock(36'000);
    zentrel = Zentrel::Create();
    Port() = {};
    Open(GetParam());
    zentrel->VDelay(0);
  }

  int Random(int lowest, int highest) {
    return std::uniform_int_distribution<int>(lowest, highest)(random_);
  }
  bool OneIn(int chances) { return Random(1, chances) == 1; }
  std::uint8_t RandomByte() { return static_cast<std::uint8_t>(Random(0, 255)); }

  /// `reply` cut, lengthened, disturbed, delayed and torn to pieces, each only sometimes.
  fakes::Reaction Broken(Bytes reply) {
    if (OneIn(6)) return {};
    if (OneIn(4)) reply.resize(static_cast<std::size_t>(Random(0, 60)), RandomByte());
    if (OneIn(4) && !reply.empty()) {
      reply[static_cast<std::size_t>(Random(0, static_cast<int>(reply.size()) - 1))] = RandomByte();
    }
    if (OneIn(8)) reply.insert(reply.begin(), RandomByte());
    if (OneIn(8)) {
      for (std::uint8_t& byte : reply) byte = RandomByte();
    }
    fakes::Reaction reaction;
    while (!reply.empty()) {
      const auto count = OneIn(2)
                             ? reply.size()
                             : static_cast<std::size_t>(Random(1, static_cast<int>(reply.size())));
      const auto end = reply.begin() + static_cast<std::ptrdiff_t>(count);
      reaction.push_back(
          {Bytes(reply.begin(), end), Milliseconds(OneIn(4) ? Random(0, 14'000) : 0)});
      reply.erase(reply.begin(), end);
    }
    return reaction;
  }

  Record RandomRecord() {
    return {.mif = RandomByte(),
            .util = RandomByte(),
            .id = Random(0, 0xFFFFFF),
            .tamper = RandomByte(),
            .reading = Random(0, 0xFFFFFF),
            .warmup_and_interval = RandomByte(),
            .msi = RandomByte(),
            .version = RandomByte(),
            .box_version = RandomByte(),
            .battery = RandomByte(),
            .signature = static_cast<std::uint8_t>(0xA4 + Random(0, 2))};
  }

  bool RecordIsClear() const {
    return zentrel->DeviceMIF() == 0 && zentrel->Util() == 0 && zentrel->Xpdr() == 0 &&
           zentrel->Tamper() == 0 && zentrel->Reading() == 0 && zentrel->PLLWarmup() == 0 &&
           zentrel->TXI() == 0 && zentrel->MSI() == 0 && zentrel->TravonelVersion() == "0.0" &&
           !zentrel->HasLeak();
  }

  bool RecordIs(const Record& record) const {
    return zentrel->DeviceMIF() == (record.mif & 0x3F) && zentrel->Util() == record.util &&
           zentrel->Xpdr() == record.id && zentrel->Reading() == record.reading &&
           zentrel->PLLWarmup() == record.warmup_and_interval >> 4 &&
           zentrel->TXI() == (record.warmup_and_interval & 15) &&
           zentrel->MSI() == (record.msi & 15);
  }

 private:
  std::mt19937 random_{20261121};
};

// One exchange: 26 first-byte waits of half a second or one of 2.5 s, then the remainder.
constexpr Milliseconds kLongestExchange{13'000 + 12'500};
// Power on demand: the start-up pause and the hold-off.
constexpr Milliseconds kLongestPowerOn{2'500 + 3'750};

TEST_P(BrokenReplies, NeverLeaveHalfARecord) {
  int clear = 0;
  int whole = 0;
  int accidents = 0;
  for (int round = 0; round < kRounds; ++round) {
    StartRound();
    const Record record = RandomRecord();
    for (int i = 0; i < 2; ++i) Port().reactions.push_back(Broken(Block1Reply(record)));
    Port().device = [&](std::span<const std::uint8_t>) { return Broken(Block2Reply(Bytes(8, 1))); };
    const auto start = TheWorld().now;
    const ZentrelStatus status = zentrel->ReadXpdr();
    EXPECT_GE(status, S_OKAY);
    EXPECT_LE(status, S_BAD_SUM);
    EXPECT_LE(TheWorld().now - start, 4 * (kLongestExchange + kLongestPowerOn));
    if (RecordIsClear()) {
      ++clear;
    } else if (RecordIs(record)) {
      ++whole;
    } else {
      // A disturbed reply whose sum happens to fit is taken whole; nothing else explains it.
      ++accidents;
    }
  }
  EXPECT_GT(clear, kRounds / 10);
  EXPECT_GT(whole, kRounds / 10);
  EXPECT_LT(accidents, kRounds / 50);
}

TEST_P(BrokenReplies, NeverKeepACommandBeyondItsLimitsOrDisturbTheNextOne) {
  for (int round = 0; round < kRounds; ++round) {
    StartRound();
    Port().device = [&](std::span<const std::uint8_t> command) {
      return Broken(command.size() == 1 && command[0] == 0x80
                        ? BoxStatusReply(RandomByte(), RandomByte(), 0xA5, 0)
                        : Block1Reply(RandomRecord()));
    };
    for (const auto command :
         {&Zentrel::BoxStatus, &Zentrel::ResetXpdr, &Zentrel::WriteXpdr, &Zentrel::DeviceInit}) {
      const auto start = TheWorld().now;
      const ZentrelStatus status = ((*zentrel).*command)();
      EXPECT_GE(status, S_OKAY);
      EXPECT_LE(status, S_BAD_DATA);
      EXPECT_LE(TheWorld().now - start, 4 * (kLongestExchange + kLongestPowerOn));
    }
    // Whatever came before, a whole reply is taken.
    TheWorld().Advance(Milliseconds(20'000));
    const Record good{};
    Port().device = nullptr;
    Port().Answer(Block1Reply(good));
    EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
    EXPECT_TRUE(RecordIs(good));
  }
}

INSTANTIATE_TEST_SUITE_P(PowerModes, BrokenReplies, testing::Bool(),
                         [](const auto& mode) { return mode.param ? "Maintained" : "OnDemand"; });

}  // namespace
}  // namespace qmzentrel::tests
