// Listing the sub-keys and the values of a registry key, with every way in which that fails.
#include <algorithm>

#include "support/modCOM_Registry.h"
#include "tests/core/core_test.h"
#include "tests/core/registry_faults.h"

namespace qmzentrel::tests {
namespace {

using modCOM_Registry::Reg_KeyValues;
using modCOM_Registry::RegEnumKeys;
using modCOM_Registry::RegEnumValues;
using namespace std::string_literals;

const std::string kListPath = "SOFTWARE\\QuenmoorComms\\Kernel";

// --- Sub-keys ---

class RegistryKeys : public CoreTest {
 protected:
  /// Sub-keys in the registry's own order.
  static void AddKeys(const Texts& names) {
    for (const std::string& name : names) TheWorld().registry[kListPath + '\\' + name];
    TheWorld().key_order[kListPath] = names;
  }

  static Texts Keys(bool sort = false, const std::string& path = kListPath) {
    Texts keys{"from", "before"};
    const std::int32_t count = RegEnumKeys(platform::kLocalMachine, path, keys, sort);
    EXPECT_EQ(count, static_cast<std::int32_t>(keys.size()));
    return keys;
  }
};

TEST_F(RegistryKeys, AKeyWithoutSubKeysGivesCount0AndAnEmptyList) {
  TheWorld().SetNumber(kListPath, "Max", 5);
  EXPECT_EQ(Keys(), Texts{});
  EXPECT_EQ(Keys(true), Texts{});
}

TEST_F(RegistryKeys, AMissingKeyGivesCount0AndAnEmptyList) {
  EXPECT_EQ(Keys(), Texts{});
  EXPECT_EQ(TheWorld().registry_calls, Texts{"RegOpenKeyEx " + kListPath});
}

TEST_F(RegistryKeys, WithoutSortingTheyComeInTheOrderOfTheRegistry) {
  AddKeys({"beta", "10", "Alpha", "9"});
  EXPECT_EQ(Keys(), (Texts{"beta", "10", "Alpha", "9"}));
}

TEST_F(RegistryKeys, NumbersAreSortedAsNumbers) {
  AddKeys({"10", "9", "1"});
  EXPECT_EQ(Keys(true), (Texts{"1", "9", "10"}));
}

TEST_F(RegistryKeys, WordsAreSortedWithoutCase) {
  AddKeys({"beta", "Alpha", "GAMMA"});
  EXPECT_EQ(Keys(true), (Texts{"Alpha", "beta", "GAMMA"}));
}

TEST_F(RegistryKeys, OnlyTheKeysRightBelowAreListed) {
  TheWorld().SetText(kListPath, "value", "x");
  TheWorld().SetText(kListPath + "\\MIF\\0\\4", "Ver", "4.0");
  TheWorld().SetText(kListPath + "\\TXI", "0", "x");
  TheWorld().SetText(kListPath + "2\\Other", "", "x");
  EXPECT_EQ(Keys(), (Texts{"MIF", "TXI"}));
}

TEST_F(RegistryKeys, ThePathIsNormalisedAndOpenedForReadingOnly) {
  AddKeys({"MIF"});
  EXPECT_EQ(Keys(false, "SOFTWARE\\\\QuenmoorComms\\\\Kernel\\"), Texts{"MIF"});
  EXPECT_EQ(TheWorld().opened_paths, Texts{kListPath});
  EXPECT_EQ(TheWorld().opened_access, std::vector<std::uint32_t>{kReadAccess});
}

TEST_F(RegistryKeys, TheRootIsTheCallersChoice) {
  AddKeys({"MIF"});
  Texts keys{"before"};
  EXPECT_EQ(RegEnumKeys(kCurrentUser, kListPath, keys, false), 0);
  EXPECT_EQ(keys, Texts{});
}

TEST_F(RegistryKeys, PathAndNamesAreInTheAnsiCodePage) {
  TheWorld().registry["SOFTWARE\\Gr\xFC\x6E\\W\xE4rme"];
  EXPECT_EQ(Keys(false, "SOFTWARE\\Gr\xC3\xBC\x6E"), Texts{"W\xC3\xA4rme"});
}

TEST_F(RegistryKeys, IndicesAreAskedOneByOneUntilThereAreNoMore) {
  AddKeys({"a", "b", "c"});
  Keys();
  EXPECT_EQ(TheWorld().registry_calls,
            (Texts{"RegOpenKeyEx " + kListPath, "RegEnumKeyEx 0", "RegEnumKeyEx 1",
                   "RegEnumKeyEx 2", "RegEnumKeyEx 3", "RegCloseKey " + kListPath}));
}

TEST_F(RegistryKeys, AnErrorThatPassesRepeatsTheSameIndexAndNothingIsLost) {
  AddKeys({"a", "b", "c"});
  FailRegistry("RegEnumKeyEx", "1", kNoResources, 3);
  EXPECT_EQ(Keys(), (Texts{"a", "b", "c"}));
  EXPECT_EQ(RegistryCallsOf("RegEnumKeyEx"), (Texts{"0", "1", "1", "1", "1", "2", "3"}));
}

TEST_F(RegistryKeys, ThousandErrorsInARowEndTheListAndOneFewerDoNot) {
  AddKeys({"a", "b", "c"});
  FailRegistry("RegEnumKeyEx", "1", kNoResources, 999);
  EXPECT_EQ(Keys(), (Texts{"a", "b", "c"}));
  TheWorld().registry_calls.clear();
  FailRegistry("RegEnumKeyEx", "1", kNoResources, 1'000'000);
  EXPECT_EQ(Keys(), Texts{"a"});
  EXPECT_EQ(RegistryCallsOf("RegEnumKeyEx").size(), 1 + 1000U);
}

TEST_F(RegistryKeys, ErrorsBeforeAKeyThatWasListedDoNotCountForTheNext) {
  AddKeys({"a", "b", "c"});
  std::map<std::string, int> left{{"0", 600}, {"1", 600}, {"2", 600}};
  TheWorld().registry_fault = [&left](const std::string& call, const std::string& subject) {
    const bool fails = call == "RegEnumKeyEx" && left[subject]-- > 0;
    return fails ? std::optional(kNoResources) : std::nullopt;
  };
  EXPECT_EQ(Keys(), (Texts{"a", "b", "c"}));
}

TEST_F(RegistryKeys, AnErrorThatCannotClearEndsTheListAtOnce) {
  AddKeys({"a", "b", "c"});
  for (const std::int32_t code : {kAccessDenied, kInvalidHandle, kKeyDeleted}) {
    TheWorld().registry_calls.clear();
    FailRegistry("RegEnumKeyEx", "2", code, 1'000'000);
    EXPECT_EQ(Keys(), (Texts{"a", "b"})) << code;
    EXPECT_EQ(RegistryCallsOf("RegEnumKeyEx"), (Texts{"0", "1", "2"})) << code;
  }
}

TEST_F(RegistryKeys, AListThatWasCutShortIsSortedAllTheSame) {
  AddKeys({"10", "9", "1", "2"});
  FailRegistry("RegEnumKeyEx", "3", kKeyDeleted);
  EXPECT_EQ(Keys(true), (Texts{"1", "9", "10"}));
}

TEST_F(RegistryKeys, ANameMayHave1023CharactersAndALongerOneEndsTheList) {
  AddKeys({std::string(1023, 'a'), "b"});
  EXPECT_EQ(Keys(), (Texts{std::string(1023, 'a'), "b"}));
  AddKeys({"a", std::string(1024, 'b'), "c"});
  EXPECT_EQ(Keys(), Texts{"a"});
}

TEST_F(RegistryKeys, AKeyThatCannotBeOpenedIsNotAsked) {
  AddKeys({"a"});
  for (const std::int32_t code : {kAccessDenied, kKeyDeleted, kNoResources}) {
    TheWorld().registry_calls.clear();
    FailRegistry("RegOpenKeyEx", kListPath, code);
    EXPECT_EQ(Keys(), Texts{}) << code;
    EXPECT_TRUE(RegistryCallsOf("RegEnumKeyEx").empty()) << code;
  }
}

TEST_F(RegistryKeys, TheResultOfClosingIsIgnored) {
  AddKeys({"a"});
  FailRegistry("RegCloseKey", kListPath, kInvalidHandle);
  EXPECT_EQ(Keys(), Texts{"a"});
  EXPECT_EQ(RegistryCallsOf("RegCloseKey"), Texts{kListPath});
}

TEST_F(RegistryKeys, WordsAmongNumbersFailTheSortAndTheKeyIsClosed) {
  AddKeys({"1", "2", "other"});
  const ErrorReport report = ReportOf([] { Keys(true); });
  EXPECT_EQ(report.ErrorNumber, 13);
  EXPECT_EQ(report.procedure, "RegKeys_QSort");
  EXPECT_EQ(RegistryCallsOf("RegCloseKey"), Texts{kListPath});
}

TEST_F(RegistryKeys, WithoutSortingAnyMixtureIsFine) {
  AddKeys({"1", "2", "other"});
  EXPECT_EQ(Keys(), (Texts{"1", "2", "other"}));
}

// --- Values ---

struct Entry {
  std::string name;
  Variant data;
  bool operator==(const Entry&) const = default;
};

void PrintTo(const Entry& entry, std::ostream* stream) {
  *stream << entry.name << " (type " << entry.data.index() << ")";
  if (const auto* text = std::get_if<std::string>(&entry.data)) *stream << " = " << *text;
  if (const auto* number = std::get_if<std::int32_t>(&entry.data)) *stream << " = " << *number;
}

using Entries = std::vector<Entry>;
const Variant kNoData;

class RegistryValues : public CoreTest {
 protected:
  static void Add(const std::string& name, std::uint32_t type, const std::string& bytes) {
    TheWorld().registry[kListPath][name] = {type, bytes};
    TheWorld().value_order[kListPath].push_back(name);
  }
  /// Values that hold their own name, in the registry's own order.
  static void AddTexts(const Texts& names) {
    for (const std::string& name : names) Add(name, kRegSz, name + '\0');
  }

