// What doctor has found out about one thing.
#pragma once

#include <string>
#include <vector>

namespace qmzentrel::program {

enum class Grade {
  kOk,
  kNote,     ///< nothing wrong, but good to know
  kWarning,  ///< works, but possibly not as it is meant
  kFault,    ///< keeps the component, or its client, from working
};

struct Diagnosis {
  std::string check;  ///< a word or two that never change, for programs
  Grade grade;
  std::string text;
  std::string next;  ///< what to do; empty when it is well
};

using Diagnoses = std::vector<Diagnosis>;

/// "ok", "note", "warning", "fault".
const char* GradeName(Grade grade);

bool HasFault(const Diagnoses& diagnoses);

}  // namespace qmzentrel::program
