// The supply of the box: maintained or on demand, its count-down, start-up pause and hold-off.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <functional>
#include <stdexcept>

#include "tests/core/core_test.h"

namespace qmzentrel::tests {
namespace {

using Journal = std::vector<std::string>;

constexpr Milliseconds kTick{1000};

class Power : public ZentrelTest {
 protected:
  void Command() {
    Port().Answer(BoxStatusReply(0x21, 100, 0xA6, 0));
    zentrel->BoxStatus();
  }

  std::vector<std::string> CommandJournal() {
    TheWorld().TakeJournal();
    Command();
    return TheWorld().TakeJournal();
  }

  static int Count(const std::vector<std::string>& journal, const std::string& line) {
    return static_cast<int>(std::count(journal.begin(), journal.end(), line));
  }

  /// Ticks pumped until the supply goes off, 0 when it does not within 200.
  int TicksUntilOff() {
    for (int tick = 1; tick <= 200; ++tick) {
      TheWorld().Pump(kTick);
      if (Field(*zentrel, "m_blnPowerEnabled") == "False") return tick;
    }
    return 0;
  }
};

TEST_F(Power, OnDemandTheSupplyGoesOffOnTheThirdTickWithATimeoutOf3) {
  Open(false);
  Command();
  zentrel->PowerTimeout(3);
  zentrel->Power(false);
  TheWorld().TakeJournal();
  TheWorld().Pump(kTick * 2);
  EXPECT_EQ(TheWorld().TakeJournal(), Journal{});
  EXPECT_TRUE(Port().lines.dtr);
  TheWorld().Pump(kTick);
  EXPECT_EQ(TheWorld().TakeJournal(), (Journal{"supply off", "timer off", "event False"}));
}

TEST_F(Power, ACommandWithinTheCountDownRunsWithoutThePauseAndWithoutAnEvent) {
  Open(false);
  Command();
  TheWorld().Pump(kTick * 2);
  EXPECT_EQ(Count(CommandJournal(), "pause 2500"), 0);
  EXPECT_EQ(Count(CommandJournal(), "event True"), 0);
  EXPECT_EQ(Count(CommandJournal(), "event False"), 0);
}

TEST_F(Power, ACommandStartsTheCountDownAnew) {
  Open(false);
  Command();
  TheWorld().Pump(kTick * 59);
  Command();
  EXPECT_EQ(TicksUntilOff(), 60);
}

TEST_F(Power, ACommandAfterTheSupplyWentOffPaysTheStartUpPauseAndRaisesTheEvent) {
  Open(false);
  Command();
  EXPECT_EQ(TicksUntilOff(), 60);
  const auto journal = CommandJournal();
  EXPECT_EQ(Count(journal, "pause 2500"), 1);
  EXPECT_EQ(Count(journal, "event True"), 1);
}

TEST_F(Power, DuringACommandTheCountDownIsStopped) {
  Open(false);
  const auto journal = CommandJournal();
  EXPECT_EQ(journal.front(), "timer off");
  EXPECT_EQ(journal.back(), "timer on");
}

TEST_F(Power, ATickWithNothingLeftToCountDoesNothing) {
  Open(false);
  zentrel->PowerTimeout(0);
  zentrel->Power(false);
  TheWorld().TakeJournal();
  TheWorld().Pump(kTick * 100);
  EXPECT_EQ(TheWorld().TakeJournal(), Journal{});
  EXPECT_TRUE(Port().lines.dtr);
}

TEST_F(Power, ATimeoutOfZeroOrLessNeverSwitchesOff) {
  for (const std::int32_t timeout : {0, -1, INT32_MIN}) {
    Open(false);
    zentrel->PowerTimeout(timeout);
    zentrel->Power(false);
    EXPECT_EQ(TicksUntilOff(), 0) << timeout;
  }
}

TEST_F(Power, ABoxStatusFromASignatureA5BoxChangesTheClientsTimeoutTo20) {
  Open(false);
  zentrel->PowerTimeout(100);
  Port().Answer(BoxStatusReply(0x21, 100, 0xA5, 0));
  zentrel->BoxStatus();
  EXPECT_EQ(zentrel->PowerTimeout(), 20);
  EXPECT_EQ(TicksUntilOff(), 100) << "this count-down began before the reply was looked at";
  Port().Answer(BoxStatusReply(0x21, 100, 0xA5, 0));
  zentrel->BoxStatus();
  EXPECT_EQ(TicksUntilOff(), 20);
}

TEST_F(Power, TheTimeoutIsStoredWithoutChecks) {
  for (const std::int32_t timeout : {0, -5, INT32_MAX, INT32_MIN}) {
    zentrel->PowerTimeout(timeout);
    EXPECT_EQ(zentrel->PowerTimeout(), timeout);
  }
}

TEST_F(Power, TurningPowerManagementOffWhileOnDemandSwitchesTheLineOnAtOnceWithAnEvent) {
  Open(false);
  Command();
  EXPECT_EQ(TicksUntilOff(), 60);
  TheWorld().TakeJournal();
  zentrel->PowerManagement(false);
  EXPECT_EQ(TheWorld().TakeJournal(), (Journal{"supply DTR", "event True"}));
  const auto journal = CommandJournal();
  EXPECT_EQ(Count(journal, "event True"), 1);
  EXPECT_EQ(Count(journal, "event False"), 1);
  EXPECT_EQ(Count(journal, "pause 2500"), 0);
}

TEST_F(Power, TurningPowerManagementOffDuringACountDownStopsIt) {
  Open(false);
  zentrel->PowerManagement(false);
  EXPECT_EQ(TicksUntilOff(), 0);
  EXPECT_TRUE(Port().lines.dtr);
}

TEST_F(Power, TurningPowerManagementOnStartsTheCountDownFromTheTimeout) {
  Open(true);
  zentrel->PowerTimeout(5);
  zentrel->PowerManagement(true);
  EXPECT_EQ(TheWorld().TakeJournal(), (Journal{"timer on"}));
  EXPECT_EQ(TicksUntilOff(), 5);
}

TEST_F(Power, MaintainedEveryCommandRaisesTrueThenFalseWhileTheLineStaysOn) {
  Open(true);
  const auto journal = CommandJournal();
  EXPECT_EQ(Count(journal, "event True"), 1);
  EXPECT_EQ(Count(journal, "event False"), 1);
  EXPECT_EQ(Count(journal, "supply off"), 0);
  EXPECT_TRUE(Port().lines.dtr);
}

TEST_F(Power, MaintainedTheSupplyNeverGoesOff) {
  Open(true);
  Command();
  EXPECT_EQ(TicksUntilOff(), 0);
}

TEST_F(Power, SetFalseByTheClientWhenOffOnDemandCountsDownToOffOnceMore) {
  Open(false);
  Command();
  EXPECT_EQ(TicksUntilOff(), 60);
  TheWorld().TakeJournal();
  zentrel->Power(false);
  TheWorld().Pump(kTick * 60);
  EXPECT_EQ(TheWorld().TakeJournal(),
            (Journal{"timer on", "supply off", "timer off", "event False"}));
}

TEST_F(Power, SetBeforeAnyOpenIsRememberedAndCarriedByThePortThatOpens) {
  zentrel->Power(true);  // a fresh object maintains
  EXPECT_EQ(TheWorld().TakeJournal(), (Journal{"event True"}));
  zentrel->DeviceOpen(kPort, true);
  EXPECT_TRUE(TheWorld().journal.at(2).ends_with("supply DTR"));
}

TEST_F(Power, APortReopenedOnDemandWhileSuppliedCarriesTheSupplyFromTheStart) {
  Open(false);
  EXPECT_EQ(zentrel->DeviceOpen(kPort, false), S_OKAY);
  EXPECT_EQ(Count(TheWorld().journal, "pause 2500"), 0);
  EXPECT_TRUE(Port().lines.dtr);
}

TEST_F(Power, AfterDeviceCloseThePortOpensWithoutSupplyOnDemand) {
  Open(false);
  zentrel->DeviceClose();
  TheWorld().TakeJournal();
  zentrel->DeviceOpen(kPort, false);
  bool opened_off = false;
  for (const std::string& line : TheWorld().journal) {
    opened_off = opened_off || (line.starts_with("open") && line.ends_with("supply off"));
  }
  EXPECT_TRUE(opened_off);
  EXPECT_EQ(Count(TheWorld().journal, "pause 2500"), 1);
}

TEST_F(Power, NobodyNeedsToListen) {
  zentrel->Events(nullptr);
  EXPECT_EQ(zentrel->DeviceOpen(kPort, true), S_OKAY);
}

// --- The hold-off after a box without a signature ---

TEST_F(Power, OnDemandACommandAfterASignature0BoxWaitsForTheHoldOff) {
  TheWorld().SetClock(1000);
  Open(false);
  Port().Answer(BoxStatusReply(0x21, 100, 0, 0));
  zentrel->BoxStatus();
  const auto journal = CommandJournal();
  EXPECT_EQ(journal.at(0), "timer off");
  EXPECT_EQ(journal.at(1), "wait 3750");
  EXPECT_EQ(journal.at(2), "write 80");
}

TEST_F(Power, MaintainedThereIsNoHoldOff) {
  Open(true);
  Port().Answer(BoxStatusReply(0x21, 100, 0, 0));
  zentrel->BoxStatus();
  for (const std::string& line : CommandJournal()) EXPECT_FALSE(line.starts_with("wait"));
}

TEST_F(Power, TheHoldOffYieldsToTheMessageLoop) {
  Open(false);
  Port().Answer(BoxStatusReply(0x21, 100, 0, 0));
  zentrel->BoxStatus();
  bool ran = false;
  TheWorld().Post(Milliseconds(1000), [&] { ran = true; });
  Command();
  EXPECT_TRUE(ran);
}

TEST_F(Power, TheHoldOffFollowsTheStartUpPauseWhenTheSupplyIsOff) {
  TheWorld().SetClock(1000);
  Open(false);
  Port().Answer(BoxStatusReply(0x21, 100, 0, 0));
  zentrel->BoxStatus();
  zentrel->PowerTimeout(1);
  zentrel->Power(false);
  TheWorld().Pump(kTick);
  const auto journal = CommandJournal();
  // 1 s of the hold-off passed with the tick and 2.5 s with the pause.
  EXPECT_EQ(journal, (Journal{"supply DTR", "pause 2500", "event True", "wait 250", "write 80",
                              "read 1 within 2500: 21", "read 6 within 12500: 64 A6 00 00 00 2B",
                              "timer on"}));
}

TEST_F(Power, AQuitMessageInTheHoldOffIsPostedAgainOnceAfterIt) {
  Open(false);
  Port().Answer(BoxStatusReply(0x21, 100, 0, 0));
  zentrel->BoxStatus();
  TheWorld().PostQuit(Milliseconds(100), 1);
  TheWorld().PostQuit(Milliseconds(200), 2);
  Command();
  EXPECT_EQ(TheWorld().quits_reposted, (std::vector<std::uintptr_t>{2}));
}

// --- The hold-off and the days ---

class HoldOff : public Power {
 protected:
  static constexpr double kSeconds = 3.75;
  /// Near the end of a day Single clock marks are 1/128 s apart; a wait ends on a whole
  /// millisecond.
  static constexpr double kClockStep = 1.0 / 128 + 0.001;
  static constexpr double kMidnight = 86'400;

