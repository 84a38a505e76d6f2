#include "tests/core/reference_text.h"

#include <fstream>
#include <iterator>

namespace qmzentrel::tests {

std::string ReferenceText(const std::string& page) {
  std::ifstream file(QMZ_SOURCE_DIR "/interface/reference/" + page + ".md");
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace qmzentrel::tests
