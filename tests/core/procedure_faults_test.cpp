// Every procedure with an error frame is made to fail by some test.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "tests/core/fault_report.h"
#include "tests/core/procedure_sources.h"

namespace qmzentrel::tests {
namespace {

/// The procedures that tests of this program are named after.
std::set<std::string> TestedProcedures() {
  std::set<std::string> procedures;
  const testing::UnitTest& program = *testing::UnitTest::GetInstance();
  for (int suite = 0; suite < program.total_test_suite_count(); ++suite) {
    const testing::TestSuite& tests = *program.GetTestSuite(suite);
    for (int test = 0; test < tests.total_test_count(); ++test) {
      const std::string name = tests.GetTestInfo(test)->name();
      if (!name.ends_with(kFaultTestSuffix)) continue;
      procedures.insert(name.substr(0, name.size() - kFaultTestSuffix.size()));
    }
  }
  return procedures;
}

TEST(ProcedureFaults, EveryProcedureOfTheSourcesIsMadeToFail) {
  const std::set<std::string> tested = TestedProcedures();
  const auto& procedures = ProceduresInSources();
  EXPECT_FALSE(procedures.empty());
  for (const ProcedureSource& procedure : procedures) {
    EXPECT_TRUE(tested.contains(procedure.name))
        << procedure.file << ":" << procedure.first_line << ": no test " << procedure.name
        << kFaultTestSuffix;
  }
}

TEST(ProcedureFaults, EveryProcedureThatIsMadeToFailIsInTheSourcesOnce) {
  std::multiset<std::string> names;
  for (const ProcedureSource& procedure : ProceduresInSources()) names.insert(procedure.name);
  for (const std::string& tested : TestedProcedures()) {
    EXPECT_EQ(names.count(tested), 1U) << tested;
  }
}

}  // namespace
}  // namespace qmzentrel::tests
