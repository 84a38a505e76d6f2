// Arrays with bounds of their own: the texts of the class and the numbers of a client.
#include <array>
#include <limits>
#include <new>

#include "interface/long_array.h"
#include "support/string_array.h"
#include "tests/core/core_test.h"

namespace qmzentrel::tests {
namespace {

constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();

template <class Action>
std::int32_t ErrorNumberOf(Action action) {
  try {
    action();
  } catch (const RunTimeError& error) {
    return error.number;
  }
  return 0;
}

// --- Texts ---

void ExpectNoIndices(const StringArray& array, std::initializer_list<std::int32_t> indices) {
  for (const std::int32_t index : indices) {
    EXPECT_EQ(ErrorNumberOf([&] { std::ignore = array[index]; }), 9) << index;
  }
}

TEST(StringArray, HasNoIndexBeforeItIsDimensioned) {
  StringArray array;
  ExpectNoIndices(array, {-1, 0, 1, kMost, kLeast});
  EXPECT_EQ(ErrorNumberOf([&] { array[0] = "x"; }), 9);
}

TEST(StringArray, HasTheIndicesThatItWasGivenAndNoOther) {
  StringArray array;
  array.ReDim(-1, 2);
  EXPECT_EQ(array.LowerBound(), -1);
  EXPECT_EQ(array.UpperBound(), 2);
  for (std::int32_t i = -1; i <= 2; ++i) {
    EXPECT_EQ(array[i], "");
    array[i] = std::to_string(i);
  }
  for (std::int32_t i = -1; i <= 2; ++i) EXPECT_EQ(array[i], std::to_string(i));
  EXPECT_EQ(array.Elements(), (Texts{"-1", "0", "1", "2"}));
  ExpectNoIndices(array, {-2, 3, kMost, kLeast});
}

TEST(StringArray, OneIndexIsEnough) {
  StringArray array;
  array.ReDim(5, 5);
  array[5] = "x";
  EXPECT_EQ(array[5], "x");
  ExpectNoIndices(array, {0, 4, 6});
}

TEST(StringArray, DimensionedAnewForgetsWhatItHeld) {
  StringArray array;
  array.ReDim(0, 1);
  array[0] = "x";
  array.ReDim(0, 3);
  EXPECT_EQ(array.Elements(), Texts(4));
}

TEST(StringArray, AnUpperBoundBelowTheLowerIsError9AndLeavesTheArray) {
  StringArray array;
  array.ReDim(0, 0);
  array[0] = "x";
  EXPECT_EQ(ErrorNumberOf([&] { array.ReDim(0, -1); }), 9);
  EXPECT_EQ(ErrorNumberOf([&] { array.ReDim(kMost, kLeast); }), 9);
  EXPECT_EQ(array[0], "x");
}

// Where a pointer has 32 bits so many texts exceed all memory; elsewhere they may not.
TEST(StringArray, MoreThanMemoryHoldsIsOutOfMemoryAndLeavesTheArray) {
  if constexpr (sizeof(void*) > 4) GTEST_SKIP() << "there is room for so many texts";
  StringArray array;
  array.ReDim(0, 0);
  array[0] = "x";
  EXPECT_THROW(array.ReDim(kLeast, kMost), std::bad_alloc);
  EXPECT_THROW(array.ReDim(0, 150'000'000), std::bad_alloc);
  EXPECT_EQ(array[0], "x");
}

TEST(StringArray, ErasedIsAsBeforeItWasDimensioned) {
  StringArray array;
  array.ReDim(-1, 2);
  array.Erase();
  ExpectNoIndices(array, {-1, 0, 2});
  EXPECT_EQ(DumpVariable("a", array), "<a>{UnInitialised Array}</a>\r\n");
}

TEST(StringArray, IsReportedWithItsOwnIndices) {
  StringArray array;
  array.ReDim(-1, 0);
  array[-1] = std::string("a\0b", 3);
  array[0] = "c";
  EXPECT_EQ(DumpVariable("a", array), "<a Index=\"-1\">a{Null}</a>\r\n<a Index=\"0\">c</a>\r\n");
}

// --- Numbers ---

TEST(LongArray, HasNoIndexWithoutDimensions) {
  const LongArray array;
  for (const std::int32_t index : {-1, 0, 1, kMost, kLeast}) {
    EXPECT_FALSE(array.Holds(index)) << index;
    EXPECT_EQ(ErrorNumberOf([&] { std::ignore = array[index]; }), 9) << index;
  }
}

TEST(LongArray, StandsForTheClientsNumbersUnderTheClientsIndices) {
  std::vector<std::int32_t> numbers{1, 2, 3};
  for (const std::int32_t lower : {0, 1, -1, -3, kLeast, kMost - 2}) {
    const LongArray array(numbers, lower);
    for (std::int32_t i = 0; i < 3; ++i) {
      EXPECT_TRUE(array.Holds(lower + i)) << lower;
      array.Store(lower + i, 10 * i);
      EXPECT_EQ(numbers[static_cast<std::size_t>(i)], 10 * i);
      EXPECT_EQ(array[lower + i], 10 * i);
    }
  }
}

TEST(LongArray, HasNoIndexBesideItsOwn) {
  std::vector<std::int32_t> numbers{1, 2, 3};
  const std::pair<std::int32_t, std::vector<std::int32_t>> outside[] = {
      {0, {-1, 3, kMost, kLeast}},
      {1, {0, 4}},
      {-1, {-2, 2}},
      {kMost - 2, {kMost - 3, 0, kLeast}},
      {kLeast, {kLeast + 3, 0, kMost}}};
  for (const auto& [lower, indices] : outside) {
    const LongArray array(numbers, lower);
    for (const std::int32_t index : indices) {
      EXPECT_FALSE(array.Holds(index)) << lower << ", " << index;
      EXPECT_EQ(ErrorNumberOf([&, i = index] { std::ignore = array[i]; }), 9)
          << lower << ", " << index;
      EXPECT_EQ(ErrorNumberOf([&, i = index] { array.Store(i, 7); }), 9) << lower << ", " << index;
    }
  }
  EXPECT_EQ(numbers, (std::vector<std::int32_t>{1, 2, 3}));
}

TEST(LongArray, MarksWhatIsStored) {
  std::vector<std::int32_t> numbers{1, 2, 3};
  std::array<bool, 3> stored{};
  const LongArray array(numbers, -1, stored);
  std::ignore = array[0];
  EXPECT_EQ(ErrorNumberOf([&] { array.Store(2, 7); }), 9);
  EXPECT_EQ(stored, (std::array{false, false, false}));
  array.Store(0, 2);
  EXPECT_EQ(stored, (std::array{false, true, false})) << "the same number again";
}

TEST(LongArray, IsReportedWithItsOwnIndices) {
  std::vector<std::int32_t> numbers{8, -1};
  EXPECT_EQ(DumpVariable("a", LongArray(numbers, 1)),
            "<a Index=\"1\">8</a>\r\n<a Index=\"2\">-1</a>\r\n");
  EXPECT_EQ(DumpVariable("a", LongArray(numbers, kMost)),
            "<a Index=\"2147483647\">8</a>\r\n<a Index=\"2147483648\">-1</a>\r\n");
  EXPECT_EQ(DumpVariable("a", LongArray()), "<a>{UnInitialised Array}</a>\r\n");
}

}  // namespace
}  // namespace qmzentrel::tests
