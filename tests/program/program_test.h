// Every test of the program with a box: the class is registered, a virtual box stands behind a
// port.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "tests/clients/box_test.h"
#include "tests/clients/test_catalog.h"
#include "tests/program/run_program.h"

namespace qmzentrel::program_tests {

class ProgramTest : public clients::BoxTest {
 protected:
  static void SetUpTestSuite() { ASSERT_EQ(clients::LoadedLibrary().RegisterServer(), S_OK); }
  static void TearDownTestSuite() { EXPECT_EQ(clients::LoadedLibrary().UnregisterServer(), S_OK); }

  /// "--port 7" for the box's port.
  static std::string PortOption() { return " --port " + std::to_string(Port()); }

  clients::FilledTestCatalog catalog;
};

}  // namespace qmzentrel::program_tests
