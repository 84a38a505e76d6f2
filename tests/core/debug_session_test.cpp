// What the report service hears of the objects while a debugging session is attached. A program of
// its own: whether there is one is asked once in a process.
#include "support/CDebugLog.h"
#include "tests/core/catalog_writer.h"
#include "tests/core/core_test.h"

namespace qmzentrel::tests {
namespace {

constexpr std::int32_t kCreated = 500;
constexpr std::int32_t kDestroyed = 501;

class DebugSession : public CoreTest {
 protected:
  /// The session is there before the first objects of the process are, which come in two apartments
  /// at once.
  static void SetUpTestSuite() {
    fakes::ResetWorld();
    TheWorld().has_debug_session = true;
    TheWorld().before_call = [](const std::string& call) {
      if (call != "ProcessLock") return;
      TheWorld().before_call = nullptr;
      const CDebugLog in_the_other_apartment;
    };
    const CDebugLog first;
    questions = TheWorld().debug_session_questions;
  }
  inline static int questions = 0;

  struct Notice {
    std::int32_t message;
    std::string text;
    bool operator==(const Notice&) const = default;
    friend void PrintTo(const Notice& notice, std::ostream* stream) {
      *stream << notice.message << " " << notice.text;
    }
  };

  /// The notices since the last call; checks what is the same for all of their kind.
  static std::vector<Notice> TakeNotices() {
    std::vector<Notice> notices;
    for (const auto& notice : std::exchange(TheWorld().service_notices, {})) {
      EXPECT_EQ(notice.timeout_ms, 2000);
      EXPECT_EQ(notice.instance != nullptr, notice.message == kCreated);
      notices.push_back({notice.message, notice.text});
    }
    return notices;
  }
};

TEST_F(DebugSession, IsAskedForOnceThoughTwoApartmentsBeginAtOnce) {
  EXPECT_EQ(questions, 1);
}

TEST_F(DebugSession, ADebugLogAnnouncesItsLife) {
  TheWorld().next_instance = 3;
  {
    const CDebugLog log;
    EXPECT_EQ(TakeNotices(), (std::vector<Notice>{{kCreated, "CDebugLog,1"}}));
  }
  EXPECT_EQ(TakeNotices(), (std::vector<Notice>{{kDestroyed, "CDebugLog,3"}}));
}

TEST_F(DebugSession, ATimerAnnouncesItsLife) {
  TheWorld().next_instance = 32767;
  XTimer::Create();
  EXPECT_EQ(TakeNotices(),
            (std::vector<Notice>{{kCreated, "XTimer,1"}, {kDestroyed, "XTimer,32767"}}));
}

TEST_F(DebugSession, EachInstanceHasItsOwnNumber) {
  const CDebugLog first;
  {
    const CDebugLog second;
    TakeNotices();
  }
  EXPECT_EQ(TakeNotices(), (std::vector<Notice>{{kDestroyed, "CDebugLog,2"}}));
}

TEST_F(DebugSession, TheClassAnnouncesItselfFirstAndEndsLast) {
  Zentrel::Create();
  EXPECT_EQ(TakeNotices(), (std::vector<Notice>{{kCreated, "Zentrel,1"},
                                                {kCreated, "CDebugLog,1"},
                                                {kCreated, "XTimer,1"},
                                                {kDestroyed, "XTimer,3"},
                                                {kDestroyed, "CDebugLog,2"},
                                                {kDestroyed, "Zentrel,1"}}));
}

TEST_F(DebugSession, TheTimerEndsBeforeTheFormAndTheFormBeforeTheLog) {
  auto zentrel = Zentrel::Create();
  SetNumber(kSimulatorKey, "", 1);
  EXPECT_EQ(zentrel->ReadXpdr(), S_OKAY);  // shows the form, which then has a place to save
  TakeNotices();
  std::size_t notices_at_saving = 0;
  TheWorld().registry_fault = [&](const std::string& call,
                                  const std::string&) -> std::optional<std::int32_t> {
    if (call == "RegSetValueEx") notices_at_saving = TheWorld().service_notices.size();
    return std::nullopt;
  };
  zentrel.reset();
  EXPECT_EQ(notices_at_saving, 1U);
  EXPECT_EQ(TakeNotices(),
            (std::vector<Notice>{
                {kDestroyed, "XTimer,3"}, {kDestroyed, "CDebugLog,2"}, {kDestroyed, "Zentrel,1"}}));
}

TEST_F(DebugSession, AnObjectThatCannotBeMadeHasEndedAsWell) {
  TheWorld().SetText("SOFTWARE\\QuenmoorComms\\Zentrel\\Simulator", "unused", "");
  TheWorld().registry_fault = [](const std::string&, const std::string&) -> std::optional<int> {
    throw std::bad_alloc();
  };
  EXPECT_EQ(ErrorNumberOf([] { Zentrel::Create(); }), 65535);
  EXPECT_EQ(TakeReports().size(), 1U);
  const auto notices = TakeNotices();
  ASSERT_FALSE(notices.empty());
  EXPECT_EQ(notices.front(), (Notice{kCreated, "Zentrel,1"}));
  EXPECT_EQ(notices.back(), (Notice{kDestroyed, "Zentrel,1"}));
}

TEST_F(DebugSession, AServiceThatFailsDoesNotKeepAnObjectFromComing) {
  TheWorld().out_of_memory_in = {"NotifyReportService"};
  EXPECT_NE(Zentrel::Create(), nullptr);
  EXPECT_TRUE(TakeNotices().empty());
}

TEST_F(DebugSession, AServiceThatFailsDoesNotKeepAnObjectFromGoing) {
  {
    const CDebugLog log;
    TheWorld().out_of_memory_in = {"NotifyReportService"};
  }
  EXPECT_EQ(TakeNotices().size(), 1U);
}

}  // namespace
}  // namespace qmzentrel::tests
