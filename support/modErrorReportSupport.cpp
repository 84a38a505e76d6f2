#include "support/modErrorReportSupport.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/debugger.h"
#include "platform/late_bound.h"
#include "platform/message_box.h"
#include "platform/process_lock.h"
#include "support/ErrorReportClient.h"
#include "support/component_version.h"
#include "support/dump_variable.h"
#include "support/ignoring_errors.h"
#include "support/per_apartment.h"
#include "support/shown_text.h"

namespace qmzentrel::modErrorReportSupport {
namespace {

constexpr char kComponentName[] = "QmZentrel";
constexpr char kErrorHandlerClass[] = "QuenmoorCommunications.Error";
constexpr char kBoxTitle[] = "Application Error";

// Of the report service, which gives none as long as there is no such service.
constexpr std::int32_t ComponentID = 0;

// Set up once for the process; each thread has its own error.
std::atomic<bool> HasInitialised{false};
std::optional<ErrorReportClient> g_client;
std::atomic<int> g_withheld{0};

// Null before any constructor runs: modules add themselves in whatever order they are made.
constinit const GlobalVariables* g_first_global_variables = nullptr;

struct StoredError {
  std::int32_t ErrorNumber = 0;
  std::string ErrorDescription;
  std::int32_t ErrorLine = 0;
  std::string ErrorSource;
};

using ErrorOfApartment = PerApartment<StoredError>;

// A copy, or as much of it as there is memory for: the client may run while an error is reported,
// and meet errors of its own.
StoredError ErrorOfThread() {
  const StoredError* const stored = ErrorOfApartment::Existing();
  if (stored == nullptr) return {};
  try {
    return *stored;
  } catch (const std::bad_alloc&) {
    return {stored->ErrorNumber, "", stored->ErrorLine, ""};
  }
}

// `text` between tags, each on a line of its own.
std::string Section(std::string_view name, const std::string& text) {
  std::string section = "<";
  section.append(name).append(">\r\n").append(text).append("</").append(name).append(">");
  return section;
}

std::string DumpError(const StoredError& error) {
  return DumpVariable("ComponentID", ComponentID) +
         DumpVariable("HasInitialised", HasInitialised.load()) +
         DumpVariable("ErrorNumber", error.ErrorNumber) +
         DumpVariable("ErrorDescription", error.ErrorDescription) +
         DumpVariable("ErrorLine", error.ErrorLine) +
         DumpVariable("ErrorSource", error.ErrorSource);
}

// Made as a whole before anybody is told: the client may run meanwhile, and meet errors of its own.
struct Report {
  const char* module;
  const char* procedure;
  const StoredError& error;
  std::string variables;

