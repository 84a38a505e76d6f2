// What the catalog says of one meter interface: versions, properties by version, and the use that
// they allow.
#include "interface/mif_catalog.h"

#include "support/modCOM_Registry.h"
#include "tests/contract/registry_codes.h"
#include "tests/core/catalog_writer.h"
#include "tests/core/core_test.h"

namespace qmzentrel::tests {
namespace {

using namespace std::string_literals;

class MeterInterface : public CoreTest {
 protected:
  static Texts Versions(std::int32_t meter_interface) {
    Texts keys;
    modCOM_Registry::RegEnumKeys(platform::kLocalMachine, InterfaceKey(meter_interface), keys,
                                 false);
    return catalogs::VersionsOf(meter_interface, keys);
  }
};

TEST_F(MeterInterface, HasItsKeyBelowThatOfAll) {
  EXPECT_EQ(catalogs::InterfaceKey(5), InterfaceKey(5));
  EXPECT_EQ(catalogs::InterfaceKey(-1), InterfaceKey(-1));
}

// --- Versions ---

TEST_F(MeterInterface, VersionsComeInTheSortedOrderOfTheirKeys) {
  SetText(InterfaceKey(3) + "\\10", "Ver", "4.0");
  SetText(InterfaceKey(3) + "\\9", "Ver", "8.0");
  SetText(InterfaceKey(3) + "\\1", "Ver", "5.1");
  EXPECT_EQ(Versions(3), (Texts{"5.1", "8.0", "4.0"}));
  EXPECT_EQ(Versions(4), Texts{});
}

TEST_F(MeterInterface, AVersionThatIsNoNumberIsPassedOver) {
  SetText(InterfaceKey(0) + "\\a", "Ver", "4.0");
  SetText(InterfaceKey(0) + "\\b", "Ver", "four");
  SetText(InterfaceKey(0) + "\\c", "Ver", "");
  SetText(InterfaceKey(0) + "\\d", "Other", "4.0");
  TheWorld().SetTexts(InterfaceKey(0) + "\\e", "Ver", {"4.0", "5.0"});
  SetText(InterfaceKey(0) + "\\f", "Ver", "1.A");
  SetText(InterfaceKey(0) + "\\g", "Ver", "8.0");
  EXPECT_EQ(Versions(0), (Texts{"4.0", "8.0"}));
}

TEST_F(MeterInterface, AVersionMayBeStoredAsANumber) {
  SetNumber(InterfaceKey(0) + "\\4", "Ver", 4);
  EXPECT_EQ(Versions(0), Texts{"4"});
}

TEST_F(MeterInterface, AVersionIsReadWithADotWhateverTheUsersLocale) {
  SetText(InterfaceKey(0) + "\\4", "Ver", "4.0");
  EXPECT_EQ(Versions(0), Texts{"4.0"});
}

TEST_F(MeterInterface, VersionKeysOfWordsAndNumbersMayFailTheSort) {
  SetText(InterfaceKey(0) + "\\1", "Ver", "4.0");
  SetText(InterfaceKey(0) + "\\new", "Ver", "8.0");
  EXPECT_EQ(ReportOf([] { Versions(0); }).procedure, "RegKeys_QSort");
}

TEST_F(MeterInterface, IsNotAskedForItsVersionKeysAgain) {
  SetText(InterfaceKey(0) + "\\4", "Ver", "4.0");
  SetText(InterfaceKey(0) + "\\5", "Ver", "5.0");
  EXPECT_EQ(catalogs::VersionsOf(0, {"5", "6", "4"}), (Texts{"4.0", "5.0"}));
  EXPECT_EQ(TheWorld().opened_paths,
            (Texts{InterfaceKey(0) + "\\4", InterfaceKey(0) + "\\5", InterfaceKey(0) + "\\6"}));
}

// --- Encoders ---

TEST_F(MeterInterface, IsAnEncoderByAnyNumberButZero) {
  EXPECT_EQ(catalogs::EncoderOf(7), Variant());
  SetNumber(InterfaceKey(7), "Encoder", 1);
  EXPECT_EQ(catalogs::EncoderOf(7), Variant(std::int32_t{1}));
  SetText(InterfaceKey(7), "Encoder", "-1");
  EXPECT_EQ(catalogs::EncoderOf(7), Variant(std::int32_t{-1}));
  SetText(InterfaceKey(7), "Encoder", "yes");
  EXPECT_EQ(catalogs::EncoderOf(7), Variant());
}

TEST_F(MeterInterface, IsNoEncoderByAValueOfATypeThatIsNotRead) {
  TheWorld().registry[InterfaceKey(7)]["Encoder"] = {kRegBinary, "\1"};
  EXPECT_EQ(catalogs::EncoderOf(7), Variant(false));
}

// --- Properties ---

TEST(PropertyNumber, IsANumberHoweverItIsStoredAndNothingThereIs0) {
  using catalogs::PropertyNumber;
  EXPECT_EQ(PropertyNumber(std::int32_t{-7}), -7);
  EXPECT_EQ(PropertyNumber("-7"s), -7);
  EXPECT_EQ(PropertyNumber("&H1F"s), 31);
  EXPECT_EQ(PropertyNumber("2.5"s), 2);
  EXPECT_EQ(PropertyNumber(Variant()), 0);
  EXPECT_EQ(PropertyNumber(true), 0) << "which is how an encoder begins that has not been read";
  EXPECT_EQ(PropertyNumber(Texts{"5"}), 0);
}

class PropertyNumberFault : public CoreTest {};

TEST_F(PropertyNumberFault, IsATextThatIsNoNumberOrOneBeyond32Bits) {
  EXPECT_EQ(ErrorNumberOf([] { catalogs::PropertyNumber("both"s); }), 13);
  EXPECT_EQ(ErrorNumberOf([] { catalogs::PropertyNumber(""s); }), 13);
  EXPECT_EQ(ErrorNumberOf([] { catalogs::PropertyNumber("2147483648"s); }), 6);
}

class VersionedProperty : public CoreTest {
 protected:
  void SetUp() override {
    CoreTest::SetUp();
    SetText(kRoot, "Prop", "base");
  }
  static void SetFrom(const std::string& version, const std::string& value) {
    SetText(kRoot + '\\' + version, "Prop", value);
  }
  static Variant Find(const std::string& version,
                      const std::optional<Variant>& absent = std::nullopt) {
    return catalogs::VersionedLookup().Find(kRoot, "Prop", version, absent);
  }
  static std::string Get(const std::string& version) {
    const Variant value = Find(version);
    const auto* const text = std::get_if<std::string>(&value);
    return text != nullptr ? *text : "no text";
  }

