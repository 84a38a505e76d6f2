#include <gtest/gtest.h>

#include "platform/apartment.h"
#include "tests/contract/harness.h"

namespace qmzentrel {
namespace {

using platform::ApartmentSlot;

TEST(ApartmentContract, ASlotIsNullUntilItIsSet) {
  const ApartmentSlot slot;
  EXPECT_EQ(slot.Get(), nullptr);
}

TEST(ApartmentContract, ASlotGivesBackWhatItsThreadPutThere) {
  ApartmentSlot slot;
  int value = 0;
  slot.Set(&value);
  EXPECT_EQ(slot.Get(), &value);
  slot.Set(nullptr);
  EXPECT_EQ(slot.Get(), nullptr);
}

TEST(ApartmentContract, SlotsDoNotShareTheirPointer) {
  ApartmentSlot first;
  const ApartmentSlot second;
  int value = 0;
  first.Set(&value);
  EXPECT_EQ(second.Get(), nullptr);
}

TEST(ApartmentContract, EachThreadHasItsOwnPointer) {
  ApartmentSlot slot;
  int mine = 0;
  int theirs = 0;
  slot.Set(&mine);
  void* at_first = &mine;
  void* after_setting = nullptr;
  contract::RunOnAnotherThread([&] {
    at_first = slot.Get();
    slot.Set(&theirs);
    after_setting = slot.Get();
  });
  EXPECT_EQ(at_first, nullptr);
  EXPECT_EQ(after_setting, &theirs);
  EXPECT_EQ(slot.Get(), &mine);
}

TEST(ApartmentContract, ASlotMadeAfterAnotherHasGoneIsNullAgain) {
  int value = 0;
  { ApartmentSlot().Set(&value); }
  const ApartmentSlot slot;
  EXPECT_EQ(slot.Get(), nullptr);
}

}  // namespace
}  // namespace qmzentrel
