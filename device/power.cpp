// The supply of the box: kept on while the port is open, or switched on for a command and off again
// some time after the last one.
#include <algorithm>
#include <cmath>

#include "device/Zentrel.h"
#include "platform/clock.h"
#include "platform/message_loop.h"
#include "platform/pause.h"

namespace qmzentrel {
namespace {

// The box needs this long from supply to its first command.
constexpr std::int32_t kStartUpMs = 2500;

// The clock can be set while somebody waits for it, so no sleep is longer.
constexpr double kLongestSleepMs = 1000;

}  // namespace

void Zentrel::PowerManagement(bool New_PowerManagement) {
  ErrorFrame frame(Fields(), "PowerManagement", Parameters(NAMED(New_PowerManagement)));
  frame.Run([&] {
    STEP m_blnPowerOnDemand = New_PowerManagement;
    STEP Power(!New_PowerManagement);
  });
}

void Zentrel::Power(bool NewState) {
  ErrorFrame frame(Fields(), "Power", Parameters(NAMED(NewState)));
  frame.Run([&] {
    STEP if (!m_blnPowerOnDemand) {
      STEP m_XTimer->Enabled(false);
      STEP m_blnPowerEnabled = true;
      STEP m_PortCtrl.Supply(1);
      // Deliberate: clients count on the pair of events around each command in this mode, though
      // the line stays on.
      STEP RaisePowerStateChange(NewState);
    }
    else if (NewState) {
      STEP m_XTimer->Enabled(false);
      STEP if (!m_blnPowerEnabled) {
        STEP m_PortCtrl.Supply(1);
        STEP m_blnPowerEnabled = true;
        STEP platform::Pause(kStartUpMs);
        STEP RaisePowerStateChange(true);
      }
      STEP WaitForClock(m_sngBoxStatusTimeout);
    }
    else {
      STEP m_lngPowerTimer = m_lngPowerTimeout;
      STEP m_XTimer->Enabled(true);
    }
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

// `mark` is a member, read afresh each turn: a call from within the wait may move it. Plain seconds
// since midnight without a wrap: a mark beyond midnight is never reached, as clients know it.
void Zentrel::WaitForClock(const float& mark) {
  platform::YieldingWait wait;
  for (;;) {
    const float missing = mark - platform::SecondsSinceMidnight();
    if (missing <= 0) return;
    wait.Turn(static_cast<std::int32_t>(std::min(std::ceil(missing * 1000.0), kLongestSleepMs)));
  }
}

}  // namespace qmzentrel
