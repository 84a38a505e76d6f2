#include "support/modErrorReportSupport.h"

#include <atomic>

#include "platform/debugger.h"

namespace qmzentrel::modErrorReportSupport {
namespace {

std::atomic<ReportSink*> g_sink_in_force{nullptr};

void ReportToDebugger(const ErrorReport& report) {
  platform::DebuggerOutput(
      "QmZentrel has encountered a problem. Module: " + report.module +
      ", Procedure: " + report.procedure + ", Line Number: " + std::to_string(report.ErrorLine) +
      ": " + report.ErrorDescription + " (" + std::to_string(report.ErrorNumber) + ")\r\n" +
      report.parameters + report.local_variables + report.module_variables);
}

}  // namespace

void ReportError(const ErrorReport& report) noexcept {
  try {
    if (ReportSink* sink = g_sink_in_force.load()) {
      sink->Report(report);
    } else {
      ReportToDebugger(report);
    }
  } catch (...) {
    // The fault is on its way to the caller already; a second one in its report must not hide it.
  }
}

ReportSink* ExchangeReportSink(ReportSink* sink) {
  return g_sink_in_force.exchange(sink);
}

}  // namespace qmzentrel::modErrorReportSupport
