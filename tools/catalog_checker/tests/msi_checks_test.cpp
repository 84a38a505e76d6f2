// Meter-specific information.
#include "tools/catalog_checker/tests/sample_catalog.h"

namespace qmzentrel::catalog_checker::tests {
namespace {

class MsiChecks : public SampleCatalog {
 protected:
  static constexpr const char* kNotWritten =
      "writing a record with such a value is refused: S_BAD_DATA";
  inline static const std::string kPulse = kKernel + "\\MSIPulse";
  inline static const std::string kEncoder = kKernel + "\\MSIEncoder";
};

TEST_F(MsiChecks, TheKeyThatAnInterfaceNamesExists) {
  SetText(InterfaceKey(1), "MSI", "MSIPuls");
  EXPECT_EQ(Faults(), Only{Fault(InterfaceKey(1), "MSI", "names a key that does not exist: MSIPuls",
                                 "caption and values of the MSI are the defaults")});
}

TEST_F(MsiChecks, TheKeyThatAnInterfaceNamesIsNoneOfTheOthers) {
  SetText(InterfaceKey(1), "MSI", "txi");
  EXPECT_EQ(Faults(),
            Only{Fault(InterfaceKey(1), "MSI", "names a key that is no MSI description: txi",
                       "the values of that key are taken")});
}

TEST_F(MsiChecks, AKeyThatNoInterfaceNamesIsRemarked) {
  SetText(kKernel + "\\MSIOld", "Caption", "Old");
  EXPECT_EQ(Faults(), Only());
  EXPECT_EQ(NewRemarks(), Only{Remark(kKernel + "\\MSIOld", "", "is named by no interface's MSI",
                                      "nothing reads it")});
}

TEST_F(MsiChecks, MinMaxAndDefaultAreNumbers) {
  SetText(kPulse, "Min", "low");
  SetText(kPulse, "Default", "none");
  EXPECT_EQ(Faults(),
            (Only{Fault(kPulse, "Min", "is no number: \"low\"", "it is taken as 0"),
                  Fault(kPulse, "Default", "is no number: \"none\"", "it is taken as 0")}));
}

TEST_F(MsiChecks, MaxThatIsNoNumberIsTakenAs15) {
  SetText(kPulse, "Max", "high");
  EXPECT_EQ(Faults(), Only{Fault(kPulse, "Max", "is no number: \"high\"", "it is taken as 15")});
}

TEST_F(MsiChecks, DefaultLiesInTheRange) {
  SetNumber(kPulse, "Default", 8);
  EXPECT_EQ(Faults(), Only{Fault(kPulse, "Default", "does not lie between Min and Max",
                                 "no value is selected first")});
}

TEST_F(MsiChecks, AMissingDefaultLiesInTheRangeToo) {
  DeleteValue(kEncoder, "Default");
  EXPECT_EQ(Faults(), Only{Fault(kEncoder, "Default", "does not lie between Min and Max",
                                 "no value is selected first")});
}

TEST_F(MsiChecks, TheRangeIsWhatATransponderHolds) {
  SetNumber(kPulse, "Min", -1);
  SetNumber(kPulse, "Max", 16);
  EXPECT_EQ(Faults(), (Only{Fault(kPulse, "Min", "is -1, below 0", kNotWritten),
                            Fault(kPulse, "Max", "is 16, above 15", kNotWritten)}));
}

TEST_F(MsiChecks, ARangeBelowMinus1OrAbove1000IsLookedUpInPart) {
  SetNumber(kPulse, "Min", -2);
  SetNumber(kPulse, "Max", 1001);
  const std::string in_part = "its numbers are looked up one by one, the first 4096 of them; ";
  EXPECT_EQ(Faults(), (Only{Fault(kPulse, "Min", "is -2, below 0", in_part + kNotWritten),
                            Fault(kPulse, "Max", "is 1001, above 15", in_part + kNotWritten)}));
  SetNumber(kPulse, "Min", -1);
  SetNumber(kPulse, "Max", 1000);
  EXPECT_EQ(Faults(), (Only{Fault(kPulse, "Min", "is -1, below 0", kNotWritten),
                            Fault(kPulse, "Max", "is 1000, above 15", kNotWritten)}));
}

TEST_F(MsiChecks, AnEmptyRangeIsAFault) {
  SetNumber(kPulse, "Min", 8);
  EXPECT_EQ(Faults(), Only{Fault(kPulse, "Max", "is 7, below Min", "no value is offered")});
}

TEST_F(MsiChecks, WhatIsLeftToDefaultsIsRemarked) {
  DeleteValue(kPulse, "Caption");
  DeleteValue(kPulse, "Default");
  DeleteValue(kPulse, "7");
  EXPECT_EQ(Faults(), Only());
  EXPECT_EQ(NewRemarks(), (Only{Remark(kPulse, "Caption", "is missing", "\"MSI\" is shown"),
                                Remark(kPulse, "Default", "is missing", "it is taken as 0"),
                                Remark(kPulse, "7", "is missing", "0x7 is shown")}));
}

TEST_F(MsiChecks, ANameOutsideTheRangeIsNotRead) {
  SetText(kPulse, "8", "Eight");
  EXPECT_EQ(Faults(), Only{Fault(kPulse, "8", "lies outside the range", "nothing reads it")});
}

TEST_F(MsiChecks, NamesArePlainDecimals) {
  SetText(kPulse, "07", "Seven");
  EXPECT_EQ(Faults(),
            Only{Fault(kPulse, "07", "is not named in plain decimal", "nothing reads it")});
}

TEST_F(MsiChecks, ADescriptionOfSeveralInterfacesIsExaminedOnce) {
  SetText(InterfaceKey(1), "MSI", "msipulse");
  SetNumber(kPulse, "Default", 9);
  EXPECT_EQ(Faults().size(), 1U);
}

}  // namespace
}  // namespace qmzentrel::catalog_checker::tests
