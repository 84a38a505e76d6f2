// The commands, one function for each. Each fills the report and answers with the exit code; what
// stops it is thrown as a Failure.
#pragma once

#include "zentrel/exit_codes.h"
#include "zentrel/options.h"
#include "zentrel/report.h"

namespace qmzentrel::program {

using Command = ExitCode (*)(const Options& options, Report& report);

ExitCode Ports(const Options& options, Report& report);
ExitCode Probe(const Options& options, Report& report);
ExitCode Info(const Options& options, Report& report);
ExitCode Read(const Options& options, Report& report);
ExitCode Write(const Options& options, Report& report);
ExitCode Reset(const Options& options, Report& report);
ExitCode Radio(const Options& options, Report& report);
ExitCode Messages(const Options& options, Report& report);
ExitCode Watch(const Options& options, Report& report);
ExitCode Doctor(const Options& options, Report& report);

}  // namespace qmzentrel::program
