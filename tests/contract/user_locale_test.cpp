// The user's own changes to the regional settings change no number and no separator, nor does what
// the client does to the C library.
#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <clocale>
#include <string>

#include "platform/number.h"
#include "support/conversion.h"

namespace qmzentrel {
namespace {

// Gives the user's locale another value of one setting, for as long as it lives.
class ChangedSetting {
 public:
  ChangedSetting(LCTYPE setting, const wchar_t* value) : setting_(setting) {
    GetLocaleInfoW(LOCALE_USER_DEFAULT, setting_, before_.data(), static_cast<int>(before_.size()));
    // NOLINTNEXTLINE(cppcoreguidelines-prefer-member-initializer): once the old one is read.
    changed_ = SetLocaleInfoW(LOCALE_USER_DEFAULT, setting_, value) != FALSE;
  }
  ~ChangedSetting() { SetLocaleInfoW(LOCALE_USER_DEFAULT, setting_, before_.data()); }
  ChangedSetting(const ChangedSetting&) = delete;
  ChangedSetting& operator=(const ChangedSetting&) = delete;

  bool IsInForce(const wchar_t* value) const {
    std::array<wchar_t, 80> now{};
    GetLocaleInfoW(LOCALE_USER_DEFAULT, setting_, now.data(), static_cast<int>(now.size()));
    return changed_ && std::wstring(now.data()) == value;
  }

 private:
  LCTYPE setting_;
  std::array<wchar_t, 80> before_{};
  bool changed_ = false;
};

TEST(UserLocale, ADecimalCommaChangesNoNumber) {
  const ChangedSetting decimal(LOCALE_SDECIMAL, L",");
  const ChangedSetting thousand(LOCALE_STHOUSAND, L".");
  ASSERT_TRUE(decimal.IsInForce(L","));
  ASSERT_TRUE(thousand.IsInForce(L"."));
  EXPECT_EQ(platform::ParseNumber("4.0"), 4.0);
  EXPECT_EQ(platform::ParseNumber("5,20"), 520.0);
  EXPECT_EQ(platform::FormatNumber(4.0, "0.0"), "4.0");
  EXPECT_EQ(platform::FormatNumber(0.6, "0.0"), "0.6");
  EXPECT_EQ(platform::FormatNumber(-1234.5, "0.00"), "-1234.50");
}

TEST(UserLocale, SeparatorsOfDateAndTimeStayAsTheyAreWritten) {
  const ChangedSetting time(LOCALE_STIME, L".");
  const ChangedSetting date(LOCALE_SDATE, L"-");
  ASSERT_TRUE(time.IsInForce(L"."));
  ASSERT_TRUE(date.IsInForce(L"-"));
  constexpr double kMorning = 46342.0 + (1 * 3600 + 47 * 60 + 2) / 86400.0;
  EXPECT_EQ(platform::FormatDate(kMorning, "Hh:Nn:Ss"), "01:47:02");
  EXPECT_EQ(platform::FormatDate(kMorning, "yyyy/dd"), "2026/16");
  EXPECT_EQ(platform::FormatDate(kMorning, "\"a:b\" Hh\\:Nn"), "a:b 01:47");
}

TEST(UserLocale, ACommaInTheCLibraryOfTheClientChangesNoNumber) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  ASSERT_NE(std::setlocale(LC_ALL, "German"), nullptr);
  ASSERT_STREQ(std::localeconv()->decimal_point, ",");
  const std::string single = NumberText(3.9F);
  const std::string number = NumberText(-0.125);
  const std::string large = NumberText(1.5e+300);
  const std::string whole = NumberText(12.0);
  std::setlocale(LC_ALL, before.c_str());
  EXPECT_EQ(single, "3.9");
  EXPECT_EQ(number, "-0.125");
  EXPECT_EQ(large, "1.5e+300");
  EXPECT_EQ(whole, "12");
}

}  // namespace
}  // namespace qmzentrel
