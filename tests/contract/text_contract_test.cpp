#include "platform/text.h"

#include <gtest/gtest.h>

#include <string>

namespace qmzentrel {
namespace {

using platform::CompareTextNoCase;
using platform::FromAnsi;
using platform::ToAnsi;

const std::string kLoneHighSurrogate = "\xED\xA0\x80";

TEST(TextContract, AsciiIsTheSameOnBothSides) {
  std::string ascii;
  for (char character = 1; character < 127; ++character) ascii.push_back(character);
  EXPECT_EQ(ToAnsi(ascii), ascii);
  EXPECT_EQ(FromAnsi(ascii), ascii);
}

TEST(TextContract, NothingStaysNothing) {
  EXPECT_EQ(ToAnsi(""), "");
  EXPECT_EQ(FromAnsi(""), "");
}

TEST(TextContract, AZeroCharacterIsACharacterLikeAnyOther) {
  const std::string text("a\0b", 3);
  EXPECT_EQ(ToAnsi(text), text);
  EXPECT_EQ(FromAnsi(text), text);
}

TEST(TextContract, WhatTheCodePageHoldsComesBackUnchanged) {
  // A degree sign is in every Western, Baltic, Cyrillic and Arabic code page.
  const std::string text = "20 \xC2\xB0";
  EXPECT_EQ(ToAnsi(text).size(), 4u);
  EXPECT_EQ(FromAnsi(ToAnsi(text)), text);
}

TEST(TextContract, EveryByteOfTheCodePageIsText) {
  std::string bytes;
  for (int byte = 0x80; byte <= 0xFF; ++byte) bytes.push_back(static_cast<char>(byte));
  const std::string text = FromAnsi(bytes);
  EXPECT_GE(text.size(), 2 * bytes.size());  // Each needs two bytes or more in UTF-8.
  EXPECT_EQ(FromAnsi(ToAnsi(text)), text);
}

TEST(TextContract, WhatTheCodePageCannotHoldIsReplaced) {
  EXPECT_EQ(ToAnsi("a\xE2\x98\x83z"), "a?z");  // A snowman.
}

TEST(TextContract, ALoneSurrogateIsReplacedLikeAnyOtherCharacter) {
  EXPECT_EQ(ToAnsi("a" + kLoneHighSurrogate + "z"), "a?z");
}

TEST(TextContract, TextsThatDifferInCaseOnlyAreEqual) {
  EXPECT_EQ(CompareTextNoCase("Encoder", "eNCODER"), 0);
  EXPECT_EQ(CompareTextNoCase("", ""), 0);
}

TEST(TextContract, TextsCompareByTheAlphabetWhateverTheirCase) {
  EXPECT_LT(CompareTextNoCase("Alpha", "beta"), 0);
  EXPECT_GT(CompareTextNoCase("beta", "Alpha"), 0);
  EXPECT_LT(CompareTextNoCase("alpha", "Beta"), 0);
  EXPECT_LT(CompareTextNoCase("10", "9"), 0);
}

TEST(TextContract, AShorterTextComesBeforeALongerOneThatBeginsWithIt) {
  EXPECT_LT(CompareTextNoCase("beta", "Beta2"), 0);
  EXPECT_GT(CompareTextNoCase("Beta2", "beta"), 0);
  EXPECT_LT(CompareTextNoCase("", "a"), 0);
}

}  // namespace
}  // namespace qmzentrel
