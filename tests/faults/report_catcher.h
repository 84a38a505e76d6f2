// The external error handler, as a class object of this process.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qmzentrel::faults {

/// What one call of the error handler was given.
struct CaughtReport {
  std::string component;
  std::int32_t number = 0;
  std::string description;
  std::int32_t line = 0;
  std::string source;
  std::string module;
  std::string procedure;
  std::string variables;
};

/// Takes the place of the registered error handler in this process, as long as it lives, and notes
/// every report.
class ReportCatcher {
 public:
  ReportCatcher();
  ~ReportCatcher();
  ReportCatcher(const ReportCatcher&) = delete;
  ReportCatcher& operator=(const ReportCatcher&) = delete;

  bool IsRegistered() const { return cookie_ != 0; }
  /// The reports since the last call.
  static std::vector<CaughtReport> TakeReports();

 private:
  unsigned long cookie_ = 0;
};

}  // namespace qmzentrel::faults
