// The virtual box as a program, or a tap between a client and a box.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "tools/virtual_box/box_program.h"
#include "tools/virtual_box/options.h"
#include "tools/virtual_box/tap_program.h"
#ifndef _WIN32
#include "tools/virtual_box/own_session.h"
#endif

namespace {

using namespace qmzentrel::virtual_box;

constexpr int kUsageError = 2;

int Fail(const std::string& reason, int code) {
  std::fprintf(stderr, "virtual_box: %s\n", reason.c_str());
  return code;
}

int Play(const Options& options) {
  std::unique_ptr<PortProgram> program;
  if (options.tap.empty()) {
    program = std::make_unique<BoxProgram>(options);
  } else {
    program = std::make_unique<TapProgram>(options);
  }
  std::string reason = program->Prepare();
  if (!reason.empty()) return Fail(reason, kUsageError);
  reason = program->Start();
  if (!reason.empty()) return Fail(reason, EXIT_FAILURE);
  program->Run();
  return EXIT_SUCCESS;
}

}  // namespace

int main(int count, char** arguments) {
  std::string error;
  const auto options = ParseOptions({arguments + 1, arguments + count}, error);
  if (!options) return Fail(error + "; see --help", kUsageError);
  if (options->help) {
    std::fputs(HelpText().c_str(), stdout);
    return EXIT_SUCCESS;
  }
#ifdef _WIN32
  return Play(*options);
#else
  return RunInOwnSession([&options] { return Play(*options); });
#endif
}
