// Reading, resetting and writing the transponder, and its record.
#include "tests/core/core_test.h"
#include "tests/core/zentrel_access.h"

namespace qmzentrel::tests {
namespace {

constexpr std::uint8_t kVersion39 = 0x39;
constexpr std::uint8_t kVersion40 = 0x40;
constexpr std::uint8_t kVersion7F = 0x7F;
constexpr std::uint8_t kVersion80 = 0x80;

class TransponderCommands : public ZentrelTest {
 protected:
  void SetUp() override {
    ZentrelTest::SetUp();
    Open(true);
    zentrel->VDelay(0);
  }

  /// Answers the next read of block 1 with `record` and reads.
  ZentrelStatus Read(const Record& record) {
    Port().Answer(Block1Reply(record));
    return zentrel->ReadXpdr();
  }

  /// The block-1 frame that a write of the present record sends; the transponder has no block 2.
  Bytes WrittenFrame() {
    Port().written.clear();
    Port().Answer(Block1Reply({}));
    EXPECT_EQ(zentrel->WriteXpdr(), S_OKAY);
    return Port().written.empty() ? Bytes() : Port().written.front();
  }

  std::size_t Sent() { return Port().written.size(); }
};

// --- Reading ---

TEST_F(TransponderCommands, ReadTakesEveryFieldOfTheReply) {
  EXPECT_EQ(Read({.mif = 0x37,
                  .util = 17,
                  .id = 0x123456,
                  .tamper = 9,
                  .reading = 0xFEDCBA,
                  .warmup_and_interval = 0xB4,
                  .msi = 0xF6,
                  .version = 0x5A,
                  .box_version = 0x3C,
                  .battery = 50,
                  .signature = 0xA6}),
            S_OKAY);
  EXPECT_EQ(Port().written, (std::vector<Bytes>{{0x40}}));
  EXPECT_EQ(zentrel->DeviceMIF(), 0x37);
  EXPECT_TRUE(zentrel->IDToggle());
  EXPECT_TRUE(zentrel->MIFSelect());
  EXPECT_EQ(zentrel->Util(), 17);
  EXPECT_EQ(zentrel->Xpdr(), 0x123456);
  EXPECT_EQ(zentrel->Tamper(), 9);
  EXPECT_EQ(zentrel->Reading(), 0xFEDCBA);
  EXPECT_EQ(zentrel->PLLWarmup(), 0xB);
  EXPECT_EQ(zentrel->TXI(), 4);
  EXPECT_EQ(zentrel->MSI(), 6) << "only the low nibble of byte 10 counts";
  EXPECT_EQ(zentrel->TravonelVersion(), "5.A");
  EXPECT_FALSE(zentrel->HasLeak());
  EXPECT_EQ(zentrel->ZentrelVersion(), "3.C");
  EXPECT_EQ(zentrel->BatteryVoltage(), static_cast<float>(50 * 0.039));
  EXPECT_EQ(zentrel->ZentrelSignature(0), 0xA6);
  EXPECT_EQ(Field(*zentrel, "m_blnIsElectric"), "True");
}

TEST_F(TransponderCommands, TheTwoUpperBitsOfTheMifByteMeanNothing) {
  Read({.mif = 0xC5});
  EXPECT_EQ(zentrel->DeviceMIF(), 0x05);
}

TEST_F(TransponderCommands, AReadDoesNotTouchTheHoldOffAsABoxStatusWould) {
  Read({.signature = 0});
  EXPECT_EQ(SecondsIn(*zentrel, "m_sngBoxStatusTimeout"), 0.0F);
}

TEST_F(TransponderCommands, ATimeoutIsTriedOnceMore) {
  Port().StaySilent();
  EXPECT_EQ(Read({}), S_OKAY);
  EXPECT_EQ(Port().written, (std::vector<Bytes>{{0x40}, {0x40}}));
}

TEST_F(TransponderCommands, NoOtherStatusIsTriedAgain) {
  Read({});  // version 5.1, and a failed read below sets it to 0.0: block 2 follows
  Port().written.clear();
  Port().Answer({1, 2});
  Port().Answer(Block2Reply({1, 2, 3, 4, 5, 6, 7, 8}));
  EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
  EXPECT_EQ(Port().written, (std::vector<Bytes>{{0x40}, {0x42}}));
}

TEST_F(TransponderCommands, AnElectricBoxIsWokenForThirteenSecondsPerSending) {
  Read({.signature = 0xA6});
  Port().written.clear();
  const auto start = TheWorld().now;
  EXPECT_EQ(zentrel->ReadXpdr(), S_TIMEOUT);
  // Block 1, its retry, block 2, its retry: 26 attempts of 500 ms each.
  EXPECT_EQ(Sent(), 4U * 26U);
  EXPECT_EQ(TheWorld().now - start, Milliseconds(4 * 26 * 500));
}

TEST_F(TransponderCommands, AFailedReadClearsTheRecordAndKeepsTheBoxFacts) {
  Read({.mif = 0x35, .tamper = 130, .version = kVersion80});
  zentrel->HasLeak(true);
  EXPECT_EQ(zentrel->ReadXpdr(), S_TIMEOUT);
  EXPECT_EQ(zentrel->DeviceMIF(), 0);
  EXPECT_FALSE(zentrel->MIFSelect());
  EXPECT_FALSE(zentrel->IDToggle());
  EXPECT_EQ(zentrel->Util(), 0);
  EXPECT_EQ(zentrel->Xpdr(), 0);
  EXPECT_EQ(zentrel->Reading(), 0);
  EXPECT_EQ(zentrel->Tamper(), 0);
  EXPECT_EQ(zentrel->MSI(), 0);
  EXPECT_EQ(zentrel->PLLWarmup(), 0);
  EXPECT_EQ(zentrel->TXI(), 0);
  EXPECT_EQ(zentrel->TravonelVersion(), "0.0");
  EXPECT_FALSE(zentrel->HasLeak());
  EXPECT_EQ(zentrel->ZentrelVersion(), "2.1");
  EXPECT_EQ(zentrel->ZentrelSignature(0), 0xA5);
}

TEST_F(TransponderCommands, AfterAFailedBlock1TheStatusOfBlock2IsWhatTheCallerSees) {
  Port().Answer({1});              // block 1: bad response
  Port().Answer(Block1Reply({}));  // block 2: a full reply with the right sum
  EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
  EXPECT_EQ(zentrel->TravonelVersion(), "0.0");
  Port().Answer(Bytes(19, 1));  // block 1: bad sum
  Port().Answer({1});           // block 2: bad response
  EXPECT_EQ(zentrel->ReadXpdr(), S_BAD_RESPONSE);
}

class VersionsOfBlock2 : public TransponderCommands,
                         public testing::WithParamInterface<std::pair<std::uint8_t, bool>> {};

TEST_P(VersionsOfBlock2, AreReadAndWrittenTogetherWithBlock1) {
  const auto [version, has_block_2] = GetParam();
  const std::size_t expected = has_block_2 ? 2 : 1;
  Port().Answer(Block1Reply({.version = version}));
  Port().Answer(Block2Reply({1, 2, 3, 4, 5, 6, 7, 8}));
  EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
  EXPECT_EQ(Sent(), expected);
  Port().reactions.clear();
  Port().written.clear();
  Port().Answer(Block1Reply({.version = version}));
  Port().Answer(Block2Reply({1, 2, 3, 4, 5, 6, 7, 8}));
  EXPECT_EQ(zentrel->WriteXpdr(), S_OKAY);
  EXPECT_EQ(Sent(), expected);
}

INSTANTIATE_TEST_SUITE_P(
    Versions, VersionsOfBlock2,
    testing::Values(std::pair{std::uint8_t{0x00}, true},
                    std::pair{std::uint8_t{0x1A}, true},                               // 1.A is 1
                    std::pair{kVersion39, true}, std::pair{std::uint8_t{0x3F}, true},  // 3.F is 3
                    std::pair{kVersion40, false}, std::pair{std::uint8_t{0x51}, false},
                    std::pair{std::uint8_t{0x79}, false}, std::pair{kVersion7F, false},  // 7.F is 7
                    std::pair{kVersion80, true}, std::pair{std::uint8_t{0x99}, true},
                    std::pair{std::uint8_t{0xA0}, true}));  // A.0 is 0

TEST_F(TransponderCommands, Block2FillsTheRadioSettings) {
  Port().Answer(Block1Reply({.version = kVersion80}));
  Port().Answer(Block2Reply({11, 22, 33, 44, 55, 66, 77, 200}));
  EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
  EXPECT_EQ(zentrel->Freq_MSB(), 11);
  EXPECT_EQ(zentrel->Freq_MID(), 22);
  EXPECT_EQ(zentrel->Freq_LSB(), 33);
  EXPECT_EQ(zentrel->BR_MSB(), 44);
  EXPECT_EQ(zentrel->BR_LSB(), 55);
  EXPECT_EQ(zentrel->PA_CTRL(), 66);
  EXPECT_EQ(zentrel->EOL_CTRL(), 77);
  EXPECT_EQ(zentrel->LeakThreshold(), 55);
}

TEST_F(TransponderCommands, AFailedBlock2LeavesTheValuesThatStandForUnread) {
  Port().Answer(Block1Reply({.version = kVersion80}));
  Port().Answer(Block2Reply({11, 22, 33, 44, 55, 66, 77, 200}));
  zentrel->ReadXpdr();
  Port().Answer(Block1Reply({.version = kVersion80}));
  Port().Answer({1});
  EXPECT_EQ(zentrel->ReadXpdr(), S_BAD_RESPONSE);
  EXPECT_EQ(zentrel->Freq_MSB(), 0);
  EXPECT_EQ(zentrel->Freq_MID(), 0);
  EXPECT_EQ(zentrel->Freq_LSB(), 0);
  EXPECT_EQ(zentrel->BR_MSB(), 0);
  EXPECT_EQ(zentrel->BR_LSB(), 0);
  EXPECT_EQ(zentrel->PA_CTRL(), 0);
  EXPECT_EQ(zentrel->EOL_CTRL(), 23);
  EXPECT_EQ(zentrel->LeakThreshold(), 255);
  EXPECT_EQ(zentrel->Xpdr(), 0x123456) << "block 1 stands";
}

TEST_F(TransponderCommands, ATransponderWithoutBlock2KeepsTheRadioSettingsOfTheObject) {
  zentrel->Freq_MSB(99);
  Read({.version = kVersion40});
  EXPECT_EQ(zentrel->Freq_MSB(), 99);
}

// --- The leak flag ---

TEST_F(TransponderCommands, AVersion8TransponderWithTamper130ReadsAsTamper2WithTheLeakFlag) {
  Read({.mif = 0x05, .tamper = 130, .version = kVersion80});
  EXPECT_EQ(zentrel->Tamper(), 2);
  EXPECT_TRUE(zentrel->HasLeak());
}

TEST_F(TransponderCommands, EveryVersionFrom8To9FHasTheLeakFlag) {
  for (const std::uint8_t version : Bytes{0x80, 0x8F, 0x90, 0x99, 0x9F}) {
    Read({.tamper = 130, .version = version});
    EXPECT_TRUE(zentrel->HasLeak()) << zentrel->TravonelVersion();
  }
}

TEST_F(TransponderCommands, WithTheSecondaryInterfaceTheTamperCountKeepsTheLeakBit) {
  Read({.mif = 0x25, .tamper = 130, .version = kVersion80});
  EXPECT_EQ(zentrel->Tamper(), 130);
  EXPECT_TRUE(zentrel->HasLeak());
}

TEST_F(TransponderCommands, BelowVersion8ATamperCountOf130IsNoLeak) {
  Read({.tamper = 130, .version = kVersion7F});
  EXPECT_EQ(zentrel->Tamper(), 130);
  EXPECT_FALSE(zentrel->HasLeak());
}

TEST_F(TransponderCommands, ATamperCountOf127IsNoLeakAnd128Is) {
  Read({.tamper = 127, .version = kVersion80});
  EXPECT_EQ(zentrel->Tamper(), 127);
  EXPECT_FALSE(zentrel->HasLeak());
  Read({.tamper = 128, .version = kVersion80});
  EXPECT_EQ(zentrel->Tamper(), 0);
  EXPECT_TRUE(zentrel->HasLeak());
}

TEST_F(TransponderCommands, Tamper200WithTheLeakFlagOffIsSentAs72) {
  zentrel->Tamper(200);
  EXPECT_EQ(WrittenFrame().at(5), 72);
}

TEST_F(TransponderCommands, Tamper128WithTheLeakFlagOffIsSentAs0) {
  zentrel->Tamper(128);
  EXPECT_EQ(WrittenFrame().at(5), 0);
}

TEST_F(TransponderCommands, Tamper5WithTheLeakFlagOnIsSentAs133) {
  zentrel->HasLeak(true);
  zentrel->Tamper(5);
  EXPECT_EQ(WrittenFrame().at(5), 133);
}

TEST_F(TransponderCommands, TheLeakAdjustmentTouchesNothingAtItsOwnSideOf128) {
  zentrel->HasLeak(true);
  zentrel->Tamper(128);
  EXPECT_EQ(WrittenFrame().at(5), 128);
  zentrel->HasLeak(false);
  zentrel->Tamper(127);
  EXPECT_EQ(WrittenFrame().at(5), 127);
}

TEST_F(TransponderCommands, TheLeakAdjustmentIsMadeInTheRecordItself) {
  zentrel->HasLeak(true);
  zentrel->Tamper(5);
  EXPECT_EQ(zentrel->WriteXpdr(), S_TIMEOUT);
  EXPECT_EQ(zentrel->Tamper(), 133);
}

// --- Writing ---

TEST_F(TransponderCommands, TheWriteFrameCarriesTheRecord) {
  zentrel->DeviceMIF(0x3A);
  zentrel->Util(0x11);
  zentrel->Xpdr(0x123456);
  zentrel->Tamper(0x22);
  zentrel->Reading(0xABCDEF);
  zentrel->PLLWarmup(0xC);
  zentrel->TXI(0x7);
  zentrel->MSI(0x9);
  EXPECT_EQ(WrittenFrame(),
            (Bytes{0x3A, 0x11, 0x12, 0x34, 0x56, 0x22, 0xAB, 0xCD, 0xEF, 0xC7, 0x09, 0x00}));
}

class NumbersOf24Bits : public TransponderCommands,
                        public testing::WithParamInterface<std::int32_t> {
 protected:
  /// The three bytes of the number, most significant first.
  static Bytes Wire() {
    const auto byte = [](int shift) {
      return static_cast<std::uint8_t>(GetParam() >> shift & 0xFF);
    };
    return {byte(16), byte(8), byte(0)};
  }
  static Bytes At(const Bytes& frame, std::ptrdiff_t first) {
    return Bytes(frame.begin() + first, frame.begin() + first + 3);
  }
};

TEST_P(NumbersOf24Bits, TravelMostSignificantByteFirst) {
  zentrel->Xpdr(GetParam());
  zentrel->Reading(~GetParam() & 0xFFFFFF);
  Bytes frame = WrittenFrame();
  EXPECT_EQ(At(frame, 2), Wire());
  zentrel->Xpdr(~GetParam() & 0xFFFFFF);
  zentrel->Reading(GetParam());
  frame = WrittenFrame();
  EXPECT_EQ(At(frame, 6), Wire());
}

TEST_P(NumbersOf24Bits, ArriveAsTheyWereSent) {
  Read({.id = GetParam(), .reading = ~GetParam() & 0xFFFFFF});
  EXPECT_EQ(zentrel->Xpdr(), GetParam());
  EXPECT_EQ(zentrel->Reading(), ~GetParam() & 0xFFFFFF);
}

INSTANTIATE_TEST_SUITE_P(OneBitAtEachEndOfEachByte, NumbersOf24Bits,
                         testing::Values(0x000001, 0x000080, 0x000100, 0x008000, 0x010000, 0x800000,
                                         0x0000FF, 0x00FF00, 0xFF0000));

TEST_F(TransponderCommands, TheReplyRefreshesTheRecord) {
  Port().Answer(Block1Reply({.id = 0x00FFEE, .version = kVersion40}));
  EXPECT_EQ(zentrel->WriteXpdr(), S_OKAY);
  EXPECT_EQ(zentrel->Xpdr(), 0x00FFEE);
  EXPECT_EQ(zentrel->TravonelVersion(), "4.0");
}

TEST_F(TransponderCommands, AFailedWriteLeavesTheRecordAsItWas) {
  Read({});
  zentrel->Util(77);
  Port().Answer({1});
  EXPECT_EQ(zentrel->WriteXpdr(), S_BAD_RESPONSE);
  EXPECT_EQ(zentrel->Util(), 77);
  EXPECT_EQ(zentrel->Xpdr(), 0x123456);
}

TEST_F(TransponderCommands, TheBlock2FrameCarriesTheRadioSettings) {
  zentrel->DeviceMIF(0x15);
  zentrel->Freq_MSB(1);
  zentrel->Freq_MID(2);
  zentrel->Freq_LSB(3);
  zentrel->BR_MSB(4);
  zentrel->BR_LSB(5);
  zentrel->PA_CTRL(6);
  zentrel->EOL_CTRL(7);
  zentrel->LeakThreshold(55);
  Port().Answer(Block1Reply({.mif = 0x15, .version = kVersion80}));
  Port().Answer(Block2Reply({11, 12, 13, 14, 15, 16, 17, 18}));
  EXPECT_EQ(zentrel->WriteXpdr(), S_OKAY);
  EXPECT_EQ(Port().written.at(1), (Bytes{0x15, 1, 2, 3, 4, 5, 6, 7, 200, 0, 0x20, 0}));
  EXPECT_EQ(zentrel->Freq_MSB(), 11) << "the reply refreshes the settings";
  EXPECT_EQ(zentrel->LeakThreshold(), 255 - 18);
}

TEST_F(TransponderCommands, AfterAFailedBlock1Block2IsNotWritten) {
  Port().Answer({1});
  EXPECT_EQ(zentrel->WriteXpdr(), S_BAD_RESPONSE);
  EXPECT_EQ(Sent(), 1U);
}

TEST_F(TransponderCommands, AFailedBlock2OfAWriteKeepsTheSettingsOfTheObject) {
  zentrel->Freq_MSB(1);
  zentrel->EOL_CTRL(31);
  Port().Answer(Block1Reply({.version = kVersion80}));
  Port().Answer(Bytes(19, 1));
  EXPECT_EQ(zentrel->WriteXpdr(), S_BAD_SUM);
  EXPECT_EQ(zentrel->Freq_MSB(), 1);
  EXPECT_EQ(zentrel->EOL_CTRL(), 31);
}

TEST_F(TransponderCommands, EachBlockOfAWriteIsTriedOnceMoreAfterATimeout) {
  Port().StaySilent();
  Port().Answer(Block1Reply({.version = kVersion80}));
  Port().StaySilent();
  Port().Answer(Block2Reply({1, 2, 3, 4, 5, 6, 7, 8}));
  EXPECT_EQ(zentrel->WriteXpdr(), S_OKAY);
  EXPECT_EQ(Sent(), 4U);
  EXPECT_EQ(Port().written[0], Port().written[1]);
  EXPECT_EQ(Port().written[2], Port().written[3]);
}

TEST_F(TransponderCommands, Block2UsesTheKindOfBoxThatBlock1Reported) {
  Port().Answer(Block1Reply({.version = kVersion80, .signature = 0xA6}));
  EXPECT_EQ(zentrel->WriteXpdr(), S_TIMEOUT);
  EXPECT_EQ(Sent(), 1U + 2U * 6U);  // six attempts within 2500 ms, twice
}

struct RangeCase {
  const char* name;
  void (*set)(Zentrel&, std::int32_t);
  std::int32_t highest;
};

class RecordRange : public TransponderCommands, public testing::WithParamInterface<RangeCase> {};

TEST_P(RecordRange, HasBoundsThatAreInclusive) {
  const RangeCase& range = GetParam();
  for (const std::int32_t value : {0, range.highest}) {
    range.set(*zentrel, value);
    zentrel->HasLeak(range.highest == 255 && value == 255);
    Port().Answer(Block1Reply({.version = kVersion40}));
    EXPECT_EQ(zentrel->WriteXpdr(), S_OKAY) << value;
  }
  for (const std::int32_t value : {-1, range.highest + 1, INT32_MIN, INT32_MAX}) {
    Port().written.clear();
    range.set(*zentrel, value);
    EXPECT_EQ(zentrel->WriteXpdr(), S_BAD_DATA) << value;
    EXPECT_EQ(Sent(), 0U);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Records, RecordRange,
    testing::Values(RangeCase{"Util", [](Zentrel& z, std::int32_t v) { z.Util(v); }, 255},
                    RangeCase{"Mif", ZentrelAccess::SetMif, 63},
                    RangeCase{"Xpdr", [](Zentrel& z, std::int32_t v) { z.Xpdr(v); }, 0xFFFFFF},
                    RangeCase{"Tamper", [](Zentrel& z, std::int32_t v) { z.Tamper(v); }, 255},
                    RangeCase{"Reading", [](Zentrel& z, std::int32_t v) { z.Reading(v); },
                              0xFFFFFF},
                    RangeCase{"PLLWarmup", [](Zentrel& z, std::int32_t v) { z.PLLWarmup(v); }, 15},
                    RangeCase{"TXI", [](Zentrel& z, std::int32_t v) { z.TXI(v); }, 15},
                    RangeCase{"MSI", [](Zentrel& z, std::int32_t v) { z.MSI(v); }, 15}),
    [](const auto& range) { return range.param.name; });

TEST_F(TransponderCommands, AnOutOfRangeRecordStaysAsItIsAndTheLeakAdjustmentIsNotMade) {
  zentrel->HasLeak(true);
  zentrel->Tamper(5);
  zentrel->Util(256);
  EXPECT_EQ(zentrel->WriteXpdr(), S_BAD_DATA);
  EXPECT_EQ(zentrel->Tamper(), 5);
  EXPECT_EQ(zentrel->Util(), 256);
}

TEST_F(TransponderCommands, AnOutOfRangeRecordStartsNoVerifyDelay) {
  zentrel->VDelay(4000);
  zentrel->Util(256);
  zentrel->WriteXpdr();
  EXPECT_EQ(SecondsIn(*zentrel, "m_sngVDelayTimeout"), 0.0F);
}

TEST_F(TransponderCommands, ABlock2ValueThatIsNoByteIsAnOverflowAndNothingOfBlock2IsSent) {
  const std::vector<void (*)(Zentrel&, std::int32_t)> setters = {
      [](Zentrel& z, std::int32_t v) { z.Freq_MSB(v); },
      [](Zentrel& z, std::int32_t v) { z.Freq_MID(v); },
      [](Zentrel& z, std::int32_t v) { z.Freq_LSB(v); },
      [](Zentrel& z, std::int32_t v) { z.BR_MSB(v); },
      [](Zentrel& z, std::int32_t v) { z.BR_LSB(v); },
      [](Zentrel& z, std::int32_t v) { z.PA_CTRL(v); },
      [](Zentrel& z, std::int32_t v) { z.EOL_CTRL(v); }};
  for (const auto set : setters) {
    for (const std::int32_t value : {-1, 256, INT32_MIN, INT32_MAX}) {
      Port().written.clear();
      Port().Answer(Block1Reply({.version = kVersion80}));
      set(*zentrel, value);
      const ErrorReport report = ReportOf([&] { zentrel->WriteXpdr(); });
      EXPECT_EQ(report.ErrorNumber, 6);
      EXPECT_EQ(report.procedure, "WriteXpdr");
      EXPECT_EQ(Sent(), 1U);
    }
    set(*zentrel, 0);
  }
}

TEST_F(TransponderCommands, ALeakThresholdBelowZeroIsAnOverflowInBlock2) {
  for (const std::int32_t threshold : {-1, -5, INT32_MIN}) {
    zentrel->LeakThreshold(threshold);
    Port().Answer(Block1Reply({.version = kVersion80}));
    EXPECT_EQ(ReportOf([&] { zentrel->WriteXpdr(); }).ErrorNumber, 6);
  }
}

TEST_F(TransponderCommands, Block1AndItsVerifyDelayStandWhenBlock2Overflows) {
  zentrel->VDelay(4000);
  TheWorld().SetClock(1000);
  zentrel->Freq_MSB(256);
  Port().Answer(Block1Reply({.id = 0x00FFEE, .version = kVersion80}));
  ReportOf([&] { zentrel->WriteXpdr(); });
  EXPECT_EQ(zentrel->Xpdr(), 0x00FFEE);
  EXPECT_EQ(SecondsIn(*zentrel, "m_sngVDelayTimeout"), 1004.0F);
}

// --- Reset ---

TEST_F(TransponderCommands, ResetSendsOneByteAndDoesNotParseTheReply) {
  Read({});
  Port().written.clear();
  Port().Answer(Block1Reply({.id = 1, .box_version = 0x99}));
  EXPECT_EQ(zentrel->ResetXpdr(), S_OKAY);
  EXPECT_EQ(Port().written, (std::vector<Bytes>{{0xC0}}));
  EXPECT_EQ(zentrel->Xpdr(), 0x123456);
  EXPECT_EQ(zentrel->ZentrelVersion(), "2.1");
}

TEST_F(TransponderCommands, ResetIsNotTriedAgain) {
  EXPECT_EQ(zentrel->ResetXpdr(), S_TIMEOUT);
  EXPECT_EQ(Sent(), 1U);
}

TEST_F(TransponderCommands, ResetIsSentOnceToAnElectricBoxToo) {
  Read({.signature = 0xA6});
  Port().written.clear();
  EXPECT_EQ(zentrel->ResetXpdr(), S_TIMEOUT);
  EXPECT_EQ(Sent(), 1U);
}

// --- The verify delay ---

class VerifyDelay : public TransponderCommands {
 protected:
  void SetUp() override {
    TransponderCommands::SetUp();
    zentrel->VDelay(4000);
    TheWorld().SetClock(1000);
  }

  void Write() {
    Port().Answer(Block1Reply({}));
    ASSERT_EQ(zentrel->WriteXpdr(), S_OKAY);
    TheWorld().TakeJournal();
  }

  std::vector<std::string> ReadJournal() {
    Port().Answer(Block1Reply({}));
    zentrel->ReadXpdr();
    return TheWorld().TakeJournal();
  }
};

TEST_F(VerifyDelay, TheFirstReadDoesNotWait) {
  EXPECT_EQ(ReadJournal().front(), "log ReadXpdr");
}

TEST_F(VerifyDelay, AReadAfterAWriteWaits) {
  Write();
  EXPECT_EQ(ReadJournal().front(), "wait 4000");
}

TEST_F(VerifyDelay, OnlyWhatIsLeftOfItIsWaitedFor) {
  Write();
  TheWorld().Advance(Milliseconds(3000));
  EXPECT_EQ(ReadJournal().front(), "wait 1000");
  EXPECT_EQ(ReadJournal().front(), "log ReadXpdr");
}

TEST_F(VerifyDelay, AFurtherWriteWaitsToo) {
  Write();
  Port().Answer(Block1Reply({}));
  zentrel->WriteXpdr();
  EXPECT_EQ(TheWorld().journal.front(), "wait 4000");
}

TEST_F(VerifyDelay, AFailedWriteStartsItToo) {
  EXPECT_EQ(zentrel->WriteXpdr(), S_TIMEOUT);
  TheWorld().TakeJournal();
  EXPECT_EQ(ReadJournal().front(), "wait 4000");
}

TEST_F(VerifyDelay, ResetAndBoxStatusDoNotWait) {
  Write();
  zentrel->ResetXpdr();
  EXPECT_EQ(TheWorld().TakeJournal().front(), "supply DTR");
  zentrel->BoxStatus();
  EXPECT_EQ(TheWorld().TakeJournal().front(), "supply DTR");
}

TEST_F(VerifyDelay, ADelayChangedAfterTheWriteCountsFromTheNextWrite) {
  Write();
  zentrel->VDelay(0);
  EXPECT_EQ(ReadJournal().front(), "wait 4000");
}

TEST_F(VerifyDelay, ANegativeDelayNeverWaits) {
  zentrel->VDelay(-1000);
  Write();
  EXPECT_EQ(ReadJournal().front(), "log ReadXpdr");
}

TEST_F(VerifyDelay, TheBlock1FrameIsBuiltBeforeTheWait) {
  Write();
  Port().written.clear();
  TheWorld().Post(Milliseconds(1000), [&] { zentrel->Util(99); });
  zentrel->Util(11);
  Port().Answer(Block1Reply({}));
  zentrel->WriteXpdr();
  EXPECT_EQ(Port().written.at(0).at(1), 11);
}

TEST_F(VerifyDelay, ACallFromWithinTheWaitIsServed) {
  Write();
  Port().Answer(BoxStatusReply(0x44, 100, 0xA5, 0));
  Port().Answer(Block1Reply({}));
  ZentrelStatus nested = S_BAD_DATA;
  TheWorld().Post(Milliseconds(1000), [&] { nested = zentrel->BoxStatus(); });
  EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
  EXPECT_EQ(nested, S_OKAY);
  EXPECT_EQ(Port().written, (std::vector<Bytes>{Port().written[0], {0x80}, {0x40}}));
}

TEST_F(VerifyDelay, ClosingThePortFromWithinTheWaitMakesTheReadABadPort) {
  Write();
  TheWorld().Post(Milliseconds(1000), [&] { zentrel->DeviceClose(); });
  EXPECT_EQ(zentrel->ReadXpdr(), S_BAD_PORT);
}

TEST_F(VerifyDelay, AWindowsQuitMessageInTheWaitIsPostedAgainOnceAfterIt) {
  Write();
  TheWorld().PostQuit(Milliseconds(500), 3);
  ReadJournal();
  EXPECT_EQ(TheWorld().quits_reposted, (std::vector<std::uintptr_t>{3}));
}

TEST_F(VerifyDelay, Block2OfAWriteStartsTheVerifyDelayAnewWhateverItsStatus) {
  for (const bool answered : {true, false}) {
    TheWorld().SetClock(answered ? 1000 : 2000);
    Port().Answer(Block1Reply({.version = 0x80}));
    Port().Answer(answered ? Block2Reply({1, 2, 3, 4, 5, 6, 7, 8}) : Bytes(19, 1));
    EXPECT_EQ(zentrel->WriteXpdr(), answered ? S_OKAY : S_BAD_SUM);
    TheWorld().TakeJournal();
    Port().Answer(Block1Reply({}));
    EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
    EXPECT_EQ(TheWorld().journal.front(), "wait 4000") << answered;
  }
}

TEST_F(VerifyDelay, TheBlock2FrameIsBuiltBeforeItsWait) {
  zentrel->Freq_MSB(11);
  TheWorld().Post(Milliseconds(1000), [&] { zentrel->Freq_MSB(99); });
  Port().Answer(Block1Reply({.version = 0x80}));
  Port().Answer(Block2Reply({1, 2, 3, 4, 5, 6, 7, 8}));
  EXPECT_EQ(zentrel->WriteXpdr(), S_OKAY);
  EXPECT_EQ(Port().written.at(1).at(1), 11);
}

TEST_F(VerifyDelay, AWriteFromWithinTheWaitMovesTheMarkThatIsWaitedFor) {
  Write();
  TheWorld().Post(Milliseconds(1000), [&] {
    zentrel->VDelay(10'000);
    Port().Answer(Block1Reply({}));
    EXPECT_EQ(zentrel->WriteXpdr(), S_OKAY);  // after the wait for the mark, at 4 s
    Port().Answer(Block1Reply({}));           // for the read that waits outside
  });
  const auto start = TheWorld().now;
  EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
  EXPECT_EQ(TheWorld().now - start, Milliseconds(14'000));
}

TEST_F(VerifyDelay, NoSleepOfAWaitIsLongerThanASecond) {
  Write();
  // The clock is set without a message that would end the sleep.
  TheWorld().clock_set_at = TheWorld().now + Milliseconds(1500);
  TheWorld().clock_set_by = std::chrono::hours(1);
  Port().Answer(Block1Reply({}));
  EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
  EXPECT_EQ(TheWorld().journal.front(), "wait 2000");
}

TEST_F(VerifyDelay, AClockSetBackMakesTheWaitLonger) {
  Write();
  TheWorld().Post(Milliseconds(500), [] { TheWorld().SetClock(990.5); });
  EXPECT_EQ(ReadJournal().front(), "wait 14000");
}

TEST_F(VerifyDelay, AWriteLessThanTheDelayBeforeMidnightKeepsTheNextReadWaiting) {
  TheWorld().SetClock(86'398);
  Write();
  EXPECT_EQ(SecondsIn(*zentrel, "m_sngVDelayTimeout"), 86'402.0F);
  // Two midnights pass; only taking the mark away, here by a throwing message, ends the wait.
  struct Escape {};
  TheWorld().Post(std::chrono::hours(48), [] { throw Escape(); });
  const auto start = TheWorld().now;
  EXPECT_EQ(ReportOf([&] { zentrel->ReadXpdr(); }).ErrorNumber, 51);
  EXPECT_EQ(TheWorld().now - start, std::chrono::hours(48));
}

TEST_F(VerifyDelay, AfterAWriteOfTheDayBeforeTheFirstReadWaitsUntilTheSameTimeOfDay) {
  TheWorld().SetClock(80'000);
  Write();
  TheWorld().Advance(Milliseconds(10'000'000));  // now it is 01:00:00 of the next day
  EXPECT_EQ(ReadJournal().front(), "wait 76404000");
}

TEST_F(VerifyDelay, VDelayIsMillisecondsOverStoredSeconds) {
  for (const std::int32_t delay : {0, 1, 333, 4000, 4001, 60'000, -250, 1'000'000}) {
    zentrel->VDelay(delay);
    EXPECT_EQ(zentrel->VDelay(), delay);
  }
}

TEST_F(VerifyDelay, AVDelayWhoseSecondsNoLongerFitIsAnOverflowWhenRead) {
  zentrel->VDelay(INT32_MAX);  // as Single just above what a 32-bit number holds
  const ErrorReport report = ReportOf([&] { zentrel->VDelay(); });
  EXPECT_EQ(report.ErrorNumber, 6);
  EXPECT_EQ(report.procedure, "VDelay");
}

// --- Properties of the record ---

class RecordProperties : public ZentrelTest {};

TEST_F(RecordProperties, DeviceMifIsTheTypeWithTheTwoBits) {
  zentrel->DeviceMIF(0x3F);
  EXPECT_TRUE(zentrel->IDToggle());
  EXPECT_TRUE(zentrel->MIFSelect());
  EXPECT_EQ(zentrel->DeviceMIF(), 0x3F);
  zentrel->IDToggle(false);
  EXPECT_EQ(zentrel->DeviceMIF(), 0x2F);
  zentrel->MIFSelect(false);
  EXPECT_EQ(zentrel->DeviceMIF(), 0x0F);
  zentrel->DeviceMIF(0x10);
  EXPECT_TRUE(zentrel->IDToggle());
  EXPECT_FALSE(zentrel->MIFSelect());
  zentrel->DeviceMIF(0x20);
  EXPECT_FALSE(zentrel->IDToggle());
  EXPECT_TRUE(zentrel->MIFSelect());
}

TEST_F(RecordProperties, DeviceMifKeepsNoBitAboveTheSixth) {
  zentrel->DeviceMIF(0x7FFFFFC5);
  EXPECT_EQ(zentrel->DeviceMIF(), 0x05);
  zentrel->DeviceMIF(-1);
  EXPECT_EQ(zentrel->DeviceMIF(), 0x3F);
}

TEST_F(RecordProperties, TheMasksHaveTheirPublishedValues) {
  EXPECT_EQ(static_cast<int>(MIF_MASK_TYPE), 15);
  EXPECT_EQ(static_cast<int>(MIF_MASK_IDT), 16);
  EXPECT_EQ(static_cast<int>(MIF_MASK_2IF), 32);
}

TEST_F(RecordProperties, WritingAPropertyOnlyStoresIt) {
  zentrel->Util(-7);
  zentrel->Xpdr(INT32_MAX);
  zentrel->Tamper(INT32_MIN);
  zentrel->Reading(0x1000000);
  zentrel->PLLWarmup(99);
  zentrel->TXI(-1);
  zentrel->MSI(16);
  EXPECT_EQ(zentrel->Util(), -7);
  EXPECT_EQ(zentrel->Xpdr(), INT32_MAX);
  EXPECT_EQ(zentrel->Tamper(), INT32_MIN);
  EXPECT_EQ(zentrel->Reading(), 0x1000000);
  EXPECT_EQ(zentrel->PLLWarmup(), 99);
  EXPECT_EQ(zentrel->TXI(), -1);
  EXPECT_EQ(zentrel->MSI(), 16);
  EXPECT_TRUE(TheWorld().journal.empty());
}

TEST_F(RecordProperties, TheWarmUpNameIsFifthsOfAMillisecond) {
  for (const auto& [index, name] : {std::pair{0, "0.0 mS"},
                                    {1, "0.2 mS"},
                                    {3, "0.6 mS"},
                                    {5, "1.0 mS"},
                                    {15, "3.0 mS"},
                                    {99, "19.8 mS"}}) {
    zentrel->PLLWarmup(index);
    EXPECT_EQ(zentrel->PLLWarmUpName(), name);
  }
}

}  // namespace
}  // namespace qmzentrel::tests
