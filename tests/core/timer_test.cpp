// Periodic timers and the table that routes their ticks.
#include "support/XTimer.h"

#include <algorithm>

#include "tests/core/core_test.h"

namespace qmzentrel::tests {
namespace {

using Journal = std::vector<std::string>;
using modCOM_XTimerSupport::ReleaseThread;
using modCOM_XTimerSupport::RunningTimers;
using modCOM_XTimerSupport::SlotCount;
using modCOM_XTimerSupport::TimerProc;

class TimerTest : public CoreTest {
 protected:
  void SetUp() override {
    CoreTest::SetUp();
    timer = NewTimer();
  }

  void TearDown() override {
    TheWorld().out_of_memory_in.clear();
    for (const auto& made : timers_) {
      made->Interval(0);
      made->Enabled(false);
    }
    timers_.clear();
    timer.reset();
    CoreTest::TearDown();
  }

  /// A timer that is stopped when the test ends.
  std::shared_ptr<XTimer> NewTimer() {
    timers_.push_back(XTimer::Create());
    return timers_.back();
  }

  std::shared_ptr<XTimer> RunningTimer(std::int32_t interval = 1000) {
    const auto made = NewTimer();
    made->Interval(interval);
    made->Enabled(true);
    return made;
  }

  void Start(std::int32_t interval = 1000) {
    timer->Interval(interval);
    timer->Tick([this] { ++ticks; });
    timer->Enabled(true);
  }

  /// Lets the client pump messages for `milliseconds` and returns the ticks of that time.
  int TicksWithin(int milliseconds) {
    ticks = 0;
    TheWorld().Pump(Milliseconds(milliseconds));
    return ticks;
  }

  static bool RunsInTheSystem(std::int32_t id) { return TheWorld().timers.contains(id); }

  /// A timer of the operating system that somebody else started.
  static void AddSystemTimer(std::int32_t id) {
    TheWorld().timers[id] = {1000, TheWorld().now + Milliseconds(1000), TimerProc};
  }

  std::shared_ptr<XTimer> timer;
  int ticks = 0;

