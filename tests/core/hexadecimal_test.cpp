// Hexadecimal text of fixed width.
#include <limits>

#include "support/modCOM_Hex.h"
#include "tests/core/core_test.h"

namespace qmzentrel::tests {
namespace {

using modCOM_Hex::HexPad;

TEST(HexPad, With0Or1DigitsOrFewerItIsTheBareNumber) {
  EXPECT_EQ(HexPad(255, 1), "FF");
  EXPECT_EQ(HexPad(255, 0), "FF");
  EXPECT_EQ(HexPad(255, -1), "FF");
  EXPECT_EQ(HexPad(0, 0), "0");
  EXPECT_EQ(HexPad(0, 1), "0");
  EXPECT_EQ(HexPad(0x1234, 1), "1234");
}

TEST(HexPad, AShortNumberIsFilledWithZeros) {
  EXPECT_EQ(HexPad(255, 6), "0000FF");
  EXPECT_EQ(HexPad(10, 4), "000A");
  EXPECT_EQ(HexPad(10, 2), "0A");
  EXPECT_EQ(HexPad(0, 2), "00");
  EXPECT_EQ(HexPad(1, 12), "000000000001");
}

TEST(HexPad, ANumberOfTheRightLengthStaysAsItIs) {
  EXPECT_EQ(HexPad(0xAB, 2), "AB");
  EXPECT_EQ(HexPad(0x7FFFFFFF, 8), "7FFFFFFF");
}

TEST(HexPad, ALongNumberIsCutOnTheLeft) {
  EXPECT_EQ(HexPad(0x1234, 2), "34");
  EXPECT_EQ(HexPad(0x1004, 2), "04");
}

TEST(HexPad, EveryDigitIsUpperCase) {
  EXPECT_EQ(HexPad(0x01234567, 8), "01234567");
  EXPECT_EQ(HexPad(static_cast<std::int32_t>(0x89ABCDEFU), 8), "89ABCDEF");
}

TEST(HexPad, ANegativeNumberIsItsTwosComplement) {
  EXPECT_EQ(HexPad(-1, 0), "FFFFFFFF");
  EXPECT_EQ(HexPad(-1, 4), "FFFF");
  EXPECT_EQ(HexPad(-2, 8), "FFFFFFFE");
  EXPECT_EQ(HexPad(-1, 10), "00FFFFFFFF");
  EXPECT_EQ(HexPad(std::numeric_limits<std::int32_t>::min(), 1), "80000000");
}

}  // namespace
}  // namespace qmzentrel::tests
