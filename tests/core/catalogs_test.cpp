// The lists that the catalogs offer, and what they say of meter specific information and
// signatures.
#include "interface/catalogs.h"

#include <algorithm>
#include <limits>

#include "interface/mif_catalog.h"
#include "interface/msi_catalog.h"
#include "interface/signatures.h"
#include "interface/telic2_catalog.h"
#include "tests/contract/registry_codes.h"
#include "tests/core/catalog_writer.h"
#include "tests/core/core_test.h"
#include "tests/core/registry_faults.h"

namespace qmzentrel::tests {
namespace {

using modCOM_Registry::OpenKey;
using namespace std::string_literals;

using Offered = std::vector<std::pair<std::int32_t, std::string>>;

class Catalogs : public CoreTest {
 protected:
  /// Ranges of more numbers than any list has.
  static constexpr std::pair<std::int32_t, std::int32_t> kTooMany[] = {
      {1, 4097},
      {std::numeric_limits<std::int32_t>::min(), 0},
      {-1, std::numeric_limits<std::int32_t>::max()}};

  template <class Offer>
  static Offered EntriesOf(Offer offer) {
    Offered entries;
    offer([&entries](std::int32_t number, const std::string& name) {
      entries.emplace_back(number, name);
    });
    return entries;
  }
  static Offered Interfaces() { return EntriesOf(catalogs::OfferInterfaces); }
  static Offered Intervals() { return EntriesOf(catalogs::OfferIntervals); }

  static Offered Numbered(std::int32_t first, std::int32_t last, const std::string& name) {
    Offered entries;
    for (std::int32_t n = first; n <= last; ++n) entries.emplace_back(n, name);
    return entries;
  }
};

// --- Reading values ---

class CatalogValues : public Catalogs {
 protected:
  static std::pair<std::int32_t, std::int32_t> Range() {
    const catalogs::Range range = catalogs::ReadRange({platform::kLocalMachine, kKey});
    return {range.first, range.last};
  }
  static constexpr std::pair<std::int32_t, std::int32_t> kNone{0, -1};

