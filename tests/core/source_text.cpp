#include "tests/core/source_text.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

namespace qmzentrel::tests {

std::string SourceFolder() {
  const char* const named = std::getenv("QMZ_SOURCES");
  return named != nullptr ? named : QMZ_SOURCE_DIR;
}

std::string SourceText(const std::string& file) {
  std::ifstream stream(SourceFolder() + "/" + file);
  if (!stream) ADD_FAILURE() << "no " << file << " in " << SourceFolder();
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::vector<std::string> SourceLines(const std::string& file) {
  std::vector<std::string> lines;
  std::istringstream text(SourceText(file));
  for (std::string line; std::getline(text, line);) {
    if (line.ends_with('\r')) line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

std::string SourceLine(const std::string& file, std::int32_t line) {
  const std::vector<std::string> lines = SourceLines(file);
  if (line < 1 || static_cast<std::size_t>(line) > lines.size()) {
    ADD_FAILURE() << file << " has no line " << line;
    return "";
  }
  return lines[static_cast<std::size_t>(line) - 1];
}

}  // namespace qmzentrel::tests
