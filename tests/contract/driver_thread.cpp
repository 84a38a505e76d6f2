// The pace of a driver model in real time.
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <utility>

#include "tests/contract/driver_pace.h"
#include "tests/contract/harness.h"

namespace qmzentrel::contract {
namespace {

// The driver's thread looks again after so long at the latest.
constexpr double kLongestMs = 60'000;

}  // namespace

struct DriverPace::State {
  std::function<double()> advance;
  std::atomic<bool> ending{false};
  HANDLE changed = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  HANDLE thread = nullptr;

  static DWORD WINAPI Work(void* state) {
    auto& self = *static_cast<State*>(state);
    DWORD wait = 0;
    while (WaitForSingleObject(self.changed, wait) != WAIT_FAILED && !self.ending) {
      const double next = self.advance();
      wait = static_cast<DWORD>(std::clamp(next - MonotonicMs() + 1, 1.0, kLongestMs));
    }
    return 0;
  }
};

DriverPace::DriverPace(std::function<double()> advance) : state_(std::make_unique<State>()) {
  state_->advance = std::move(advance);
  state_->thread = CreateThread(nullptr, 0, &State::Work, state_.get(), 0, nullptr);
}

// The thread must not be at work when the process ends around it.
DriverPace::~DriverPace() {
  state_->ending = true;
  Hurry();
  WaitForSingleObject(state_->thread, INFINITE);
  CloseHandle(state_->thread);
  CloseHandle(state_->changed);
}

void DriverPace::Hurry() {
  SetEvent(state_->changed);
}

}  // namespace qmzentrel::contract
