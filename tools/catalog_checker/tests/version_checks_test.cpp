// Versions of meter interfaces.
#include "tools/catalog_checker/tests/sample_catalog.h"

namespace qmzentrel::catalog_checker::tests {
namespace {

class VersionChecks : public SampleCatalog {
 protected:
  static constexpr const char* kNotOffered = "the version is not offered";

  static std::string Version(std::int32_t number, const std::string& name) {
    return InterfaceKey(number) + '\\' + name;
  }
};

TEST_F(VersionChecks, AVersionHasItsText) {
  TheWorld().registry[Version(1, "9.0")];
  EXPECT_EQ(Faults(), Only{Fault(Version(1, "9.0"), "Ver", "is missing", kNotOffered)});
}

TEST_F(VersionChecks, TheTextOfAVersionReadsAsANumber) {
  SetText(Version(1, "3.0"), "Ver", "three");
  EXPECT_EQ(Faults(),
            Only{Fault(Version(1, "3.0"), "Ver", "is no number: \"three\"", kNotOffered)});
}

TEST_F(VersionChecks, AVersionOfATypeThatIsNotReadIsAFault) {
  Store(Version(1, "3.0"), "Ver", kRegBinary, "3.0");
  EXPECT_EQ(Faults(), Only{Fault(Version(1, "3.0"), "Ver",
                                 "is stored as REG_BINARY, which is not read", kNotOffered)});
}

TEST_F(VersionChecks, AVersionStoredAsANumberIsRemarked) {
  SetNumber(Version(1, "3.0"), "Ver", 3);
  EXPECT_EQ(Faults(), Only());
  EXPECT_EQ(NewRemarks(), Only{Remark(Version(1, "3.0"), "Ver", "is stored as a number",
                                      "it is shown as \"3\"")});
}

TEST_F(VersionChecks, NumbersAndWordsThatTheSortTripsOverAreAFault) {
  SetText(Version(1, "Latest"), "Ver", "9.0");
  EXPECT_EQ(Faults(), Only{Fault(InterfaceKey(1), "",
                                 "has sub-keys named by numbers and others named by words",
                                 "sorting them fails with error 13, and there is no list")});
}

TEST_F(VersionChecks, NumbersAndWordsThatTheSortSurvivesAreAFaultAsWell) {
  SetText(Version(6, "8.0"), "Ver", "8.0");
  EXPECT_EQ(Faults(), Only{Fault(InterfaceKey(6), "",
                                 "has sub-keys named by numbers and others named by words",
                                 "they are not sorted by number, and one more can make it fail")});
}

TEST_F(VersionChecks, Interface0HasVersions) {
  for (const char* name : {"3.0", "4.0", "7.0", "8.0"}) DeleteKey(Version(0, name));
  EXPECT_EQ(Faults(), Only{Fault(InterfaceKey(0), "", "has no versions",
                                 "the simulator offers no version for primary interfaces")});
}

TEST_F(VersionChecks, AnotherInterfaceWithoutVersionsIsRemarked) {
  DeleteKey(Version(7, "8.0"));
  EXPECT_EQ(Faults(), Only());
  EXPECT_EQ(NewRemarks(), Only{Remark(InterfaceKey(7), "", "has no versions",
                                      "as a secondary interface it leaves the version list as it "
                                      "was")});
}

TEST_F(VersionChecks, WhatAVersionOverridesIsANumber) {
  SetText(Version(1, "4.0"), "MIF", "both");
  EXPECT_EQ(Faults(), Only{Fault(Version(1, "4.0"), "MIF", "is no number: \"both\"",
                                 "the simulator's dialog fails with error 13 when it is chosen")});
}

TEST_F(VersionChecks, AWordedVersionOverridesNothing) {
  SetNumber(Version(6, "First series"), "IDSources", 1);
  EXPECT_EQ(Faults(),
            Only{Fault(Version(6, "First series"), "IDSources",
                       "belongs to a version that sorts as text behind all that are offered",
                       "it overrides nothing")});
}

TEST_F(VersionChecks, AVersionBehindAllThatAreOfferedOverridesNothing) {
  SetText(Version(1, "9.0"), "Ver", "8.5");
  SetNumber(Version(1, "9.0"), "MIF", 1);
  EXPECT_EQ(Faults(),
            Only{Fault(Version(1, "9.0"), "MIF",
                       "belongs to a version that sorts as text behind all that are offered",
                       "it overrides nothing")});
}

TEST_F(VersionChecks, AVersionOfTheInterfaceReachesItsOwnOverride) {
  SetText(Version(1, "9.0"), "Ver", "9.0");
  SetNumber(Version(1, "9.0"), "MIF", 1);
  EXPECT_EQ(Faults(), Only());
}

TEST_F(VersionChecks, AVersionOfInterface0ReachesAnOverride) {
  SetText(Version(0, "9.0"), "Ver", "9.0");
  SetText(Version(1, "9.0"), "Ver", "8.5");
  SetNumber(Version(1, "9.0"), "MIF", 1);
  EXPECT_EQ(Faults(), Only());
}

TEST_F(VersionChecks, ATwoDigitVersionHoldsForTheOneDigitVersionsBehindItAsText) {
  SetText(Version(1, "10.0"), "Ver", "10.0");
  SetNumber(Version(1, "10.0"), "MIF", 1);
  EXPECT_EQ(Faults(), Only());
  EXPECT_EQ(NewRemarks(), Only{Remark(Version(1, "10.0"), "MIF",
                                      "belongs to a version that sorts as text before \"3.0\"",
                                      "it holds for that version, too")});
}

TEST_F(VersionChecks, AMisspeltValueIsRemarked) {
  SetText(Version(1, "3.0"), "Version", "3.0");
  EXPECT_EQ(NewRemarks(), Only{Remark(Version(1, "3.0"), "Version", "is no value of the catalog",
                                      "nothing reads it")});
}

}  // namespace
}  // namespace qmzentrel::catalog_checker::tests
