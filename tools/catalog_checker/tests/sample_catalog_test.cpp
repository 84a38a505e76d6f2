// The catalog as a whole.
#include "tools/catalog_checker/tests/sample_catalog.h"

namespace qmzentrel::catalog_checker::tests {
namespace {

class WholeCatalog : public SampleCatalog {};

TEST_F(WholeCatalog, TheSampleHasNoFault) {
  EXPECT_EQ(Faults(), Only());
}

TEST_F(WholeCatalog, TheSampleHasRemarksOnItsDefaultsOnly) {
  const std::string defaulted = "HKLM\\" + kKernel + "\\MSIContact, ";
  const auto remarks = Lines(Grade::kRemark);
  EXPECT_EQ(remarks.size(), 18U);  // caption, range, selection, and the names of 2 to 15
  for (const std::string& remark : remarks) {
    EXPECT_NE(remark.find(defaulted), std::string::npos) << remark;
  }
}

TEST_F(WholeCatalog, NothingIsWritten) {
  TheWorld().registry_calls.clear();
  CheckCatalog();
  EXPECT_FALSE(TheWorld().registry_calls.empty());
  for (const std::string& call : TheWorld().registry_calls) {
    EXPECT_FALSE(call.starts_with("RegCreate") || call.starts_with("RegSet") ||
                 call.starts_with("RegDelete"))
        << call;
  }
}

TEST_F(WholeCatalog, WithoutAnyThereIsOneFault) {
  TheWorld().registry.clear();
  EXPECT_EQ(Faults(), Only{Fault(kMaker.substr(0, kMaker.size() - 1), "",
                                 "is missing in the 32-bit view of the registry",
                                 "no names, no lists, no lengths of sub-device messages")});
}

TEST_F(WholeCatalog, AnEmptyOneMissesEachPart) {
  TheWorld().registry.clear();
  SetNumber(kMaker + "QMC Software Library\\Zentrel\\Simulator", "", 1);
  const std::string no_list = "the simulator's list is empty, and its byte is 0";
  EXPECT_EQ(
      Faults(),
      (Only{Fault(kInterfaces, "", "is missing",
                  "no names are loaded: MIFName and TXIName fail with error 65535; no interface "
                  "is offered"),
            Fault(kIntervals, "", "is missing", "no interval is offered, and TXIName is empty"),
            Fault(kSignatureTypes, "", "is missing", no_list),
            Fault(kSignatureModes, "", "is missing", no_list),
            Fault(kMessages, "", "is missing",
                  "commands with sub-device messages are refused: S_BAD_PARAMETER"),
            Fault(kDeviceTypes, "", "has no sub-keys", "TELIC2EnumDevices has no type to list")}));
}

TEST_F(WholeCatalog, ARegistryThatRefusesCountsAsMissing) {
  TheWorld().open_result = 5;
  EXPECT_EQ(Faults().size(), 1U);
}

}  // namespace
}  // namespace qmzentrel::catalog_checker::tests