  std::string BoxText() const {
    return std::string("QmZentrel has encountered a problem. We are sorry for the inconvenience.") +
           "\r\n\r\nModule: " + module + "\r\nProcedure: " + procedure +
           "\r\nLine Number: " + std::to_string(error.ErrorLine) + "\r\n\r\n" +
           WithZerosShown(error.ErrorDescription) + " (" + std::to_string(error.ErrorNumber) + ")";
  }
};

std::string VariablesText(const StoredError& error, const std::string& local_variables,
                          const std::string& module_variables, const std::string& parameters) {
  const std::string global_variables = DumpError(error) + GlobalVariables::DumpAll();
  return Section("Variables", Section("LocalVariables", local_variables) + "\r\n" +
                                  Section("ModuleVariables", module_variables) + "\r\n" +
                                  Section("GlobalVariables", global_variables) + "\r\n") +
         "\r\n" + Section("Parameters", parameters);
}

// Whether the error handler has taken the report.
bool HandOver(platform::ClientObject handler, const Report& report) {
  const StoredError& error = report.error;
  const std::array<platform::LateArgument, 10> arguments{
      kComponentName,  kComponentVersion, ComponentID,   error.ErrorNumber, error.ErrorDescription,
      error.ErrorLine, error.ErrorSource, report.module, report.procedure,  report.variables};
  return !platform::LateCall(handler, "ErrorHandler", arguments);
}

// Empty when it tells none.
std::string ActionOf(platform::ClientObject handler) {
  std::string action;
  return platform::LateGet(handler, "Action", {}, action) ? "" : action;
}

struct NamedException {
  std::uint32_t code;
  const char* name;
};

// As the operating system defines them.
constexpr NamedException kExceptions[] = {
    {0xC0000005u, "Access Violation"},
    {0x80000002u, "Data Type Misalignment"},
    {0x80000003u, "Breakpoint"},
    {0x80000004u, "Single Step"},
    {0xC000008Cu, "Array Bounds Exceeded"},
    {0xC000008Du, "Float Denormal Operand"},
    {0xC000008Eu, "Divide By Zero"},
    {0xC000008Fu, "Floating Point Inexact Result"},
    {0xC0000090u, "Invalid Operation"},
    {0xC0000091u, "Float Overflow"},
    {0xC0000092u, "Float Stack Check"},
    {0xC0000093u, "Float Underflow"},
    {0xC0000094u, "Integer Divide By Zero"},
    {0xC0000095u, "Integer Overflow"},
    {0xC0000096u, "Privileged Instruction"},
    {0xC0000006u, "In Page Error"},
    {0xC000001Du, "Illegal Instruction"},
    {0xC0000025u, "Non Continuable Exception"},
    {0xC00000FDu, "Stack Overflow"},
    {0xC0000026u, "Invalid Disposition"},
    {0x80000001u, "Guard Page Violation"},
    {0xC0000008u, "Invalid Handle"},
    {0xC000013Au, "Control-C Exit"},
};

std::int32_t FaultNumber(std::uint32_t code) {
  constexpr std::uint32_t kKept = 0x8EF;
  constexpr std::uint32_t kBase = 10000;
  return static_cast<std::int32_t>((code & kKept) | kBase);
}

}  // namespace

HardwareFault::HardwareFault(std::uint32_t exception_code)
    : RunTimeError{FaultNumber(exception_code), ExceptionName(exception_code),
                   "ErrorReportExceptionFilter"},
      RaisedFault{exception_code} {}

void InitErrorReporting() {
  // With the thread's first object, so that an error finds its place there.
  IgnoringErrors(ErrorOfApartment::Provide);
  if (HasInitialised) return;
  const platform::ProcessLock lock;
  if (HasInitialised) return;  // another apartment was faster
  platform::InstallFaultHandling(ErrorReportExceptionFilter);
  g_client.emplace();
  HasInitialised = true;
}

void AnnounceCreation(const char* class_name, std::int16_t& instance_number) {
  g_client->AnnounceCreation(class_name, instance_number);
}

void AnnounceDestruction(const char* class_name, std::int16_t instance_number) {
  g_client->AnnounceDestruction(class_name, instance_number);
}

void StoreError(const RunTimeError& error, std::int32_t line) {
  StoredError& stored = ErrorOfApartment::Provide();
  stored = {error.number, "", line, ""};
  stored.ErrorDescription = error.description;
  stored.ErrorSource = error.source;
}

std::string ReportError(const char* module, const char* procedure,
                        const std::string& local_variables, const std::string& module_variables,
                        const std::string& parameters) {
  if (g_withheld > 0) return "";
  const StoredError error = ErrorOfThread();
  const Report report{
      module, procedure, error,
      AnswerOf([&] { return VariablesText(error, local_variables, module_variables, parameters); },
               std::string())};
  const auto handler = AnswerOf([] { return platform::CreateLateObject(kErrorHandlerClass); },
                                platform::HeldObject());
  const platform::ClientObject object{handler.get()};
  if (handler && AnswerOf([&] { return HandOver(object, report); }, false)) {
    return AnswerOf([&] { return ActionOf(object); }, std::string());
  }
  const auto show = [&] { return platform::ShowStopMessage(kBoxTitle, report.BoxText()); };
  if (!AnswerOf(show, false)) {
    platform::DebuggerOutput(report.BoxText() + "\r\n" + report.variables);
  }
  return "";
}

GlobalVariables::GlobalVariables(Dump dump)
    : dump_(dump), next_(std::exchange(g_first_global_variables, this)) {}

std::string GlobalVariables::DumpAll() {
  std::string text;
  for (const auto* module = g_first_global_variables; module != nullptr; module = module->next_) {
    text += module->dump_();
  }
  return text;
}

ReportsWithheld::ReportsWithheld() {
  ++g_withheld;
}

ReportsWithheld::~ReportsWithheld() {
  --g_withheld;
}

std::string ExceptionName(std::uint32_t code) {
  const auto* const known = std::ranges::find(kExceptions, code, &NamedException::code);
  if (known != std::end(kExceptions)) return known->name;
  char text[32];
  std::snprintf(text, sizeof text, "Unknown (&H%08X)", static_cast<unsigned>(code));
  return text;
}

void ErrorReportExceptionFilter(std::uint32_t code) {
  throw HardwareFault(code);
}

std::string DumpFields() {
  return DumpError(ErrorOfThread());
}

void ReleaseThread() {
  ErrorOfApartment::ReleaseThread();
}

}  // namespace qmzentrel::modErrorReportSupport
