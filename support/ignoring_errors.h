// Statements whose errors nobody shall hear of.
#pragma once

#include "platform/hardware_faults.h"

namespace qmzentrel {

/// Runs `statement`; what it raises, exceptions of the processor included, ends here. Not an
/// exception that the client handles outside.
template <class Statement>
void IgnoringErrors(Statement statement) {
  try {
    platform::RaisingFaults([&] { statement(); });
  } catch (const platform::ClientUnwinding&) {
    throw;
  } catch (...) {
  }
}

/// What `answer` gives, or `otherwise` for whatever error befalls it.
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
