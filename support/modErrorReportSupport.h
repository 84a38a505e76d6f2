// Where every fault of the component ends up after its procedure has described it.
#pragma once

#include <cstdint>
#include <string>

namespace qmzentrel::modErrorReportSupport {

/// One fault, described by the procedure that met it.
struct ErrorReport {
  std::int32_t ErrorNumber;
  std::string ErrorDescription;
  std::int32_t ErrorLine;  ///< source line of the statement at work
  std::string ErrorSource;
  std::string module;
  std::string procedure;
  std::string local_variables;
  std::string module_variables;
  std::string parameters;
};

/// Takes reports. Called on the thread that met the fault, once per fault.
class ReportSink {
 public:
  virtual ~ReportSink() = default;
  virtual void Report(const ErrorReport& report) = 0;
};

/// Hands the report to the sink in force. Nothing that the sink raises gets out.
void ReportError(const ErrorReport& report) noexcept;

/// Puts `sink` in force and returns the one before it; null stands for the debugger channel, which
/// is where reports go at first.
ReportSink* ExchangeReportSink(ReportSink* sink);

}  // namespace qmzentrel::modErrorReportSupport
