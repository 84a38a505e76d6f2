// Reading the registry: paths, stored types against slot types, and every way in which it fails.
#include <limits>

#include "support/modCOM_Registry.h"
#include "tests/contract/registry_codes.h"
#include "tests/core/core_test.h"

namespace qmzentrel::tests {
namespace {

using modCOM_Registry::NormaliseKeyPath;
using modCOM_Registry::RegGetValue;
using namespace std::string_literals;

const std::string kPath = "SOFTWARE\\QuenmoorComms\\Kernel";
const std::string kName = "Value";

const Variant kEmpty;

/// What a read leaves behind.
struct Outcome {
  bool read;
  Variant slot;
  bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& outcome, std::ostream* stream) {
  *stream << (outcome.read ? "read" : "not read") << ", slot " << outcome.slot.index() << " = ";
  std::visit(
      [stream](const auto& held) {
        if constexpr (requires { *stream << held; }) {
          *stream << held;
        } else if constexpr (requires { held.begin(); }) {
          for (const std::string& text : held) *stream << '[' << text << ']';
        } else {
          *stream << "empty";
        }
      },
      outcome.slot);
}

class Registry : public CoreTest {
 protected:
  /// Reads into `slot`, which may have a default.
  static Outcome Read(Variant slot, const std::optional<Variant>& default_value = std::nullopt) {
    const bool read = RegGetValue(platform::kLocalMachine, kPath, kName, slot, default_value);
    return {read, slot};
  }

  static void Store(std::uint32_t type, const std::string& bytes) {
    TheWorld().registry[kPath][kName] = {type, bytes};
  }
  static void StoreText(const std::string& text) { TheWorld().SetText(kPath, kName, text); }
  static void StoreNumber(std::uint32_t number) { TheWorld().SetNumber(kPath, kName, number); }

  static Outcome Good(Variant value) { return {true, std::move(value)}; }
  static Outcome Failed(Variant slot) { return {false, std::move(slot)}; }