  inline static const std::string kKey = kMaker + "Key";
};

TEST_F(CatalogValues, ARangeNeedsBothEnds) {
  EXPECT_EQ(Range(), kNone);
  SetNumber(kKey, "Min", -2);
  EXPECT_EQ(Range(), kNone);
  SetText(kKey, "Max", "12");
  EXPECT_EQ(Range(), std::pair(-2, 12));
  SetText(kKey, "Min", "few");
  EXPECT_EQ(Range(), kNone);
  SetNumber(kKey, "Min", 0);
  SetText(kKey, "Max", "many");
  EXPECT_EQ(Range(), kNone);
}

TEST_F(CatalogValues, AKeyThatIsNotOpenHasNoRange) {
  SetRange(kKey, 0, 5);
  for (const char* call : {"RegOpenKeyEx", "RegQueryValueEx"}) {
    FailRegistry(call);
    EXPECT_EQ(Range(), kNone) << call;
  }
}

TEST_F(CatalogValues, TheBitOfANumberIs2ToItsPower) {
  for (std::int32_t n = 0; n <= 30; ++n) {
    EXPECT_TRUE(catalogs::HasBit(1 << n, n));
    EXPECT_FALSE(catalogs::HasBit(~(1 << n), n));
    EXPECT_TRUE(catalogs::HasBit(-1, n));
    EXPECT_FALSE(catalogs::HasBit(0, n));
  }
}

TEST_F(CatalogValues, BelowZeroThereIsNoBit) {
  for (const std::int32_t n : {-1, -2, -31, std::numeric_limits<std::int32_t>::min()}) {
    EXPECT_FALSE(catalogs::HasBit(-1, n)) << n;
  }
}

TEST_F(CatalogValues, From31OnTheBitIsAnOverflowWhateverTheMask) {
  for (const std::int32_t n : {31, 32, 63, 1024, std::numeric_limits<std::int32_t>::max()}) {
    EXPECT_EQ(ErrorNumberOf([=] { catalogs::HasBit(-1, n); }), 6) << n;
    EXPECT_EQ(ErrorNumberOf([=] { catalogs::HasBit(0, n); }), 6) << n;
  }
}

// --- Meter interfaces ---

TEST_F(Catalogs, WithoutAnyCatalogNothingIsOffered) {
  EXPECT_EQ(Interfaces(), Offered{});
  EXPECT_EQ(Intervals(), Offered{});
  EXPECT_EQ(catalogs::DeviceTypes(), Texts{});
}

TEST_F(Catalogs, InterfacesWhoseBitIsSetAreOfferedInAscendingOrder) {
  SetInterfaces(0, 12, 0b1'0100'0000'0101);
  SetName(kInterfaces, 0, "Pulse");
  SetName(kInterfaces, 2, "Encoder");
  SetName(kInterfaces, 10, "Gas");
  SetName(kInterfaces, 12, "Heat");
  EXPECT_EQ(Interfaces(), (Offered{{0, "Pulse"}, {2, "Encoder"}, {10, "Gas"}, {12, "Heat"}}));
}

TEST_F(Catalogs, AMaskOf0OffersNoInterfaceAtAll) {
  SetInterfaces(0, 5, 0);
  SetName(kInterfaces, 0, "Pulse");
  EXPECT_EQ(Interfaces(), Offered{});
}

TEST_F(Catalogs, WithoutAMaskNoInterfaceIsOffered) {
  SetRange(kInterfaces, 0, 5);
  EXPECT_EQ(Interfaces(), Offered{});
}

TEST_F(Catalogs, TheMaskMayBeAText) {
  SetRange(kInterfaces, 0, 5);
  SetText(kInterfaces, "Mask", "&H21");
  EXPECT_EQ(Interfaces(), (Offered{{0, "Unknown"}, {5, "Unknown"}}));
}

TEST_F(Catalogs, AnInterfaceWithoutAKeyOrANameIsUnknown) {
  SetInterfaces(0, 2, -1);
  SetNumber(InterfaceKey(1), "Encoder", 1);
  SetNumber(InterfaceKey(2), "", 7);
  EXPECT_EQ(Interfaces(), Numbered(0, 2, "Unknown"));
}

TEST_F(Catalogs, InterfacesStartAtMinAndEndAtMax) {
  SetInterfaces(3, 5, -1);
  EXPECT_EQ(Interfaces(), Numbered(3, 5, "Unknown"));
  SetInterfaces(5, 5, -1);
  EXPECT_EQ(Interfaces(), Numbered(5, 5, "Unknown"));
  SetInterfaces(5, 4, -1);
  EXPECT_EQ(Interfaces(), Offered{});
}

TEST_F(Catalogs, BelowZeroNoInterfaceIsOffered) {
  SetInterfaces(-1, 1, -1);
  SetName(kInterfaces, -1, "None");
  EXPECT_EQ(Interfaces(), Numbered(0, 1, "Unknown"));
  SetInterfaces(std::numeric_limits<std::int32_t>::min(), -1, -1);
  EXPECT_EQ(Interfaces(), Offered{});
}

TEST_F(Catalogs, Interface31IsAnOverflowAndTheEntriesBeforeItStay) {
  for (const std::int32_t last : {31, 40, std::numeric_limits<std::int32_t>::max()}) {
    SetInterfaces(29, last, -1);
    Offered entries;
    const auto add = [&entries](std::int32_t number, const std::string& name) {
      entries.emplace_back(number, name);
      if (entries.size() > 2) RaiseError(kErrorInternal);  // or it might go on for hours
    };
    EXPECT_EQ(ErrorNumberOf([&] { catalogs::OfferInterfaces(add); }), 6) << last;
    EXPECT_EQ(entries, Numbered(29, 30, "Unknown")) << last;
  }
  SetInterfaces(30, 30, -1);
  EXPECT_EQ(Interfaces(), Numbered(30, 30, "Unknown"));
}

TEST_F(Catalogs, WithoutAnEndOfTheRangeNoInterfaceIsOffered) {
  SetNumber(kInterfaces, "Mask", -1);
  SetNumber(kInterfaces, "Min", 0);
  EXPECT_EQ(Interfaces(), Offered{});
  TheWorld().registry[kInterfaces].erase("Min");
  SetNumber(kInterfaces, "Max", 5);
  EXPECT_EQ(Interfaces(), Offered{});
}

TEST_F(Catalogs, AnEndOfTheRangeThatIsStoredAsBytesIsNoNumber) {
  for (const char* end : {"Min", "Max"}) {
    SetInterfaces(0, 3, -1);
    TheWorld().registry[kInterfaces][end] = {kRegBinary, std::string(4, '\0')};
    EXPECT_EQ(Interfaces(), Offered{}) << end;
  }
}

TEST_F(Catalogs, OnlyTheOfferedInterfacesAreLookedUp) {
  SetInterfaces(0, 12, 0b100);
  SetName(kInterfaces, 2, "Encoder");
  EXPECT_EQ(Interfaces().size(), 1U);
  EXPECT_EQ(TheWorld().opened_paths, (Texts{kInterfaces, "2"}));
}

// --- Transmit intervals ---

TEST_F(Catalogs, IntervalsAreOfferedFromMinToMaxWithoutAMask) {
  SetRange(kIntervals, 1, 4);
  SetNumber(kIntervals, "Mask", 0);
  SetText(kIntervals, "0", "never");
  SetText(kIntervals, "1", "8 s");
  SetText(kIntervals, "2", "");
  SetText(kIntervals, "4", "1 h");
  SetText(kIntervals, "5", "1 d");
  EXPECT_EQ(Intervals(), (Offered{{1, "8 s"}, {2, ""}, {3, "Unknown"}, {4, "1 h"}}));
}

TEST_F(Catalogs, WithoutAnEndOfTheRangeNoIntervalIsOffered) {
  SetText(kIntervals, "0", "8 s");
  SetNumber(kIntervals, "Min", 0);
  EXPECT_EQ(Intervals(), Offered{});
}

TEST_F(Catalogs, IntervalsMayBeginBelow0AndGoBeyond30) {
  SetRange(kIntervals, -2, 40);
  EXPECT_EQ(Intervals(), Numbered(-2, 40, "Unknown"));
  SetRange(kIntervals, std::numeric_limits<std::int32_t>::max() - 1,
           std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(Intervals().size(), 2U) << "the last of all numbers ends the list";
}

TEST_F(Catalogs, IntervalsBeyond4096AreLeftOut) {
  SetRange(kIntervals, 0, 4095);
  EXPECT_EQ(Intervals(), Numbered(0, 4095, "Unknown"));
  for (const auto& [first, last] : kTooMany) {
    SetRange(kIntervals, first, last);
    ASSERT_EQ(Intervals(), Numbered(first, first + 4095, "Unknown"));
  }
}

// --- Meter specific information ---

class MeterSpecificInformation : public Catalogs {
 protected:
  void SetUp() override {
    Catalogs::SetUp();
    SetText(InterfaceKey(3), "MSI", "Dials");
  }

  inline static const std::string kDials = kMaker + "Kernel\\Dials";
  inline static const Texts kBare{"0x0", "0x1", "0x2", "0x3", "0x4", "0x5", "0x6", "0x7",
                                  "0x8", "0x9", "0xA", "0xB", "0xC", "0xD", "0xE", "0xF"};

  static void ExpectDefaults(std::int32_t meter_interface) {
    const catalogs::MsiDescription msi = catalogs::MsiOf(meter_interface);
    EXPECT_EQ(msi.caption, "MSI");
    EXPECT_EQ(msi.range.first, 0);
    EXPECT_EQ(msi.range.last, 15);
    EXPECT_EQ(msi.preselected, 0);
    EXPECT_EQ(msi.names, kBare);
  }
};

TEST_F(MeterSpecificInformation, IsWhatTheKeyOfTheInterfaceSays) {
  SetText(kDials, "Caption", "Dials");
  SetRange(kDials, 4, 6);
  SetNumber(kDials, "Default", 5);
  SetText(kDials, "4", "four dials");
  SetText(kDials, "5", "");
  SetText(kDials, "7", "seven dials");
  const catalogs::MsiDescription msi = catalogs::MsiOf(3);
  EXPECT_EQ(msi.caption, "Dials");
  EXPECT_EQ(msi.range.first, 4);
  EXPECT_EQ(msi.range.last, 6);
  EXPECT_EQ(msi.preselected, 5);
  EXPECT_EQ(msi.names, (Texts{"four dials", "", "0x6"}));
}

TEST_F(MeterSpecificInformation, HasItsDefaultsWithoutAnInterfaceWithoutAKeyAndInAnEmptyKey) {
  ExpectDefaults(4);
  ExpectDefaults(3);
  SetText(kDials, "Other", "x");
  ExpectDefaults(3);
}

TEST_F(MeterSpecificInformation, ValuesThatAreOfTheWrongKindAreTheDefaults) {
  SetNumber(kDials, "Caption", 5);
  SetText(kDials, "Min", "few");
  SetText(kDials, "Max", "many");
  SetText(kDials, "Default", "middle");
  SetNumber(kDials, "3", 3);
  ExpectDefaults(3);
}

TEST_F(MeterSpecificInformation, HasTheHexadecimalDigitOfAValueWithoutAName) {
  SetText(kDials, "10", "ten");
  Texts names = kBare;
  names[10] = "ten";
  EXPECT_EQ(catalogs::MsiOf(3).names, names);
}

TEST_F(MeterSpecificInformation, MayBeSharedByInterfaces) {
  SetText(InterfaceKey(-1), "MSI", "Dials");
  SetText(kDials, "Caption", "Dials");
  EXPECT_EQ(catalogs::MsiOf(-1).caption, "Dials");
  EXPECT_EQ(catalogs::MsiOf(3).caption, "Dials");
}

TEST_F(MeterSpecificInformation, HasNoNamesInAnEmptyRange) {
  SetRange(kDials, 6, 5);
  EXPECT_EQ(catalogs::MsiOf(3).names, Texts{});
}

TEST_F(MeterSpecificInformation, HasNoMoreThan4096Names) {
  for (const auto& [first, last] : kTooMany) {
    SetRange(kDials, first, last);
    SetText(kDials, std::to_string(first), "first");
    SetText(kDials, std::to_string(first + 4095), "last");
    const catalogs::MsiDescription msi = catalogs::MsiOf(3);
    ASSERT_EQ(msi.names.size(), 4096U);
    EXPECT_EQ(msi.names.front(), "first");
    EXPECT_EQ(msi.names.back(), "last");
    EXPECT_EQ(msi.range.last, last);
  }
}

TEST_F(MeterSpecificInformation, ReadsEachValueOnce) {
  SetText(kDials, "Caption", "Dials");
  catalogs::MsiOf(3);
  Texts queries;
  for (const std::string& call : TheWorld().registry_calls) {
    if (call.starts_with("RegQueryValueEx")) queries.push_back(call);
  }
  std::ranges::sort(queries);
  EXPECT_EQ(std::ranges::adjacent_find(queries), queries.end());
  EXPECT_EQ(queries.size(), 1 + 4 + 16U);
}

// --- Box types and modes ---

TEST_F(Catalogs, TheNameOfABoxTypeIsAHexadecimalNumber) {
  EXPECT_EQ(catalogs::SignatureNumber("A5"), 0xA5);
  EXPECT_EQ(catalogs::SignatureNumber("fe"), 0xFE);
  EXPECT_EQ(catalogs::SignatureNumber("00"), 0);
  EXPECT_EQ(catalogs::SignatureNumber("100"), 0x100) << "beyond a byte";
  EXPECT_EQ(catalogs::SignatureNumber("FFFFFFFF"), -1);
  for (const char* name : {"", "G1", "0x1A", "1 A", "1A.5", "123456789", "-1"}) {
    EXPECT_EQ(catalogs::SignatureNumber(name), std::nullopt) << name;
  }
}

TEST_F(Catalogs, ABoxTypeIsShownAsItsTextOrNumberAndAnythingElseAsNothing) {
  EXPECT_EQ(catalogs::SignatureText("Electric"s), "Electric");
  EXPECT_EQ(catalogs::SignatureText(std::int32_t{-12}), "-12");
  EXPECT_EQ(catalogs::SignatureText(Variant()), "");
}

// --- Names by number ---

TEST_F(Catalogs, ANumberedKeyIsNamedInPlainDecimal) {
  for (const std::int32_t number : {-1, 0, 7, 12, std::numeric_limits<std::int32_t>::min()}) {
    SetName(kMessages, number, "name of " + std::to_string(number));
    EXPECT_EQ(catalogs::ReadName(kMessages, number, "Invalid"),
              "name of " + std::to_string(number));
    const OpenKey parent(platform::kLocalMachine, kMessages);
    EXPECT_EQ(catalogs::ReadName(parent, number, "Invalid"), "name of " + std::to_string(number));
  }
}

TEST_F(Catalogs, AMissingNameIsTheDefault) {
  EXPECT_EQ(catalogs::ReadName(kMessages, 8, "Invalid"), "Invalid");
  EXPECT_EQ(catalogs::ReadName(OpenKey(platform::kLocalMachine, kMessages), 8, "none"), "none");
  SetMessage(8, 2);
  EXPECT_EQ(catalogs::ReadName(kMessages, 8, "Invalid"), "Invalid");
  EXPECT_EQ(catalogs::ReadName(OpenKey(platform::kLocalMachine, kMessages), 8, "none"), "none");
}

TEST_F(Catalogs, NothingIsAskedBelowAParentThatIsNotOpen) {
  const OpenKey parent(platform::kLocalMachine, kMessages);
  TheWorld().registry_calls.clear();
  EXPECT_EQ(catalogs::ReadName(parent, 8, "none"), "none");
  EXPECT_TRUE(TheWorld().registry_calls.empty());
}

// --- Failures ---

TEST_F(Catalogs, NoFailureOfTheRegistryIsRaisedOrReported) {
  SetInterfaces(0, 2, -1);
  SetRange(kIntervals, 0, 2);
  SetText(InterfaceKey(0), "MSI", "Dials");
  SetText(InterfaceKey(0) + "\\4", "Ver", "4.0");
  SetText(kMaker + "Kernel\\Dials", "Caption", "Dials");
  SetMessage(8, 2);
  SetTest("Meter", 1, 2, 3);
  for (const char* call : {"RegOpenKeyEx", "RegEnumKeyEx", "RegQueryValueEx", "RegCloseKey"}) {
    for (const std::int32_t code : {1, 2, 5, 6, 8, 87, 234, 259, 1018, 1450, -1}) {
      FailRegistry(call, code);
      EXPECT_NO_THROW({
        Interfaces();
        Intervals();
        catalogs::VersionsOf(0, {"4"});
        catalogs::EncoderOf(0);
        catalogs::VersionedLookup().Find(InterfaceKey(0), "MIF", "4.0");
        catalogs::MsiOf(0);
        catalogs::DeviceTypes();
        catalogs::MessageLength(8);
        EntriesOf([](const catalogs::AddEntry& add) { catalogs::MessageList("").Offer(add); });
        EntriesOf([](const catalogs::AddEntry& add) {
          catalogs::TestMessageList(catalogs::DeviceKey("Meter")).Offer(add);
        });
      }) << call
         << ", code " << code;
      EXPECT_TRUE(TheWorld().open_keys.empty());
    }
  }
  TheWorld().registry_fault = nullptr;
  EXPECT_EQ(Interfaces().size(), 3U);
}

// --- Sub-devices ---

TEST_F(Catalogs, TestMessagesBeyond4096AreLeftOut) {
  for (const auto& [first, last] : kTooMany) {
    SetRange(TestMessages("Meter"), first, last);
    const catalogs::TestMessageList messages(catalogs::DeviceKey("Meter"));
    ASSERT_EQ(EntriesOf([&](const catalogs::AddEntry& add) { messages.Offer(add); }),
              Numbered(first, first + 4095, "Invalid"));
  }
}

TEST_F(Catalogs, TheKeyOfADeviceEndsInOneBackslash) {
  EXPECT_EQ(catalogs::DeviceKey("Meter"), kDeviceTypes + "\\Meter\\");
  EXPECT_EQ(catalogs::DeviceKey("Meter\\"), kDeviceTypes + "\\Meter\\");
  EXPECT_EQ(catalogs::DeviceKey(""), kDeviceTypes + "\\");
}

}  // namespace
}  // namespace qmzentrel::tests
