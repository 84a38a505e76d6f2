// How findings are written and counted.
#include "tools/catalog_checker/finding.h"

#include <gtest/gtest.h>

namespace qmzentrel::catalog_checker {
namespace {

Findings Numbered(std::size_t faults, std::size_t remarks) {
  Findings findings(faults, {Grade::kFault, "k", "v", "p", "e"});
  findings.resize(faults + remarks, {Grade::kRemark, "k", "v", "p", "e"});
  return findings;
}

TEST(CatalogFinding, ALineNamesGradeKeyValueProblemAndEffect) {
  EXPECT_EQ(Line({Grade::kFault, "A\\B", "Max", "is missing", "nothing works"}),
            "fault: HKLM\\A\\B, Max: is missing; nothing works");
}

TEST(CatalogFinding, ALineOnAKeyAsAWholeNamesNoValue) {
  EXPECT_EQ(Line({Grade::kRemark, "A\\B", "", "is missing", "so be it"}),
            "remark: HKLM\\A\\B: is missing; so be it");
}

TEST(CatalogFinding, ANameWithALineEndStaysOnOneLine) {
  EXPECT_EQ(Line({Grade::kFault, "A", "a\r\nb\x7F\xC3\xA4", "p", "e"}),
            "fault: HKLM\\A, a??b?\xC3\xA4: p; e");
}

TEST(CatalogFinding, TheSummaryCountsBothGrades) {
  EXPECT_EQ(Summary({}), "0 faults, 0 remarks");
  EXPECT_EQ(Summary(Numbered(1, 2)), "1 fault, 2 remarks");
  EXPECT_EQ(Summary(Numbered(2, 1)), "2 faults, 1 remark");
}

TEST(CatalogFinding, TheExitCodeIsTheNumberOfFaultsUpTo255) {
  EXPECT_EQ(ExitCode(Numbered(0, 7)), 0);
  EXPECT_EQ(ExitCode(Numbered(3, 7)), 3);
  EXPECT_EQ(ExitCode(Numbered(255, 0)), 255);
  EXPECT_EQ(ExitCode(Numbered(256, 0)), 255);
}

}  // namespace
}  // namespace qmzentrel::catalog_checker
