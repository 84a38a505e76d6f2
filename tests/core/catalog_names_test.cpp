// The names that an object loads when it is created, and those that it looks up when asked.
#include <limits>
#include <new>
#include <set>

#include "tests/contract/registry_codes.h"
#include "tests/core/catalog_writer.h"
#include "tests/core/core_test.h"
#include "tests/core/registry_faults.h"
#include "tests/core/zentrel_access.h"

namespace qmzentrel::tests {
namespace {

using namespace std::string_literals;

class CatalogNames : public CoreTest {
 protected:
  /// Interfaces -1 to `last` and all intervals, each with a name.
  static void InstallCatalog(std::int32_t last) {
    SetInterfaces(0, last, -1);
    for (std::int32_t n = -1; n <= last; ++n) {
      SetName(kInterfaces, n, "MIF " + std::to_string(n));
    }
    SetRange(kIntervals, 0, 15);
    for (std::int32_t n = 0; n <= 15; ++n) {
      SetText(kIntervals, std::to_string(n), "TXI " + std::to_string(n));
    }
  }

  void Create() {
    zentrel_.reset();
    zentrel_ = Zentrel::Create();
  }

  std::string MifName(std::int32_t mif) {
    ZentrelAccess::SetMif(*zentrel_, mif);
    return zentrel_->MIFName();
  }
  std::string TxiName(std::int32_t txi) {
    zentrel_->TXI(txi);
    return zentrel_->TXIName();
  }

  /// The property fails with error 9 and 65535.
  void ExpectNoMifName(std::int32_t mif) {
    const ErrorReport report = ReportOf([&] { MifName(mif); });
    EXPECT_EQ(report.ErrorNumber, 9) << mif;
    EXPECT_EQ(report.ErrorDescription, "Subscript out of range");
    EXPECT_EQ(report.module, "Zentrel");
    EXPECT_EQ(report.procedure, "MIFName");
  }
  void ExpectNoTxiName(std::int32_t txi) {
    const ErrorReport report = ReportOf([&] { TxiName(txi); });
    EXPECT_EQ(report.ErrorNumber, 9) << txi;
    EXPECT_EQ(report.module, "Zentrel");
    EXPECT_EQ(report.procedure, "TXIName");
  }

  void SetUp() override {
    CoreTest::SetUp();
    first_ = Zentrel::Create();  // which loads what all objects share
    TheWorld().registry_calls.clear();
  }

  void TearDown() override {
    first_.reset();
    zentrel_.reset();
    CoreTest::TearDown();
  }

