#include "platform/late_bound.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "tests/contract/harness.h"

namespace qmzentrel {
namespace {

using platform::ClientObject;
using platform::LateArgument;
using Noted = std::vector<std::string>;

constexpr std::int32_t kMemberNotSupported = 438;
constexpr std::int32_t kTypeMismatch = 13;

void WithObject(const std::function<void(ClientObject object, Noted& noted)>& body) {
  contract::WithTestObject(true, body);
}

TEST(LateBoundContract, AnObjectsTypeHasItsName) {
  WithObject(
      [](ClientObject object, Noted&) { EXPECT_EQ(platform::LateTypeName(object), "TestList"); });
  contract::WithTestObject(
      false, [](ClientObject object, Noted&) { EXPECT_EQ(platform::LateTypeName(object), ""); });
}

TEST(LateBoundContract, MembersAreFoundInAnyCase) {
  WithObject([](ClientObject object, Noted&) {
    EXPECT_TRUE(platform::LateHasMember(object, "Note"));
    EXPECT_TRUE(platform::LateHasMember(object, "nOTE"));
    EXPECT_TRUE(platform::LateHasMember(object, "Last"));
    EXPECT_FALSE(platform::LateHasMember(object, "Selected"));
  });
}

TEST(LateBoundContract, AMethodGetsItsArgumentsInOrder) {
  WithObject([](ClientObject object, Noted& noted) {
    const std::array<LateArgument, 3> arguments{8, "Z\xC3\xA4hler", -1};
    EXPECT_FALSE(platform::LateCall(object, "Note", arguments));
    EXPECT_FALSE(platform::LateCall(object, "Note", {}));
    EXPECT_EQ(noted, (Noted{"8, Z\xC3\xA4hler, -1", ""}));
  });
}

TEST(LateBoundContract, APropertyIsReadAsNumberOrAsText) {
  WithObject([](ClientObject object, Noted&) {
    const std::array<LateArgument, 1> index{7};
    std::int32_t number = 0;
    EXPECT_FALSE(platform::LateGet(object, "Item", index, number));
    EXPECT_EQ(number, 70);
    std::string text;
    EXPECT_FALSE(platform::LateGet(object, "Item", index, text));
    EXPECT_EQ(text, "70");
    const std::array<LateArgument, 1> noted{"12"};
    EXPECT_FALSE(platform::LateCall(object, "Note", noted));
    EXPECT_FALSE(platform::LateGet(object, "Last", {}, number));
    EXPECT_EQ(number, 12);
    EXPECT_FALSE(platform::LateGet(object, "Last", {}, text));
    EXPECT_EQ(text, "12");
  });
}

TEST(LateBoundContract, ATextThatIsNoNumberIsATypeMismatchAndChangesNothing) {
  WithObject([](ClientObject object, Noted&) {
    const std::array<LateArgument, 1> noted{"twelve"};
    EXPECT_FALSE(platform::LateCall(object, "Note", noted));
    std::int32_t number = 3;
    const auto failure = platform::LateGet(object, "Last", {}, number);
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->number, kTypeMismatch);
    EXPECT_EQ(number, 3);
  });
}

TEST(LateBoundContract, APropertyIsSetWithAndWithoutAnIndex) {
  WithObject([](ClientObject object, Noted& noted) {
    const std::array<LateArgument, 1> index{3};
    EXPECT_FALSE(platform::LateLet(object, "Item", index, 99));
    EXPECT_FALSE(platform::LateLet(object, "Last", {}, "now"));
    EXPECT_EQ(noted, (Noted{"3, 99", "now"}));
    std::string text;
    EXPECT_FALSE(platform::LateGet(object, "Last", {}, text));
    EXPECT_EQ(text, "now");
  });
}

TEST(LateBoundContract, AnUnknownMemberIsNotSupported) {
  WithObject([](ClientObject object, Noted& noted) {
    std::int32_t number = 3;
    const auto called = platform::LateCall(object, "Selected", {});
    const auto read = platform::LateGet(object, "Selected", {}, number);
    const auto let = platform::LateLet(object, "Selected", {}, 1);
    for (const auto& failure : {called, read, let}) {
      ASSERT_TRUE(failure);
      EXPECT_EQ(failure->number, kMemberNotSupported);
      EXPECT_EQ(failure->description, "");
    }
    EXPECT_EQ(number, 3);
    EXPECT_TRUE(noted.empty());
  });
}

TEST(LateBoundContract, WhatTheObjectRefusesComesWithItsNumberAndTexts) {
  WithObject([](ClientObject object, Noted&) {
    const auto failure = platform::LateCall(object, "Refuse", {});
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->number, 380);
    EXPECT_EQ(failure->source, "TestList");
    EXPECT_EQ(failure->description, "Not here");
  });
}

