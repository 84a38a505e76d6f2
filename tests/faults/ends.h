// Ways to end the process that stay what they are while faults are errors.
#pragma once

#include <span>

namespace qmzentrel::faults {

struct End {
  const char* name;
  void (*run)();
};

std::span<const End> Ends();

}  // namespace qmzentrel::faults
