// The kinds of fault that the probe knows.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tests/faults/procedure.h"

namespace qmzentrel::faults {

enum class Way {
  kRaised,     ///< like an error of the statement: destructors run
  kCutBack,    ///< from the procedure, past destructors
  kSwallowed,  ///< reported, and stopped on the way out by whoever called the procedure
  kNone,       ///< nothing happens
};

struct Kind {
  std::string name;
  std::uint32_t code;  ///< of the operating system
  Way way;
  std::function<void()> run;
  /// What another system says instead; 0: nothing.
  std::uint32_t other_code = 0;
};

/// A kind whose fault is raised by `statement` within a procedure.
template <class Statement>
Kind InProcedure(const char* name, std::uint32_t code, Way way, Statement statement,
                 std::uint32_t other_code = 0) {
  return {name, code, way, [statement] { Procedure(statement); }, other_code};
}

/// By the processor's own doing, in each instruction that can fault.
std::vector<Kind> ProcessorKinds();
/// In each place of a program where one can happen.
std::vector<Kind> PlaceKinds();
/// Raised by the operating system, or in its functions.
std::vector<Kind> SystemKinds();
/// What the procedures and their reports make of faults.
std::vector<Kind> ReportKinds();

/// A null pointer that the compiler knows nothing about.
extern int* volatile g_null;

/// The fault that most kinds use.
inline void ReadNull() {
  const int volatile* const address = g_null;
  static_cast<void>(*address);
}

}  // namespace qmzentrel::faults
