#include "tools/type_library/msft_edit.h"

#include <gtest/gtest.h>

#include <map>

#include "tools/type_library/tests/library_under_test.h"

namespace qmzentrel::type_library {
namespace {

constexpr std::uint32_t kUserDefined = 29;  // VT_USERDEFINED

// The type that a reference inside the library leads to.
std::string ReferredName(const MsftFile& file, std::uint32_t reference) {
  EXPECT_EQ(reference % type_info::kSize, 0U);
  return TypeName(file, file.types.at(reference / type_info::kSize));
}

// The types that the identifier, reference and type-description segments lead to, in their order,
// and the type that each name of a type leads to.
std::vector<std::string> EverythingReferred(const MsftFile& file) {
  std::vector<std::string> names;
  const auto add = [&](const Bytes& segment, std::size_t at) {
    const std::uint32_t reference = Read32(segment, at);
    names.push_back((reference & 3) == 0 ? ReferredName(file, reference) : "outside");
  };
  for (std::size_t at = 0; at < file.segments[kGuids].size(); at += 24) {
    add(file.segments[kGuids], at + 16);
  }
  for (std::size_t at = 0; at < file.segments[kReferences].size(); at += 16) {
    add(file.segments[kReferences], at);
  }
  const Bytes& descriptions = file.segments[kTypeDescriptions];
  for (std::size_t at = 0; at < descriptions.size(); at += 8) {
    if ((Read32(descriptions, at) & 0xFFFF) == kUserDefined) add(descriptions, at + 4);
  }
  for (const std::string& name : TypeNames(file)) {
    const std::uint32_t position = Read32(TypeNamed(file, name).info, type_info::kName);
    EXPECT_EQ(ReferredName(file, Read32(file.segments[kNames], position)), name);
  }
  return names;
}

std::string StringAt(const MsftFile& file, std::uint32_t position) {
  const Bytes& strings = file.segments[kStrings];
  const std::size_t length = Read32(strings, position) & 0xFFFF;
  const auto begin = strings.begin() + static_cast<std::ptrdiff_t>(position) + 2;
  return {begin, begin + static_cast<std::ptrdiff_t>(length)};
}

class MsftEdit : public testing::Test {
 protected:
  const Bytes compiled_ = CompiledLibrary();
  MsftFile file_ = ParseMsft(compiled_);
};

TEST_F(MsftEdit, TypesAreListedInTheOrderAskedFor) {
  std::vector<std::string> names = TypeNames(file_);
  std::rotate(names.begin(), names.begin() + 4, names.end());
  ReorderTypes(file_, names);
  EXPECT_EQ(TypeNames(file_), names);
  for (std::size_t i = 0; i < file_.types.size(); ++i) {
    EXPECT_EQ(Read32(file_.types[i].info, type_info::kKindAndIndex) >> 16, i) << names[i];
  }
}

TEST_F(MsftEdit, ReorderingFollowsEveryReference) {
  const std::vector<std::string> referred = EverythingReferred(file_);
  ASSERT_GT(referred.size(), file_.types.size());
  std::vector<std::string> names = TypeNames(file_);
  std::ranges::reverse(names);
  ReorderTypes(file_, names);
  EXPECT_EQ(EverythingReferred(file_), referred);
}

TEST_F(MsftEdit, ReorderingThereAndBackRestoresEveryByte) {
  const std::vector<std::string> names = TypeNames(file_);
  std::vector<std::string> others = names;
  std::rotate(others.begin(), others.begin() + 3, others.end());
  ReorderTypes(file_, others);
  EXPECT_NE(SerialiseMsft(file_), compiled_);
  ReorderTypes(file_, names);
  EXPECT_EQ(SerialiseMsft(file_), compiled_);
}

TEST_F(MsftEdit, AReorderedLibraryCanBeParsedAgain) {
  std::vector<std::string> names = TypeNames(file_);
  std::ranges::reverse(names);
  ReorderTypes(file_, names);
  const Bytes reordered = SerialiseMsft(file_);
  EXPECT_EQ(TypeNames(ParseMsft(reordered)), names);
}

TEST_F(MsftEdit, AnOrderThatIsNoneIsRefused) {
  std::vector<std::string> names = TypeNames(file_);
  names.back() = names.front();
  EXPECT_THROW(ReorderTypes(file_, names), EditError) << "one twice";
  names.back() = "Nobody";
  EXPECT_THROW(ReorderTypes(file_, names), EditError) << "an unknown one";
  names.pop_back();
  EXPECT_THROW(ReorderTypes(file_, names), EditError) << "one missing";
  EXPECT_EQ(SerialiseMsft(file_), compiled_);
}

TEST_F(MsftEdit, AVersionChangesThatTypeAndNothingElse) {
  ASSERT_EQ(Read32(TypeNamed(file_, "__Zentrel").info, type_info::kVersion), 0U);
  SetTypeVersion(file_, "__Zentrel", 1, 3);
  EXPECT_EQ(Read32(TypeNamed(file_, "__Zentrel").info, type_info::kVersion), 0x00030001U);
  EXPECT_EQ(CountDifferences(SerialiseMsft(file_), compiled_), 2U);
  EXPECT_THROW(SetTypeVersion(file_, "Nobody", 1, 0), EditError);
}

TEST_F(MsftEdit, FlagsReplaceThoseOfThatTypeAndNothingElse) {
  ASSERT_EQ(Read32(TypeNamed(file_, "__Zentrel").info, type_info::kFlags), 0x1010U);
  SetTypeFlags(file_, "__Zentrel", 0x1090);
  EXPECT_EQ(Read32(TypeNamed(file_, "__Zentrel").info, type_info::kFlags), 0x1090U);
  EXPECT_EQ(CountDifferences(SerialiseMsft(file_), compiled_), 1U);
  EXPECT_THROW(SetTypeFlags(file_, "Nobody", 0), EditError);
}

TEST_F(MsftEdit, EveryEnumerationMemberIsHelpedByItsOwnName) {
  GiveEnumerationMembersTheirNamesAsHelp(file_);
  const MsftFile again = ParseMsft(SerialiseMsft(file_));
  std::size_t members = 0;
  for (const std::string name :
       {"MIF_Masks", "TELIC2_ElectricFlags", "TELIC2_Commands", "ZentrelStatus"}) {
    for (const Member& member : TypeNamed(again, name).members) {
      EXPECT_EQ(StringAt(again, Read32(member.record, variable::kHelpString)),
                NameAt(again, member.name));
      EXPECT_EQ(Read32(member.record, variable::kHelpContext), 0U);
      ++members;
    }
  }
  EXPECT_EQ(members, 3U + 6U + 11U + 8U);
}

TEST_F(MsftEdit, HelpForEnumerationsLeavesOtherTypesAlone) {
  const MsftFile before = file_;
  GiveEnumerationMembersTheirNamesAsHelp(file_);
  const Bytes& old_strings = before.segments[kStrings];
  EXPECT_TRUE(std::equal(old_strings.begin(), old_strings.end(), file_.segments[kStrings].begin()));
  for (const std::string name : {"_Zentrel", "__Zentrel", "Zentrel", "Zentrel___v1"}) {
    const Type& old_type = TypeNamed(before, name);
    const Type& type = TypeNamed(file_, name);
    EXPECT_EQ(type.info, old_type.info);
    ASSERT_EQ(type.members.size(), old_type.members.size());
    for (std::size_t i = 0; i < type.members.size(); ++i) {
      EXPECT_EQ(type.members[i].record, old_type.members[i].record);
    }
  }
}

TEST_F(MsftEdit, TheLibraryHelpContextIsStoredInBothPlaces) {
  ASSERT_EQ(Read32(file_.header, header::kHelpContext), 1U);
  ASSERT_EQ(Read32(file_.header, header::kHelpContextForWine), 0U);
  RepeatLibraryHelpContextForWine(file_);
  EXPECT_EQ(Read32(file_.header, header::kHelpContext), 1U);
  EXPECT_EQ(Read32(file_.header, header::kHelpContextForWine), 1U);
  EXPECT_EQ(CountDifferences(SerialiseMsft(file_), compiled_), 1U);
}

TEST_F(MsftEdit, TheLibraryCustomDataIsUnlinked) {
  ASSERT_NE(Read32(file_.header, header::kCustomData), kNone);
  DropLibraryCustomData(file_);
  EXPECT_EQ(Read32(file_.header, header::kCustomData), kNone);
}

TEST_F(MsftEdit, MembersClaimAsMuchMemoryAsTheyUseRoundedUp) {
  const auto capacity = [&](const std::string& name) {
    return Read32(TypeNamed(file_, name).info, type_info::kMemberCapacity);
  };
  ASSERT_GT(capacity("_Zentrel"), 0x10000000U) << "the compiler's overflow is gone: drop the cure";
  RepairMemberCapacities(file_);
  EXPECT_EQ(Read32(TypeNamed(file_, "_Zentrel").info, type_info::kMemberSize), 0x185CU);
  EXPECT_EQ(capacity("_Zentrel"), 0x2000U);
  EXPECT_EQ(capacity("__Zentrel"), 0x80U);
  EXPECT_EQ(capacity("Zentrel"), 0U) << "no members, no memory";
}

}  // namespace
}  // namespace qmzentrel::type_library
