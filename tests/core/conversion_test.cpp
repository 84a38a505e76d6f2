// Numbers and texts into the numbers that the component keeps and sends.
#include "support/conversion.h"

#include <cstdint>
#include <limits>

#include "support/run_time_error.h"
#include "tests/core/core_test.h"

namespace qmzentrel::tests {
namespace {

constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kSmallest = std::numeric_limits<std::int32_t>::min();

class Conversion : public CoreTest {
 protected:
  template <class Action>
  static std::string DescriptionOf(Action action) {
    try {
      action();
    } catch (const RunTimeError& error) {
      return error.description;
    }
    return "no error";
  }
};

TEST_F(Conversion, ANumberThatNeedsEveryDigitHasThemAll) {
  EXPECT_EQ(NumberText(1000000064.0F), "1.00000006e+09");
}

TEST_F(Conversion, ANumberHasNoMoreDigitsThanItTakesToReadItBack) {
  EXPECT_EQ(NumberText(0.000976565F), "0.000976565");
  EXPECT_EQ(NumberText(70861407694.322), "70861407694.322");
}

TEST_F(Conversion, WhatNeverReadsBackAsItselfHasATextAllTheSame) {
  EXPECT_FALSE(NumberText(std::numeric_limits<double>::quiet_NaN()).empty());
  EXPECT_FALSE(NumberText(std::numeric_limits<float>::quiet_NaN()).empty());
}

TEST_F(Conversion, ANumberIsRoundedToTheNearestWholeNumber) {
  EXPECT_EQ(RoundToLong(0), 0);
  EXPECT_EQ(RoundToLong(2.4), 2);
  EXPECT_EQ(RoundToLong(2.6), 3);
  EXPECT_EQ(RoundToLong(-2.4), -2);
  EXPECT_EQ(RoundToLong(-2.6), -3);
  EXPECT_EQ(RoundToLong(0.49999999999999994), 0);
  EXPECT_EQ(RoundToLong(0.50000000000000011), 1);
}

TEST_F(Conversion, AHalfIsRoundedToTheEvenNeighbour) {
  EXPECT_EQ(RoundToLong(0.5), 0);
  EXPECT_EQ(RoundToLong(1.5), 2);
  EXPECT_EQ(RoundToLong(2.5), 2);
  EXPECT_EQ(RoundToLong(3.5), 4);
  EXPECT_EQ(RoundToLong(-0.5), 0);
  EXPECT_EQ(RoundToLong(-1.5), -2);
  EXPECT_EQ(RoundToLong(-2.5), -2);
  EXPECT_EQ(RoundToLong(-3.5), -4);
}

TEST_F(Conversion, EveryNumberThatRoundsInto32BitsFits) {
  EXPECT_EQ(RoundToLong(2147483647.0), kLargest);
  EXPECT_EQ(RoundToLong(2147483647.4), kLargest);
  EXPECT_EQ(RoundToLong(-2147483648.0), kSmallest);
  EXPECT_EQ(RoundToLong(-2147483648.5), kSmallest);
}

TEST_F(Conversion, ANumberBeyond32BitsIsNone) {
  EXPECT_EQ(RoundToLong(2147483647.5), std::nullopt);
  EXPECT_EQ(RoundToLong(2147483648.0), std::nullopt);
  EXPECT_EQ(RoundToLong(-2147483648.6), std::nullopt);
  EXPECT_EQ(RoundToLong(-2147483649.0), std::nullopt);
  EXPECT_EQ(RoundToLong(1e300), std::nullopt);
}

TEST_F(Conversion, InfinityAndWhatIsNoNumberDoNotFit) {
  using Limits = std::numeric_limits<double>;
  EXPECT_EQ(RoundToLong(Limits::infinity()), std::nullopt);
  EXPECT_EQ(RoundToLong(-Limits::infinity()), std::nullopt);
  EXPECT_EQ(RoundToLong(Limits::quiet_NaN()), std::nullopt);
}

TEST_F(Conversion, ToLongRoundsAndIsAnOverflowBeyond32Bits) {
  EXPECT_EQ(ToLong(2.5), 2);
  EXPECT_EQ(ToLong(-2147483648.0), kSmallest);
  EXPECT_EQ(ErrorNumberOf([] { ToLong(2147483648.0); }), 6);
  EXPECT_EQ(DescriptionOf([] { ToLong(-2147483649.0); }), "Overflow");
}

TEST_F(Conversion, AByteHolds0To255) {
  EXPECT_EQ(ToByte(0), 0);
  EXPECT_EQ(ToByte(255), 255);
}

TEST_F(Conversion, ANumberIsNeverCutToAByte) {
  for (const std::int64_t value : {std::int64_t{-1}, std::int64_t{256}, std::int64_t{0x100000000},
                                   std::numeric_limits<std::int64_t>::min()}) {
    EXPECT_EQ(ErrorNumberOf([value] { ToByte(value); }), 6) << value;
  }
  EXPECT_EQ(DescriptionOf([] { ToByte(256); }), "Overflow");
}

TEST_F(Conversion, ATextIsReadWithADotAsDecimalSeparator) {
  EXPECT_EQ(NumericValue("12"), 12.0);
  EXPECT_EQ(NumericValue("-12"), -12.0);
  EXPECT_EQ(NumericValue("4.0"), 4.0);
  EXPECT_EQ(NumericValue(" 7 "), 7.0);
  EXPECT_EQ(NumericValue("3000000000"), 3e9);
}

TEST_F(Conversion, ATextThatIsNoNumberHasNoValue) {
  for (const char* text : {"", " ", "abc", "12abc", "-", "True", "0x10", "FF"}) {
    EXPECT_EQ(NumericValue(text), std::nullopt) << text;
  }
}

TEST_F(Conversion, AmpersandHPrefixesAHexadecimalNumber) {
  EXPECT_EQ(NumericValue("&H10"), 16.0);
  EXPECT_EQ(NumericValue("&h1f"), 31.0);
  EXPECT_EQ(NumericValue("&H1F"), 31.0);
  EXPECT_EQ(NumericValue("&H0"), 0.0);
  EXPECT_EQ(NumericValue("&H0000000012"), 18.0);
}

TEST_F(Conversion, AmpersandOPrefixesAnOctalNumber) {
  EXPECT_EQ(NumericValue("&O17"), 15.0);
  EXPECT_EQ(NumericValue("&o17"), 15.0);
  EXPECT_EQ(NumericValue("&O37777777777"), -1.0);
}

TEST_F(Conversion, PrefixedDigitsAreTheBitsOfA32BitNumber) {
  EXPECT_EQ(NumericValue("&H7FFFFFFF"), 2147483647.0);
  EXPECT_EQ(NumericValue("&H80000000"), -2147483648.0);
  EXPECT_EQ(NumericValue("&HFFFFFFFF"), -1.0);
}

TEST_F(Conversion, PrefixedDigitsBeyond32BitsHaveNoValue) {
  EXPECT_EQ(NumericValue("&H100000000"), std::nullopt);
  EXPECT_EQ(NumericValue("&O40000000000"), std::nullopt);
}

TEST_F(Conversion, AfterAPrefixNothingButDigitsCounts) {
  for (const char* text : {"&", "&H", "&O", "&HG", "&O8", "&H1G", "&H1 ", "&H 1", "&H-1", "&H+1",
                           "&X10", "H10", "0H10", "0O10"}) {
    EXPECT_EQ(NumericValue(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace qmzentrel::tests
