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

}  // namespace qmzentrel
