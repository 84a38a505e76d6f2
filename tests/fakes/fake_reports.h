// The message box and the report service.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace qmzentrel::fakes {

struct FakeReports {
  struct StopMessage {
    std::string title;
    std::string text;
  };
  std::vector<StopMessage> stop_messages;  ///< shown and closed again
  std::function<void()> at_stop_message;   ///< runs while one is up

  bool has_debug_session = false;
  int debug_session_questions = 0;
  struct ServiceNotice {
    std::int32_t message;
    std::string text;
    std::int16_t* instance;
    std::int32_t timeout_ms;
  };
  std::vector<ServiceNotice> service_notices;
  std::int16_t next_instance = 1;  ///< what the service stores next
};

}  // namespace qmzentrel::fakes
