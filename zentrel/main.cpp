// zentrel: a program for people at a bench, who try out a box, a transponder or an installation
// without writing a client.
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "platform/win32/wide.h"
#include "support/run_time_error.h"
#include "zentrel/command_line.h"
#include "zentrel/component.h"
#include "zentrel/failure.h"
#include "zentrel/report.h"

namespace {

using namespace qmzentrel::program;

// Whether the document is wanted, also on a command line that cannot be read.
bool WantsJson(const std::vector<std::string>& arguments) {
  return std::ranges::find(arguments, "--json") != arguments.end();
}

int Run(const std::vector<std::string>& arguments) {
  Invocation invocation;
  try {
    invocation = ParseCommandLine(arguments);
  } catch (const Failure& failure) {
    return Report("", WantsJson(arguments)).Finish(failure);
  }
  Report report(invocation.name, invocation.options.json);
  if (invocation.command == nullptr) {
    std::fputs(invocation.text.c_str(), stdout);
    return static_cast<int>(ExitCode::kDone);
  }
  try {
    const ComApartment apartment;
    return report.Finish(invocation.command(invocation.options, report));
  } catch (const Failure& failure) {
    return report.Finish(failure);
  } catch (const qmzentrel::RunTimeError& error) {
    return report.Finish(Failure(ExitCode::kUnexpected,
                                 "the catalog cannot be used: " + error.description,
                                 "run zentrel doctor"));
  } catch (const std::exception& error) {
    return report.Finish(Failure(ExitCode::kUnexpected, error.what(), "run zentrel doctor"));
  }
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  std::vector<std::string> texts;
  for (int i = 1; i < count; ++i) texts.push_back(qmzentrel::platform::WideToUtf8(arguments[i]));
  return Run(texts);
}
