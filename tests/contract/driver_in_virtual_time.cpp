// The pace of a driver model in the time of the fakes: whoever waits lets the clock jump to what is
// due next.
#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include "tests/automation/replaced_import.h"
#include "tests/contract/driver_pace.h"
#include "tests/contract/harness.h"
#include "tests/fakes/fake_world.h"

namespace qmzentrel::contract {
namespace {

using fakes::Microseconds;
using fakes::TheWorld;

template <class Function>
using Import = automation::ReplacedImport<Function>;

}  // namespace

double MonotonicMs() {
  return static_cast<double>(TheWorld().now.count()) / 1000;
}

// What the port asks of the system's time. It has no other handle to wait for than its requests'.
struct DriverPace::State {
  explicit State(std::function<double()> driver) : advance(std::move(driver)) { The() = this; }

  // There is one driver.
  static State*& The() {
    static State* state = nullptr;
    return state;
  }

  // Jumps to what is due next, at most to `end`; false once that has come.
  static bool PassSome(double next_ms, Microseconds end) {
    const Microseconds now = TheWorld().now;
    if (now >= end) return false;
    const bool sooner = next_ms < static_cast<double>(end.count()) / 1000;
    // What is due at once has been done: where it stays due, nothing can come of it as yet.
    TheWorld().now = sooner ? std::clamp(Microseconds(std::llround(std::ceil(next_ms * 1000))),
                                         now + Microseconds{1}, end)
                            : end;
    return true;
  }

  // The test framework has threads that watch over others.
  bool IsClient() const { return GetCurrentThreadId() == client; }

  static DWORD WINAPI Wait(HANDLE handle, DWORD limit_ms) {
    if (!The()->IsClient()) return The()->wait.System()(handle, limit_ms);
    const Microseconds end = TheWorld().now + std::chrono::milliseconds(limit_ms);
    while (true) {
      const double next_ms = The()->advance();
      const DWORD result = The()->wait.System()(handle, 0);
      if (result != WAIT_TIMEOUT || !PassSome(next_ms, end)) return result;
    }
  }
  static void WINAPI Pause(DWORD ms) {
    if (!The()->IsClient()) return The()->pause.System()(ms);
    const Microseconds end = TheWorld().now + std::chrono::milliseconds(ms);
    while (PassSome(The()->advance(), end)) {
    }
  }
  static BOOL WINAPI Count(LARGE_INTEGER* count) {
    count->QuadPart = TheWorld().now.count();
    return TRUE;
  }
  static BOOL WINAPI Frequency(LARGE_INTEGER* frequency) {
    frequency->QuadPart = Microseconds(std::chrono::seconds(1)).count();
    return TRUE;
  }

  std::function<double()> advance;
  DWORD client = GetCurrentThreadId();
  HMODULE program = GetModuleHandleW(nullptr);
  Import<decltype(&WaitForSingleObject)> wait{program, L"kernel32", "WaitForSingleObject", &Wait};
  Import<decltype(&Sleep)> pause{program, L"kernel32", "Sleep", &Pause};
  Import<decltype(&QueryPerformanceCounter)> counter{program, L"kernel32",
                                                     "QueryPerformanceCounter", &Count};
  Import<decltype(&QueryPerformanceFrequency)> frequency{program, L"kernel32",
                                                         "QueryPerformanceFrequency", &Frequency};
};

DriverPace::DriverPace(std::function<double()> advance)
    : state_(std::make_unique<State>(std::move(advance))) {}
DriverPace::~DriverPace() = default;

// It is asked in every wait anyway.
void DriverPace::Hurry() {}

}  // namespace qmzentrel::contract
