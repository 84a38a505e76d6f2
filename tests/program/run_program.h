// zentrel.exe as a person or a script runs it.
#pragma once

#include <windows.h>

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "platform/win32/handle.h"

namespace qmzentrel::program_tests {

struct Outcome {
  int exit_code = -1;
  std::string output;
  std::string errors;

  /// The standard output as the one document that it has to be; throws when it is none.
  nlohmann::json Document() const { return nlohmann::json::parse(output); }
};

/// The file of the program under test, which QMZ_PROGRAM in the environment names.
std::wstring ProgramUnderTest();

/// The program under test while it runs. Its output goes to files, so that it never waits for the
/// test, unless it is given another place.
class RunningProgram {
 public:
  /// `arguments` as they would be typed. `input` null: nobody is there who could be asked.
  /// `program` may be a copy elsewhere. An `output` of the caller's is not in the outcome.
  explicit RunningProgram(const std::string& arguments, HANDLE input = nullptr,
                          const std::wstring& program = ProgramUnderTest(),
                          HANDLE output = nullptr);

  DWORD Process() const { return id_; }
  /// What it has printed so far.
  std::string OutputSoFar() const;
  std::string ErrorsSoFar() const;
  /// Waits for its end. A program that never ends is ended, with exit code 259.
  Outcome Await();

 private:
  platform::OwnedHandle process_;
  DWORD id_ = 0;
  std::wstring output_;
  std::wstring errors_;
};

Outcome RunZentrel(const std::string& arguments);

/// Returns once it is so; throws when that takes too long.
void AwaitThat(const std::function<bool()>& is_so);

/// The sentence that a failure prints on the error output: "zentrel: problem; next step." The
/// empty text when `errors` are anything else.
std::string Sentence(const std::string& errors);

}  // namespace qmzentrel::program_tests
