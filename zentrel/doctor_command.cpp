// doctor: one look at everything that keeps the component from working, with the next step for
// each.
#include <nlohmann/json.hpp>

#include "support/component_version.h"
#include "zentrel/commands.h"
#include "zentrel/component_library.h"
#include "zentrel/doctor_checks.h"

namespace qmzentrel::program {
namespace {

void Show(const Diagnosis& diagnosis, Report& report) {
  constexpr std::size_t kGradeWidth = 9;
  std::string grade = GradeName(diagnosis.grade);
  grade.resize(kGradeWidth, ' ');
  report.Line(grade + diagnosis.check + ": " + diagnosis.text);
  if (!diagnosis.next.empty())
    report.Line(std::string(kGradeWidth, ' ') + "next: " + diagnosis.next);
}

}  // namespace

ExitCode Doctor(const Options& options, Report& report) {
  const Machine machine = ThisMachine();
  Diagnoses diagnoses;
  CheckRegistration(machine, {LibraryBeside(), ParseVersion(kComponentVersion)}, diagnoses);
  CheckCatalogEntries(machine, diagnoses);
  CheckCreation(diagnoses);
  CheckCallers(machine, options.caller, diagnoses);
  CheckErrorHandler(diagnoses);
  CheckSimulator(diagnoses);
  CheckUserCopies(machine, diagnoses);
  CheckRights(machine, diagnoses);
  CheckPorts(options, diagnoses);
  Json checks = Json::array();
  for (const Diagnosis& diagnosis : diagnoses) {
    Show(diagnosis, report);
    checks.push_back({{"check", diagnosis.check},
                      {"grade", GradeName(diagnosis.grade)},
                      {"text", diagnosis.text},
                      {"next", diagnosis.next}});
  }
  report.Document()["checks"] = checks;
  return HasFault(diagnoses) ? ExitCode::kFaultsFound : ExitCode::kDone;
}

}  // namespace qmzentrel::program
