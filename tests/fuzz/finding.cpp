#include "tests/fuzz/finding.h"

#include <cstdio>
#include <cstdlib>

namespace qmzentrel::fuzz {

void Find(std::string_view what) {
  std::fprintf(stderr, "FINDING: %.*s\n", static_cast<int>(what.size()), what.data());
  std::abort();
}

}  // namespace qmzentrel::fuzz
