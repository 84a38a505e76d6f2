// Why a command did not do what it was to do.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

#include "zentrel/exit_codes.h"

namespace qmzentrel::program {

/// One sentence in two parts: what is wrong, and what to do next. Neither begins with a capital
/// letter or ends with a full stop.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode failed, const std::string& problem, std::string next_step)
      : std::runtime_error(problem), code(failed), next(std::move(next_step)) {}

  ExitCode code;
  std::string next;
};

/// Windows has been told not to load the DLL of the component.
class ForbiddenByRule : public Failure {
 public:
  ForbiddenByRule()
      : Failure(ExitCode::kNoComponent, "a rule of this machine forbids QmZentrel.dll",
                "have an administrator allow the file, which the event log names under AppLocker "
                "or CodeIntegrity") {}
};

}  // namespace qmzentrel::program
