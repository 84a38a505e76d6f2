// Transmit intervals.
#include "tools/catalog_checker/tests/sample_catalog.h"

namespace qmzentrel::catalog_checker::tests {
namespace {

class IntervalChecks : public SampleCatalog {
 protected:
  static constexpr const char* kNoneOffered = "no interval is offered";
  static constexpr const char* kNotWritten =
      "writing a record with such an interval is refused: S_BAD_DATA";
};

TEST_F(IntervalChecks, BothEndsOfTheRangeHaveToBeThere) {
  DeleteValue(kIntervals, "Min");
  DeleteValue(kIntervals, "Max");
  EXPECT_EQ(Faults(), (Only{Fault(kIntervals, "Min", "is missing", kNoneOffered),
                            Fault(kIntervals, "Max", "is missing", kNoneOffered)}));
}

TEST_F(IntervalChecks, TheRangeIsNotEmpty) {
  SetRange(kIntervals, 4, 3);
  EXPECT_EQ(Faults(), Only{Fault(kIntervals, "Max", "is 3, below Min", kNoneOffered)});
}

TEST_F(IntervalChecks, TheRangeIsWhatATransponderHolds) {
  SetRange(kIntervals, -1, 16);
  EXPECT_EQ(Faults(), (Only{Fault(kIntervals, "Min", "is -1, below 0", kNotWritten),
                            Fault(kIntervals, "Max", "is 16, above 15", kNotWritten)}));
}

TEST_F(IntervalChecks, ARangeBelowMinus1OrAbove1000IsLookedUpInPart) {
  SetRange(kIntervals, -2, 1001);
  const std::string in_part = "its numbers are looked up one by one, the first 4096 of them; ";
  EXPECT_EQ(Faults(), (Only{Fault(kIntervals, "Min", "is -2, below 0", in_part + kNotWritten),
                            Fault(kIntervals, "Max", "is 1001, above 15", in_part + kNotWritten)}));
}

TEST_F(IntervalChecks, AnOfferedIntervalHasAName) {
  DeleteValue(kIntervals, "7");
  EXPECT_EQ(Faults(), Only{Fault(kIntervals, "7", "is missing", "it is listed as \"Unknown\"")});
}

TEST_F(IntervalChecks, AnIntervalThatIsNotOfferedMayLackItsName) {
  SetNumber(kIntervals, "Max", 14);
  DeleteValue(kIntervals, "15");
  EXPECT_EQ(Faults(), Only());
  EXPECT_EQ(NewRemarks(), Only{Remark(kIntervals, "15", "is missing", "TXIName is empty")});
}

TEST_F(IntervalChecks, ANameBeyond15IsNotRead) {
  SetText(kIntervals, "16", "Once a week");
  EXPECT_EQ(Faults(), Only{Fault(kIntervals, "16", "lies outside the range", "nothing reads it")});
}

}  // namespace
}  // namespace qmzentrel::catalog_checker::tests
