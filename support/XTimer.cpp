#include "support/XTimer.h"

#include "platform/timer.h"
#include "support/ignoring_errors.h"
#include "support/modCOM_XTimerSupport.h"
#include "support/variables.h"

namespace qmzentrel {

std::shared_ptr<XTimer> XTimer::Create() {
  return std::shared_ptr<XTimer>(new XTimer);
}

XTimer::~XTimer() {
  if (mlngTimerID == 0) return;
  IgnoringErrors([this] { platform::KillTimer(mlngTimerID); });
}

void XTimer::Enabled(bool NewValue) {
  ErrorFrame frame(fields_, "Enabled", PARAMETERS(NewValue));
  frame.Run([&] {
    STEP if (NewValue == mblnEnabled) return;
    STEP mblnEnabled = NewValue;
    STEP if (mlngInterval == 0) return;
    STEP if (!NewValue) {
      try {
        STEP if (mlngTimerID != 0) modCOM_XTimerSupport::EndTimer(*this);
      } catch (...) {
        mblnEnabled = true;  // it runs on, and can be ended again
        throw;
      }
      return;
    }
    STEP mlngTimerID = modCOM_XTimerSupport::BeginTimer(shared_from_this(), mlngInterval);
  });
}

void XTimer::Interval(std::int32_t NewInterval) {
  ErrorFrame frame(fields_, "Interval", PARAMETERS(NewInterval));
  frame.Run([&] {
    STEP if (NewInterval == mlngInterval) return;
    const std::int32_t old_interval = mlngInterval;
    STEP mlngInterval = NewInterval;
    try {
      STEP if (mlngTimerID != 0) modCOM_XTimerSupport::EndTimer(*this);
    } catch (...) {
      mlngInterval = old_interval;  // it runs on as it was, and can be ended again
      throw;
    }
    STEP if (NewInterval != 0 && mblnEnabled) {
      STEP mlngTimerID = modCOM_XTimerSupport::BeginTimer(shared_from_this(), NewInterval);
    }
  });
}

void XTimer::RaiseTick() {
  ErrorFrame frame(fields_, "RaiseTick");
  frame.Run([&] {
    STEP const auto handler = tick_;  // the handler may detach itself while it runs
    STEP if (handler) handler();
  });
}

std::string XTimer::DumpFields() const {
  return DumpVariables(VARIABLES(mlngTimerID, mlngInterval, mblnEnabled));
}

}  // namespace qmzentrel
