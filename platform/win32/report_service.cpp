// No such service comes with Windows or with the component; until one is there, no session is.
#include "platform/report_service.h"

namespace qmzentrel::platform {

bool HasDebugSession() {
  return false;
}

void NotifyReportService(std::int32_t /*message*/, const std::string& /*text*/,
                         std::int16_t* /*instance*/, std::int32_t /*timeout_ms*/) {}

}  // namespace qmzentrel::platform