  static Entries Values(bool sort = false, const std::string& path = kListPath) {
    std::vector<Reg_KeyValues> values{{"before", 1}};
    const std::int32_t count = RegEnumValues(platform::kLocalMachine, path, values, sort);
    EXPECT_EQ(count, static_cast<std::int32_t>(values.size()));
    Entries entries;
    for (const Reg_KeyValues& value : values) entries.push_back({value.name, value.data});
    return entries;
  }

  /// The data of a listed value that is stored so.
  static Variant DataOf(std::uint32_t type, const std::string& bytes) {
    TheWorld().value_order.clear();
    Add("v", type, bytes);
    const Entries entries = Values();
    EXPECT_EQ(entries.size(), 1U);
    if (entries.empty()) return kNoData;
    EXPECT_EQ(entries[0].name, "v");
    return entries[0].data;
  }
};

TEST_F(RegistryValues, AMissingKeyGivesCount0AndAnEmptyList) {
  EXPECT_EQ(Values(), Entries{});
  EXPECT_EQ(TheWorld().registry_calls, Texts{"RegOpenKeyEx " + kListPath});
}

TEST_F(RegistryValues, AKeyThatHoldsOnlyKeysGivesCount0AndAnEmptyList) {
  TheWorld().SetText(kListPath + "\\MIF", "Max", "5");
  EXPECT_EQ(Values(), Entries{});
  EXPECT_EQ(Values(true), Entries{});
}

TEST_F(RegistryValues, WithoutSortingTheyComeInTheOrderOfTheRegistry) {
  AddTexts({"b", "10", "A", "9"});
  EXPECT_EQ(Values(), (Entries{{"b", "b"s}, {"10", "10"s}, {"A", "A"s}, {"9", "9"s}}));
}

TEST_F(RegistryValues, SortingMovesWholeEntries) {
  Add("10", kRegSz, "ten\0"s);
  Add("9", kRegDword, "\x09\0\0\0"s);
  Add("1", kRegSz, "one\0"s);
  EXPECT_EQ(Values(true), (Entries{{"1", "one"s}, {"9", 9}, {"10", "ten"s}}));
}

TEST_F(RegistryValues, TheUnnamedValueIsNeverListedAndThoseBehindItAre) {
  AddTexts({"a", "", "b"});
  EXPECT_EQ(Values(), (Entries{{"a", "a"s}, {"b", "b"s}}));
  EXPECT_EQ(RegistryCallsOf("RegEnumValue"), (Texts{"0", "0", "1", "2", "2", "3"}))
      << "a named value is asked for once more, for its data";
}

TEST_F(RegistryValues, AKeyWithOnlyTheUnnamedValueGivesCount0) {
  AddTexts({""});
  EXPECT_EQ(Values(true), Entries{});
}

TEST_F(RegistryValues, ThePathIsNormalisedAndOpenedForReadingOnly) {
  AddTexts({"a"});
  EXPECT_EQ(Values(false, "SOFTWARE\\\\QuenmoorComms\\\\Kernel\\"), (Entries{{"a", "a"s}}));
  EXPECT_EQ(TheWorld().opened_paths, Texts{kListPath});
  EXPECT_EQ(TheWorld().opened_access, std::vector<std::uint32_t>{kReadAccess});
}

TEST_F(RegistryValues, TheRootIsTheCallersChoice) {
  AddTexts({"a"});
  std::vector<Reg_KeyValues> values{{"before", 1}};
  EXPECT_EQ(RegEnumValues(kCurrentUser, kListPath, values, false), 0);
  EXPECT_TRUE(values.empty());
}

TEST_F(RegistryValues, NamesAndTextsAreInTheAnsiCodePage) {
  Add("Z\xE4hler", kRegSz, "W\xE4rme\0"s);
  Add("L", kRegMultiSz, "\xE4\0\xF6\0\0"s);
  EXPECT_EQ(Values(), (Entries{{"Z\xC3\xA4hler", "W\xC3\xA4rme"s}, {"L", "\xC3\xA4\0\xC3\xB6"s}}));
}

TEST_F(RegistryValues, ATextLosesItsTerminator) {
  EXPECT_EQ(DataOf(kRegSz, "A5\0"s), Variant("A5"s));
  EXPECT_EQ(DataOf(kRegSz, "A\0"s), Variant("A"s));
  EXPECT_EQ(DataOf(kRegSz, "A\0\0"s), Variant("A\0"s));
  EXPECT_EQ(DataOf(kRegSz, "\0\0"s), Variant("\0"s));
}

TEST_F(RegistryValues, ATextWithoutATerminatorIsKeptWhole) {
  EXPECT_EQ(DataOf(kRegSz, "AB"s), Variant("AB"s));
  EXPECT_EQ(DataOf(kRegSz, "A\0C"s), Variant("A\0C"s));
}

TEST_F(RegistryValues, ATextOfFewerThanTwoBytesHasNoData) {
  for (const std::string& bytes : {""s, "\0"s, "A"s}) {
    EXPECT_EQ(DataOf(kRegSz, bytes), kNoData) << bytes.size();
  }
}

TEST_F(RegistryValues, ANumberIsA32BitSignedOne) {
  EXPECT_EQ(DataOf(kRegDword, "\x78\x56\x34\x12"s), Variant(0x12345678));
  EXPECT_EQ(DataOf(kRegDword, "\xFF\xFF\xFF\xFF"s), Variant(-1));
}

TEST_F(RegistryValues, ANumberOfFewerThanFourBytesHasNoData) {
  for (const std::string& bytes : {""s, "\1"s, "\1\2\3"s}) {
    EXPECT_EQ(DataOf(kRegDword, bytes), kNoData) << bytes.size();
  }
}

TEST_F(RegistryValues, AListOfTextsIsOneTextWithoutItsLastTwoCharacters) {
  EXPECT_EQ(DataOf(kRegMultiSz, "a\0b\0\0"s), Variant("a\0b"s));
  EXPECT_EQ(DataOf(kRegMultiSz, "a\0\0"s), Variant("a"s));
  EXPECT_EQ(DataOf(kRegMultiSz, "ab\0"s), Variant("a"s)) << "whatever the last but one is";
  EXPECT_EQ(DataOf(kRegMultiSz, "\0\0\0"s), Variant("\0"s));
}

TEST_F(RegistryValues, AListOfTextsWithoutATerminatorIsKeptWhole) {
  EXPECT_EQ(DataOf(kRegMultiSz, "abc"s), Variant("abc"s));
  EXPECT_EQ(DataOf(kRegMultiSz, "a\0c"s), Variant("a\0c"s));
}

TEST_F(RegistryValues, AListOfFewerThanThreeBytesHasNoData) {
  for (const std::string& bytes : {""s, "\0"s, "\0\0"s, "ab"s}) {
    EXPECT_EQ(DataOf(kRegMultiSz, bytes), kNoData) << bytes.size();
  }
}

TEST_F(RegistryValues, AnyOtherTypeKeepsItsNameAndHasNoData) {
  for (const std::uint32_t type : {kRegNone, kRegExpandSz, kRegBinary, kRegDwordBigEndian,
                                   std::uint32_t{6}, kRegQword, std::uint32_t{0xFFFFFFFF}}) {
    EXPECT_EQ(DataOf(type, "12345678"s), kNoData) << type;
  }
}

TEST_F(RegistryValues, ALongValueIsReadWhole) {
  EXPECT_EQ(DataOf(kRegSz, std::string(100'000, 'x') + '\0'), Variant(std::string(100'000, 'x')));
}

TEST_F(RegistryValues, AValueThatCannotBeEnumeratedIsPassedOver) {
  AddTexts({"a", "b", "c"});
  for (const std::int32_t code : {kNoResources, platform::kRegistryMoreData, 2, 87}) {
    TheWorld().registry_calls.clear();
    FailRegistry("RegEnumValue", "1", code);
    EXPECT_EQ(Values(), (Entries{{"a", "a"s}, {"c", "c"s}})) << code;
    EXPECT_EQ(RegistryCallsOf("RegEnumValue"), (Texts{"0", "0", "1", "2", "2", "3"})) << code;
  }
}

TEST_F(RegistryValues, AnErrorThatCannotClearEndsTheList) {
  AddTexts({"a", "b", "c"});
  for (const std::int32_t code : {kAccessDenied, kInvalidHandle, kKeyDeleted}) {
    TheWorld().registry_calls.clear();
    FailRegistry("RegEnumValue", "1", code);
    EXPECT_EQ(Values(), (Entries{{"a", "a"s}})) << code;
    EXPECT_EQ(RegistryCallsOf("RegEnumValue"), (Texts{"0", "0", "1"})) << code;
  }
}

TEST_F(RegistryValues, ThousandErrorsInARowEndTheListAndOneFewerDoNot) {
  const std::string too_long(1024, 'x');
  Texts names(999, too_long);
  names.emplace_back("behind");
  AddTexts({"behind"});
  TheWorld().value_order[kListPath] = names;
  EXPECT_EQ(Values(), (Entries{{"behind", "behind"s}}));

  TheWorld().registry_calls.clear();
  TheWorld().value_order[kListPath].insert(TheWorld().value_order[kListPath].begin(), too_long);
  EXPECT_EQ(Values(), Entries{});
  EXPECT_EQ(RegistryCallsOf("RegEnumValue").size(), 1000U);
}

TEST_F(RegistryValues, ErrorsBeforeAValueThatWasFoundDoNotCountForTheNext) {
  const std::string too_long(1024, 'x');
  Texts names(600, too_long);
  names.emplace_back("");  // not listed, but no error either
  names.insert(names.end(), 600, too_long);
  names.emplace_back("behind");
  AddTexts({"behind", ""});
  TheWorld().value_order[kListPath] = names;
  EXPECT_EQ(Values(), (Entries{{"behind", "behind"s}}));
}

TEST_F(RegistryValues, AValueWhoseDataCannotBeReadKeepsItsNameAndHasNoData) {
  AddTexts({"a", "b", "c"});
  for (const std::int32_t code : {kNoResources, kAccessDenied, platform::kRegistryMoreData}) {
    int calls = 0;
    TheWorld().registry_fault = [&](const std::string& call, const std::string& subject) {
      const bool second = call == "RegEnumValue" && subject == "1" && ++calls == 2;
      return second ? std::optional(code) : std::nullopt;
    };
    EXPECT_EQ(Values(), (Entries{{"a", "a"s}, {"b", kNoData}, {"c", "c"s}})) << code;
  }
}

TEST_F(RegistryValues, AValueSaidToBeLongerThanWhatWasReadHasNoData) {
  AddTexts({"a"});
  TheWorld().overstated_by = 1;
  int calls = 0;
  TheWorld().registry_fault = [&](const std::string&,
                                  const std::string&) -> std::optional<std::int32_t> {
    if (++calls == 3) TheWorld().overstated_by = 300;
    return std::nullopt;
  };
  EXPECT_EQ(Values(), (Entries{{"a", kNoData}}));
}

TEST_F(RegistryValues, AValueThatGrowsBetweenTheTwoCallsHasNoData) {
  AddTexts({"a", "b"});
  int calls = 0;
  TheWorld().registry_fault = [&](const std::string&,
                                  const std::string&) -> std::optional<std::int32_t> {
    if (++calls == 3) TheWorld().SetText(kListPath, "a", "a longer text");
    return std::nullopt;
  };
  EXPECT_EQ(Values(), (Entries{{"a", kNoData}, {"b", "b"s}}));
}

TEST_F(RegistryValues, AValueThatShrinksBetweenTheTwoCallsIsReadAsItIsNow) {
  Add("a", kRegSz, "a longer text\0"s);
  int calls = 0;
  TheWorld().registry_fault = [&](const std::string&,
                                  const std::string&) -> std::optional<std::int32_t> {
    if (++calls == 3) TheWorld().SetText(kListPath, "a", "ab");
    return std::nullopt;
  };
  EXPECT_EQ(Values(), (Entries{{"a", "ab"s}}));
}

TEST_F(RegistryValues, AKeyThatCannotBeOpenedIsNotAsked) {
  AddTexts({"a"});
  FailRegistry("RegOpenKeyEx", kListPath, kAccessDenied);
  EXPECT_EQ(Values(), Entries{});
  EXPECT_TRUE(RegistryCallsOf("RegEnumValue").empty());
}

TEST_F(RegistryValues, TheKeyIsClosedAndTheResultOfThatIgnored) {
  AddTexts({"a"});
  FailRegistry("RegCloseKey", kListPath, kInvalidHandle);
  EXPECT_EQ(Values(), (Entries{{"a", "a"s}}));
  EXPECT_EQ(RegistryCallsOf("RegCloseKey"), Texts{kListPath});
}

TEST_F(RegistryValues, WordsAmongNumbersFailTheSortAndTheKeyIsClosed) {
  AddTexts({"1", "2", "other"});
  const ErrorReport report = ReportOf([] { Values(true); });
  EXPECT_EQ(report.ErrorNumber, 13);
  EXPECT_EQ(report.procedure, "RegValues_QSort");
  EXPECT_EQ(RegistryCallsOf("RegCloseKey"), Texts{kListPath});
}

}  // namespace
}  // namespace qmzentrel::tests