// --- Objects for the report ---

TEST(LateBoundContract, TheDefaultMemberOfAnObjectIsItsValue) {
  contract::WithShownObject({.default_text = "Z\xC3\xA4hler"}, [](ClientObject object) {
    platform::LateValue value;
    EXPECT_FALSE(platform::LateDefault(object, value));
    ASSERT_TRUE(std::holds_alternative<std::string>(value));
    EXPECT_EQ(std::get<std::string>(value), "Z\xC3\xA4hler");
  });
}

TEST(LateBoundContract, AnObjectWithoutADefaultMemberIsError438) {
  contract::WithShownObject({}, [](ClientObject object) {
    platform::LateValue value;
    const auto failure = platform::LateDefault(object, value);
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->number, kMemberNotSupported);
  });
}

TEST(LateBoundContract, TheMembersOfAnObjectComeInTheirOrder) {
  contract::WithShownObject({.members = {{"MIF", "", "TXI"}}}, [](ClientObject object) {
    std::optional<std::vector<platform::LateValue>> members;
    EXPECT_FALSE(platform::LateMembers(object, members));
    ASSERT_TRUE(members);
    std::vector<std::string> texts;
    for (const auto& member : *members) texts.push_back(std::get<std::string>(member));
    EXPECT_EQ(texts, (std::vector<std::string>{"MIF", "", "TXI"}));
  });
}

TEST(LateBoundContract, AListThatIsTooLongIsError7) {
  for (const std::size_t more : {std::size_t{0}, std::size_t{1}}) {
    const std::vector<std::string> texts(platform::kMostLateMembers + more, "x");
    contract::WithShownObject({.members = texts}, [&](ClientObject object) {
      std::optional<std::vector<platform::LateValue>> members;
      const auto failure = platform::LateMembers(object, members);
      EXPECT_EQ(failure.has_value(), more == 1);
      EXPECT_EQ(members.has_value(), more == 0);
      EXPECT_EQ(failure ? failure->number : 0, more == 1 ? 7 : 0);
    });
  }
}

TEST(LateBoundContract, AnObjectThatCannotBeEnumeratedHasNoMembersAndNoFailure) {
  contract::WithShownObject({.default_text = "x"}, [](ClientObject object) {
    std::optional<std::vector<platform::LateValue>> members{{platform::LateValue()}};
    EXPECT_FALSE(platform::LateMembers(object, members));
    EXPECT_FALSE(members);
  });
}

TEST(LateBoundContract, ADataObjectIsKnown) {
  contract::WithShownObject({.is_data_object = true}, [](ClientObject object) {
    EXPECT_TRUE(platform::IsDataObject(object));
  });
  contract::WithShownObject(
      {}, [](ClientObject object) { EXPECT_FALSE(platform::IsDataObject(object)); });
}

// --- Classes ---

TEST(LateBoundContract, AnObjectIsMadeByTheNameOfItsClass) {
  contract::WithTestClass("QmzContractTest.Class", [] {
    const platform::HeldObject object = platform::CreateLateObject("QmzContractTest.Class");
    ASSERT_TRUE(object);
    EXPECT_TRUE(platform::LateHasMember({object.get()}, "Note"));
  });
}

TEST(LateBoundContract, AClassThatNobodyHasRegisteredGivesNothing) {
  EXPECT_FALSE(platform::CreateLateObject("QmzContractTest.NoSuchClass"));
  EXPECT_FALSE(platform::CreateLateObject(""));
}

}  // namespace
}  // namespace qmzentrel
