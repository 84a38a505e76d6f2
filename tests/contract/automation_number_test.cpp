// Under which number the failure of a client's object is known.
#include <gtest/gtest.h>

#include "platform/late_bound.h"
#include "tests/automation/scripted_object.h"

namespace qmzentrel {
namespace {

struct KnownFailure {
  std::uint32_t result;
  std::int32_t number;
};

// By their values, as a client in any language may answer them.
constexpr KnownFailure kKnownFailures[] = {
    {0x80004001, 445},
    {0x80004002, 430},
    {0x80070005, 70},
    {0x8007000E, 7},
    {0x80070057, 5},
    {0x800706BA, 462},
    {0x80020001, 438},
    {0x80020003, 438},
    {0x80020004, 448},
    {0x80020005, 13},
    {0x80020006, 438},
    {0x80020007, 446},
    {0x80020008, 458},
    {0x8002000A, 6},
    {0x8002000B, 9},
    {0x8002000C, 447},
    {0x8002000D, 10},
    {0x8002000E, 450},
    {0x8002000F, 449},
    {0x80020011, 451},
    {0x80020012, 11},
    {0x8002802F, 453},
    {0x80028CA0, 13},
    {0x80028CA1, 9},
    {0x80028CA2, 57},
    {0x80028CA3, 322},
    {0x80029C4A, 48},
    {0x80030002, 432},
    {0x80030003, 76},
    {0x80030004, 67},
    {0x80030005, 70},
    {0x80030008, 7},
    {0x80030012, 67},
    {0x80030013, 70},
    {0x8003001D, 57},
    {0x8003001E, 57},
    {0x80030020, 75},
    {0x80030021, 70},
    {0x80030050, 58},
    {0x80030070, 61},
    {0x800300FC, 53},
    {0x80030100, 70},
    {0x80030101, 70},
    {0x80030103, 57},
    {0x80040154, 429},
    {0x800401E3, 429},
    {0x800401E6, 432},
    {0x800401EA, 432},
    {0x800401F3, 429},
    {0x800401F5, 429},
    {0x800401FE, 429},
    {0x80080005, 429},
    // The facility of controls: the number itself.
    {0x800A017C, 380},
    {0x800A0009, 9},
    {0x800A10AA, 4266},
    // None of these: the result as it is.
    {0x80004005, static_cast<std::int32_t>(0x80004005)},
    {0x80040200, static_cast<std::int32_t>(0x80040200)},
};

class FailureOfAnObject : public testing::TestWithParam<KnownFailure> {
 protected:
  /// The number of what calling `member` fails with.
  static std::int32_t NumberOf(automation::ScriptedObject::Member member) {
    automation::ScriptedObject object;
    object.members = {{L"Clear", std::move(member)}};
    const auto failure = platform::LateCall({static_cast<IDispatch*>(&object)}, "Clear", {});
    return failure ? failure->number : 0;
  }

  const HRESULT result = static_cast<HRESULT>(GetParam().result);
};

TEST_P(FailureOfAnObject, HasItsNumberWhenItIsTheResult) {
  EXPECT_EQ(NumberOf([this](const auto&) { return result; }), GetParam().number);
}

TEST_P(FailureOfAnObject, HasItsNumberWhenItIsTheExceptionsCode) {
  EXPECT_EQ(NumberOf([this](const auto& use) { return use.Fail(result, L"Form1", L"Not now"); }),
            GetParam().number);
}

INSTANTIATE_TEST_SUITE_P(Each, FailureOfAnObject, testing::ValuesIn(kKnownFailures),
                         [](const auto& test) {
                           return "Result" + std::to_string(test.param.result);
                         });

}  // namespace
}  // namespace qmzentrel
