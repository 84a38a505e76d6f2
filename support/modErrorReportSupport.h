// Where every fault of the component ends up after its procedure has described it, and where the
// exceptions of the processor become faults.
#pragma once

#include <cstdint>
#include <string>

#include "platform/hardware_faults.h"
#include "support/run_time_error.h"

namespace qmzentrel::modErrorReportSupport {

/// An exception of the processor or the operating system as an error: its number is
/// (code AND 0x8EF) OR 10000, its description the exception's name.
struct HardwareFault : RunTimeError, platform::RaisedFault {
  explicit HardwareFault(std::uint32_t exception_code);
};

/// Sets up what the process needs for its reports: the client of the report service and the
/// conversion of exceptions. Does so once; later calls and those of other threads do nothing.
void InitErrorReporting();

/// Announce an object to the report service, once that has been set up and while a debugging
/// session of it is attached. The service stores the number of the instance in `instance_number`.
void AnnounceCreation(const char* class_name, std::int16_t& instance_number);
void AnnounceDestruction(const char* class_name, std::int16_t instance_number);

/// Stores the error that this thread is about to report.
void StoreError(const RunTimeError& error, std::int32_t line);

/// Reports the error stored last on this thread: to the external error handler, or in a message box
/// when there is none or it fails. Where nobody could see a message box the report goes to the
/// debugger channel. Both show a zero character in the description as "{Null}"; the error handler
/// gets it as it is. Returns the action that the error handler has chosen, else nothing.
std::string ReportError(const char* module, const char* procedure,
                        const std::string& local_variables, const std::string& module_variables,
                        const std::string& parameters);

/// The global variables of a module, as one object at its namespace scope: every report shows them
/// behind its own. A program without the module has none of it.
class GlobalVariables {
 public:
  using Dump = std::string (*)();

  explicit GlobalVariables(Dump dump);
  GlobalVariables(const GlobalVariables&) = delete;
  GlobalVariables& operator=(const GlobalVariables&) = delete;

  static std::string DumpAll();

 private:
  Dump dump_;
  const GlobalVariables* next_;
};

/// As long as one lives, ReportError does nothing: for programs that run a procedure of the
/// component to see whether it fails.
class ReportsWithheld {
 public:
  ReportsWithheld();
  ~ReportsWithheld();
  ReportsWithheld(const ReportsWithheld&) = delete;
  ReportsWithheld& operator=(const ReportsWithheld&) = delete;
};

/// The name of an exception of the operating system.
std::string ExceptionName(std::uint32_t code);

/// What becomes of an exception in a procedure, whose innermost record has this code: raises
/// HardwareFault. Exceptions outside every procedure go to the filter that was there before.
[[noreturn]] void ErrorReportExceptionFilter(std::uint32_t code);

/// The fields in declared order, for the error report.
std::string DumpFields();

/// Frees what the calling thread has stored. To be called when a thread ends.
void ReleaseThread();

}  // namespace qmzentrel::modErrorReportSupport
