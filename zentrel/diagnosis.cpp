#include "zentrel/diagnosis.h"

#include <algorithm>

namespace qmzentrel::program {

const char* GradeName(Grade grade) {
  switch (grade) {
    case Grade::kOk:
      return "ok";
    case Grade::kNote:
      return "note";
    case Grade::kWarning:
      return "warning";
    default:
      return "fault";
  }
}

bool HasFault(const Diagnoses& diagnoses) {
  return std::ranges::any_of(
      diagnoses, [](const Diagnosis& diagnosis) { return diagnosis.grade == Grade::kFault; });
}

}  // namespace qmzentrel::program
