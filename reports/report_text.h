// A report as an operator reads it.
#pragma once

#include <windows.h>

#include <array>
#include <string>

namespace qmzentrel::reports {

/// The arguments of one report in the order in which they are handed over, each as UTF-8.
struct Report {
  static constexpr std::size_t kArguments = 10;
  enum Place {
    kComponent,
    kVersion,
    kComponentId,
    kNumber,
    kDescription,
    kLine,
    kSource,
    kModule,
    kProcedure,
    kVariables
  };

  std::array<std::string, kArguments> arguments;
};

/// One block of lines for the file, an empty line behind it: the time as the machine's clock shows
/// it with its distance from UTC, the program, and the report.
std::string TextOf(const Report& report);

}  // namespace qmzentrel::reports