  inline static const std::string kRoot = kMaker + "Versioned";
};

TEST_F(VersionedProperty, IsThatOfTheLastVersionNotAboveTheTarget) {
  SetFrom("2.0", "from 2");
  SetFrom("4.0", "from 4");
  SetFrom("8.0", "from 8");
  EXPECT_EQ(Get("1.9"), "base");
  EXPECT_EQ(Get("2.0"), "from 2");
  EXPECT_EQ(Get("3.9"), "from 2");
  EXPECT_EQ(Get("4.0"), "from 4");
  EXPECT_EQ(Get("7.9"), "from 4");
  EXPECT_EQ(Get("8.0"), "from 8");
  EXPECT_EQ(Get("9.9"), "from 8");
}

TEST_F(VersionedProperty, ComparesLetterByLetterSoThat10StandsBelow4) {
  SetFrom("4.0", "from 4");
  SetFrom("10.0", "from 10");
  EXPECT_EQ(Get("4.0"), "from 10") << "10 is the last, and not above 4";
  EXPECT_EQ(Get("10.0"), "from 10");
  TheWorld().registry.erase(kRoot + "\\10.0");
  EXPECT_EQ(Get("10.0"), "base") << "4 is above 10";
}

TEST_F(VersionedProperty, IsTakenFromTheNumericallyLastOfThoseNotAbove) {
  SetFrom("9.0", "from 9");
  SetFrom("10.0", "from 10");
  SetFrom("11.0", "from 11");
  EXPECT_EQ(Get("9.5"), "from 11");
  EXPECT_EQ(Get("10.5"), "from 10");
}

TEST_F(VersionedProperty, MindsTheCaseOfLetters) {
  SetFrom("a", "from a");
  SetFrom("B", "from B");
  EXPECT_EQ(Get("B"), "from B");
  EXPECT_EQ(Get("A"), "base");
  EXPECT_EQ(Get("b"), "from B");
  TheWorld().registry.erase(kRoot + "\\B");
  EXPECT_EQ(Get("B"), "base") << "a lower-case letter stands above";
}

TEST_F(VersionedProperty, AVersionThatLacksItIsPassedOver) {
  SetFrom("2.0", "from 2");
  SetText(kRoot + "\\4.0", "Ver", "4.0");
  EXPECT_EQ(Get("5.0"), "from 2");
}

TEST_F(VersionedProperty, WithoutATargetIsTheBaseValue) {
  SetFrom("2.0", "from 2");
  EXPECT_EQ(Get(""), "base");
}

TEST_F(VersionedProperty, ThatIsNowhereIsItsDefaultOrEmpty) {
  TheWorld().registry.erase(kRoot);
  const Variant given = std::int32_t{12};
  EXPECT_EQ(Find("4.0", given), given);
  EXPECT_EQ(Find("", given), given);
  EXPECT_EQ(Find("4.0"), Variant());
}

TEST_F(VersionedProperty, KeepsTheStoredType) {
  SetNumber(kRoot, "Prop", 7);
  EXPECT_EQ(Find("4.0"), Variant(std::int32_t{7}));
}

TEST_F(VersionedProperty, AmongVersionsThatCannotBeSortedIsReported) {
  SetFrom("4.0", "from 4");
  SetFrom("Notes", "no version");
  const ErrorReport report = ReportOf([] { Find("4.0"); });
  EXPECT_EQ(report.ErrorNumber, 13);
  EXPECT_EQ(report.procedure, "RegKeys_QSort");
}

TEST_F(VersionedProperty, OfATypeThatIsNotReadEndsTheSearchWithNothing) {
  SetFrom("2.0", "from 2");
  TheWorld().registry[kRoot + "\\4.0"]["Prop"] = {kRegBinary, "\1"};
  EXPECT_EQ(Find("5.0", std::int32_t{12}), Variant());
}

TEST_F(VersionedProperty, ShowsWhereItWasFound) {
  SetFrom("2.0", "from 2");
  SetFrom("4.0", "from 4");
  SetText(kRoot + "\\5.0", "Ver", "5.0");
  catalogs::VersionedLookup lookup;
  lookup.Find(kRoot, "Prop", "9.0");
  EXPECT_EQ(lookup.keys, (Texts{"2.0", "4.0", "5.0"}));
  EXPECT_EQ(lookup.key, kRoot + "\\4.0");
  EXPECT_EQ(lookup.index, 1);
  EXPECT_EQ(lookup.value, Variant("from 4"s));
}

// --- Primary and secondary interfaces ---

TEST(InterfaceUse, IsLeftToTheUserUnlessExactlyOneIsAllowed) {
  using catalogs::AllowedUse;
  using catalogs::InterfaceUse;
  for (const std::int32_t mif : {3, 5, 0x81, -1, 0}) {
    EXPECT_EQ(AllowedUse(mif), InterfaceUse::kEither) << mif;
  }
  EXPECT_EQ(AllowedUse(1), InterfaceUse::kPrimaryOnly);
  for (const std::int32_t mif : {2, 4, 0x80, 0xFE, 0x100, 0x40000000, -2}) {
    EXPECT_EQ(AllowedUse(mif), InterfaceUse::kSecondaryOnly) << mif;
  }
}

TEST(InterfaceUse, AsThePrimaryOneIsThatOfInterface0) {
  EXPECT_EQ(catalogs::InterfaceInUse(5, true), 5);
  EXPECT_EQ(catalogs::InterfaceInUse(5, false), 0);
  EXPECT_EQ(catalogs::InterfaceInUse(-1, true), -1);
}

TEST(IdSources, AreOneWhenEitherOfTheFirstTwoBitsIsAlone) {
  for (const std::int32_t sources : {1, 2, 5, 6, 0x81, -2, -3}) {
    EXPECT_TRUE(catalogs::HasOneIdSource(sources)) << sources;
  }
  for (const std::int32_t sources : {0, 3, 4, 7, 0x84, -1, -4}) {
    EXPECT_FALSE(catalogs::HasOneIdSource(sources)) << sources;
  }
}

}  // namespace
}  // namespace qmzentrel::tests
