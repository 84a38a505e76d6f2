// The simulator's lists for the box signature, and the supply line.
#include "tools/catalog_checker/tests/sample_catalog.h"

namespace qmzentrel::catalog_checker::tests {
namespace {

class SignatureChecks : public SampleCatalog {
 protected:
  static constexpr const char* kEmpty = "the simulator's list is empty, and its byte is 0";
  inline static const std::string kZentrel = kMaker + "Zentrel";
};

TEST_F(SignatureChecks, BothListsHaveEntries) {
  DeleteKey(kSignatureTypes);
  TheWorld().registry[kSignatureModes].clear();
  SetText(kSignatureModes, "", "Unnamed");
  EXPECT_EQ(Faults(), (Only{Fault(kSignatureTypes, "", "is missing", kEmpty),
                            Fault(kSignatureModes, "", "has no named values", kEmpty)}));
}

TEST_F(SignatureChecks, AnEntryIsNamedByAHexadecimalNumber) {
  for (const char* name : {"G5", "0xA5", "&HA5", "A 5"}) {
    SetText(kSignatureTypes, name, "Box");
    EXPECT_EQ(Faults(), Only{Fault(kSignatureTypes, name, "is not named by a hexadecimal number",
                                   "with the simulator on no object can be created (error 13)")});
    DeleteValue(kSignatureTypes, name);
  }
}

TEST_F(SignatureChecks, AnEntryIsNamedByAByte) {
  for (const char* name : {"100", "FFFFFFFF"}) {
    SetText(kSignatureModes, name, "Mode");
    EXPECT_EQ(Faults(), Only{Fault(kSignatureModes, name, "is named by a number that is no byte",
                                   "a simulated read that has it chosen fails with error 6")});
    DeleteValue(kSignatureModes, name);
  }
  SetText(kSignatureModes, "ff", "Mode");
  EXPECT_EQ(Faults(), Only());
}

TEST_F(SignatureChecks, NoByteHasTwoEntries) {
  SetText(kSignatureModes, "1", "Once more");
  EXPECT_EQ(Faults(), Only{Fault(kSignatureModes, "1", "names a byte that another value names, too",
                                 "only the first of them is ever selected again")});
}

TEST_F(SignatureChecks, AnEntryHasAText) {
  SetNumber(kSignatureModes, "01", 1);
  EXPECT_EQ(Faults(), Only{Fault(kSignatureModes, "01", "is no text but REG_DWORD",
                                 "the list shows no proper text for it")});
}

TEST_F(SignatureChecks, AListWithoutTheByte0IsRemarked) {
  DeleteValue(kSignatureTypes, "00");
  EXPECT_EQ(Faults(), Only());
  EXPECT_EQ(NewRemarks(), Only{Remark(kSignatureTypes, "00", "is missing",
                                      "nothing is selected until an answer has been stored")});
}

TEST_F(SignatureChecks, TheSupplyLineIsOneOfThree) {
  for (const char* line : {"DTR", "rts", "Both"}) {
    SetText(kZentrel, "SupplyLine", line);
    EXPECT_EQ(Faults(), Only()) << line;
  }
  SetText(kZentrel, "SupplyLine", "CTS");
  EXPECT_EQ(Faults(), Only{Fault(kZentrel, "SupplyLine", "is none of DTR, RTS and BOTH: \"CTS\"",
                                 "the supply is on DTR")});
}

}  // namespace
}  // namespace qmzentrel::catalog_checker::tests