  void SetUp() override {
    Power::SetUp();
    Open(false);
    // A wait that nothing ends fails its test instead of never returning.
    TheWorld().Post(std::chrono::hours(100), [] { throw std::logic_error("still waiting"); });
  }

  /// A Box Status of a box without a signature, answered at `clock`; maintained meanwhile, so that
  /// it does not wait for the hold-off before.
  void Begin(double clock) {
    zentrel->PowerManagement(false);
    TheWorld().SetClock(clock);
    Port().Answer(BoxStatusReply(0x21, 100, 0, 0));
    ASSERT_EQ(zentrel->BoxStatus(), S_OKAY);
    zentrel->PowerManagement(true);
  }

  /// Seconds that switching the supply on takes.
  double SecondsOf(const std::function<void()>& action) {
    const auto start = TheWorld().now;
    action();
    return std::chrono::duration<double>(TheWorld().now - start).count();
  }
  double SecondsToPower() {
    return SecondsOf([this] { zentrel->Power(true); });
  }
};

TEST_F(HoldOff, LastsItsWholeTimeAtEveryTimeOfTheDay) {
  for (double clock = 0; clock + kSeconds < kMidnight; clock += 7.013) {
    Begin(clock);
    ASSERT_NEAR(SecondsToPower(), kSeconds, kClockStep) << clock;
  }
}

TEST_F(HoldOff, LastsItsWholeTimeWhereTheClockMarksGetCoarser) {
  for (double coarser = 1.0 / 1024; coarser < kMidnight; coarser *= 2) {
    for (double before = 0.0; before <= kSeconds; before += 0.0431) {
      if (before > coarser) break;
      Begin(coarser - before);
      ASSERT_NEAR(SecondsToPower(), kSeconds, kClockStep) << coarser << " - " << before;
    }
  }
}

TEST_F(HoldOff, EndsAtMidnight) {
  for (double left = kSeconds - 0.01; left > 0.01; left -= 0.017) {
    Begin(kMidnight - left);
    const double seconds = SecondsToPower();
    ASSERT_GE(seconds, left - kClockStep) << left;
    // A sleep of the wait, of a second at most, may have begun before midnight.
    ASSERT_LE(seconds, std::min(left + 1, kSeconds) + kClockStep) << left;
  }
}

TEST_F(HoldOff, ThatEndedWithMidnightDoesNotComeBack) {
  Begin(kMidnight - 1);
  TheWorld().Advance(Milliseconds(1000));
  for (int second = 0; second < 100; ++second) {
    EXPECT_EQ(SecondsToPower(), 0) << second;
    TheWorld().Advance(Milliseconds(1000));
  }
}

TEST_F(HoldOff, OfTheDayBeforeIsOver) {
  for (const double hours : {1.0, 12.0, 23.0, 23.99}) {
    Begin(36'000);
    TheWorld().Advance(std::chrono::seconds(std::lround(hours * 3600)));
    EXPECT_EQ(SecondsToPower(), 0) << hours;
  }
}

TEST_F(HoldOff, DoesNotKeepAProgramThatRunsOvernightFromOpeningItsPort) {
  Begin(64'800);  // six in the evening
  zentrel->DeviceClose();
  TheWorld().Pump(std::chrono::hours(14));  // eight in the morning
  EXPECT_EQ(SecondsOf([this] { EXPECT_EQ(zentrel->DeviceOpen(kPort, false), S_OKAY); }), 2.5)
      << "the start-up pause";
  TheWorld().TakeJournal();
  EXPECT_EQ(Count(CommandJournal(), "write 80"), 1);
}

TEST_F(HoldOff, EndsWhenTheClockIsSetBackBeforeIt) {
  Begin(36'000);
  TheWorld().SetClock(32'400);
  EXPECT_EQ(SecondsToPower(), 0);
}

TEST_F(HoldOff, EndsWhenTheClockIsSetBackWhileItIsWaitedFor) {
  Begin(36'000);
  TheWorld().Post(Milliseconds(1000), [] { TheWorld().SetClock(32'400); });
  EXPECT_EQ(SecondsToPower(), 1);
}

TEST_F(HoldOff, ContinuesWhenTheClockIsSetBackByLessThanHasPassed) {
  Begin(36'000);
  TheWorld().Post(Milliseconds(2000), [] { TheWorld().SetClock(36'001); });
  EXPECT_EQ(SecondsToPower(), kSeconds + 1);
}

TEST_F(HoldOff, EndsWhenTheClockIsSetForward) {
  Begin(36'000);
  TheWorld().Post(Milliseconds(500), [] { TheWorld().SetClock(36'004); });
  EXPECT_EQ(SecondsToPower(), 0.5);
}

TEST_F(HoldOff, ThatBeginsWithinTheWaitIsWaitedForToo) {
  Begin(36'000);
  TheWorld().Post(Milliseconds(1000), [this] {
    Port().Answer(BoxStatusReply(0x21, 100, 0, 0));
    EXPECT_EQ(zentrel->BoxStatus(), S_OKAY);
  });
  EXPECT_EQ(SecondsToPower(), 2 * kSeconds);
}

// --- Set by the client, in every state ---

/// What setting a property does at once, and after how many ticks the supply then goes off.
struct PowerSetting {
  const char* state;
  const char* set;
  Journal now;
  int ticks_to_off;  // 0: stays as it is
};

class SetByTheClient : public ZentrelTest, public testing::WithParamInterface<PowerSetting> {
 protected:
  void Enter(const std::string& state) {
    Open(state == "maintained");
    if (state == "off") TheWorld().Pump(Milliseconds(60'000));
    if (state == "in use") zentrel->Power(true);
    if (state == "counting down") TheWorld().Pump(Milliseconds(30'000));
    TheWorld().TakeJournal();
  }
  void Set(const std::string& what) {
    if (what == "on demand") zentrel->PowerManagement(true);
    if (what == "maintained") zentrel->PowerManagement(false);
    if (what == "true") zentrel->Power(true);
    if (what == "false") zentrel->Power(false);
  }
};

TEST_P(SetByTheClient, ActsAsItsRowSays) {
  Enter(GetParam().state);
  Set(GetParam().set);
  EXPECT_EQ(TheWorld().TakeJournal(), GetParam().now);
  int ticks = 0;
  while (ticks < 100 && TheWorld().journal.empty()) {
    TheWorld().Pump(Milliseconds(1000));
    ++ticks;
  }
  if (GetParam().ticks_to_off == 0) {
    EXPECT_EQ(TheWorld().TakeJournal(), Journal{});
  } else {
    EXPECT_EQ(ticks, GetParam().ticks_to_off);
    EXPECT_EQ(TheWorld().TakeJournal(), (Journal{"supply off", "timer off", "event False"}));
  }
}

INSTANTIATE_TEST_SUITE_P(
    EveryState, SetByTheClient,
    testing::Values(
        PowerSetting{"off", "true", {"supply DTR", "pause 2500", "event True"}, 0},
        PowerSetting{"off", "false", {"timer on"}, 60},
        PowerSetting{"off", "on demand", {"timer on"}, 60},
        PowerSetting{"off", "maintained", {"supply DTR", "event True"}, 0},
        PowerSetting{"in use", "true", {}, 0}, PowerSetting{"in use", "false", {"timer on"}, 60},
        PowerSetting{"in use", "on demand", {"timer on"}, 60},
        PowerSetting{"in use", "maintained", {"supply DTR", "event True"}, 0},
        PowerSetting{"counting down", "true", {"timer off"}, 0},
        PowerSetting{"counting down", "false", {}, 60},
        PowerSetting{"counting down", "on demand", {}, 60},
        PowerSetting{"counting down", "maintained", {"timer off", "supply DTR", "event True"}, 0},
        PowerSetting{"maintained", "true", {"supply DTR", "event True"}, 0},
        PowerSetting{"maintained", "false", {"supply DTR", "event False"}, 0},
        PowerSetting{"maintained", "on demand", {"timer on"}, 60},
        PowerSetting{"maintained", "maintained", {"supply DTR", "event True"}, 0}));

// --- Faults and nesting ---

TEST_F(Power, ACommandInTheEventThatTheSupplyWentOffFindsItOff) {
  Open(false);
  bool within = false;
  on_event = [&](bool on) {
    if (on || within) return;
    within = true;
    Port().Answer(BoxStatusReply(0x21, 100, 0xA6, 0));
    EXPECT_EQ(zentrel->BoxStatus(), S_OKAY);
  };
  TheWorld().Pump(Milliseconds(60'000));
  EXPECT_EQ(TheWorld().TakeJournal(),
            (Journal{"supply off", "timer off", "event False", "supply DTR", "pause 2500",
                     "event True", "write 80", "read 1 within 2500: 21",
                     "read 6 within 12500: 64 A6 00 00 00 2B", "timer on"}));
}

TEST_F(Power, ACommandInTheEventThatTheSupplyCameOnPaysNoSecondPause) {
  Open(false);
  TheWorld().Pump(Milliseconds(60'000));
  on_event = [&](bool) {
    on_event = nullptr;
    EXPECT_EQ(zentrel->ResetXpdr(), S_OKAY);
  };
  Port().Answer(Block1Reply({}));
  Port().Answer(BoxStatusReply(0x21, 100, 0xA6, 0));
  TheWorld().TakeJournal();
  EXPECT_EQ(zentrel->BoxStatus(), S_OKAY);
  const auto journal = TheWorld().TakeJournal();
  EXPECT_EQ(std::ranges::count(journal, "pause 2500"), 1);
  EXPECT_EQ(std::ranges::count(journal, "event True"), 1);
}

TEST_F(Power, WithoutATimerTheCommandFailsWithNoTimersAvailable) {
  Open(false);
  TheWorld().out_of_timers = true;
  EXPECT_EQ(ErrorNumberOf([&] { Command(); }), 65535);
  const auto reports = TakeReports();
  ASSERT_FALSE(reports.empty());
  EXPECT_EQ(static_cast<std::uint32_t>(reports[0].ErrorNumber), 0x80047925U);
  EXPECT_EQ(reports[0].ErrorDescription, "No timers available");
  EXPECT_EQ(reports[0].module, "XTimer");
  EXPECT_EQ(reports[0].procedure, "Enabled");
  EXPECT_EQ(reports.size(), 1U);
}

TEST_F(Power, AClientThatCallsAgainFromWithinTheEventIsServed) {
  Open(false);
  Command();
  EXPECT_EQ(TicksUntilOff(), 60);
  ZentrelStatus nested = S_BAD_DATA;
  on_event = [&](bool on) {
    if (!on) return;
    on_event = nullptr;
    Port().Answer(BoxStatusReply(0x55, 100, 0xA6, 0));
    nested = zentrel->BoxStatus();
  };
  Port().reactions.clear();
  zentrel->BoxStatus();
  EXPECT_EQ(nested, S_OKAY);
}

TEST_F(Power, AClientMayReleaseItsLastReferenceInTheEvent) {
  Open(true);
  Zentrel& object = *zentrel;
  const auto keep_alive = object.shared_from_this();  // as the shell holds it during a call
  on_event = [&](bool) {
    on_event = nullptr;
    zentrel.reset();
  };
  Port().Answer(BoxStatusReply(0x21, 100, 0xA6, 0));
  EXPECT_EQ(object.BoxStatus(), S_OKAY);
  object.Events(nullptr);
}

TEST_F(Power, DuringAVerifyDelayTheSupplyMayGoOffAndComesBackForTheCommand) {
  Open(false);
  zentrel->VDelay(10'000);
  Port().Answer(Block1Reply({}));
  ASSERT_EQ(zentrel->WriteXpdr(), S_OKAY);
  zentrel->PowerTimeout(3);
  zentrel->Power(false);
  TheWorld().TakeJournal();
  Port().Answer(Block1Reply({}));
  EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);
  auto journal = TheWorld().TakeJournal();
  journal.resize(8);
  EXPECT_EQ(journal, (Journal{"wait 3000", "supply off", "timer off", "event False", "wait 7000",
                              "log ReadXpdr", "supply DTR", "pause 2500"}));
}

TEST_F(Power, TwoObjectsHaveTheirOwnCountDowns) {
  TheWorld().ports[8];
  const auto other = Zentrel::Create();
  other->DeviceOpen(8, false);
  Open(false);
  other->PowerTimeout(5);
  other->Power(false);
  TheWorld().Pump(kTick * 5);
  EXPECT_FALSE(TheWorld().ports[8].lines.dtr);
  EXPECT_TRUE(Port().lines.dtr);
}

}  // namespace
}  // namespace qmzentrel::tests
