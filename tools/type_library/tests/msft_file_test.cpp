#include "tools/type_library/msft_file.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <set>

#include "tools/type_library/msft_edit.h"
#include "tools/type_library/tests/library_under_test.h"

namespace qmzentrel::type_library {
namespace {

// What became of bytes that are no library of ours: refused, or understood in full and edited.
enum class Outcome { kRefused, kReproduced };

Outcome ParseAndEdit(const Bytes& bytes) {
  try {
    MsftFile file = ParseMsft(bytes);
    EXPECT_EQ(SerialiseMsft(file), bytes);
    std::vector<std::string> names = TypeNames(file);
    std::ranges::reverse(names);
    GiveEnumerationMembersTheirNamesAsHelp(file);
    RepairMemberCapacities(file);
    ReorderTypes(file, names);
    EXPECT_FALSE(SerialiseMsft(file).empty());
    return Outcome::kReproduced;
  } catch (const FormatError&) {
    return Outcome::kRefused;
  } catch (const EditError&) {
    return Outcome::kRefused;
  }
}

TEST(MsftFile, ALibraryWrittenBackIsTheSameByteForByte) {
  const Bytes compiled = CompiledLibrary();
  ASSERT_GT(compiled.size(), 10000U);
  EXPECT_EQ(SerialiseMsft(ParseMsft(compiled)), compiled);
}

TEST(MsftFile, ParsingFindsEveryTypeAndMember) {
  const MsftFile file = ParseMsft(CompiledLibrary());
  const std::vector<std::string> names = TypeNames(file);
  EXPECT_EQ(std::set<std::string>(names.begin(), names.end()),
            (std::set<std::string>{"_Zentrel", "Zentrel", "Zentrel___v0", "Zentrel___v1",
                                   "Zentrel___v2", "__Zentrel", "MIF_Masks", "TELIC2_ElectricFlags",
                                   "TELIC2_Commands", "ZentrelStatus"}));
  const Type& commands = TypeNamed(file, "TELIC2_Commands");
  ASSERT_EQ(commands.members.size(), 11U);
  EXPECT_EQ(NameAt(file, commands.members.front().name), "T2_ReverseCountTotal");
  EXPECT_EQ(NameAt(file, commands.members.back().name), "T2_CentronHID");
  const Type& events = TypeNamed(file, "__Zentrel");
  ASSERT_EQ(events.members.size(), 1U);
  EXPECT_EQ(events.members.front().id, 1U);
}

TEST(MsftFile, ALibraryCutShortIsRefusedAtEveryLength) {
  const Bytes compiled = CompiledLibrary();
  for (std::size_t length = 0; length < compiled.size(); length += length < 0x400 ? 1 : 61) {
    const Bytes cut(compiled.begin(), compiled.begin() + static_cast<std::ptrdiff_t>(length));
    ASSERT_THROW(ParseMsft(cut), FormatError) << "at length " << length;
  }
}

TEST(MsftFile, BytesAfterTheEndAreRefusedAndNotLost) {
  Bytes longer = CompiledLibrary();
  longer.push_back(0);
  EXPECT_THROW(ParseMsft(longer), FormatError);
}

TEST(MsftFile, AnotherFormatIsRefusedByName) {
  Bytes other = CompiledLibrary();
  other[0] = 'S';
  try {
    ParseMsft(other);
    FAIL() << "not refused";
  } catch (const FormatError& error) {
    EXPECT_STREQ(error.what(), "not an MSFT type library");
  }
}

TEST(MsftFile, ALibraryWithAHelpStringDllIsRefused) {
  Bytes other = CompiledLibrary();
  other[header::kFlags + 1] |= 1;
  EXPECT_THROW(ParseMsft(other), FormatError);
}

TEST(MsftFile, AHugeNumberOfTypesIsRefusedBeforeAnythingIsReserved) {
  Bytes other = CompiledLibrary();
  Write32(other, header::kTypeCount, 0xFFFFFFFF);
  EXPECT_THROW(ParseMsft(other), FormatError);
}

TEST(MsftFile, AWrongByteAnywhereIsRefusedOrKept) {
  const Bytes compiled = CompiledLibrary();
  std::size_t refused = 0;
  for (std::size_t at = 0; at < compiled.size(); at += at < 0x800 ? 1 : 7) {
    for (const std::uint8_t flip : std::to_array<std::uint8_t>({0x01, 0x80, 0xFF})) {
      Bytes damaged = compiled;
      damaged[at] ^= flip;
      if (ParseAndEdit(damaged) == Outcome::kRefused) ++refused;
    }
  }
  EXPECT_GT(refused, 1000U);
}

TEST(MsftFile, GarbageBehindAGoodHeaderIsRefused) {
  const Bytes compiled = CompiledLibrary();
  std::mt19937 random(20);
  for (int round = 0; round < 200; ++round) {
    Bytes garbage = compiled;
    for (std::size_t at = header::kSize; at < garbage.size(); ++at) {
      garbage[at] = static_cast<std::uint8_t>(random());
    }
    ASSERT_EQ(ParseAndEdit(garbage), Outcome::kRefused);
  }
}

TEST(MsftFile, NumbersOutsideTheirPlaceAreErrorsAndNotReadOrWritten) {
  Bytes bytes(6, 0xAA);
  EXPECT_EQ(Read32(bytes, 2), 0xAAAAAAAAU);
  EXPECT_THROW(Read32(bytes, 3), FormatError);
  EXPECT_THROW(Read32(bytes, static_cast<std::size_t>(-1)), FormatError);
  EXPECT_THROW(Write32(bytes, 3, 0), FormatError);
  EXPECT_EQ(bytes, Bytes(6, 0xAA));
}

TEST(MsftFile, ANameOutsideTheNameTableIsAnError) {
  const MsftFile file = ParseMsft(CompiledLibrary());
  EXPECT_THROW(NameAt(file, kNone), FormatError);
  EXPECT_THROW(NameAt(file, static_cast<std::uint32_t>(file.segments[kNames].size() - 4)),
               FormatError);
}

}  // namespace
}  // namespace qmzentrel::type_library
