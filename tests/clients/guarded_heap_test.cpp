// The guarded heap notices what it is there for, and the library has its blocks from it.
#include "tests/clients/guarded_heap.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cstring>

#include "tests/clients/com_client.h"

namespace qmzentrel::clients {
namespace {

bool CanBeTouched(const char* place) {
  MEMORY_BASIC_INFORMATION page{};
  VirtualQuery(place, &page, sizeof page);
  return page.State == MEM_COMMIT;
}

TEST(GuardedHeap, TheByteBehindABlockIsOutOfReach) {
  for (const std::size_t bytes : {8U, 4096U, 8192U + 16U}) {
    auto* const block = static_cast<char*>(TakeGuarded(bytes));
    std::memset(block, 1, bytes);
    EXPECT_TRUE(CanBeTouched(block + bytes - 1)) << bytes;
    EXPECT_FALSE(CanBeTouched(block + bytes)) << bytes;
    GiveBackGuarded(block);
  }
}

TEST(GuardedHeap, ABlockThatWasGivenBackIsOutOfReach) {
  auto* const block = static_cast<char*>(TakeGuarded(100));
  GiveBackGuarded(block);
  EXPECT_FALSE(CanBeTouched(block));
  GiveBackGuarded(TakeGuarded(100));
  EXPECT_FALSE(CanBeTouched(block)) << "it was given away again at once";
}

void WriteBehindABlock() {
  auto* const block = static_cast<char*>(TakeGuarded(5));
  block[5] = 0;
  GiveBackGuarded(block);
}
void WriteBeforeABlock() {
  auto* const block = static_cast<char*>(TakeGuarded(5));
  block[-1] = 0;
  GiveBackGuarded(block);
}
void GiveBackTwice() {
  void* const block = TakeGuarded(5);
  GiveBackGuarded(block);
  GiveBackGuarded(block);
}
void ReadWhatWasGivenBack() {
  LoadedLibrary();
  auto* const block = static_cast<volatile char*>(TakeGuarded(5));
  GiveBackGuarded(const_cast<char*>(block));
  static_cast<void>(block[0]);
}

TEST(GuardedHeapDeathTest, EndsTheProgramAtEachMisuse) {
  const auto noticed = testing::ExitedWithCode(3);
  EXPECT_EXIT(WriteBehindABlock(), noticed, "written to: behind the block");
  EXPECT_EXIT(WriteBeforeABlock(), noticed, "written to: before the block");
  EXPECT_EXIT(GiveBackTwice(), noticed, "given back once more");
  EXPECT_EXIT(ReadWhatWasGivenBack(), noticed, "touched, but behind a block or given back");
}

TEST(GuardedHeap, TheLibraryHasItsBlocksFromIt) {
  LoadedLibrary();
  const std::size_t before = GuardedBlocks();
  NewZentrel();
  EXPECT_GT(GuardedBlocks(), before);
}

}  // namespace
}  // namespace qmzentrel::clients
