#include "tools/catalog_checker/finding.h"

#include <algorithm>

namespace qmzentrel::catalog_checker {
namespace {

std::string Counted(std::size_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace

std::size_t Count(const Findings& findings, Grade grade) {
  return static_cast<std::size_t>(std::ranges::count(findings, grade, &Finding::grade));
}

std::string Line(const Finding& finding) {
  std::string line = finding.grade == Grade::kFault ? "fault: " : "remark: ";
  line += "HKLM\\" + finding.key;
  if (!finding.value.empty()) line += ", " + finding.value;
  line += ": " + finding.problem + "; " + finding.effect;
  // Names in the registry may hold line ends; whoever reads the output counts on one line each.
  std::ranges::replace_if(
      line, [](unsigned char c) { return c < ' ' || c == 0x7F; }, '?');
  return line;
}

std::string Summary(const Findings& findings) {
  return Counted(Count(findings, Grade::kFault), "fault") + ", " +
         Counted(Count(findings, Grade::kRemark), "remark");
}

int ExitCode(const Findings& findings) {
  constexpr std::size_t kMost = 255;
  return static_cast<int>(std::min(Count(findings, Grade::kFault), kMost));
}

}  // namespace qmzentrel::catalog_checker
