#include "platform/win32/wide.h"

#include <gtest/gtest.h>

#include <string>

namespace qmzentrel {
namespace {

using platform::Utf8ToWide;
using platform::WideToUtf8;

TEST(Wide, EveryLengthOfACharacterIsConvertedBothWays) {
  const std::string utf8 = "a\xC3\xA9\xE2\x98\x83\xF0\x9F\x98\x80";
  const std::wstring wide = L"a\u00E9\u2603\xD83D\xDE00";
  EXPECT_EQ(Utf8ToWide(utf8), wide);
  EXPECT_EQ(WideToUtf8(wide), utf8);
}

TEST(Wide, TheFirstAndTheLastCharacterOfEachLengthSurvive) {
  for (const std::wstring wide :
       {L"\x7F", L"\x80", L"\x7FF", L"\x800", L"\xFFFF", L"\xD800\xDC00", L"\xDBFF\xDFFF"}) {
    EXPECT_EQ(Utf8ToWide(WideToUtf8(wide)), wide);
  }
  EXPECT_EQ(WideToUtf8(L"\x80").size(), 2u);
  EXPECT_EQ(WideToUtf8(L"\x7FF").size(), 2u);
  EXPECT_EQ(WideToUtf8(L"\x800").size(), 3u);
  EXPECT_EQ(WideToUtf8(L"\xFFFF").size(), 3u);
  EXPECT_EQ(WideToUtf8(L"\xD800\xDC00").size(), 4u);
}

TEST(Wide, EverySingleUnitSurvivesSurrogatesIncluded) {
  for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
    const std::wstring wide(1, static_cast<wchar_t>(unit));
    ASSERT_EQ(Utf8ToWide(WideToUtf8(wide)), wide) << std::hex << unit;
  }
}

TEST(Wide, ALoneSurrogateTakesThreeBytes) {
  EXPECT_EQ(WideToUtf8(L"\xD800"), "\xED\xA0\x80");
  EXPECT_EQ(WideToUtf8(L"\xDFFF"), "\xED\xBF\xBF");
}

TEST(Wide, SurrogatesInTheWrongOrderStayApart) {
  const std::wstring wide = L"\xDE00\xD83D!";
  EXPECT_EQ(Utf8ToWide(WideToUtf8(wide)), wide);
}

TEST(Wide, AZeroCharacterIsACharacterLikeAnyOther) {
  const std::string utf8("a\0b", 3);
  EXPECT_EQ(Utf8ToWide(utf8).size(), 3u);
  EXPECT_EQ(WideToUtf8(Utf8ToWide(utf8)), utf8);
}

TEST(Wide, NothingStaysNothing) {
  EXPECT_EQ(Utf8ToWide(""), L"");
  EXPECT_EQ(WideToUtf8(L""), "");
}

TEST(Wide, BytesThatBelongToNoCharacterAreReplaced) {
  EXPECT_EQ(Utf8ToWide("a\x80z"), L"a\uFFFDz");          // A tail without its head.
  EXPECT_EQ(Utf8ToWide("\xC3"), L"\uFFFD");              // A head at the end.
  EXPECT_EQ(Utf8ToWide("\xC3z"), L"\uFFFDz");            // A head without its tail.
  EXPECT_EQ(Utf8ToWide("\xC0\x80"), L"\uFFFD\uFFFD");    // Longer than need be.
  EXPECT_EQ(Utf8ToWide("\xF4\x90\x80\x80").size(), 4u);  // Beyond the last character.
  EXPECT_EQ(Utf8ToWide("\xFF\xFE"), L"\uFFFD\uFFFD");    // No head at all.
  EXPECT_EQ(Utf8ToWide("\xE2\x98"), L"\uFFFD\uFFFD");    // A character cut off.
}

}  // namespace
}  // namespace qmzentrel
