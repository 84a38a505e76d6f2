// The checker as a program for the console. It is a 32-bit one, as the component is, and so sees
// the same view of the registry.
#include <cstdio>
#include <string>

#include "platform/win32/console_text.h"
#include "tools/catalog_checker/catalog_checks.h"

namespace {

using namespace qmzentrel::catalog_checker;

constexpr int kNotChecked = 255;

constexpr const char* kHelp =
    "catalog_checker [--quiet]\n"
    "\n"
    "Reads the catalog under HKEY_LOCAL_MACHINE\\SOFTWARE\\QuenmoorComms, in the 32-bit view, and\n"
    "prints one line for each entry that the component ignores, replaces by a default or fails\n"
    "on: its key and value, what is wrong, and what the component does about it. Remarks are\n"
    "allowed, but possibly not meant. Nothing is written.\n"
    "\n"
    "  --quiet  print only the faults\n"
    "  --help   print this text\n"
    "\n"
    "The exit code is the number of faults, at most 255; remarks do not count. It is 255, too,\n"
    "for an option that is not known.\n";

struct Options {
  bool quiet = false;
  bool help = false;
  std::string unknown;
};

Options ParseOptions(int count, char** arguments) {
  Options options;
  for (int i = 1; i < count; ++i) {
    const std::string argument = arguments[i];
    if (argument == "--quiet") {
      options.quiet = true;
    } else if (argument == "--help") {
      options.help = true;
    } else if (options.unknown.empty()) {
      options.unknown = argument;
    }
  }
  return options;
}

void Print(const Findings& findings, bool quiet) {
  for (const Finding& finding : findings) {
    if (quiet && finding.grade != Grade::kFault) continue;
    std::puts(qmzentrel::platform::ConsoleText(Line(finding)).c_str());
  }
  if (!quiet) std::puts(Summary(findings).c_str());
}

int Fail(const std::string& reason) {
  std::fprintf(stderr, "catalog_checker: %s\n", reason.c_str());
  return kNotChecked;
}

}  // namespace

int main(int count, char** arguments) {
  const Options options = ParseOptions(count, arguments);
  if (!options.unknown.empty()) {
    return Fail("unknown option " + options.unknown + "; see --help");
  }
  if (options.help) {
    std::fputs(kHelp, stdout);
    return 0;
  }
  try {
    const Findings findings = CheckCatalog();
    Print(findings, options.quiet);
    return ExitCode(findings);
  } catch (...) {
    // An uncaught exception would end the program with a code that reads as a number of faults.
    return Fail("the check broke off");
  }
}
