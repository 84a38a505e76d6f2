// Statements whose errors nobody shall hear of.
#pragma once

#include "platform/hardware_faults.h"

namespace qmzentrel {

/// Runs `statement`; what it raises, exceptions of the processor included, ends here.
template <class Statement>
void IgnoringErrors(Statement statement) noexcept {
  try {
    platform::RaisingFaults(statement);
  } catch (...) {
  }
}

/// What `answer` gives, or `otherwise` for whatever befalls it.
template <class Result, class Answer>
Result AnswerOf(Answer answer, Result otherwise) {
  try {
    return platform::RaisingFaults(answer);
  } catch (...) {
    return otherwise;
  }
}

}  // namespace qmzentrel
