// Reading values of a known kind, and what stands for those that are missing or of another kind.
#include "support/registry_values.h"

#include "tests/contract/registry_codes.h"
#include "tests/core/catalog_writer.h"
#include "tests/core/core_test.h"
#include "tests/core/registry_faults.h"

namespace qmzentrel::tests {
namespace {

using namespace std::string_literals;

class TypedRegistryValues : public CoreTest {
 protected:
  static modCOM_Registry::OpenKey Key() { return {platform::kLocalMachine, kKey}; }
  static std::optional<std::int32_t> Number() { return registry::Number(Key(), "v"); }
  static std::int32_t Number(std::int32_t absent) { return registry::Number(Key(), "v", absent); }
  static std::optional<std::string> Text() { return registry::Text(Key(), "v"); }
  static std::string Text(const std::string& absent) { return registry::Text(Key(), "v", absent); }

  static void ExpectNoNumber() {
    EXPECT_EQ(Number(), std::nullopt);
    EXPECT_EQ(Number(3), 3);
  }
  static void ExpectNoText() {
    EXPECT_EQ(Text(), std::nullopt);
    EXPECT_EQ(Text("absent"), "absent");
  }

  inline static const std::string kKey = kMaker + "Key";
};

TEST_F(TypedRegistryValues, ANumberIsReadHoweverItIsStored) {
  SetNumber(kKey, "v", -7);
  EXPECT_EQ(Number(), -7);
  EXPECT_EQ(Number(3), -7);
  SetText(kKey, "v", "-7");
  EXPECT_EQ(Number(3), -7);
  SetText(kKey, "v", "&H1F");
  EXPECT_EQ(Number(3), 31);
}

TEST_F(TypedRegistryValues, ANumberThatIsMissingOrNoneIsTheDefault) {
  ExpectNoNumber();
  SetText(kKey, "other", "x");
  ExpectNoNumber();
  SetText(kKey, "v", "x");
  ExpectNoNumber();
  SetText(kKey, "v", "4294967296");
  ExpectNoNumber();
  TheWorld().SetTexts(kKey, "v", {"1"});
  ExpectNoNumber();
}

TEST_F(TypedRegistryValues, ANumberOfATypeThatIsNotReadIsTheDefault) {
  for (const std::uint32_t type : {kRegNone, kRegExpandSz, kRegBinary, kRegQword}) {
    TheWorld().registry[kKey]["v"] = {type, "\1\0\0\0"s};
    ExpectNoNumber();
  }
}

TEST_F(TypedRegistryValues, AValueSaidToBeLongerThanWhatWasReadIsTheDefault) {
  SetText(kKey, "v", "text");
  TheWorld().overstated_by = 300;
  ExpectNoText();
}

TEST_F(TypedRegistryValues, ATextIsReadAsItIs) {
  SetText(kKey, "v", " a \xE4");
  EXPECT_EQ(Text(), " a \xC3\xA4");
  EXPECT_EQ(Text("absent"), " a \xC3\xA4");
  SetText(kKey, "v", "");
  EXPECT_EQ(Text(), "");
  EXPECT_EQ(Text("absent"), "");
}

TEST_F(TypedRegistryValues, ATextThatIsMissingOrNoneIsTheDefault) {
  ExpectNoText();
  SetNumber(kKey, "v", 5);
  ExpectNoText();
  TheWorld().SetTexts(kKey, "v", {"a", "b"});
  ExpectNoText();
}

TEST_F(TypedRegistryValues, ATextOfATypeThatIsNotReadIsEmptyUnlessTheCallerHasAnother) {
  for (const std::uint32_t type : {kRegNone, kRegExpandSz, kRegBinary, kRegQword}) {
    TheWorld().registry[kKey]["v"] = {type, "text\0"s};
    EXPECT_EQ(Text(), "") << type;
    EXPECT_EQ(Text("absent"), "") << type;
    EXPECT_EQ(registry::Text(Key(), "v", "absent", "unread"), "unread") << type;
  }
  SetText(kKey, "v", "text");
  EXPECT_EQ(registry::Text(Key(), "v", "absent", "unread"), "text");
  TheWorld().registry.erase(kKey);
  EXPECT_EQ(registry::Text(Key(), "v", "absent", "unread"), "absent");
}

TEST_F(TypedRegistryValues, NothingIsReadFromAKeyThatIsNotOpenOrAValueThatIsRefused) {
  SetNumber(kKey, "v", 5);
  for (const char* call : {"RegOpenKeyEx", "RegQueryValueEx"}) {
    FailRegistry(call);
    ExpectNoNumber();
    ExpectNoText();
  }
}

TEST_F(TypedRegistryValues, AValueIsAskedForOnce) {
  SetNumber(kKey, "v", 5);
  Number(3);
  EXPECT_EQ(TheWorld().registry_calls,
            (std::vector<std::string>{"RegOpenKeyEx " + kKey, "RegQueryValueEx v",
                                      "RegCloseKey " + kKey}));
}

}  // namespace
}  // namespace qmzentrel::tests