 private:
  std::vector<std::shared_ptr<XTimer>> timers_;
};

// --- Enabled and Interval ---

TEST_F(TimerTest, AFreshTimerIsStoppedWithoutAnInterval) {
  EXPECT_FALSE(timer->Enabled());
  EXPECT_EQ(timer->Interval(), 0);
  EXPECT_EQ(timer->TimerID(), 0);
  EXPECT_EQ(RunningTimers(), 0);
}

TEST_F(TimerTest, EnabledWithoutAnIntervalStartsNothingUntilTheIntervalIsSet) {
  timer->Tick([this] { ++ticks; });
  timer->Enabled(true);
  EXPECT_TRUE(timer->Enabled());
  EXPECT_EQ(RunningTimers(), 0);
  EXPECT_EQ(TheWorld().TakeJournal(), Journal{});
  timer->Interval(1000);
  EXPECT_EQ(timer->Interval(), 1000);
  EXPECT_EQ(RunningTimers(), 1);
  EXPECT_EQ(TicksWithin(1000), 1);
}

TEST_F(TimerTest, AnIntervalAloneStartsNothingUntilEnabledIsSet) {
  timer->Tick([this] { ++ticks; });
  timer->Interval(1000);
  EXPECT_EQ(TheWorld().TakeJournal(), Journal{});
  timer->Enabled(true);
  EXPECT_EQ(TicksWithin(1000), 1);
}

TEST_F(TimerTest, ATickComesOncePerElapsedInterval) {
  Start(1000);
  EXPECT_EQ(TicksWithin(999), 0);
  EXPECT_EQ(TicksWithin(1), 1);
  EXPECT_EQ(TicksWithin(999), 0);
  EXPECT_EQ(TicksWithin(1), 1);
  EXPECT_EQ(TicksWithin(60'000), 60);
}

TEST_F(TimerTest, ATickComesOnlyWhileTheThreadPumpsMessages) {
  Start(1000);
  TheWorld().Advance(Milliseconds(5000));
  EXPECT_EQ(ticks, 0);
  EXPECT_EQ(TicksWithin(1), 1);
}

TEST_F(TimerTest, AStoppedTimerTicksNoMore) {
  Start();
  timer->Enabled(false);
  EXPECT_FALSE(timer->Enabled());
  EXPECT_EQ(RunningTimers(), 0);
  EXPECT_EQ(TicksWithin(5000), 0);
}

TEST_F(TimerTest, EnablingTwiceStartsOneTimer) {
  Start();
  timer->Enabled(true);
  EXPECT_EQ(TheWorld().TakeJournal(), (Journal{"timer on"}));
  EXPECT_EQ(RunningTimers(), 1);
}

TEST_F(TimerTest, EnablingARunningTimerDoesNotRestartIt) {
  Start(1000);
  EXPECT_EQ(TicksWithin(900), 0);
  timer->Enabled(true);
  EXPECT_EQ(TicksWithin(100), 1);
}

TEST_F(TimerTest, DisablingTwiceStopsOnce) {
  Start();
  timer->Enabled(false);
  timer->Enabled(false);
  EXPECT_EQ(TheWorld().TakeJournal(), (Journal{"timer on", "timer off"}));
  EXPECT_EQ(RunningTimers(), 0);
}

TEST_F(TimerTest, DisablingATimerThatNeverRanDoesNothing) {
  timer->Enabled(true);
  timer->Enabled(false);
  timer->Interval(1000);
  EXPECT_EQ(TheWorld().TakeJournal(), Journal{});
}

TEST_F(TimerTest, AStoppedTimerCanBeStartedAgainAndBeginsAFullInterval) {
  Start(1000);
  EXPECT_EQ(TicksWithin(900), 0);
  timer->Enabled(false);
  timer->Enabled(true);
  EXPECT_EQ(TicksWithin(999), 0);
  EXPECT_EQ(TicksWithin(1), 1);
}

TEST_F(TimerTest, SettingThePresentIntervalDoesNotRestartARunningTimer) {
  Start(1000);
  const std::int32_t id = timer->TimerID();
  EXPECT_EQ(TicksWithin(900), 0);
  timer->Interval(1000);
  EXPECT_EQ(timer->TimerID(), id);
  EXPECT_EQ(TicksWithin(100), 1);
}

TEST_F(TimerTest, ChangingTheIntervalOfARunningTimerRestartsIt) {
  Start(1000);
  EXPECT_EQ(TicksWithin(900), 0);
  timer->Interval(500);
  EXPECT_EQ(RunningTimers(), 1);
  EXPECT_EQ(TheWorld().TakeJournal(), (Journal{"timer on", "timer off", "timer on"}));
  EXPECT_EQ(TicksWithin(499), 0);
  EXPECT_EQ(TicksWithin(1), 1);
  EXPECT_EQ(TicksWithin(500), 1);
}

TEST_F(TimerTest, TheIntervalZeroStopsARunningTimerAndAnotherStartsItAgain) {
  Start(1000);
  timer->Interval(0);
  EXPECT_TRUE(timer->Enabled());
  EXPECT_EQ(RunningTimers(), 0);
  EXPECT_EQ(TicksWithin(5000), 0);
  timer->Interval(200);
  EXPECT_EQ(TicksWithin(200), 1);
}

TEST_F(TimerTest, TheIntervalOfAStoppedTimerCanBeChangedWithoutStartingIt) {
  Start(1000);
  timer->Enabled(false);
  TheWorld().TakeJournal();
  timer->Interval(500);
  EXPECT_EQ(TheWorld().TakeJournal(), Journal{});
  timer->Enabled(true);
  EXPECT_EQ(TicksWithin(500), 1);
}

TEST_F(TimerTest, DisablingWithAnIntervalOfZeroTouchesNoTimer) {
  Start(1000);
  timer->Interval(0);
  TheWorld().TakeJournal();
  timer->Enabled(false);
  EXPECT_EQ(TheWorld().TakeJournal(), Journal{});
}

TEST_F(TimerTest, TheIntervalGoesToTheSystemAsItIs) {
  for (const std::int32_t interval : {10, 1234, 0x7FFFFFFF}) {
    timer->Interval(interval);
    timer->Enabled(true);
    EXPECT_EQ(TheWorld().timers.at(timer->TimerID()).interval_ms, interval);
  }
}

TEST_F(TimerTest, TheIdentifierIsThatOfTheTimerStartedLastAndStaysAfterStopping) {
  Start();
  const std::int32_t first = timer->TimerID();
  EXPECT_TRUE(RunsInTheSystem(first));
  timer->Enabled(false);
  EXPECT_EQ(timer->TimerID(), first);
  EXPECT_FALSE(RunsInTheSystem(first));
  timer->Enabled(true);
  EXPECT_NE(timer->TimerID(), first);
  EXPECT_TRUE(RunsInTheSystem(timer->TimerID()));
}

// --- No timers available ---

TEST_F(TimerTest, EnablingWithoutATimerLeftIsReportedWithItsOwnNumberByTheProperty) {
  timer->Interval(1000);
  TheWorld().out_of_timers = true;
  const ErrorReport report = ReportOf([&] { timer->Enabled(true); });
  EXPECT_EQ(report.ErrorNumber, -2147190491);  // 0x80047925
  EXPECT_EQ(report.ErrorDescription, "No timers available");
  EXPECT_EQ(report.module, "XTimer");
  EXPECT_EQ(report.procedure, "Enabled");
  EXPECT_EQ(report.parameters, "<NewValue>True</NewValue>\r\n");
  EXPECT_EQ(report.module_variables,
            "<mlngTimerID>0</mlngTimerID>\r\n"
            "<mlngInterval>1000</mlngInterval>\r\n"
            "<mblnEnabled>True</mblnEnabled>\r\n");
  EXPECT_EQ(RunningTimers(), 0);
  EXPECT_EQ(SlotCount(), 0);
}

TEST_F(TimerTest, AnIntervalWithoutATimerLeftIsReportedWithItsOwnNumberByTheProperty) {
  timer->Enabled(true);
  TheWorld().out_of_timers = true;
  const ErrorReport report = ReportOf([&] { timer->Interval(250); });
  EXPECT_EQ(report.ErrorNumber, modCOM_XTimerSupport::kErrorNoTimers);
  EXPECT_EQ(report.module, "XTimer");
  EXPECT_EQ(report.procedure, "Interval");
  EXPECT_EQ(report.parameters, "<NewInterval>250</NewInterval>\r\n");
}

TEST_F(TimerTest, ARunningTimerThatFindsNoTimerForItsNewIntervalHasStopped) {
  Start();
  TheWorld().out_of_timers = true;
  EXPECT_EQ(ReportOf([&] { timer->Interval(250); }).procedure, "Interval");
  EXPECT_EQ(RunningTimers(), 0);
  EXPECT_EQ(TicksWithin(5000), 0);
}

TEST_F(TimerTest, AfterAFailureTheTimerStartsOnceThereAreTimersAgain) {
  timer->Interval(1000);
  TheWorld().out_of_timers = true;
  ReportOf([&] { timer->Enabled(true); });
  TheWorld().out_of_timers = false;
  timer->Tick([this] { ++ticks; });
  timer->Enabled(false);
  timer->Enabled(true);
  EXPECT_EQ(TicksWithin(1000), 1);
}

// --- The table ---

TEST_F(TimerTest, TheFirstTimerMakesFiveSlots) {
  EXPECT_EQ(SlotCount(), 0);
  RunningTimer();
  EXPECT_EQ(SlotCount(), 5);
}

TEST_F(TimerTest, SixTimersAtOnceGrowTheTableFromFiveToTenSlots) {
  for (int i = 0; i < 5; ++i) RunningTimer();
  EXPECT_EQ(SlotCount(), 5);
  RunningTimer();
  EXPECT_EQ(SlotCount(), 10);
  EXPECT_EQ(RunningTimers(), 6);
}

TEST_F(TimerTest, AGrownTableKeepsTheTimersItHad) {
  Start(1000);
  for (int i = 0; i < 10; ++i) RunningTimer(700);
  EXPECT_EQ(SlotCount(), 15);
  EXPECT_EQ(TicksWithin(1000), 1);
  timer->Enabled(false);
  EXPECT_EQ(RunningTimers(), 10);
  EXPECT_EQ(TicksWithin(1000), 0);
}

TEST_F(TimerTest, TheTableNeverShrinks) {
  std::vector<std::shared_ptr<XTimer>> six;
  for (int i = 0; i < 6; ++i) six.push_back(RunningTimer());
  for (const auto& one : six) one->Enabled(false);
  EXPECT_EQ(RunningTimers(), 0);
  EXPECT_EQ(SlotCount(), 10);
}

TEST_F(TimerTest, TheSlotOfAStoppedTimerIsUsedAgain) {
  RunningTimer();
  const auto second = RunningTimer();
  for (int i = 0; i < 3; ++i) RunningTimer();
  second->Enabled(false);
  RunningTimer();
  EXPECT_EQ(SlotCount(), 5);
  EXPECT_EQ(RunningTimers(), 5);
}

TEST_F(TimerTest, RestartingATimerNeedsNoSecondSlot) {
  Start();
  for (int interval = 1; interval <= 20; ++interval) timer->Interval(interval * 100);
  EXPECT_EQ(SlotCount(), 5);
  EXPECT_EQ(RunningTimers(), 1);
}

TEST_F(TimerTest, EachTickReachesTheTimerThatAskedForIt) {
  std::string order;
  Start(300);
  timer->Tick([&] { order += 'a'; });
  const auto other = RunningTimer(500);
  other->Tick([&] { order += 'b'; });
  TheWorld().Pump(Milliseconds(1000));
  EXPECT_EQ(order, "abaab");
}

TEST_F(TimerTest, EndingATimerThatNeverStartedDoesNothing) {
  const auto other = RunningTimer();
  modCOM_XTimerSupport::EndTimer(*timer);
  EXPECT_EQ(RunningTimers(), 1);
  EXPECT_TRUE(RunsInTheSystem(other->TimerID()));
}

TEST_F(TimerTest, EndingATimerThatHasEndedLeavesTheSystemAlone) {
  Start();
  timer->Enabled(false);
  AddSystemTimer(timer->TimerID());
  modCOM_XTimerSupport::EndTimer(*timer);
  EXPECT_TRUE(RunsInTheSystem(timer->TimerID()));
  EXPECT_EQ(RunningTimers(), 0);
}

TEST_F(TimerTest, AFaultWhileATimerIsEndedIsReportedWithTheModulesFields) {
  Start();
  const std::string id = std::to_string(timer->TimerID());
  TheWorld().out_of_memory_in = {"KillTimer"};
  const ErrorReport report = ReportOf([&] { timer->Enabled(false); });
  EXPECT_EQ(report.ErrorNumber, 7);
  EXPECT_EQ(report.module, "modCOM_XTimerSupport");
  EXPECT_EQ(report.procedure, "EndTimer");
  EXPECT_EQ(report.local_variables, "<id>" + id + "</id>\r\n");
  EXPECT_EQ(report.module_variables,
            "<maxti>{Cannot dump UDT arrays}</maxti>\r\n<mintMaxTimers>5</mintMaxTimers>\r\n");
}

TEST_F(TimerTest, ATimerWhoseEndingFailedRunsOnAndCanBeEndedAgain) {
  Start();
  TheWorld().out_of_memory_in = {"KillTimer"};
  ReportOf([&] { timer->Enabled(false); });
  TheWorld().out_of_memory_in.clear();
  EXPECT_TRUE(timer->Enabled());
  EXPECT_EQ(RunningTimers(), 1);
  timer->Enabled(false);
  EXPECT_EQ(RunningTimers(), 0);
}

TEST_F(TimerTest, ATimerThatCannotBeEndedForANewIntervalRunsOnWithItsOwn) {
  for (const std::int32_t wanted : {0, 500}) {
    Start();
    TheWorld().out_of_memory_in = {"KillTimer"};
    EXPECT_EQ(ReportOf([&] { timer->Interval(wanted); }).procedure, "EndTimer");
    TheWorld().out_of_memory_in.clear();
    EXPECT_EQ(timer->Interval(), 1000);
    EXPECT_EQ(TicksWithin(2000), 2);
    timer->Interval(wanted);
    EXPECT_EQ(TicksWithin(2000), wanted == 0 ? 0 : 4);
    timer->Enabled(false);
    EXPECT_EQ(RunningTimers(), 0);
  }
}

// --- The life of the object ---

/// Its end can be seen from outside.
std::weak_ptr<XTimer> Watch(const std::shared_ptr<XTimer>& timer) {
  return timer;
}

TEST_F(TimerTest, ARunningTimerKeepsItsObjectAliveUntilItIsStopped) {
  int later_ticks = 0;
  auto lonely = XTimer::Create();
  lonely->Interval(1000);
  lonely->Tick([&] { ++later_ticks; });
  lonely->Enabled(true);
  const auto watch = Watch(lonely);
  lonely.reset();
  TheWorld().Pump(Milliseconds(2000));
  EXPECT_EQ(later_ticks, 2);
  ASSERT_FALSE(watch.expired());
  watch.lock()->Enabled(false);
  EXPECT_TRUE(watch.expired());
  EXPECT_EQ(RunningTimers(), 0);
}

TEST_F(TimerTest, AStoppedTimerIsNotKeptAlive) {
  auto lonely = XTimer::Create();
  lonely->Interval(1000);
  lonely->Enabled(true);
  lonely->Enabled(false);
  const auto watch = Watch(lonely);
  lonely.reset();
  EXPECT_TRUE(watch.expired());
}

TEST_F(TimerTest, ADestroyedTimerKillsTheTimerItStartedLastPastTheTable) {
  auto lonely = XTimer::Create();
  lonely->Interval(1000);
  lonely->Enabled(true);
  lonely->Enabled(false);
  const std::int32_t id = lonely->TimerID();
  AddSystemTimer(id);
  lonely.reset();
  EXPECT_FALSE(RunsInTheSystem(id));
}

TEST_F(TimerTest, ARunningTimerIsRestartedWhateverItsIdentifier) {
  TheWorld().next_timer_id = 1;
  const auto lonely = XTimer::Create();
  lonely->Interval(1000);
  lonely->Enabled(true);
  ASSERT_EQ(lonely->TimerID(), 1);
  TheWorld().next_timer_id = 7;
  lonely->Interval(2000);
  EXPECT_EQ(TheWorld().timers.size(), 1U);
  lonely->Enabled(false);
}

TEST_F(TimerTest, ARunningTimerIsStoppedWhateverItsIdentifier) {
  TheWorld().next_timer_id = 1;
  const auto running = RunningTimer();
  ASSERT_TRUE(RunsInTheSystem(1));
  running->Enabled(false);
  EXPECT_FALSE(RunsInTheSystem(1));
}

TEST_F(TimerTest, ADestroyedTimerThatNeverStartedKillsNone) {
  AddSystemTimer(0);
  XTimer::Create().reset();
  EXPECT_TRUE(RunsInTheSystem(0));
}

TEST_F(TimerTest, ATickMayStopAndReleaseItsTimer) {
  auto lonely = XTimer::Create();
  const auto watch = Watch(lonely);
  bool finished = false;
  lonely->Interval(1000);
  lonely->Tick([&finished, &lonely] {
    lonely->Enabled(false);
    lonely.reset();
    finished = true;
  });
  lonely->Enabled(true);
  TheWorld().Pump(Milliseconds(3000));
  EXPECT_TRUE(finished);
  EXPECT_TRUE(watch.expired());
  EXPECT_EQ(RunningTimers(), 0);
}

TEST_F(TimerTest, ATickThatReleasesItsTimerAndThenFailsIsStillReportedWithItsFields) {
  auto lonely = XTimer::Create();
  lonely->Interval(1234);
  lonely->Tick([&lonely] {
    lonely->Enabled(false);
    lonely.reset();
    RaiseError(6);
  });
  lonely->Enabled(true);
  TheWorld().Pump(Milliseconds(1234));
  const auto reports = TakeReports();
  ASSERT_EQ(reports.size(), 1U);
  EXPECT_NE(reports[0].module_variables.find("<mlngInterval>1234</mlngInterval>"),
            std::string::npos);
}

TEST_F(TimerTest, ATickMayDetachItsHandlerWhileItRuns) {
  Start();
  const auto text = std::make_shared<std::string>("still here");
  std::string seen;
  timer->Tick([this, text, &seen] {
    timer->Tick(nullptr);
    seen = *text;
  });
  TheWorld().Pump(Milliseconds(2000));
  EXPECT_EQ(seen, "still here");
}

TEST_F(TimerTest, ATickMayStartTimersUntilTheTableMoves) {
  Start(1000);
  timer->Tick([this] {
    ++ticks;
    for (int i = 0; i < 20; ++i) RunningTimer(10'000);
    timer->Enabled(false);
  });
  EXPECT_EQ(TicksWithin(3000), 1);
  EXPECT_EQ(RunningTimers(), 20);
}

TEST_F(TimerTest, ATickMayStopAnotherTimerThatIsDueAtTheSameMoment) {
  const auto other = RunningTimer(1000);
  int other_ticks = 0;
  Start(1000);
  timer->Tick([&] {
    ++ticks;
    other->Enabled(false);
  });
  other->Tick([&] {
    ++other_ticks;
    timer->Enabled(false);
  });
  TheWorld().Pump(Milliseconds(3000));
  EXPECT_EQ(RunningTimers(), 1);
  EXPECT_EQ(std::min(ticks, other_ticks), 0);
  EXPECT_EQ(std::max(ticks, other_ticks), 3);
}

TEST_F(TimerTest, ATickWithoutAHandlerDoesNothing) {
  Start();
  timer->Tick(nullptr);
  TheWorld().Pump(Milliseconds(2000));
  timer->RaiseTick();
  EXPECT_EQ(ticks, 0);
  EXPECT_EQ(RunningTimers(), 1);
}

TEST_F(TimerTest, RaiseTickRaisesTheTick) {
  timer->Tick([this] { ++ticks; });
  timer->RaiseTick();
  EXPECT_EQ(ticks, 1);
}

// --- The callback ---

TEST_F(TimerTest, ACallbackForAnIdentifierInNoSlotKillsThatTimer) {
  Start();
  AddSystemTimer(4711);
  TheWorld().Pump(Milliseconds(1000));
  EXPECT_FALSE(RunsInTheSystem(4711));
  EXPECT_TRUE(RunsInTheSystem(timer->TimerID()));
}

TEST_F(TimerTest, ACallbackOnAThreadWithoutATableKillsItsTimer) {
  AddSystemTimer(4711);
  TimerProc(0, 0x113, 4711, 0);
  EXPECT_FALSE(RunsInTheSystem(4711));
  EXPECT_EQ(SlotCount(), 0) << "no table is made for it";
}

TEST_F(TimerTest, ACallbackWithoutAnIdentifierFindsNoFreeSlot) {
  Start();
  TimerProc(0, 0x113, 0, 0);  // as free slots are marked
  EXPECT_TRUE(RunsInTheSystem(timer->TimerID()));
}

TEST_F(TimerTest, ACallbackForAStoppedTimerRaisesNoTick) {
  Start();
  timer->Enabled(false);
  TimerProc(0, 0x113, timer->TimerID(), 0);
  EXPECT_EQ(ticks, 0);
}

TEST_F(TimerTest, ATickThatFailsIsReportedOnceAndKillsItsTimer) {
  Start();
  timer->Tick([this] {
    ++ticks;
    RaiseError(6);
  });
  EXPECT_EQ(TicksWithin(5000), 1);
  const auto reports = TakeReports();
  ASSERT_EQ(reports.size(), 1U);
  EXPECT_EQ(reports[0].ErrorNumber, 6);
  EXPECT_EQ(reports[0].module, "XTimer");
  EXPECT_EQ(reports[0].procedure, "RaiseTick");
  EXPECT_EQ(reports[0].module_variables, timer->DumpFields());
  EXPECT_FALSE(RunsInTheSystem(timer->TimerID()));
}

TEST_F(TimerTest, ATickWhoseFaultHasBeenReportedKillsItsTimerWithoutASecondReport) {
  Start();
  timer->Tick([] { throw ReportedError(); });
  TheWorld().Pump(Milliseconds(1000));
  EXPECT_TRUE(TakeReports().empty());
  EXPECT_FALSE(RunsInTheSystem(timer->TimerID()));
}

TEST_F(TimerTest, ATickThatFailsLeavesTheOthersRunning) {
  Start(1000);
  const auto failing = RunningTimer(1000);
  failing->Tick([] { RaiseError(6); });
  EXPECT_EQ(TicksWithin(3000), 3);
  EXPECT_EQ(TakeReports().size(), 1U);
}

TEST_F(TimerTest, AfterAFailedTickTheTimerCountsAsRunningUntilItIsStoppedAndCanBeStartedAgain) {
  Start();
  timer->Tick([] { RaiseError(6); });
  TheWorld().Pump(Milliseconds(1000));
  TakeReports();
  EXPECT_EQ(RunningTimers(), 1);
  timer->Enabled(false);
  EXPECT_EQ(RunningTimers(), 0);
  timer->Tick([this] { ++ticks; });
  timer->Enabled(true);
  EXPECT_EQ(TicksWithin(1000), 1);
}

// --- Threads ---

TEST_F(TimerTest, EachThreadHasATableOfItsOwn) {
  RunningTimer();
  std::int16_t slots_before = -1;
  std::int16_t slots_with_a_timer = -1;
  std::int32_t running_with_both = -1;
  InAnotherApartment([&] {
    slots_before = SlotCount();
    const auto other = XTimer::Create();
    other->Interval(1000);
    other->Enabled(true);
    slots_with_a_timer = SlotCount();
    running_with_both = RunningTimers();
    other->Enabled(false);
    ReleaseThread();
  });
  EXPECT_EQ(slots_before, 0);
  EXPECT_EQ(slots_with_a_timer, 5);
  EXPECT_EQ(running_with_both, 2);
  EXPECT_EQ(RunningTimers(), 1);
  EXPECT_EQ(SlotCount(), 5);
}

TEST_F(TimerTest, TheTablesOfTwoThreadsGrowIndependently) {
  RunningTimer();
  std::int16_t slots_there = 0;
  InAnotherApartment([&] {
    std::vector<std::shared_ptr<XTimer>> six;
    for (int i = 0; i < 6; ++i) {
      six.push_back(XTimer::Create());
      six.back()->Interval(1000);
      six.back()->Enabled(true);
    }
    slots_there = SlotCount();
    for (const auto& one : six) one->Enabled(false);
    ReleaseThread();
  });
  EXPECT_EQ(slots_there, 10);
  EXPECT_EQ(SlotCount(), 5);
}

TEST_F(TimerTest, ATimerTicksOnTheThreadThatStartedIt) {
  Start(1000);
  int ticks_here_meanwhile = -1;
  int ticks_there = 0;
  InAnotherApartment([&] {
    const auto other = XTimer::Create();
    other->Interval(400);
    other->Tick([&] { ++ticks_there; });
    other->Enabled(true);
    TheWorld().Pump(Milliseconds(2000));
    ticks_here_meanwhile = ticks;
    other->Enabled(false);
    ReleaseThread();
  });
  EXPECT_EQ(ticks_there, 5);
  EXPECT_EQ(ticks_here_meanwhile, 0);
  EXPECT_EQ(TicksWithin(1), 1) << "the missed ticks merge";
}

TEST_F(TimerTest, ACallbackOnAnotherThreadFindsNoTimerOfThisOne) {
  Start(1000);
  InAnotherApartment([&] { TimerProc(0, 0x113, timer->TimerID(), 0); });
  EXPECT_EQ(ticks, 0);
  EXPECT_EQ(TicksWithin(1000), 1);
}

TEST_F(TimerTest, AThreadGivesItsTableBackOnlyWhenNoneOfItsTimersRuns) {
  Start(1000);
  ReleaseThread();
  EXPECT_EQ(SlotCount(), 5);
  EXPECT_EQ(TicksWithin(1000), 1);
  timer->Enabled(false);
  ReleaseThread();
  EXPECT_EQ(SlotCount(), 0);
  ReleaseThread();
  EXPECT_EQ(SlotCount(), 0);
}

TEST_F(TimerTest, AfterATableWasGivenBackANewOneIsMadeWhenNeeded) {
  Start(1000);
  timer->Enabled(false);
  ReleaseThread();
  timer->Enabled(true);
  EXPECT_EQ(SlotCount(), 5);
  EXPECT_EQ(TicksWithin(1000), 1);
}

// --- The fields ---

TEST_F(TimerTest, TheFieldsAreShownInDeclaredOrder) {
  EXPECT_EQ(timer->DumpFields(),
            "<mlngTimerID>0</mlngTimerID>\r\n"
            "<mlngInterval>0</mlngInterval>\r\n"
            "<mblnEnabled>False</mblnEnabled>\r\n");
  Start(1500);
  EXPECT_EQ(timer->DumpFields(), "<mlngTimerID>" + std::to_string(timer->TimerID()) +
                                     "</mlngTimerID>\r\n"
                                     "<mlngInterval>1500</mlngInterval>\r\n"
                                     "<mblnEnabled>True</mblnEnabled>\r\n");
}

}  // namespace
}  // namespace qmzentrel::tests
