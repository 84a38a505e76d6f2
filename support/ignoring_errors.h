// Statements whose errors nobody shall hear of.
#pragma once

#include "platform/hardware_faults.h"

namespace qmzentrel {

/// Runs `statement`; what it raises, exceptions of the processor included, ends here. Only an
/// exception of the client's, which the client handles outside, passes through.
template <class Statement>
void IgnoringErrors(Statement statement) {
  try {
    platform::RaisingFaults([&] { statement(); });
  } catch (const platform::ClientUnwinding&) {
    throw;
  } catch (...) {
  }
}

/// What `answer` gives, or `otherwise` if it raises anything; with the same exception.
template <class Result, class Answer>
Result AnswerOf(Answer answer, Result otherwise) {
  try {
    return platform::RaisingFaults(answer);
  } catch (const platform::ClientUnwinding&) {
    throw;
  } catch (...) {
    return otherwise;
  }
}

}  // namespace qmzentrel
