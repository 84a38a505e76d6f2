#include "platform/registry.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <set>
#include <span>
#include <string>
#include <string_view>

#include "tests/contract/harness.h"
#include "tests/contract/registry_codes.h"

namespace qmzentrel {
namespace {

using namespace std::string_view_literals;
using namespace tests;
using platform::kLocalMachine;
using platform::kRegistryFileNotFound;
using platform::kRegistryMoreData;
using platform::kRegistryNoMoreItems;
using platform::kRegistrySuccess;
using platform::RegistryKey;
using platform::RegistryValueInfo;

constexpr std::uint32_t kUnusual = 100;  // No type of the operating system's own.

class RegistryContract : public testing::Test {
 protected:
  void SetUp() override { contract::RemoveTestKey(); }
  void TearDown() override {
    if (key_ != 0) {
      EXPECT_EQ(platform::RegistryCloseKey(key_), kRegistrySuccess);
    }
    contract::RemoveTestKey();
  }
  void Put(const std::string& name, std::uint32_t type, std::string_view bytes) {
    contract::PutRegistryValue(path_, name, type, bytes);
  }
  std::int32_t Open() { return platform::RegistryOpenKey(kLocalMachine, path_, kReadAccess, key_); }
  std::int32_t Query(const std::string& name, std::size_t room) {
    info_ = {kUntouched, kUntouched};
    return platform::RegistryQueryValue(key_, name, std::span(data_).first(room), info_);
  }
  void ExpectValue(const std::string& name, std::uint32_t type, std::string_view bytes) {
    EXPECT_EQ(Query(name, data_.size()), kRegistrySuccess) << name;
    EXPECT_EQ(info_.type, type) << name;
    EXPECT_EQ(Bytes(), bytes) << name;
  }
  std::string_view Bytes() const {
    return {reinterpret_cast<const char*>(data_.data()), info_.size};
  }

