#include "tests/fuzz/fresh_world.h"

#include "simulator/simulator_values.h"
#include "support/modCOM_XTimerSupport.h"
#include "support/modErrorReportSupport.h"
#include "support/run_time_error.h"
#include "tests/fakes/fake_world.h"
#include "tests/fakes/hardware_fault.h"
#include "tests/fuzz/finding.h"

namespace qmzentrel::fuzz {

FreshWorld::FreshWorld() {
  fakes::ResetWorld();
  fakes::TheWorld().keeps_journal = false;
  modErrorReportSupport::InitErrorReporting();
  error_handler_.type_name = "Error";
  error_handler_.methods["ErrorHandler"] = [this](const auto& arguments) {
    constexpr std::size_t kNumber = 3;
    reported_.push_back(std::get<std::int32_t>(arguments.at(kNumber)));
    return 0;
  };
  error_handler_.gets["Action"] = [](const auto&) { return std::string("Continue"); };
  fakes::TheWorld().classes["QuenmoorCommunications.Error"] = [this] {
    return platform::HeldObject(platform::HeldObject(), &error_handler_);
  };
}

FreshWorld::~FreshWorld() {
  Require(reported_.empty(), "a report that no call has left with");
  Require(modCOM_XTimerSupport::RunningTimers() == 0, "a timer is left running");
  Require(!fakes::IsInProcedure(), "a frame is left behind");
  Require(fakes::TheWorld().open_keys.empty(), "a key is left open");
  Require(fakes::TheWorld().stop_messages.empty(), "a message box came up");
  for (const auto& port : fakes::TheWorld().ports) {
    Require(!port.second.open,
            [&] { return "port " + std::to_string(port.first) + " is left open"; });
  }
  modCOM_XTimerSupport::ReleaseThread();
  modErrorReportSupport::ReleaseThread();
  simulator::ForgetUnsavedSimulatorValues();
  fakes::ResetWorld();
}

std::int32_t FreshWorld::FaultOf(const std::function<void()>& action) {
  bool left = false;
  try {
    action();
  } catch (const RunTimeError& error) {
    left = true;
    Require(error.number == kErrorReported,
            [&] { return "error " + std::to_string(error.number) + " leaves without a report"; });
  }
  Require(reported_.size() == (left ? 1 : 0),
          [this] { return std::to_string(reported_.size()) + " reports"; });
  const std::int32_t number = left ? reported_.front() : 0;
  reported_.clear();
  return number;
}

}  // namespace qmzentrel::fuzz
