// What the checker has to say of one entry of the catalog.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace qmzentrel::catalog_checker {

enum class Grade {
  kFault,   ///< the component ignores the entry, falls back to a default, or fails on it
  kRemark,  ///< allowed, but possibly not meant
};

struct Finding {
  Grade grade;
  std::string key;      ///< path below HKEY_LOCAL_MACHINE
  std::string value;    ///< kUnnamed for the unnamed value, empty for the key as a whole
  std::string problem;  ///< "is missing"
  std::string effect;   ///< what the component does about it
};

/// The unnamed value of a key, as the registry editor shows it.
inline constexpr const char* kUnnamed = "(default)";

using Findings = std::vector<Finding>;

/// How many findings have this grade.
std::size_t Count(const Findings& findings, Grade grade);

/// One line of printable text, without its end.
std::string Line(const Finding& finding);

/// "1 fault, 2 remarks".
std::string Summary(const Findings& findings);

/// The number of faults, as far as an exit code holds it.
int ExitCode(const Findings& findings);

}  // namespace qmzentrel::catalog_checker
