// Writing the registry: the stored form of each kind of data, and every way in which it fails.
#include <limits>

#include "support/modCOM_Registry.h"
#include "tests/core/core_test.h"
#include "tests/core/registry_faults.h"

namespace qmzentrel::tests {
namespace {

using modCOM_Registry::RegCanSetValue;
using modCOM_Registry::RegGetValue;
using modCOM_Registry::RegSetValue;
using namespace std::string_literals;

const std::string kWritePath = "SOFTWARE\\QuenmoorComms\\Zentrel";
const std::string kWriteName = "Value";

const Variant kNothing;

// Codes that the operating system gives; 87 is a matter of its own.
constexpr std::int32_t kCodes[] = {2, 5, 6, 8, 234, 1018, 1450};

struct Stored {
  std::uint32_t type;
  std::string bytes;
  bool operator==(const Stored&) const = default;
};

void PrintTo(const Stored& stored, std::ostream* stream) {
  *stream << "type " << stored.type << ':';
  for (const char byte : stored.bytes) *stream << ' ' << int{static_cast<unsigned char>(byte)};
}

class RegistryWrite : public CoreTest {
 protected:
  static bool Write(const Variant& data, const std::string& name = kWriteName) {
    return RegSetValue(platform::kLocalMachine, kWritePath, name, data);
  }

  static std::optional<Stored> Held(const std::string& name = kWriteName) {
    const auto key = TheWorld().registry.find(kWritePath);
    if (key == TheWorld().registry.end()) return std::nullopt;
    const auto value = key->second.find(name);
    if (value == key->second.end()) return std::nullopt;
    return Stored{value->second.type, value->second.bytes};
  }

  static Stored Text(const std::string& text) { return {kRegSz, text + '\0'}; }

  static Texts Calls() { return std::exchange(TheWorld().registry_calls, {}); }

