#include "tests/fuzz/finding.h"

#include <cstdio>
#include <cstdlib>

namespace qmzentrel::fuzz {

void Require(bool holds, const std::string& what) {
  if (holds) return;
  std::fprintf(stderr, "FINDING: %s\n", what.c_str());
  std::abort();
}

}  // namespace qmzentrel::fuzz
