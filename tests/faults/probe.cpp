#include "tests/faults/probe.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "platform/hardware_faults.h"
#include "support/modErrorReportSupport.h"
#include "support/run_time_error.h"
#include "tests/faults/ends.h"
#include "tests/faults/exception_names.h"
#include "tests/faults/kinds.h"
#include "tests/faults/report_catcher.h"

namespace qmzentrel::faults {

ExpectedReport g_expected;
bool g_faulting_fields = false;
std::atomic<int> Witness::alive = 0;

const ModuleFields& Fields() {
  static constexpr ModuleFields kFields{"Probe", nullptr, [](const void*) {
                                          if (g_faulting_fields) ReadNull();
                                          return DumpVariable("lngField", std::int32_t{7});
                                        }};
  return kFields;
}

namespace {

std::optional<ReportCatcher> g_catcher;
std::vector<Kind> g_kinds;
std::string g_complaint;
bool g_destructors_ran = false;

constexpr int kNothingEscaped = 0;
constexpr int kSomethingElseEscaped = -1;

// The number of the error that left, which is caught here.
template <class Body>
int Escaping(Body body) {
  try {
    body();
  } catch (const RunTimeError& error) {
    return error.number;
  } catch (...) {
    return kSomethingElseEscaped;
  }
  return kNothingEscaped;
}

int NumberOf(std::uint32_t code) {
  return static_cast<int>((code & 0x8EF) | 10000);
}

std::string NameOf(std::uint32_t code) {
  const auto* const named = std::ranges::find(kNamedCodes, code, &NamedCode::code);
  if (named != std::end(kNamedCodes)) return named->name;
  char text[32];
  std::snprintf(text, sizeof text, "Unknown (&H%08X)", static_cast<unsigned>(code));
  return text;
}

template <class Value>
std::string Shown(const Value& value) {
  if constexpr (std::is_arithmetic_v<Value>) {
    return std::to_string(value);
  } else {
    return value;
  }
}

template <class Value>
void Expect(const std::string& what, const Value& actual, const Value& expected) {
  if (actual == expected) return;
  g_complaint += std::string(what) + ": " + Shown(actual) + " and not " + Shown(expected) + "; ";
}

void CheckReport(const CaughtReport& report, std::uint32_t code) {
  Expect<std::string>("component", report.component, "QmZentrel");
  Expect("number", report.number, NumberOf(code));
  Expect("description", report.description, NameOf(code));
  Expect<std::string>("source", report.source, "ErrorReportExceptionFilter");
  Expect<std::string>("module", report.module, g_expected.module);
  Expect<std::string>("procedure", report.procedure, g_expected.procedure);
  if (g_expected.line == -1) {
    Expect("has a line", report.line != 0, true);
  } else {
    Expect("line", report.line, g_expected.line);
  }
  const std::string locals =
      std::string("<LocalVariables>\r\n") + g_expected.locals + "</LocalVariables>\r\n";
  Expect("locals in " + report.variables, report.variables.find(locals) != std::string::npos, true);
}

// What must be as it was when a kind has run.
struct Before {
  int errors_on_the_way = std::uncaught_exceptions();
  int witnesses = Witness::alive;
};

void CheckKind(const Kind& kind, int escaped, const Before& before) {
  const std::vector<CaughtReport> reports = ReportCatcher::TakeReports();
  const bool escapes = kind.way == Way::kRaised || kind.way == Way::kCutBack;
  Expect("what escaped", escaped, escapes ? kErrorReported : kNothingEscaped);
  Expect<std::size_t>("reports", reports.size(), kind.way == Way::kNone ? 0 : 1);
  for (const CaughtReport& report : reports) {
    const bool other = kind.other_code != 0 && report.number == NumberOf(kind.other_code);
    CheckReport(report, other ? kind.other_code : kind.code);
  }
  g_destructors_ran = Witness::alive == before.witnesses;
  if (kind.way != Way::kCutBack) {
    Expect("objects", Witness::alive.load(), before.witnesses);
    Expect("errors on the way", std::uncaught_exceptions(), before.errors_on_the_way);
  }
  Witness::alive = before.witnesses;
}

int Start() {
  g_catcher.emplace();
  modErrorReportSupport::InitErrorReporting();
  for (auto* part : {&ProcessorKinds, &PlaceKinds, &SystemKinds, &ReportKinds}) {
    for (Kind& kind : part()) g_kinds.push_back(std::move(kind));
  }
  return g_catcher->IsRegistered() ? 0 : 1;
}

int RunKind(int index) {
  const Kind& kind = g_kinds[static_cast<std::size_t>(index)];
  g_complaint.clear();
  const Before before;
  const int escaped = Escaping(kind.run);
  CheckKind(kind, escaped, before);
  return g_complaint.empty() ? 0 : 1;
}

int RunUnreported(int index, int times) {
  const modErrorReportSupport::ReportsWithheld withheld;
  int raised = 0;
  for (int count = 0; count < times; ++count) {
    if (Escaping(g_kinds[static_cast<std::size_t>(index)].run) == kErrorReported) ++raised;
  }
  return raised;
}

int CallInProcedure(ProbeClient client, int as_client) {
  const int witnesses = Witness::alive;
  const int escaped = Escaping([&] {
    Procedure([&] {
      std::optional<platform::ClientCode> code_of_the_client;
      if (as_client != 0) code_of_the_client.emplace();
      client();
    });
  });
  Witness::alive = witnesses;
  return escaped;
}

void EndProcess(int end) {
  Escaping(Ends()[static_cast<std::size_t>(end)].run);
}

constexpr FaultProbe kProbe{
    .start = Start,
    .end = [] { g_catcher.reset(); },
    .kinds = [] { return static_cast<int>(g_kinds.size()); },
    .name = [](int kind) { return g_kinds[static_cast<std::size_t>(kind)].name.c_str(); },
    .fault = RunKind,
    .complaint = [] { return g_complaint.c_str(); },
    .destructors_ran = [] { return g_destructors_ran ? 1 : 0; },
    .unreported = RunUnreported,
    .reports = [] { return static_cast<int>(ReportCatcher::TakeReports().size()); },
    .call = CallInProcedure,
    .read_null = ReadNull,
    .ends = [] { return static_cast<int>(Ends().size()); },
    .end_name = [](int end) { return Ends()[static_cast<std::size_t>(end)].name; },
    .end_process = EndProcess,
};

}  // namespace
}  // namespace qmzentrel::faults

extern "C" __declspec(dllexport) const FaultProbe* ProbeInterface() {
  return &qmzentrel::faults::kProbe;
}