  const std::string kCreate = "RegCreateKeyEx " + kWritePath;
  const std::string kClose = "RegCloseKey " + kWritePath;
};

// --- Whether it can be written ---

TEST_F(RegistryWrite, IsFoundOutWithoutWriting) {
  const auto can_write = [] { return RegCanSetValue(platform::kLocalMachine, kWritePath + "\\"); };
  EXPECT_TRUE(can_write()) << "the key can be made";
  EXPECT_TRUE(TheWorld().registry.empty());
  TheWorld().SetText(kWritePath, kWriteName, "text");
  Calls();
  EXPECT_TRUE(can_write());
  EXPECT_EQ(Calls(), (Texts{"RegOpenKeyEx " + kWritePath, kClose}));
  EXPECT_EQ(TheWorld().opened_access.back(), kWriteAccess);
  TheWorld().read_only_keys = {kWritePath};
  EXPECT_FALSE(can_write());
  EXPECT_EQ(Held(), Text("text"));
}

TEST_F(RegistryWrite, IsDeniedByAnyFailureButThatOfAMissingKey) {
  for (const std::int32_t code : kCodes) {
    FailRegistry("RegOpenKeyEx", code);
    EXPECT_EQ(RegCanSetValue(platform::kLocalMachine, kWritePath), code == 2) << code;
  }
}

// --- The stored form ---

TEST_F(RegistryWrite, AWholeNumberIsStoredAsA32BitNumber) {
  EXPECT_TRUE(Write(0x12345678));
  EXPECT_EQ(Held(), (Stored{kRegDword, "\x78\x56\x34\x12"s}));
  EXPECT_TRUE(Write(std::numeric_limits<std::int32_t>::min()));
  EXPECT_EQ(Held(), (Stored{kRegDword, "\0\0\0\x80"s}));
  EXPECT_TRUE(Write(std::int16_t{-2}));
  EXPECT_EQ(Held(), (Stored{kRegDword, "\xFE\xFF\xFF\xFF"s}));
}

TEST_F(RegistryWrite, TrueIsStoredAsMinus1AndFalseAs0) {
  EXPECT_TRUE(Write(true));
  EXPECT_EQ(Held(), (Stored{kRegDword, "\xFF\xFF\xFF\xFF"s}));
  EXPECT_TRUE(Write(false));
  EXPECT_EQ(Held(), (Stored{kRegDword, "\0\0\0\0"s}));
}

TEST_F(RegistryWrite, ATextIsStoredWithItsTerminator) {
  EXPECT_TRUE(Write("4.0"s));
  EXPECT_EQ(Held(), Text("4.0"));
  EXPECT_TRUE(Write(""s));
  EXPECT_EQ(Held(), Text(""));
  EXPECT_TRUE(Write("A\0B"s));
  EXPECT_EQ(Held(), Text("A\0B"s));
}

TEST_F(RegistryWrite, AnArrayIsStoredAsItsTextsWithTwoZerosAtTheEnd) {
  EXPECT_TRUE(Write(Texts{"a", "bc"}));
  EXPECT_EQ(Held(), (Stored{kRegMultiSz, "a\0bc\0\0"s}));
  EXPECT_TRUE(Write(Texts{"a"}));
  EXPECT_EQ(Held(), (Stored{kRegMultiSz, "a\0\0"s}));
  EXPECT_TRUE(Write(Texts{"", "", "b"}));
  EXPECT_EQ(Held(), (Stored{kRegMultiSz, "\0\0b\0\0"s}));
  EXPECT_TRUE(Write(Texts{}));
  EXPECT_EQ(Held(), (Stored{kRegMultiSz, "\0\0"s}));
}

TEST_F(RegistryWrite, AFractionIsStoredAsItsText) {
  EXPECT_TRUE(Write(3.9F));
  EXPECT_EQ(Held(), Text("3.9"));
  EXPECT_TRUE(Write(-0.25));
  EXPECT_EQ(Held(), Text("-0.25"));
  EXPECT_TRUE(Write(12.0));
  EXPECT_EQ(Held(), Text("12"));
}

TEST_F(RegistryWrite, EmptyDeletesTheValueAndNoOther) {
  TheWorld().SetText(kWritePath, kWriteName, "x");
  TheWorld().SetText(kWritePath, "Other", "y");
  EXPECT_TRUE(Write(kNothing));
  EXPECT_EQ(Held(), std::nullopt);
  EXPECT_EQ(Held("Other"), Text("y"));
  EXPECT_EQ(Calls(), (Texts{kCreate, "RegDeleteValue " + kWriteName, kClose}));
}

TEST_F(RegistryWrite, DeletingAValueThatIsNotThereIsFalse) {
  EXPECT_FALSE(Write(kNothing));
}

TEST_F(RegistryWrite, AValueOfAnotherTypeIsReplaced) {
  TheWorld().SetTexts(kWritePath, kWriteName, {"a", "b"});
  EXPECT_TRUE(Write(5));
  EXPECT_EQ(Held(), (Stored{kRegDword, "\5\0\0\0"s}));
}

TEST_F(RegistryWrite, PathNameAndTextAreInTheAnsiCodePage) {
  EXPECT_TRUE(RegSetValue(platform::kLocalMachine, "SOFTWARE\\Gr\xC3\xBC\x6E", "Z\xC3\xA4hler",
                          "W\xC3\xA4rme"s));
  EXPECT_EQ(TheWorld().registry["SOFTWARE\\Gr\xFC\x6E"]["Z\xE4hler"].bytes, "W\xE4rme\0"s);
  EXPECT_TRUE(Write(Texts{"\xC3\xA4", "\xC3\xB6"}));
  EXPECT_EQ(Held(), (Stored{kRegMultiSz, "\xE4\0\xF6\0\0"s}));
}

TEST_F(RegistryWrite, EveryKindOfDataReadsBackAsItWasWritten) {
  for (const Variant& data :
       {Variant(7), Variant(-1), Variant("text"s), Variant(Texts{"a", "b"})}) {
    EXPECT_TRUE(Write(data));
    Variant slot;
    EXPECT_TRUE(RegGetValue(platform::kLocalMachine, kWritePath, kWriteName, slot));
    EXPECT_EQ(slot, data) << data.index();
  }
}

// --- The key ---

TEST_F(RegistryWrite, AMissingKeyIsMadeAndOpenedForSettingValuesOnly) {
  EXPECT_TRUE(Write(5));
  EXPECT_EQ(TheWorld().opened_access, std::vector<std::uint32_t>{kWriteAccess});
  EXPECT_EQ(Calls(), (Texts{kCreate, "RegSetValueEx " + kWriteName, kClose}));
}

TEST_F(RegistryWrite, ThePathIsNormalised) {
  EXPECT_TRUE(RegSetValue(platform::kLocalMachine, "SOFTWARE\\\\QuenmoorComms\\\\Zentrel\\",
                          kWriteName, 5));
  EXPECT_EQ(TheWorld().opened_paths, Texts{kWritePath});
  EXPECT_TRUE(Held());
}

TEST_F(RegistryWrite, ABackslashInANameIsPartOfTheName) {
  EXPECT_TRUE(Write(5, "TELIC2\\8"));
  EXPECT_EQ(Held("TELIC2\\8"), (Stored{kRegDword, "\5\0\0\0"s}));
  EXPECT_FALSE(TheWorld().registry.contains(kWritePath + "\\TELIC2"));
}

TEST_F(RegistryWrite, TheRootIsTheCallersChoice) {
  EXPECT_FALSE(RegSetValue(kCurrentUser, kWritePath, kWriteName, 5));
  EXPECT_EQ(Held(), std::nullopt);
}

TEST_F(RegistryWrite, TheEmptyNameIsTheUnnamedValue) {
  EXPECT_TRUE(Write(5, ""));
  EXPECT_EQ(Held(""), (Stored{kRegDword, "\5\0\0\0"s}));
}

// --- Failures ---

TEST_F(RegistryWrite, AKeyThatCannotBeMadeIsFalseAndNothingElseIsTried) {
  for (const std::int32_t code : kCodes) {
    FailRegistry("RegCreateKeyEx", code);
    EXPECT_FALSE(Write(5)) << code;
    EXPECT_EQ(Calls(), Texts{kCreate}) << code;
  }
}

TEST_F(RegistryWrite, AWriteThatFailsIsFalseAndTheKeyIsClosedAllTheSame) {
  for (const std::int32_t code : kCodes) {
    for (const Variant& data : {Variant(5), Variant("x"s), Variant(Texts{"x"}), Variant(true)}) {
      FailRegistry("RegSetValueEx", code);
      EXPECT_FALSE(Write(data)) << code;
      EXPECT_EQ(Calls(), (Texts{kCreate, "RegSetValueEx " + kWriteName, kClose})) << code;
    }
  }
}

TEST_F(RegistryWrite, ADeletionThatFailsIsFalseAndTheKeyIsClosedAllTheSame) {
  TheWorld().SetText(kWritePath, kWriteName, "x");
  for (const std::int32_t code : kCodes) {
    FailRegistry("RegDeleteValue", code);
    EXPECT_FALSE(Write(kNothing)) << code;
    EXPECT_EQ(Calls(), (Texts{kCreate, "RegDeleteValue " + kWriteName, kClose})) << code;
  }
  EXPECT_TRUE(Held());
}

TEST_F(RegistryWrite, AKeyThatCannotBeClosedIsFalseThoughTheValueIsThere) {
  for (const std::int32_t code : kCodes) {
    FailRegistry("RegCloseKey", code);
    EXPECT_FALSE(Write(5)) << code;
    EXPECT_TRUE(Held());
  }
}

TEST_F(RegistryWrite, NoFailureIsRaisedOrReported) {
  for (const char* call : {"RegCreateKeyEx", "RegSetValueEx", "RegDeleteValue", "RegCloseKey"}) {
    FailRegistry(call, kNoResources);
    EXPECT_NO_THROW(Write(5)) << call;
    EXPECT_NO_THROW(Write(kNothing)) << call;
  }
  EXPECT_TRUE(TakeReports().empty());
}

// --- A system that stores no numbers ---

class RegistryWithoutNumbers : public RegistryWrite {
 protected:
  /// The first write fails, any other works.
  static void RefuseTheFirstWrite() {
    TheWorld().registry_fault = [first = true](const std::string& call,
                                               const std::string&) mutable {
      const bool refused = call == "RegSetValueEx" && std::exchange(first, false);
      return refused ? std::optional(kInvalidParameter) : std::nullopt;
    };
  }
};

TEST_F(RegistryWithoutNumbers, GetsADecimalTextInstead) {
  const std::pair<Variant, const char*> texts[] = {
      {12, "12"}, {-7, "-7"}, {std::int16_t{-300}, "-300"}, {true, "-1"}, {false, "0"}};
  for (const auto& [data, text] : texts) {
    RefuseTheFirstWrite();
    EXPECT_TRUE(Write(data)) << text;
    EXPECT_EQ(Held(), Text(text));
    EXPECT_EQ(Calls(), (Texts{kCreate, "RegSetValueEx " + kWriteName, "RegSetValueEx " + kWriteName,
                              kClose}));
  }
}

TEST_F(RegistryWithoutNumbers, ThatRefusesTheTextTooIsFalse) {
  FailRegistry("RegSetValueEx", kInvalidParameter);
  EXPECT_FALSE(Write(12));
  EXPECT_EQ(Calls(),
            (Texts{kCreate, "RegSetValueEx " + kWriteName, "RegSetValueEx " + kWriteName, kClose}));
}

TEST_F(RegistryWithoutNumbers, IsNotAskedTwiceForATextOrAList) {
  for (const Variant& data : {Variant("12"s), Variant(1.5), Variant(Texts{"1"})}) {
    FailRegistry("RegSetValueEx", kInvalidParameter);
    EXPECT_FALSE(Write(data));
    EXPECT_EQ(Calls(), (Texts{kCreate, "RegSetValueEx " + kWriteName, kClose}));
  }
}

TEST_F(RegistryWithoutNumbers, IsNotAskedTwiceForADeletion) {
  FailRegistry("RegDeleteValue", kInvalidParameter);
  EXPECT_FALSE(Write(kNothing));
  EXPECT_EQ(Calls(), (Texts{kCreate, "RegDeleteValue " + kWriteName, kClose}));
}

}  // namespace
}  // namespace qmzentrel::tests