  /// A slot of every type that holds something.
  static const std::vector<Variant>& Slots() {
    static const std::vector<Variant> slots = {kEmpty, std::int16_t{3}, std::int32_t{3}, true, 3.0F,
                                               3.0,    "three"s,        Texts{"three"}};
    return slots;
  }
  static bool IsEmpty(const Variant& slot) { return std::holds_alternative<std::monostate>(slot); }
  static bool IsText(const Variant& slot) { return std::holds_alternative<std::string>(slot); }
  static bool IsWhole(const Variant& slot) {
    return std::holds_alternative<std::int16_t>(slot) ||
           std::holds_alternative<std::int32_t>(slot) || std::holds_alternative<bool>(slot);
  }
};

// --- Paths ---

TEST_F(Registry, DoubledSeparatorsReachTheOperatingSystemSingleAndNoneAtTheEnd) {
  Variant slot;
  RegGetValue(platform::kLocalMachine, "SOFTWARE\\\\QuenmoorComms\\\\Kernel\\\\", kName, slot);
  EXPECT_EQ(TheWorld().opened_paths, Texts{"SOFTWARE\\QuenmoorComms\\Kernel"});
}

TEST_F(Registry, PathsAreNormalisedInOnePassAndLoseOneTrailingBackslash) {
  EXPECT_EQ(NormaliseKeyPath("a\\b"), "a\\b");
  EXPECT_EQ(NormaliseKeyPath("a\\b\\"), "a\\b");
  EXPECT_EQ(NormaliseKeyPath("a\\\\b"), "a\\b");
  EXPECT_EQ(NormaliseKeyPath("a\\\\b\\\\c"), "a\\b\\c");
  EXPECT_EQ(NormaliseKeyPath("a\\\\\\b"), "a\\\\b");    // three are one pair and one more
  EXPECT_EQ(NormaliseKeyPath("a\\\\\\\\b"), "a\\\\b");  // four are two pairs
  EXPECT_EQ(NormaliseKeyPath("a\\\\\\"), "a\\");
  EXPECT_EQ(NormaliseKeyPath("\\\\a"), "\\a");
  EXPECT_EQ(NormaliseKeyPath("a//b/"), "a//b/");
  EXPECT_EQ(NormaliseKeyPath("\\\\"), "");
  EXPECT_EQ(NormaliseKeyPath("\\"), "");
  EXPECT_EQ(NormaliseKeyPath(""), "");
}

TEST_F(Registry, AKeyIsOpenedForReadingOnly) {
  Read(kEmpty);
  EXPECT_EQ(TheWorld().opened_access, std::vector<std::uint32_t>{kReadAccess});
}

TEST_F(Registry, TheRootOfAllKeysIsThatOfTheMaker) {
  EXPECT_STREQ(modCOM_Registry::kQuenmoorKey, "SOFTWARE\\QuenmoorComms\\");
}

TEST_F(Registry, TheRootIsTheCallersChoice) {
  StoreText("x");
  Variant slot;
  EXPECT_FALSE(RegGetValue(kCurrentUser, kPath, kName, slot));
  EXPECT_TRUE(RegGetValue(platform::kLocalMachine, kPath, kName, slot));
}

TEST_F(Registry, PathNameAndTextAreInTheAnsiCodePage) {
  TheWorld().SetText(
      "SOFTWARE\\Gr\xF6\xDF"
      "e",
      "Z\xE4hler", "W\xE4rme");
  Variant slot;
  EXPECT_TRUE(RegGetValue(platform::kLocalMachine,
                          "SOFTWARE\\Gr\xC3\xB6\xC3\x9F"
                          "e",
                          "Z\xC3\xA4hler", slot));
  EXPECT_EQ(slot, Variant("W\xC3\xA4rme"s));
}

TEST_F(Registry, TheEmptyNameIsTheUnnamedValue) {
  TheWorld().SetNumber(kPath, "", 5);
  TheWorld().SetNumber(kPath, kName, 6);
  Variant slot;
  EXPECT_TRUE(RegGetValue(platform::kLocalMachine, kPath, "", slot));
  EXPECT_EQ(slot, Variant(5));
}

// --- Stored texts ---

TEST_F(Registry, AStoredTextGoesIntoAnEmptySlotOrATextWithoutItsTerminator) {
  StoreText("4.0");
  EXPECT_EQ(Read(kEmpty), Good("4.0"s));
  EXPECT_EQ(Read(""s), Good("4.0"s));
  EXPECT_EQ(Read("before"s), Good("4.0"s));
}

TEST_F(Registry, AStoredTextOfFewerThanTwoBytesIsEmpty) {
  for (const std::string& bytes : {""s, "\0"s, "A"s}) {
    Store(kRegSz, bytes);
    EXPECT_EQ(Read(kEmpty), Good(""s));
    EXPECT_EQ(Read("before"s), Good(""s));
  }
}

TEST_F(Registry, TheLastByteOfAStoredTextIsDroppedWhateverItIs) {
  Store(kRegSz, "A\0"s);
  EXPECT_EQ(Read(kEmpty), Good("A"s));
  Store(kRegSz, "AB"s);
  EXPECT_EQ(Read(kEmpty), Good("A"s));
  Store(kRegSz, "ABC"s);
  EXPECT_EQ(Read(kEmpty), Good("AB"s));
  Store(kRegSz, "AB\0\0"s);
  EXPECT_EQ(Read(kEmpty), Good("AB\0"s));
  Store(kRegSz, "A\0B\0"s);
  EXPECT_EQ(Read(kEmpty), Good("A\0B"s));
}

TEST_F(Registry, AStoredTextThatIsNumericGoesIntoAWholeNumberOrABooleanAs32Bits) {
  StoreText("12");
  EXPECT_EQ(Read(std::int32_t{0}), Good(std::int32_t{12}));
  EXPECT_EQ(Read(std::int16_t{0}), Good(std::int32_t{12}));
  EXPECT_EQ(Read(false), Good(std::int32_t{12}));
}

TEST_F(Registry, EveryNumericTextIsReadAsItsRoundedNumber) {
  const std::pair<std::string, std::int32_t> texts[] = {{"0", 0},
                                                        {"-1", -1},
                                                        {"+7", 7},
                                                        {" 7 ", 7},
                                                        {"4.0", 4},
                                                        {"2.5", 2},
                                                        {"3.5", 4},
                                                        {"1e3", 1000},
                                                        {"70000", 70000},
                                                        {"2147483647", 2147483647},
                                                        {"-2147483648", -2147483647 - 1},
                                                        {"&H1F", 31},
                                                        {"&O17", 15},
                                                        {"&HFFFFFFFF", -1}};
  for (const auto& [text, number] : texts) {
    StoreText(text);
    EXPECT_EQ(Read(std::int32_t{0}), Good(number)) << text;
  }
}

TEST_F(Registry, AStoredTextThatIsNoNumberFailsForAWholeNumberAndTheDefaultApplies) {
  for (const char* text : {"abc", "", "12 apples", "True", "&HG", "-"}) {
    StoreText(text);
    EXPECT_EQ(Read(std::int32_t{3}, 7), Failed(7)) << text;
    EXPECT_EQ(Read(std::int32_t{3}), Failed(std::int32_t{3})) << text;
    EXPECT_EQ(Read(std::int16_t{3}), Failed(std::int16_t{3})) << text;
    EXPECT_EQ(Read(true), Failed(true)) << text;
  }
}

TEST_F(Registry, ANumericTextOutside32BitsFailsLikeOneThatIsNoNumber) {
  for (const char* text : {"2147483648", "-2147483649", "1e20", "&H100000000"}) {
    StoreText(text);
    EXPECT_EQ(Read(std::int32_t{3}, 7), Failed(7)) << text;
  }
}

TEST_F(Registry, ASixteenBitSlotTakesANumberBeyond16Bits) {
  StoreText("70000");
  EXPECT_EQ(Read(std::int16_t{0}), Good(std::int32_t{70000}));
}

TEST_F(Registry, ATextReadAsANumberLosesItsTerminatorFirst) {
  Store(kRegSz, "123"s);
  EXPECT_EQ(Read(std::int32_t{0}), Good(std::int32_t{12}));
  Store(kRegSz, "5"s);
  EXPECT_EQ(Read(std::int32_t{0}), Failed(std::int32_t{0}));
}

TEST_F(Registry, AStoredTextGoesIntoNoOtherSlot) {
  StoreText("12");
  for (const Variant& slot : {Variant(3.0F), Variant(3.0), Variant(Texts{"three"})}) {
    EXPECT_EQ(Read(slot), Failed(slot));
    EXPECT_EQ(Read(slot, "default"s), Failed("default"s));
  }
}

// --- Stored numbers ---

TEST_F(Registry, AStoredNumberGoesIntoAnEmptySlotAWholeNumberOrABoolean) {
  StoreNumber(0x12345678);
  for (const Variant& slot : Slots()) {
    const bool takes = IsEmpty(slot) || IsWhole(slot);
    EXPECT_EQ(Read(slot), takes ? Good(std::int32_t{0x12345678}) : Failed(slot)) << slot.index();
  }
}

TEST_F(Registry, AStoredNumberIsSigned) {
  StoreNumber(0xFFFFFFFF);
  EXPECT_EQ(Read(false), Good(std::int32_t{-1}));
  StoreNumber(0x80000000);
  EXPECT_EQ(Read(kEmpty), Good(std::numeric_limits<std::int32_t>::min()));
}

TEST_F(Registry, AStoredNumberOfFewerThanFourBytesFails) {
  for (const std::string& bytes : {""s, "\1"s, "\1\2\3"s}) {
    Store(kRegDword, bytes);
    EXPECT_EQ(Read(std::int32_t{3}, 7), Failed(7)) << bytes.size();
    EXPECT_EQ(Read(std::int32_t{3}), Failed(std::int32_t{3})) << bytes.size();
  }
}

TEST_F(Registry, AStoredNumberOfMoreThanFourBytesIsItsFirstFour) {
  Store(kRegDword, "\1\0\0\0\xFF"s);
  EXPECT_EQ(Read(kEmpty), Good(std::int32_t{1}));
}

// --- Stored lists of texts ---

TEST_F(Registry, AStoredListGoesIntoAnEmptySlotOrATextAsAnArray) {
  TheWorld().SetTexts(kPath, kName, {"a", "b"});
  for (const Variant& slot : Slots()) {
    const bool takes = IsEmpty(slot) || IsText(slot);
    EXPECT_EQ(Read(slot), takes ? Good(Texts{"a", "b"}) : Failed(slot)) << slot.index();
  }
}

TEST_F(Registry, AListOfOneTextIsAnArrayOfOne) {
  TheWorld().SetTexts(kPath, kName, {"one"});
  EXPECT_EQ(Read(kEmpty), Good(Texts{"one"}));
}

TEST_F(Registry, AStoredListOfFewerThanThreeBytesIsTheEmptyText) {
  for (const std::string& bytes : {""s, "\0"s, "\0\0"s, "ab"s}) {
    Store(kRegMultiSz, bytes);
    EXPECT_EQ(Read(kEmpty), Good(""s)) << bytes.size();
    EXPECT_EQ(Read("before"s), Good(""s)) << bytes.size();
  }
}

TEST_F(Registry, TheLastTwoBytesOfAStoredListAreDroppedWhateverTheyAre) {
  Store(kRegMultiSz, "a\0\0"s);
  EXPECT_EQ(Read(kEmpty), Good(Texts{"a"}));
  Store(kRegMultiSz, "abc"s);
  EXPECT_EQ(Read(kEmpty), Good(Texts{"a"}));
  Store(kRegMultiSz, "a\0b\0"s);
  EXPECT_EQ(Read(kEmpty), Good(Texts{"a", ""}));
  Store(kRegMultiSz, "\0\0\0"s);
  EXPECT_EQ(Read(kEmpty), Good(Texts{"", ""}));
}

TEST_F(Registry, EmptyTextsWithinAListAreKept) {
  Store(kRegMultiSz, "a\0\0b\0\0"s);
  EXPECT_EQ(Read(kEmpty), Good(Texts{"a", "", "b"}));
  Store(kRegMultiSz, "\0a\0\0"s);
  EXPECT_EQ(Read(kEmpty), Good(Texts{"", "a"}));
}

TEST_F(Registry, TheTextsOfAListAreInTheAnsiCodePage) {
  TheWorld().SetTexts(kPath, kName, {"W\xE4rme", "k"});
  EXPECT_EQ(Read(kEmpty), Good(Texts{"W\xC3\xA4rme", "k"}));
}

// --- Other stored types ---

TEST_F(Registry, AnyOtherStoredTypeLeavesEverySlotAsItIsAndCountsAsRead) {
  for (const std::uint32_t type :
       {kRegNone, kRegExpandSz, kRegBinary, kRegDwordBigEndian, std::uint32_t{6}, kRegQword,
        std::uint32_t{8}, std::uint32_t{0xFFFFFFFF}}) {
    Store(type, "12\0\0"s);
    for (const Variant& slot : Slots()) {
      EXPECT_EQ(Read(slot), Good(slot)) << type;
      EXPECT_EQ(Read(slot, 7), Good(slot)) << "the default does not apply";
    }
  }
}

// --- Failures ---

TEST_F(Registry, AMissingKeyLeavesTheDefaultOrTheSlotAsItWas) {
  EXPECT_EQ(Read(std::int32_t{3}, 7), Failed(7));
  EXPECT_EQ(Read(std::int32_t{3}), Failed(std::int32_t{3}));
  EXPECT_EQ(Read(kEmpty), Failed(kEmpty));
}

TEST_F(Registry, AMissingValueLeavesTheDefaultOrTheSlotAsItWas) {
  TheWorld().SetNumber(kPath, "Another", 1);
  EXPECT_EQ(Read(std::int32_t{3}, 7), Failed(7));
  EXPECT_EQ(Read(std::int32_t{3}), Failed(std::int32_t{3}));
}

TEST_F(Registry, ADefaultOfAnyTypeReplacesTheSlot) {
  for (const Variant& value : Slots()) EXPECT_EQ(Read(std::int32_t{9}, value), Failed(value));
}

TEST_F(Registry, AValueThatWasReadKeepsTheDefaultAway) {
  StoreNumber(5);
  EXPECT_EQ(Read(std::int32_t{3}, 7), Good(std::int32_t{5}));
}

TEST_F(Registry, AKeyThatCannotBeOpenedIsLikeAMissingOne) {
  StoreNumber(5);
  TheWorld().open_result = kAccessDenied;
  EXPECT_EQ(Read(std::int32_t{3}, 7), Failed(7));
  EXPECT_EQ(TheWorld().registry_calls.size(), 1U)
      << "a key that is not open is neither asked nor closed";
}

TEST_F(Registry, AValueThatCannotBeReadIsLikeAMissingOneAndTheKeyIsClosed) {
  StoreNumber(5);
  for (const std::int32_t result :
       {kAccessDenied, kInvalidHandle, kKeyDeleted, platform::kRegistryMoreData}) {
    TheWorld().query_result = result;
    EXPECT_EQ(Read(std::int32_t{3}, 7), Failed(7)) << result;
    EXPECT_TRUE(TheWorld().open_keys.empty());
  }
}

TEST_F(Registry, AFailureIsNeitherRaisedNorReported) {
  TheWorld().open_result = kNoResources;
  EXPECT_NO_THROW(Read(kEmpty));
  EXPECT_TRUE(TakeReports().empty());
}

// --- Requests ---

TEST_F(Registry, AShortValueTakesOneRequestBetweenOpeningAndClosing) {
  StoreText(std::string(255, 'x'));  // 256 bytes with its terminator
  EXPECT_EQ(Read(kEmpty), Good(std::string(255, 'x')));
  EXPECT_EQ(TheWorld().registry_calls.size(), 3U);
}

TEST_F(Registry, ALongValueIsAskedForOnceMoreWithRoomForIt) {
  StoreText(std::string(256, 'x'));
  EXPECT_EQ(Read(kEmpty), Good(std::string(256, 'x')));
  EXPECT_EQ(TheWorld().registry_calls.size(), 4U);
  StoreText(std::string(100'000, 'y'));
  EXPECT_EQ(Read(kEmpty), Good(std::string(100'000, 'y')));
}

TEST_F(Registry, AValueThatGrowsBetweenTwoRequestsIsReadWhole) {
  StoreText(std::string(300, 'a'));
  int queries = 0;
  TheWorld().before_query = [&] {
    if (++queries == 2) StoreText(std::string(600, 'b'));
    if (queries == 3) StoreText(std::string(900, 'c'));
  };
  EXPECT_EQ(Read(kEmpty), Good(std::string(900, 'c')));
  EXPECT_EQ(queries, 4);
}

TEST_F(Registry, AValueThatSomebodyKeepsEnlargingIsLikeAMissingOne) {
  StoreText("");
  std::size_t queries = 0;
  TheWorld().before_query = [&] {
    if (++queries < 5'000) StoreText(std::string(256 + queries, 'a'));  // or the test would not end
  };
  EXPECT_EQ(Read(kEmpty, 7), Failed(7));
  EXPECT_EQ(queries, 1'000U);
  EXPECT_TRUE(TheWorld().open_keys.empty());
}

TEST_F(Registry, AValueThatShrinksBetweenTwoRequestsIsReadAsItIsNow) {
  StoreText(std::string(300, 'a'));
  int queries = 0;
  TheWorld().before_query = [&] {
    if (++queries == 2) StoreText("b");
  };
  EXPECT_EQ(Read(kEmpty), Good("b"s));
}

TEST_F(Registry, AValueThatChangesItsTypeBetweenTwoRequestsIsReadByItsNewType) {
  StoreText(std::string(300, 'a'));
  int queries = 0;
  TheWorld().before_query = [&] {
    if (++queries == 2) StoreNumber(5);
  };
  EXPECT_EQ(Read(kEmpty), Good(std::int32_t{5}));
}

TEST_F(Registry, AValueThatGoesBetweenTwoRequestsIsMissing) {
  StoreText(std::string(300, 'a'));
  int queries = 0;
  TheWorld().before_query = [&] {
    if (++queries == 2) TheWorld().registry[kPath].clear();
  };
  EXPECT_EQ(Read(kEmpty, 7), Failed(7));
}

}  // namespace
}  // namespace qmzentrel::tests
