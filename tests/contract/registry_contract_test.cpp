#include "platform/registry.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "tests/contract/harness.h"

namespace qmzentrel {
namespace {

using namespace std::string_view_literals;
using platform::kLocalMachine;
using platform::kRegistryFileNotFound;
using platform::kRegistryMoreData;
using platform::kRegistrySuccess;
using platform::RegistryKey;
using platform::RegistryValueInfo;

// READ_CONTROL, KEY_QUERY_VALUE and KEY_ENUMERATE_SUB_KEYS.
constexpr std::uint32_t kReadAccess = 0x20009;
constexpr std::uint32_t kString = 1;     // REG_SZ
constexpr std::uint32_t kBinary = 3;     // REG_BINARY
constexpr std::uint32_t kNumber = 4;     // REG_DWORD
constexpr std::uint32_t kStrings = 7;    // REG_MULTI_SZ
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
  Put("Present", kNumber, "\1\0\0\0"sv);
  ASSERT_EQ(Open(), kRegistrySuccess);
  EXPECT_EQ(Query("Absent", data_.size()), kRegistryFileNotFound);
}

TEST_F(RegistryContract, AValueComesWithItsTypeItsSizeAndItsBytes) {
  Put("Text", kString, "4.0\0"sv);
  Put("Number", kNumber, "\x78\x56\x34\x12"sv);
  Put("Texts", kStrings, "a\0b\0\0"sv);
  Put("Bytes", kBinary, "\xFF\x00\x80"sv);
  ASSERT_EQ(Open(), kRegistrySuccess);

  EXPECT_EQ(Query("Text", data_.size()), kRegistrySuccess);
  EXPECT_EQ(info_.type, kString);
  EXPECT_EQ(Bytes(), "4.0\0"sv);

  EXPECT_EQ(Query("Number", data_.size()), kRegistrySuccess);
  EXPECT_EQ(info_.type, kNumber);
  EXPECT_EQ(Bytes(), "\x78\x56\x34\x12"sv);

  EXPECT_EQ(Query("Texts", data_.size()), kRegistrySuccess);
  EXPECT_EQ(info_.type, kStrings);
  EXPECT_EQ(Bytes(), "a\0b\0\0"sv);

  EXPECT_EQ(Query("Bytes", data_.size()), kRegistrySuccess);
  EXPECT_EQ(info_.type, kBinary);
  EXPECT_EQ(Bytes(), "\xFF\x00\x80"sv);
}

TEST_F(RegistryContract, AnUnknownTypeIsReportedAsItIs) {
  Put("Odd", kUnusual, "xyz"sv);
  ASSERT_EQ(Open(), kRegistrySuccess);
  EXPECT_EQ(Query("Odd", data_.size()), kRegistrySuccess);
  EXPECT_EQ(info_.type, kUnusual);
  EXPECT_EQ(Bytes(), "xyz"sv);
}

TEST_F(RegistryContract, AValueWithoutBytesHasSizeZero) {
  Put("Empty", kBinary, ""sv);
  ASSERT_EQ(Open(), kRegistrySuccess);
  EXPECT_EQ(Query("Empty", data_.size()), kRegistrySuccess);
  EXPECT_EQ(info_.size, 0u);
}

TEST_F(RegistryContract, AValueThatJustFitsIsRead) {
  Put("Text", kString, "1234567\0"sv);
  ASSERT_EQ(Open(), kRegistrySuccess);
  EXPECT_EQ(Query("Text", 8), kRegistrySuccess);
  EXPECT_EQ(Bytes(), "1234567\0"sv);
}

TEST_F(RegistryContract, AValueThatDoesNotFitTellsItsTypeAndSize) {
  Put("Text", kString, "1234567\0"sv);
  ASSERT_EQ(Open(), kRegistrySuccess);
  EXPECT_EQ(Query("Text", 7), kRegistryMoreData);
  EXPECT_EQ(info_.type, kString);
  EXPECT_EQ(info_.size, 8u);
}

TEST_F(RegistryContract, WithoutRoomAValueTellsItsTypeAndSize) {
  Put("Number", kNumber, "\1\0\0\0"sv);
  ASSERT_EQ(Open(), kRegistrySuccess);
  EXPECT_EQ(Query("Number", 0), kRegistryMoreData);
  EXPECT_EQ(info_.type, kNumber);
  EXPECT_EQ(info_.size, 4u);
}

TEST_F(RegistryContract, NamesOfKeysAndValuesAreReadWithoutCase) {
  Put("SupplyLine", kString, "RTS\0"sv);
  std::string shouted = path_;
  for (char& character : shouted) {
    if (character >= 'a' && character <= 'z') character = static_cast<char>(character - 'a' + 'A');
  }
  ASSERT_EQ(platform::RegistryOpenKey(kLocalMachine, shouted, kReadAccess, key_), kRegistrySuccess);
  EXPECT_EQ(Query("SUPPLYLINE", data_.size()), kRegistrySuccess);
  EXPECT_EQ(Bytes(), "RTS\0"sv);
}

TEST_F(RegistryContract, TheUnnamedValueHasTheEmptyName) {
  Put("", kString, "default\0"sv);
  ASSERT_EQ(Open(), kRegistrySuccess);
  EXPECT_EQ(Query("", data_.size()), kRegistrySuccess);
  EXPECT_EQ(Bytes(), "default\0"sv);
}

TEST_F(RegistryContract, ANameWithABackslashIsAValueOfItsOwn) {
  Put("TELIC2\\8", kNumber, "\x2A\0\0\0"sv);
  ASSERT_EQ(Open(), kRegistrySuccess);
  EXPECT_EQ(Query("TELIC2\\8", data_.size()), kRegistrySuccess);
  EXPECT_EQ(Bytes(), "\x2A\0\0\0"sv);
  RegistryKey subkey = 0;
  EXPECT_EQ(platform::RegistryOpenKey(kLocalMachine, path_ + "\\TELIC2", kReadAccess, subkey),
            kRegistryFileNotFound);
}

TEST_F(RegistryContract, AKeyThatHoldsOnlyAnotherKeyIsThere) {
  contract::PutRegistryValue(path_ + "\\MIF\\1", "Ver", kString, "4.0\0"sv);
  ASSERT_EQ(Open(), kRegistrySuccess);
  EXPECT_EQ(Query("Ver", data_.size()), kRegistryFileNotFound);
}

TEST_F(RegistryContract, AHandleThatIsNoneFails) {
  EXPECT_NE(platform::RegistryCloseKey(0), kRegistrySuccess);
  EXPECT_NE(platform::RegistryQueryValue(0, "Ver", data_, info_), kRegistrySuccess);
}

}  // namespace
}  // namespace qmzentrel
