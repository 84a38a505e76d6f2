// The supply of the box: kept on while the port is open, or switched on for a command and off again
// some time after the last one.
#include "device/Zentrel.h"
#include "device/wait_for_clock.h"
#include "platform/clock.h"
#include "platform/pause.h"

namespace qmzentrel {
namespace {

// The box needs this long from supply to its first command.
constexpr std::int32_t kStartUpMs = 2500;

// A box without a signature needs this long after a Box Status before it may be woken again.
constexpr float kHoldOffSeconds = 3.75F;

}  // namespace

void Zentrel::PowerManagement(bool New_PowerManagement) {
  ErrorFrame frame(Fields(), "PowerManagement", PARAMETERS(New_PowerManagement));
  frame.Run([&] {
    STEP m_blnPowerOnDemand = New_PowerManagement;
    STEP Power(!New_PowerManagement);
  });
}

void Zentrel::Power(bool NewState) {
  ErrorFrame frame(Fields(), "Power", PARAMETERS(NewState));
  frame.Run([&] {
    STEP if (!m_blnPowerOnDemand) {
      STEP m_XTimer->Enabled(false);
      STEP m_blnPowerEnabled = true;
      STEP m_PortCtrl.Supply(1);
      // Deliberate: clients count on the pair of events around each command in this mode, though
      // the line stays on.
      STEP RaisePowerStateChange(NewState);
      return;
    }
    STEP if (!NewState) {
      STEP m_lngPowerTimer = m_lngPowerTimeout;
      STEP m_XTimer->Enabled(true);
      return;
    }
    STEP m_XTimer->Enabled(false);
    STEP if (!m_blnPowerEnabled) {
      STEP m_PortCtrl.Supply(1);
      STEP m_blnPowerEnabled = true;
      STEP platform::Pause(kStartUpMs);
      STEP RaisePowerStateChange(true);
    }
    STEP WaitForHoldOff();
  });
}

void Zentrel::PowerTick() {
  ErrorFrame frame(Fields(), "PowerTick");
  frame.Run([&] {
    STEP if (m_lngPowerTimer <= 0) return;
    STEP m_lngPowerTimer -= 1;
    STEP if (m_lngPowerTimer > 0) return;
    STEP m_blnPowerEnabled = false;
    STEP m_PortCtrl.Supply(0);
    STEP m_XTimer->Enabled(false);
    STEP RaisePowerStateChange(false);
  });
}

void Zentrel::RaisePowerStateChange(bool NewState) {
  if (events_) events_->PowerStateChange(NewState);
}

void Zentrel::StartHoldOff() {
  m_sngBoxStatusTimeout = platform::SecondsSinceMidnight() + kHoldOffSeconds;
}

// The mark is read afresh each turn: a call from within the wait may move it. One further ahead
// than a whole hold-off is out of date, and nothing is waited for: midnight has passed since, or
// the clock was set back. It is compared with the sum that made it, in Single like it: otherwise
// the rounding late in a day could make a hold-off that has just begun seem too long.
void Zentrel::WaitForHoldOff() {
  WaitForClock([this] {
    const float now = platform::SecondsSinceMidnight();
    return m_sngBoxStatusTimeout > now + kHoldOffSeconds ? 0 : m_sngBoxStatusTimeout - now;
  });
}

}  // namespace qmzentrel
