#include "tests/core/reference_text.h"

#include "tests/core/source_text.h"

namespace qmzentrel::tests {

std::string ReferenceText(const std::string& page) {
  return SourceText("interface/reference/" + page + ".md");
}

}  // namespace qmzentrel::tests
