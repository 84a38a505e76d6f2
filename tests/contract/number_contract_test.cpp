#include "platform/number.h"

#include <gtest/gtest.h>

#include <optional>

namespace qmzentrel {
namespace {

using platform::FormatDate;
using platform::FormatNumber;
using platform::ParseNumber;

constexpr double kMorningOf16November2026 = 46342.0 + (1 * 3600 + 47 * 60 + 2) / 86400.0;
constexpr double kEveningOf5March2027 = 46451.0 + (23 * 3600 + 5 * 60 + 9) / 86400.0;

TEST(NumberContract, ADotIsTheDecimalSeparator) {
  EXPECT_EQ(ParseNumber("4.0"), 4.0);
  EXPECT_EQ(ParseNumber("0.25"), 0.25);
  EXPECT_EQ(ParseNumber(".5"), 0.5);
  EXPECT_EQ(ParseNumber("1."), 1.0);
}

TEST(NumberContract, ACommaOnlyGroupsDigits) {
  EXPECT_EQ(ParseNumber("5,20"), 520.0);
  EXPECT_EQ(ParseNumber("1,234"), 1234.0);
}

TEST(NumberContract, SignsBlanksAndExponentsBelongToANumber) {
  EXPECT_EQ(ParseNumber("-3"), -3.0);
  EXPECT_EQ(ParseNumber("+2"), 2.0);
  EXPECT_EQ(ParseNumber(" 5 "), 5.0);
  EXPECT_EQ(ParseNumber("1e3"), 1000.0);
  EXPECT_EQ(ParseNumber("2.5E-1"), 0.25);
}

TEST(NumberContract, AnythingElseIsNoNumber) {
  EXPECT_EQ(ParseNumber(""), std::nullopt);
  EXPECT_EQ(ParseNumber(" "), std::nullopt);
  EXPECT_EQ(ParseNumber("abc"), std::nullopt);
  EXPECT_EQ(ParseNumber("4.0x"), std::nullopt);
  EXPECT_EQ(ParseNumber("1 2"), std::nullopt);
  EXPECT_EQ(ParseNumber("."), std::nullopt);
  EXPECT_EQ(ParseNumber("-"), std::nullopt);
  EXPECT_EQ(ParseNumber("0x10"), std::nullopt);
  EXPECT_EQ(ParseNumber("1A"), std::nullopt);
}

TEST(NumberContract, ANumberIsFormattedWithADot) {
  EXPECT_EQ(FormatNumber(4.0, "0.0"), "4.0");
  EXPECT_EQ(FormatNumber(3.14159, "0.00"), "3.14");
  EXPECT_EQ(FormatNumber(-12.5, "0.0"), "-12.5");
  EXPECT_EQ(FormatNumber(1234.5, "0.0"), "1234.5");
  EXPECT_EQ(FormatNumber(0.0, "0.00"), "0.00");
  EXPECT_EQ(FormatNumber(0.6, "0.0"), "0.6");
  EXPECT_EQ(FormatNumber(0.05, "0.00"), "0.05");
  EXPECT_EQ(FormatNumber(-0.5, "0.00"), "-0.50");
  EXPECT_EQ(FormatNumber(16777215.0, "0.00"), "16777215.00");
}

TEST(NumberContract, AWholeNumberNeedsNoDot) {
  EXPECT_EQ(FormatNumber(0.0, "0"), "0");
  EXPECT_EQ(FormatNumber(10.0, "#0"), "10");
  EXPECT_EQ(FormatNumber(0.0, "#0"), "0");
}

TEST(NumberContract, AFormattedHalfIsRoundedAwayFromZero) {
  EXPECT_EQ(FormatNumber(4.25, "0.0"), "4.3");
  EXPECT_EQ(FormatNumber(0.125, "0.00"), "0.13");
  EXPECT_EQ(FormatNumber(99.96, "0.0"), "100.0");
}

TEST(NumberContract, AHalfIsOneInTheDigitsThatTheNumberIsReadAs) {
  EXPECT_EQ(FormatNumber(4.145, "0.00"), "4.15");
  EXPECT_EQ(FormatNumber(1.005, "0.00"), "1.01");
  EXPECT_EQ(FormatNumber(-5.015, "0.00"), "-5.02");
  EXPECT_EQ(FormatNumber(0.285, "0.00"), "0.29");
  EXPECT_EQ(FormatNumber(4.1449999, "0.00"), "4.14");
  EXPECT_EQ(FormatNumber(16777215.0, "0"), "16777215");
}

TEST(NumberContract, TheTimeOfADateIsOnThe24HourClockWithColons) {
  EXPECT_EQ(FormatDate(kMorningOf16November2026, "Hh:Nn:Ss"), "01:47:02");
  EXPECT_EQ(FormatDate(kEveningOf5March2027, "Hh:Nn:Ss"), "23:05:09");
}

TEST(NumberContract, TheDayHasTwoDigitsAndTheYearFour) {
  EXPECT_EQ(FormatDate(kMorningOf16November2026, "dd yyyy"), "16 2026");
  EXPECT_EQ(FormatDate(kEveningOf5March2027, "dd yyyy"), "05 2027");
}

TEST(NumberContract, TheMonthIsNamed) {
  const std::string text = FormatDate(kMorningOf16November2026, "dd mmm yyyy, Hh:Nn:Ss");
  ASSERT_GT(text.size(), 18u);
  EXPECT_EQ(text.substr(0, 3), "16 ");
  EXPECT_EQ(text.substr(text.size() - 15), " 2026, 01:47:02");
  const std::string month = text.substr(3, text.size() - 18);
  EXPECT_FALSE(month.empty());
  EXPECT_EQ(month.find_first_of("0123456789 "), std::string::npos) << month;
}

TEST(NumberContract, MidnightIsHourZero) {
  EXPECT_EQ(FormatDate(46342.0, "Hh:Nn:Ss"), "00:00:00");
}

}  // namespace
}  // namespace qmzentrel
