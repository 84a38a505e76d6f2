#include "tests/fuzz/power_model.h"

namespace qmzentrel::fuzz {
namespace {

constexpr Time kTick = milliseconds(1000);
constexpr Time kStartUp = milliseconds(2500);
constexpr Time kHoldOff = milliseconds(3750);

}  // namespace

void PowerModel::PowerManagement(bool on_demand) {
  on_demand_ = on_demand;
  Power(!on_demand);
}

void PowerModel::Power(bool state) {
  if (!on_demand_) {
    StopTimer();
    enabled_ = true;
    line_ = true;
    around_.RaiseEvent(state);
    return;
  }
  if (!state) {
    left_ = timeout;
    StartTimer();
    return;
  }
  StopTimer();
  if (!enabled_) {
    line_ = true;
    enabled_ = true;
    around_.Pass(kStartUp);
    around_.RaiseEvent(true);
  }
  // A mark further ahead than it can have been set is of another day or another clock.
  while (hold_off_ && *hold_off_ > around_.Clock() && *hold_off_ - around_.Clock() <= kHoldOff) {
    around_.Yield(*hold_off_ - around_.Clock());
  }
}

void PowerModel::TakeSignature(std::uint8_t signature) {
  timeout = signature == 0xA5 ? 20 : 60;
}

void PowerModel::StartHoldOff() {
  hold_off_ = around_.Clock() + kHoldOff;
}

void PowerModel::SwitchOff() {
  line_ = false;
  enabled_ = false;
}

void PowerModel::Tick() {
  due_ = around_.Now() + kTick;
  if (left_ <= 0 || --left_ > 0) return;
  enabled_ = false;
  line_ = false;
  StopTimer();
  around_.RaiseEvent(false);
}

void PowerModel::End() {
  SwitchOff();
  due_.reset();
}

// One that is asked for already goes on as it is.
void PowerModel::StartTimer() {
  if (timer_wanted_) return;
  timer_wanted_ = true;
  if (!timers_available) throw Fault();
  due_ = around_.Now() + kTick;
}

void PowerModel::StopTimer() {
  timer_wanted_ = false;
  due_.reset();
}

}  // namespace qmzentrel::fuzz
