#include "platform/text_file.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/text.h"
#include "tests/contract/harness.h"

namespace qmzentrel {
namespace {

using contract::FileBytes;
using contract::FreshFilePath;
using platform::TextFile;

TEST(TextFileContract, AClosedFileHasNoLengthAndTakesNoLine) {
  TextFile file;
  EXPECT_FALSE(file.IsOpen());
  EXPECT_EQ(file.Length(), 0u);
  EXPECT_FALSE(file.WriteLine("lost"));
  file.Close();
}

TEST(TextFileContract, ANewFileIsMadeAndEmpty) {
  const std::string path = FreshFilePath("new.log");
  TextFile file;
  ASSERT_TRUE(file.Open(path, false));
  EXPECT_TRUE(file.IsOpen());
  EXPECT_EQ(file.Length(), 0u);
  EXPECT_EQ(FileBytes(path), "");
}

TEST(TextFileContract, ALineIsInTheFileAtOnceWithItsTerminator) {
  const std::string path = FreshFilePath("line.log");
  TextFile file;
  ASSERT_TRUE(file.Open(path, true));
  EXPECT_TRUE(file.WriteLine("first"));
  EXPECT_EQ(FileBytes(path), "first\r\n");
  EXPECT_EQ(file.Length(), 7u);
  EXPECT_TRUE(file.WriteLine(""));
  EXPECT_TRUE(file.WriteLine("third"));
  EXPECT_EQ(FileBytes(path), "first\r\n\r\nthird\r\n");
}

TEST(TextFileContract, OpeningAgainGoesOnAtTheEnd) {
  const std::string path = FreshFilePath("append.log");
  TextFile file;
  ASSERT_TRUE(file.Open(path, true));
  file.WriteLine("one");
  file.Close();
  EXPECT_FALSE(file.IsOpen());
  ASSERT_TRUE(file.Open(path, false));
  EXPECT_EQ(file.Length(), 5u);
  file.WriteLine("two");
  EXPECT_EQ(FileBytes(path), "one\r\ntwo\r\n");
}

TEST(TextFileContract, OpeningAfreshDropsWhatWasThere) {
  const std::string path = FreshFilePath("truncate.log");
  TextFile file;
  ASSERT_TRUE(file.Open(path, true));
  file.WriteLine("one");
  file.Close();
  ASSERT_TRUE(file.Open(path, true));
  EXPECT_EQ(file.Length(), 0u);
  EXPECT_EQ(FileBytes(path), "");
}

TEST(TextFileContract, OpeningAnotherFileClosesTheFirst) {
  const std::string first = FreshFilePath("first.log");
  const std::string second = FreshFilePath("second.log");
  TextFile file;
  ASSERT_TRUE(file.Open(first, true));
  ASSERT_TRUE(file.Open(second, true));
  file.WriteLine("here");
  EXPECT_EQ(FileBytes(first), "");
  EXPECT_EQ(FileBytes(second), "here\r\n");
}

TEST(TextFileContract, WithoutItsFolderAFileCannotBeOpened) {
  TextFile file;
  EXPECT_FALSE(file.Open(contract::PathInMissingFolder(), true));
  EXPECT_FALSE(file.Open(contract::PathInMissingFolder(), false));
  EXPECT_FALSE(file.IsOpen());
}

TEST(TextFileContract, AnOpeningThatFailsLeavesNoFileOpen) {
  TextFile file;
  ASSERT_TRUE(file.Open(FreshFilePath("before.log"), true));
  EXPECT_FALSE(file.Open(contract::PathInMissingFolder(), true));
  EXPECT_FALSE(file.IsOpen());
  EXPECT_FALSE(file.WriteLine("lost"));
}

TEST(TextFileContract, TheFileIsInTheAnsiCodePage) {
  const std::string path = FreshFilePath("ansi.log");
  const std::string text = "20 \xC2\xB0";
  TextFile file;
  ASSERT_TRUE(file.Open(path, true));
  file.WriteLine(text);
  EXPECT_EQ(FileBytes(path), platform::ToAnsi(text) + "\r\n");
}

TEST(TextFileContract, ThePathMayHoldAnyCharacter) {
  const std::string path = FreshFilePath("\xC3\xA4 \xE4\xB8\xAD.log");
  TextFile file;
  ASSERT_TRUE(file.Open(path, true));
  file.WriteLine("x");
  EXPECT_EQ(FileBytes(path), "x\r\n");
}

}  // namespace
}  // namespace qmzentrel
