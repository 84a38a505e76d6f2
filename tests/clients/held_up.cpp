#include "tests/clients/held_up.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <stdexcept>

#include "tests/clients/box_control.h"

namespace qmzentrel::clients {
namespace {

constexpr int kMostRepeats = 5;
// Of all attempts of a program: a machine as busy as that shows nothing in the time that it has.
constexpr int kMostRepeatsOfAll = 40;
// Between an answer of the box and the next question: a pause of the machine shows in full in the
// time from answer to answer, whenever it begins.
constexpr DWORD kRestMs = 10;

// How long the machine has kept the box from answering at once, measured by a thread of its own for
// as long as the program runs.
class PaceWatch {
 public:
  PaceWatch() : box_("QMZ_BOX_CONTROL") {
    const HANDLE thread = CreateThread(nullptr, 0, Main, this, 0, nullptr);
    if (thread == nullptr) throw std::runtime_error("no thread for the pace");
    CloseHandle(thread);
  }

  // From now on.
  void Begin() { longest_ms_ = 0; }

  // The longest pause since the beginning, one that still lasts included.
  DWORD LongestMs() const {
    // The answer that is awaited now may belong to a question from before.
    const DWORD answers = answers_ + 2;
    while (!box_gone_ && static_cast<LONG>(answers_ - answers) < 0) Sleep(1);
    return longest_ms_;
  }

 private:
  using Clock = std::chrono::steady_clock;

  __attribute__((force_align_arg_pointer)) static DWORD WINAPI Main(void* watch) {
    static_cast<PaceWatch*>(watch)->Measure();
    return 0;
  }

  void Measure() {
    try {
      Clock::time_point last = Clock::now();
      while (true) {
        Sleep(kRestMs);
        box_.Tell("now");
        const Clock::time_point now = Clock::now();
        const auto span = std::chrono::duration_cast<std::chrono::milliseconds>(now - last);
        longest_ms_ = std::max(longest_ms_.load(), static_cast<DWORD>(span.count()));
        last = now;
        ++answers_;
      }
    } catch (const std::exception&) {
      box_gone_ = true;  // with the end of the tests, or the tests say so themselves
    }
  }

  BoxControl box_;
  std::atomic<DWORD> longest_ms_{0};
  std::atomic<DWORD> answers_{0};
  std::atomic<bool> box_gone_{false};
};

PaceWatch& Pace() {
  static auto* const watch = new PaceWatch;  // its thread outlives everything
  return *watch;
}

using testing::TestPartResult;
using testing::TestPartResultArray;

void RunSetAside(const std::function<void()>& attempt, TestPartResultArray& results) {
  using Reporter = testing::ScopedFakeTestPartResultReporter;
  const Reporter reporter(Reporter::INTERCEPT_ALL_THREADS, &results);
  try {
    attempt();
  } catch (const std::exception& error) {
    GTEST_MESSAGE_("The attempt throws: ", TestPartResult::kFatalFailure) << error.what();
  }
}

// Null where none has.
const TestPartResult* FirstFailure(const TestPartResultArray& results) {
  for (int i = 0; i < results.size(); ++i) {
    if (results.GetTestPartResult(i).failed()) return &results.GetTestPartResult(i);
  }
  return nullptr;
}

void Report(const TestPartResultArray& results) {
  for (int i = 0; i < results.size(); ++i) {
    const TestPartResult& result = results.GetTestPartResult(i);
    GTEST_MESSAGE_AT_(result.file_name(), result.line_number(), result.message(), result.type());
  }
}

}  // namespace

void UnlessHeldUp(DWORD spare_ms, const std::function<void()>& attempt) {
  static int repeats_of_all = 0;
  PaceWatch& pace = Pace();
  for (int repeats = 0;; ++repeats) {
    TestPartResultArray results;
    pace.Begin();
    RunSetAside(attempt, results);
    const TestPartResult* const failure = FirstFailure(results);
    const DWORD held_up_ms = failure == nullptr ? 0 : pace.LongestMs();
    if (held_up_ms < std::max<DWORD>(spare_ms, 1) || repeats == kMostRepeats ||
        repeats_of_all == kMostRepeatsOfAll) {
      Report(results);
      return;
    }
    std::printf("Held up for %lu ms: done again (%d of at most %d; %d in this program).\n%s\n",
                held_up_ms, repeats + 1, kMostRepeats, ++repeats_of_all, failure->message());
    std::fflush(stdout);
  }
}

bool GoesOnAfter(const std::function<void()>& step) {
  TestPartResultArray results;
  RunSetAside(step, results);
  Report(results);
  for (int i = 0; i < results.size(); ++i) {
    const TestPartResult& result = results.GetTestPartResult(i);
    if (result.fatally_failed() || result.skipped()) return false;
  }
  return true;
}

}  // namespace qmzentrel::clients
