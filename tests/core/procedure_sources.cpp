#include "tests/core/procedure_sources.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <string_view>

#include "tests/core/source_text.h"

namespace qmzentrel::tests {
namespace {

using Lines = std::vector<std::string>;

// The lines as one text, without the comments at their ends: those name frames that are none.
std::string CodeOf(const Lines& lines) {
  std::string code;
  for (const std::string& line : lines) code += line.substr(0, line.find("//")) + "\n";
  return code;
}

std::string Trimmed(const std::string& text) {
  constexpr const char* kBlanks = " \t\n";
  const std::size_t from = text.find_first_not_of(kBlanks);
  if (from == std::string::npos) return "";
  return text.substr(from, text.find_last_not_of(kBlanks) + 1 - from);
}

// The second argument of the call whose bracket stands ahead of `place`.
std::string SecondArgument(const std::string& code, std::size_t place) {
  std::string argument;
  int depth = 0;
  int number = 1;
  for (; place < code.size(); ++place) {
    const char c = code[place];
    if (c == '(' || c == '{') ++depth;
    if ((c == ')' || c == '}') && --depth < 0) break;
    if (c == ',' && depth == 0) {
      if (++number > 2) break;
    } else if (number == 2) {
      argument += c;
    }
  }
  return Trimmed(argument);
}

std::vector<std::string> Matches(const std::string& text, const std::string& pattern) {
  const std::regex expression(pattern);
  std::vector<std::string> matches;
  for (std::sregex_iterator match(text.begin(), text.end(), expression), end; match != end;
       ++match) {
    matches.push_back((*match)[1]);
  }
  return matches;
}

// What a frame is named: a text in quotes; or else a parameter, and then the function is what its
// callers say.
std::vector<std::string> NamesOf(const std::string& argument, const std::string& code,
                                 std::size_t place) {
  if (argument.starts_with('"')) return {argument.substr(1, argument.size() - 2)};
  const auto functions =
      Matches(code.substr(0, place), R"((\w+)\(const char\* )" + argument + R"(\b)");
  if (functions.empty()) return {};
  return Matches(code, "\\b" + functions.back() + R"x(\("(\w+)")x");
}

std::int32_t LineOf(const std::string& code, std::size_t place) {
  const auto end = code.begin() + static_cast<std::ptrdiff_t>(place);
  return static_cast<std::int32_t>(std::count(code.begin(), end, '\n')) + 1;
}

void AddProceduresOf(const std::string& file, std::vector<ProcedureSource>& procedures) {
  const Lines lines = SourceLines(file);
  const std::string code = CodeOf(lines);
  const std::size_t first = procedures.size();
  const std::regex frame(R"(\bErrorFrame\s+\w+\s*[({])");
  for (std::sregex_iterator match(code.begin(), code.end(), frame), end; match != end; ++match) {
    const auto place = static_cast<std::size_t>(match->position());
    const std::int32_t line = LineOf(code, place);
    for (std::size_t earlier = first; earlier < procedures.size(); ++earlier) {
      procedures[earlier].end_line = std::min(procedures[earlier].end_line, line);
    }
    const auto names = NamesOf(
        SecondArgument(code, place + static_cast<std::size_t>(match->length())), code, place);
    if (names.empty()) ADD_FAILURE() << "a frame without a name in " << file << ":" << line;
    for (const std::string& name : names) {
      procedures.push_back({name, file, line, static_cast<std::int32_t>(lines.size()) + 1});
    }
  }
}

std::vector<ProcedureSource> ReadProcedures() {
  namespace fs = std::filesystem;
  std::vector<ProcedureSource> procedures;
  for (const std::string folder : {"support", "device", "interface", "simulator"}) {
    for (const auto& entry : fs::directory_iterator(fs::path(SourceFolder()) / folder)) {
      const std::string extension = entry.path().extension().string();
      if (extension != ".cpp" && extension != ".h") continue;
      AddProceduresOf(folder + "/" + entry.path().filename().string(), procedures);
    }
  }
  return procedures;
}

}  // namespace

const std::vector<ProcedureSource>& ProceduresInSources() {
  static const auto procedures = ReadProcedures();
  return procedures;
}

}  // namespace qmzentrel::tests