  static constexpr std::uint32_t kUntouched = 0xDEAD;
  const std::string path_{contract::kTestKey};
  RegistryKey key_ = 0;
  RegistryValueInfo info_;
  std::array<std::byte, 64> data_{};
};

TEST_F(RegistryContract, AMissingKeyIsNotFoundAndLeavesTheHandleAlone) {
  key_ = 0;
  EXPECT_EQ(Open(), kRegistryFileNotFound);
  EXPECT_EQ(key_, 0u);
}

TEST_F(RegistryContract, AMissingValueIsNotFound) {
  Put("Present", kRegDword, "\1\0\0\0"sv);
  ASSERT_EQ(Open(), kRegistrySuccess);
  EXPECT_EQ(Query("Absent", data_.size()), kRegistryFileNotFound);
}

TEST_F(RegistryContract, AValueComesWithItsTypeItsSizeAndItsBytes) {
  Put("Text", kRegSz, "4.0\0"sv);
  Put("Number", kRegDword, "\x78\x56\x34\x12"sv);
  Put("Texts", kRegMultiSz, "a\0b\0\0"sv);
  Put("Bytes", kRegBinary, "\xFF\x00\x80"sv);
  ASSERT_EQ(Open(), kRegistrySuccess);

  ExpectValue("Text", kRegSz, "4.0\0"sv);
  ExpectValue("Number", kRegDword, "\x78\x56\x34\x12"sv);
  ExpectValue("Texts", kRegMultiSz, "a\0b\0\0"sv);
  ExpectValue("Bytes", kRegBinary, "\xFF\x00\x80"sv);
}

TEST_F(RegistryContract, AnUnknownTypeIsReportedAsItIs) {
  Put("Odd", kUnusual, "xyz"sv);
  ASSERT_EQ(Open(), kRegistrySuccess);
  ExpectValue("Odd", kUnusual, "xyz"sv);
}

TEST_F(RegistryContract, AValueWithoutBytesHasSizeZero) {
  Put("Empty", kRegBinary, ""sv);
  ASSERT_EQ(Open(), kRegistrySuccess);
  EXPECT_EQ(Query("Empty", data_.size()), kRegistrySuccess);
  EXPECT_EQ(info_.size, 0u);
}

TEST_F(RegistryContract, AValueThatJustFitsIsRead) {
  Put("Text", kRegSz, "1234567\0"sv);
  ASSERT_EQ(Open(), kRegistrySuccess);
  EXPECT_EQ(Query("Text", 8), kRegistrySuccess);
  EXPECT_EQ(Bytes(), "1234567\0"sv);
}

TEST_F(RegistryContract, AValueThatDoesNotFitTellsItsTypeAndSize) {
  Put("Text", kRegSz, "1234567\0"sv);
  ASSERT_EQ(Open(), kRegistrySuccess);
  EXPECT_EQ(Query("Text", 7), kRegistryMoreData);
  EXPECT_EQ(info_.type, kRegSz);
  EXPECT_EQ(info_.size, 8u);
}

TEST_F(RegistryContract, WithoutRoomAValueTellsItsTypeAndSize) {
  Put("Number", kRegDword, "\1\0\0\0"sv);
  ASSERT_EQ(Open(), kRegistrySuccess);
  EXPECT_EQ(Query("Number", 0), kRegistryMoreData);
  EXPECT_EQ(info_.type, kRegDword);
  EXPECT_EQ(info_.size, 4u);
}

TEST_F(RegistryContract, NamesOfKeysAndValuesAreReadWithoutCase) {
  Put("SupplyLine", kRegSz, "RTS\0"sv);
  std::string shouted = path_;
  for (char& character : shouted) {
    if (character >= 'a' && character <= 'z') character = static_cast<char>(character - 'a' + 'A');
  }
  ASSERT_EQ(platform::RegistryOpenKey(kLocalMachine, shouted, kReadAccess, key_), kRegistrySuccess);
  EXPECT_EQ(Query("SUPPLYLINE", data_.size()), kRegistrySuccess);
  EXPECT_EQ(Bytes(), "RTS\0"sv);
}

TEST_F(RegistryContract, TheUnnamedValueHasTheEmptyName) {
  Put("", kRegSz, "default\0"sv);
  ASSERT_EQ(Open(), kRegistrySuccess);
  EXPECT_EQ(Query("", data_.size()), kRegistrySuccess);
  EXPECT_EQ(Bytes(), "default\0"sv);
}

TEST_F(RegistryContract, ANameWithABackslashIsAValueOfItsOwn) {
  Put("TELIC2\\8", kRegDword, "\x2A\0\0\0"sv);
  ASSERT_EQ(Open(), kRegistrySuccess);
  EXPECT_EQ(Query("TELIC2\\8", data_.size()), kRegistrySuccess);
  EXPECT_EQ(Bytes(), "\x2A\0\0\0"sv);
  RegistryKey subkey = 0;
  EXPECT_EQ(platform::RegistryOpenKey(kLocalMachine, path_ + "\\TELIC2", kReadAccess, subkey),
            kRegistryFileNotFound);
}

TEST_F(RegistryContract, AKeyThatHoldsOnlyAnotherKeyIsThere) {
  contract::PutRegistryValue(path_ + "\\MIF\\1", "Ver", kRegSz, "4.0\0"sv);
  ASSERT_EQ(Open(), kRegistrySuccess);
  EXPECT_EQ(Query("Ver", data_.size()), kRegistryFileNotFound);
}

// --- Enumerations ---

TEST_F(RegistryContract, SubKeysAreCountedFromZeroAndEndWithNoMoreItems) {
  for (const char* name : {"beta", "Alpha", "10"}) {
    contract::PutRegistryValue(path_ + "\\" + name, "Ver", kRegSz, "4.0\0"sv);
  }
  ASSERT_EQ(Open(), kRegistrySuccess);
  std::set<std::string> names;
  for (std::uint32_t index = 0; index < 3; ++index) {
    std::string name;
    EXPECT_EQ(platform::RegistryEnumKey(key_, index, name), kRegistrySuccess);
    names.insert(name);
  }
  EXPECT_EQ(names, (std::set<std::string>{"beta", "Alpha", "10"}));
  std::string untouched = "untouched";
  EXPECT_EQ(platform::RegistryEnumKey(key_, 3, untouched), kRegistryNoMoreItems);
  EXPECT_EQ(untouched, "untouched");
}

TEST_F(RegistryContract, ValuesAreCountedWithNameTypeAndSize) {
  Put("Text", kRegSz, "4.0\0"sv);
  ASSERT_EQ(Open(), kRegistrySuccess);
  std::string name;
  RegistryValueInfo info;
  EXPECT_EQ(platform::RegistryEnumValue(key_, 0, name, {}, info), kRegistrySuccess);
  EXPECT_EQ(name, "Text");
  EXPECT_EQ(info.type, kRegSz);
  EXPECT_EQ(info.size, 4u);
  EXPECT_EQ(platform::RegistryEnumValue(key_, 1, name, {}, info), kRegistryNoMoreItems);
}

TEST_F(RegistryContract, AnEnumeratedValueComesWithItsBytesWhenThereIsRoom) {
  Put("Number", kRegDword, "\x78\x56\x34\x12"sv);
  ASSERT_EQ(Open(), kRegistrySuccess);
  std::string name;
  EXPECT_EQ(platform::RegistryEnumValue(key_, 0, name, std::span(data_).first(4), info_),
            kRegistrySuccess);
  EXPECT_EQ(name, "Number");
  EXPECT_EQ(Bytes(), "\x78\x56\x34\x12"sv);
  EXPECT_EQ(platform::RegistryEnumValue(key_, 0, name, std::span(data_).first(3), info_),
            kRegistryMoreData);
}

TEST_F(RegistryContract, TheUnnamedValueIsEnumeratedWithAnEmptyName) {
  Put("", kRegSz, "default\0"sv);
  ASSERT_EQ(Open(), kRegistrySuccess);
  std::string name = "before";
  EXPECT_EQ(platform::RegistryEnumValue(key_, 0, name, {}, info_), kRegistrySuccess);
  EXPECT_EQ(name, "");
}

// --- Keys below keys ---

TEST_F(RegistryContract, AnOpenKeyIsARootForThoseBelowIt) {
  contract::PutRegistryValue(path_ + "\\MIF\\1", "Ver", kRegSz, "4.0\0"sv);
  ASSERT_EQ(Open(), kRegistrySuccess);
  RegistryKey below = 0;
  ASSERT_EQ(platform::RegistryOpenKey(key_, "MIF\\1", kReadAccess, below), kRegistrySuccess);
  RegistryValueInfo info;
  EXPECT_EQ(platform::RegistryQueryValue(below, "Ver", data_, info), kRegistrySuccess);
  EXPECT_EQ(platform::RegistryCloseKey(below), kRegistrySuccess);
}

// --- Writing ---

TEST_F(RegistryContract, AMissingKeyIsMadeWithAllAboveItAndKeepsWhatIsWritten) {
  const std::string path = path_ + "\\Made\\Here";
  RegistryKey key = 0;
  ASSERT_EQ(platform::RegistryCreateKey(kLocalMachine, path, kWriteAccess, key), kRegistrySuccess);
  EXPECT_EQ(
      platform::RegistrySetValue(key, "Width", kRegDword, std::as_bytes(std::span("\1\2\3", 4))),
      kRegistrySuccess);
  EXPECT_EQ(platform::RegistrySetValue(key, "", kRegSz, std::as_bytes(std::span("x", 2))),
            kRegistrySuccess);
  EXPECT_EQ(platform::RegistryCloseKey(key), kRegistrySuccess);
  ASSERT_EQ(platform::RegistryOpenKey(kLocalMachine, path, kReadAccess, key_), kRegistrySuccess);
  ExpectValue("Width", kRegDword, "\1\2\3\0"sv);
  EXPECT_EQ(Query("", data_.size()), kRegistrySuccess);
  EXPECT_EQ(Bytes(), "x\0"sv);
}

TEST_F(RegistryContract, AKeyThatIsThereKeepsItsOtherValuesWhenOneIsWritten) {
  Put("Kept", kRegSz, "k\0"sv);
  Put("Replaced", kRegSz, "old\0"sv);
  ASSERT_EQ(platform::RegistryCreateKey(kLocalMachine, path_, kWriteAccess | kReadAccess, key_),
            kRegistrySuccess);
  EXPECT_EQ(platform::RegistrySetValue(key_, "Replaced", kRegSz, std::as_bytes(std::span("n", 2))),
            kRegistrySuccess);
  EXPECT_EQ(Query("Kept", data_.size()), kRegistrySuccess);
  EXPECT_EQ(Query("Replaced", data_.size()), kRegistrySuccess);
  EXPECT_EQ(Bytes(), "n\0"sv);
}

TEST_F(RegistryContract, AValueIsDeletedOnce) {
  Put("Gone", kRegSz, "x\0"sv);
  ASSERT_EQ(platform::RegistryCreateKey(kLocalMachine, path_, kWriteAccess | kReadAccess, key_),
            kRegistrySuccess);
  EXPECT_EQ(platform::RegistryDeleteValue(key_, "Gone"), kRegistrySuccess);
  EXPECT_EQ(Query("Gone", data_.size()), kRegistryFileNotFound);
  EXPECT_EQ(platform::RegistryDeleteValue(key_, "Gone"), kRegistryFileNotFound);
}

TEST_F(RegistryContract, AKeyThatMayNotBeWrittenCanBeOpenedForReadingOnly) {
  Put("Kept", kRegSz, "k\0"sv);
  contract::WithReadOnlyTestKey([&] {
    RegistryKey refused = 0;
    EXPECT_EQ(platform::RegistryOpenKey(kLocalMachine, path_, kWriteAccess, refused),
              kAccessDenied);
    EXPECT_EQ(platform::RegistryCreateKey(kLocalMachine, path_, kWriteAccess, refused),
              kAccessDenied);
    EXPECT_EQ(refused, 0u);
    ASSERT_EQ(Open(), kRegistrySuccess);
    EXPECT_EQ(Query("Kept", data_.size()), kRegistrySuccess);
  });
}

TEST_F(RegistryContract, AKeyThatIsOpenedForWritingIsLeftAsItWas) {
  Put("Kept", kRegSz, "k\0"sv);
  RegistryKey writable = 0;
  ASSERT_EQ(platform::RegistryOpenKey(kLocalMachine, path_, kWriteAccess, writable),
            kRegistrySuccess);
  EXPECT_EQ(platform::RegistryCloseKey(writable), kRegistrySuccess);
  ASSERT_EQ(Open(), kRegistrySuccess);
  std::string name;
  EXPECT_EQ(platform::RegistryEnumValue(key_, 0, name, {}, info_), kRegistrySuccess);
  EXPECT_EQ(name, "Kept");
  EXPECT_EQ(platform::RegistryEnumValue(key_, 1, name, {}, info_), kRegistryNoMoreItems);
  EXPECT_EQ(platform::RegistryOpenKey(kLocalMachine, path_ + "\\Missing", kWriteAccess, writable),
            kRegistryFileNotFound);
}

TEST_F(RegistryContract, AHandleThatIsNoneFails) {
  std::string name;
  RegistryKey key = 0;
  EXPECT_NE(platform::RegistryCloseKey(0), kRegistrySuccess);
  EXPECT_NE(platform::RegistryQueryValue(0, "Ver", data_, info_), kRegistrySuccess);
  EXPECT_NE(platform::RegistryEnumKey(0, 0, name), kRegistrySuccess);
  EXPECT_NE(platform::RegistryEnumValue(0, 0, name, {}, info_), kRegistrySuccess);
  EXPECT_NE(platform::RegistrySetValue(0, "Ver", kRegSz, {}), kRegistrySuccess);
  EXPECT_NE(platform::RegistryDeleteValue(0, "Ver"), kRegistrySuccess);
  EXPECT_NE(platform::RegistryCreateKey(0, "x", kWriteAccess, key), kRegistrySuccess);
}

}  // namespace
}  // namespace qmzentrel
