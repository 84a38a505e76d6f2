#include "support/ErrorReportClient.h"

#include <string>

#include "platform/report_service.h"
#include "support/ignoring_errors.h"

namespace qmzentrel {
namespace {

// Messages of the service.
constexpr std::int32_t kInstanceCreated = 500;
constexpr std::int32_t kInstanceDestroyed = 501;
// How long the service may take.
constexpr std::int32_t kTimeoutMs = 2000;

std::string NoticeText(const char* class_name, std::int32_t number) {
  return std::string(class_name) + "," + std::to_string(number);
}

}  // namespace

ErrorReportClient::ErrorReportClient()
    : has_debug_session_(AnswerOf([] { return platform::HasDebugSession(); }, false)) {}

void ErrorReportClient::AnnounceCreation(const char* class_name,
                                         std::int16_t& instance_number) const {
  if (!has_debug_session_) return;
  platform::NotifyReportService(kInstanceCreated, NoticeText(class_name, 1), &instance_number,
                                kTimeoutMs);
}

void ErrorReportClient::AnnounceDestruction(const char* class_name,
                                            std::int16_t instance_number) const {
  if (!has_debug_session_) return;
  platform::NotifyReportService(kInstanceDestroyed, NoticeText(class_name, instance_number),
                                nullptr, kTimeoutMs);
}

}  // namespace qmzentrel
