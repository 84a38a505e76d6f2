// Every test of the program with a box: the class is registered, a virtual box stands behind a
// port.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "tests/clients/box_test.h"
#include "tests/clients/test_catalog.h"
#include "tests/program/run_program.h"

namespace qmzentrel::program_tests {

/// The file of the DLL under test.
inline std::wstring LibraryUnderTest() {
  std::array<wchar_t, MAX_PATH> path{};
  GetModuleFileNameW(clients::LoadedLibrary().module, path.data(), MAX_PATH);
  return path.data();
}

class ProgramTest : public clients::BoxTest {
 protected:
  static void SetUpTestSuite() { ASSERT_EQ(clients::LoadedLibrary().RegisterServer(), S_OK); }
  static void TearDownTestSuite() { EXPECT_EQ(clients::LoadedLibrary().UnregisterServer(), S_OK); }

  /// "--port 7" for the box's port.
  static std::string PortOption() { return " --port " + std::to_string(Port()); }

  /// Runs a command that has to end so, and checks what every document has.
  static nlohmann::json DocumentOf(const std::string& command, int exit_code) {
    const Outcome outcome = RunZentrel(command + " --json");
    EXPECT_EQ(outcome.exit_code, exit_code) << outcome.errors;
    nlohmann::json document = outcome.Document();
    EXPECT_EQ(document["exit_code"], exit_code);
    EXPECT_EQ(document["ok"], exit_code == 0);
    EXPECT_EQ(document.contains("error"), !Sentence(outcome.errors).empty());
    return document;
  }

  clients::FilledTestCatalog catalog;
};

}  // namespace qmzentrel::program_tests
