#include "tests/fakes/fake_reports.h"

#include "platform/hardware_faults.h"
#include "platform/message_box.h"
#include "platform/message_loop.h"
#include "platform/report_service.h"
#include "tests/fakes/fake_world.h"

namespace qmzentrel::platform {

using fakes::TheWorld;

bool ShowStopMessage(const std::string& title, const std::string& text) {
  TheWorld().Enter("ShowStopMessage");
  if (!TheWorld().has_desktop) return false;
  TheWorld().stop_messages.push_back({title, text});
  const ClientCode windows_of_the_client;
  YieldingWait().Turn(0);
  if (TheWorld().at_stop_message) TheWorld().at_stop_message();
  return true;
}

bool HasDebugSession() {
  TheWorld().Enter("HasDebugSession");
  ++TheWorld().debug_session_questions;
  return TheWorld().has_debug_session;
}

void NotifyReportService(std::int32_t message, const std::string& text, std::int16_t* instance,
                         std::int32_t timeout_ms) {
  TheWorld().Enter("NotifyReportService");
  TheWorld().service_notices.push_back({message, text, instance, timeout_ms});
  if (instance != nullptr) *instance = TheWorld().next_instance++;
}

}  // namespace qmzentrel::platform