  std::shared_ptr<Zentrel> first_;
  std::shared_ptr<Zentrel> zentrel_;
};

// --- Names of the record's values ---

TEST_F(CatalogNames, EveryInterfaceFromMinus1ToMaxHasItsName) {
  InstallCatalog(5);
  Create();
  for (std::int32_t n = -1; n <= 5; ++n) EXPECT_EQ(MifName(n), "MIF " + std::to_string(n));
}

TEST_F(CatalogNames, EveryIntervalFrom0To15HasItsName) {
  InstallCatalog(5);
  Create();
  for (std::int32_t n = 0; n <= 15; ++n) EXPECT_EQ(TxiName(n), "TXI " + std::to_string(n));
}

TEST_F(CatalogNames, AnInterfaceOutsideTheLoadedRangeIsAnError) {
  InstallCatalog(5);
  Create();
  for (const std::int32_t n : {-2, 6, 31, std::numeric_limits<std::int32_t>::min(),
                               std::numeric_limits<std::int32_t>::max()}) {
    ExpectNoMifName(n);
  }
}

TEST_F(CatalogNames, AnIntervalOutside0To15IsAnError) {
  InstallCatalog(5);
  Create();
  for (const std::int32_t n : {-1, 16, std::numeric_limits<std::int32_t>::min(),
                               std::numeric_limits<std::int32_t>::max()}) {
    ExpectNoTxiName(n);
  }
}

TEST_F(CatalogNames, InterfaceMinus1HasAPlaceThoughTheListsStartAtMin) {
  SetInterfaces(3, 5, -1);
  SetName(kInterfaces, -1, "not set up");
  SetName(kInterfaces, 0, "below Min");
  Create();
  EXPECT_EQ(MifName(-1), "not set up");
  EXPECT_EQ(MifName(0), "below Min");
}

TEST_F(CatalogNames, AMissingNameIsEmpty) {
  SetNumber(kInterfaces, "Max", 1);
  SetNumber(InterfaceKey(0), "Encoder", 1);
  SetNumber(InterfaceKey(1), "", 5);
  Create();
  for (const std::int32_t n : {-1, 0, 1}) EXPECT_EQ(MifName(n), "") << n;
  for (const std::int32_t n : {0, 15}) EXPECT_EQ(TxiName(n), "") << n;
}

TEST_F(CatalogNames, TheMaskAndTheRangeOfIntervalsDoNotMatterForNames) {
  InstallCatalog(2);
  SetNumber(kInterfaces, "Mask", 0);
  SetRange(kIntervals, 5, 3);
  Create();
  EXPECT_EQ(MifName(2), "MIF 2");
  EXPECT_EQ(TxiName(15), "TXI 15");
}

TEST_F(CatalogNames, TheWholeStoredInterfaceIsTheIndexWithoutAMask) {
  InstallCatalog(20);
  Create();
  EXPECT_EQ(MifName(20), "MIF 20") << "not that of 20 AND 15";
}

TEST_F(CatalogNames, TheBitsOfTheMifByteAreNoPartOfTheIndex) {
  InstallCatalog(5);
  Create();
  zentrel_->DeviceMIF(0x35);
  EXPECT_EQ(zentrel_->MIFName(), "MIF 5");
}

TEST_F(CatalogNames, WithoutACatalogBothNamesFailInsteadOfBeingEmpty) {
  Create();
  for (const std::int32_t n : {-1, 0, 5}) ExpectNoMifName(n);
  for (const std::int32_t n : {0, 15}) ExpectNoTxiName(n);
}

TEST_F(CatalogNames, WithAMaxOfATypeThatIsNotReadTheyAreLoadedUpToInterface0) {
  InstallCatalog(5);
  TheWorld().registry[kInterfaces]["Max"] = {kRegBinary, std::string(1, '\5')};
  Create();
  EXPECT_EQ(MifName(0), "MIF 0");
  ExpectNoMifName(1);
  EXPECT_EQ(TxiName(15), "TXI 15");
}

TEST_F(CatalogNames, WithoutTheMaxOfInterfacesTheIntervalsAreNotLoadedEither) {
  InstallCatalog(5);
  TheWorld().registry[kInterfaces].erase("Max");
  TheWorld().registry_calls.clear();
  Create();
  ExpectNoMifName(0);
  ExpectNoTxiName(0);
  EXPECT_EQ(TheWorld().registry_calls, (Texts{"RegOpenKeyEx " + kInterfaces, "RegQueryValueEx Max",
                                              "RegCloseKey " + kInterfaces}));
}

TEST_F(CatalogNames, AMaxThatIsNoNumberIsNone) {
  InstallCatalog(5);
  SetText(kInterfaces, "Max", "many");
  Create();
  ExpectNoMifName(0);
  ExpectNoTxiName(0);
}

TEST_F(CatalogNames, MaxMayBeAText) {
  InstallCatalog(5);
  SetText(kInterfaces, "Max", "2");
  Create();
  EXPECT_EQ(MifName(2), "MIF 2");
  ExpectNoMifName(3);
}

TEST_F(CatalogNames, AMaxOfMinus1LeavesOneInterface) {
  InstallCatalog(5);
  SetNumber(kInterfaces, "Max", -1);
  Create();
  EXPECT_EQ(MifName(-1), "MIF -1");
  ExpectNoMifName(0);
  EXPECT_EQ(TxiName(15), "TXI 15");
}

TEST_F(CatalogNames, AMaxBeyondEveryCatalogLoadsTheFirst4096Names) {
  SetName(kInterfaces, -1, "first");
  SetName(kInterfaces, 4094, "last");
  SetName(kInterfaces, 4095, "beyond");
  SetText(kIntervals, "15", "1 d");
  for (const std::int32_t max : {4095, 170'000'000, std::numeric_limits<std::int32_t>::max()}) {
    SetNumber(kInterfaces, "Max", max);
    ASSERT_NO_FATAL_FAILURE(Create());
    EXPECT_EQ(MifName(-1), "first");
    EXPECT_EQ(MifName(4094), "last");
    ASSERT_EQ(ErrorNumberOf([&] { MifName(4095); }), 65535) << max;
    EXPECT_EQ(TakeReports().size(), 1U);
    EXPECT_EQ(TxiName(15), "1 d");
  }
}

TEST_F(CatalogNames, TheCatalogOfTheCreationCounts) {
  InstallCatalog(2);
  Create();
  SetName(kInterfaces, 2, "changed");
  SetName(kInterfaces, 5, "MIF 5");
  SetNumber(kInterfaces, "Max", 5);
  SetText(kIntervals, "0", "changed");
  EXPECT_EQ(MifName(2), "MIF 2");
  EXPECT_EQ(TxiName(0), "TXI 0");
  ExpectNoMifName(5);
  Create();
  EXPECT_EQ(MifName(2), "changed");
  EXPECT_EQ(TxiName(0), "changed");
  EXPECT_EQ(MifName(5), "MIF 5");
}

TEST_F(CatalogNames, NamesAreReadFromTheAnsiCodePage) {
  InstallCatalog(0);
  SetName(kInterfaces, 0, "W\xE4rme");
  SetText(kIntervals, "1", "t\xE4glich");
  Create();
  EXPECT_EQ(MifName(0), "W\xC3\xA4rme");
  EXPECT_EQ(TxiName(1), "t\xC3\xA4glich");
}

TEST_F(CatalogNames, TheReportShowsTheNamesWithTheirIndices) {
  SetNumber(kInterfaces, "Max", 0);
  SetName(kInterfaces, -1, "none");
  SetName(kInterfaces, 0, "Pulse");
  SetText(kIntervals, "15", "1 d");
  Create();
  const std::string fields = zentrel_->DumpFields();
  EXPECT_NE(fields.find("<m_lngPowerTimer>0</m_lngPowerTimer>\r\n"
                        "<m_strMIFs Index=\"-1\">none</m_strMIFs>\r\n"
                        "<m_strMIFs Index=\"0\">Pulse</m_strMIFs>\r\n"
                        "<m_strTXIs Index=\"0\"></m_strTXIs>\r\n"),
            std::string::npos)
      << fields;
  EXPECT_NE(fields.find("<m_strTXIs Index=\"15\">1 d</m_strTXIs>\r\n<m_lngUtil>"),
            std::string::npos)
      << fields;
}

// --- What a creation asks of the registry ---

/// Every value that the calls so far asked for, by its whole path.
std::vector<std::string> QueriedValues() {
  Texts open;
  Texts values;
  for (const std::string& line : TheWorld().registry_calls) {
    const std::size_t blank = line.find(' ');
    const std::string call = line.substr(0, blank);
    const std::string subject = line.substr(blank + 1);
    if (call == "RegOpenKeyEx") {
      open.push_back(open.empty() ? subject : open.back() + '\\' + subject);
    } else if (call == "RegCloseKey") {
      open.pop_back();
    } else if (call == "RegQueryValueEx") {
      values.push_back(open.back() + " -> " + subject);
    }
  }
  return values;
}

TEST_F(CatalogNames, WithoutACatalogACreationIsOneCall) {
  Create();
  EXPECT_EQ(TheWorld().registry_calls, Texts{"RegOpenKeyEx " + kInterfaces});
}

TEST_F(CatalogNames, ACreationAsksForEachOf32InterfacesAnd16IntervalsOnce) {
  InstallCatalog(31);
  TheWorld().registry_calls.clear();
  Create();
  const Texts values = QueriedValues();
  // "Max", the interfaces from -1 to 31, the intervals.
  EXPECT_EQ(values.size(), 1 + 33 + 16U);
  EXPECT_EQ(std::set<std::string>(values.begin(), values.end()).size(), values.size());
  // The two parents and each interface are opened and closed once.
  EXPECT_EQ(TheWorld().registry_calls.size(), values.size() + 2 * (2 + std::size_t{33}));
  EXPECT_EQ(MifName(31), "MIF 31");
}

TEST_F(CatalogNames, ACreationOnlyReads) {
  InstallCatalog(3);
  const auto before = TheWorld().registry.size();
  Create();
  for (const std::uint32_t access : TheWorld().opened_access) EXPECT_EQ(access, 0x20009U);
  EXPECT_EQ(TheWorld().registry.size(), before);
}

TEST_F(CatalogNames, NoRegistryFailureFailsACreation) {
  InstallCatalog(1);
  TheWorld().registry_calls.clear();
  Create();
  const std::size_t calls = TheWorld().registry_calls.size();
  for (const std::int32_t code : {2, 5, 6, 234, 259, 1018, 1450}) {
    for (std::size_t failing = 0; failing < calls; ++failing) {
      std::size_t call = 0;
      TheWorld().registry_fault = [&](const std::string&, const std::string&) {
        return call++ == failing ? std::optional(code) : std::nullopt;
      };
      EXPECT_NO_THROW(Create()) << "call " << failing << ", code " << code;
      EXPECT_TRUE(TheWorld().open_keys.empty());
    }
  }
}

TEST_F(CatalogNames, ANameThatCannotBeReadIsEmptyAndTheOthersAreThere) {
  InstallCatalog(2);
  TheWorld().registry_fault = [](const std::string& call, const std::string& subject) {
    const bool fails =
        (call == "RegOpenKeyEx" && subject == "1") || (call == "RegQueryValueEx" && subject == "7");
    return fails ? std::optional<std::int32_t>(5) : std::nullopt;
  };
  Create();
  EXPECT_EQ(MifName(0), "MIF 0");
  EXPECT_EQ(MifName(1), "");
  EXPECT_EQ(MifName(2), "MIF 2");
  EXPECT_EQ(TxiName(6), "TXI 6");
  EXPECT_EQ(TxiName(7), "");
  EXPECT_EQ(TxiName(8), "TXI 8");
}

// --- A creation that fails ---

TEST_F(CatalogNames, AMaxBelowMinus1FailsTheCreationAndEverythingBegunIsUndone) {
  for (const std::int32_t max : {-2, std::numeric_limits<std::int32_t>::min()}) {
    SetNumber(kInterfaces, "Max", max);
    TheWorld().TakeJournal();
    const ErrorReport report = ReportOf([&] { Create(); });
    EXPECT_EQ(report.ErrorNumber, 9);
    EXPECT_EQ(report.procedure, "LoadNames");
    EXPECT_EQ(report.local_variables, "<n>0</n>\r\n<vntMax>" + std::to_string(max) +
                                          "</vntMax>\r\n<lngMax>" + std::to_string(max) +
                                          "</lngMax>\r\n");
    EXPECT_EQ(TheWorld().TakeJournal(), Texts{"log Zentrel_DeviceClose"});
    EXPECT_TRUE(TheWorld().open_keys.empty());
    EXPECT_TRUE(TheWorld().timers.empty());
  }
}

TEST_F(CatalogNames, AfterACreationThatFailedTheNextOneWorks) {
  SetNumber(kInterfaces, "Max", -2);
  ReportOf([&] { Create(); });
  InstallCatalog(5);
  Create();
  EXPECT_EQ(MifName(5), "MIF 5");
}

TEST_F(CatalogNames, AnotherObjectIsNotDisturbedByACreationThatFails) {
  InstallCatalog(5);
  Create();
  SetNumber(kInterfaces, "Max", -2);
  EXPECT_EQ(ReportOf([] { Zentrel::Create(); }).ErrorNumber, 9);
  EXPECT_EQ(MifName(5), "MIF 5");
}

TEST_F(CatalogNames, WhereverMemoryRunsOutTheCreationFailsAndIsUndone) {
  InstallCatalog(1);
  Create();
  TheWorld().registry_calls.clear();
  Create();
  const Texts calls = TheWorld().registry_calls;
  zentrel_.reset();
  for (std::size_t failing = 0; failing < calls.size(); ++failing) {
    if (calls[failing].starts_with("RegCloseKey")) continue;  // needs no memory
    std::size_t call = 0;
    TheWorld().registry_fault = [&](const std::string&,
                                    const std::string&) -> std::optional<std::int32_t> {
      if (call++ == failing) throw std::bad_alloc();
      return std::nullopt;
    };
    const ErrorReport report = ReportOf([&] { Create(); });
    EXPECT_EQ(report.ErrorNumber, 7) << calls[failing];
    EXPECT_EQ(report.procedure, "LoadNames");
    EXPECT_TRUE(TheWorld().open_keys.empty()) << calls[failing];
  }
}

// --- Any numbered name ---

class NameProperty : public ZentrelTest {};

TEST_F(NameProperty, IsTheUnnamedValueOfTheNumberedKey) {
  SetName(kMessages, 8, "Reverse count");
  SetName(kMessages, -1, "minus one");
  EXPECT_EQ(zentrel->Name(kMessages, 8), "Reverse count");
  EXPECT_EQ(zentrel->Name(kMessages, -1), "minus one");
}

TEST_F(NameProperty, TheRootMayEndInABackslashOrNot) {
  SetName(kMessages, 8, "Reverse count");
  TheWorld().opened_paths.clear();
  EXPECT_EQ(zentrel->Name("SOFTWARE\\QuenmoorComms\\TELIC2\\Messages", 8), "Reverse count");
  EXPECT_EQ(zentrel->Name("SOFTWARE\\QuenmoorComms\\TELIC2\\Messages\\", 8), "Reverse count");
  EXPECT_EQ(TheWorld().opened_paths, Texts(2, kMessages + "\\8"));
}

TEST_F(NameProperty, OfAMissingKeyOrValueIsInvalid) {
  EXPECT_EQ(zentrel->Name(kMessages, 8), "Invalid");
  SetMessage(8, 2);
  EXPECT_EQ(zentrel->Name(kMessages, 8), "Invalid");
  EXPECT_EQ(zentrel->Name("", 8), "Invalid");
}

TEST_F(NameProperty, OfAValueThatIsNoTextIsInvalid) {
  SetNumber(kMessages + "\\8", "", 5);
  EXPECT_EQ(zentrel->Name(kMessages, 8), "Invalid");
  TheWorld().SetTexts(kMessages + "\\8", "", {"a", "b"});
  EXPECT_EQ(zentrel->Name(kMessages, 8), "Invalid");
}

TEST_F(NameProperty, OfAnEmptyTextIsEmpty) {
  SetName(kMessages, 8, "");
  EXPECT_EQ(zentrel->Name(kMessages, 8), "");
}

TEST_F(NameProperty, OfAKeyThatCannotBeReadIsInvalidAndNothingIsReported) {
  SetName(kMessages, 8, "Reverse count");
  for (const char* call : {"RegOpenKeyEx", "RegQueryValueEx"}) {
    FailRegistry(call);
    EXPECT_EQ(zentrel->Name(kMessages, 8), "Invalid") << call;
  }
  FailRegistry("RegCloseKey", kInvalidHandle);
  EXPECT_EQ(zentrel->Name(kMessages, 8), "Reverse count");
}

TEST_F(NameProperty, IsReadAfreshEachTime) {
  EXPECT_EQ(zentrel->Name(kMessages, 8), "Invalid");
  SetName(kMessages, 8, "Reverse count");
  EXPECT_EQ(zentrel->Name(kMessages, 8), "Reverse count");
}

TEST_F(NameProperty, AFaultIsReportedWithItsParameters) {
  TheWorld().registry_fault = [](const std::string&,
                                 const std::string&) -> std::optional<std::int32_t> {
    throw std::bad_alloc();
  };
  const ErrorReport report = ReportOf([&] { zentrel->Name("Root", 8); });
  EXPECT_EQ(report.ErrorNumber, 7);
  EXPECT_EQ(report.procedure, "Name");
  EXPECT_EQ(report.parameters, "<RegRootKey>Root</RegRootKey>\r\n<Index>8</Index>\r\n");
}

}  // namespace
}  // namespace qmzentrel::tests
