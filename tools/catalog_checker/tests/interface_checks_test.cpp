// Meter interfaces.
#include "tools/catalog_checker/tests/sample_catalog.h"

namespace qmzentrel::catalog_checker::tests {
namespace {

class InterfaceChecks : public SampleCatalog {
 protected:
  static constexpr const char* kNoNames =
      "no names are loaded: MIFName and TXIName fail with error 65535; no interface is offered";
  static constexpr const char* kNoneOffered = "no interface is offered";
  static constexpr const char* kUnread = "nothing reads it";
};

TEST_F(InterfaceChecks, MaxHasToBeThere) {
  DeleteValue(kInterfaces, "Max");
  EXPECT_EQ(Faults(), Only{Fault(kInterfaces, "Max", "is missing", kNoNames)});
}

TEST_F(InterfaceChecks, MaxHasToBeANumber) {
  SetText(kInterfaces, "Max", "many");
  EXPECT_EQ(Faults(), Only{Fault(kInterfaces, "Max", "is no number: \"many\"", kNoNames)});
}

TEST_F(InterfaceChecks, MinHasToBeThere) {
  DeleteValue(kInterfaces, "Min");
  EXPECT_EQ(Faults(), Only{Fault(kInterfaces, "Min", "is missing", kNoneOffered)});
}

TEST_F(InterfaceChecks, MinHasToBeANumber) {
  SetText(kInterfaces, "Min", "few");
  EXPECT_EQ(Faults(), Only{Fault(kInterfaces, "Min", "is no number: \"few\"", kNoneOffered)});
}

TEST_F(InterfaceChecks, MaxBelowMinus1LetsNoObjectBeCreated) {
  SetNumber(kInterfaces, "Max", -2);
  EXPECT_EQ(Faults(), Only{Fault(kInterfaces, "Max", "is -2, below -1",
                                 "no object can be created (0x800AFFFF)")});
}

TEST_F(InterfaceChecks, MaxBelowMinOffersNone) {
  DeleteKey(kInterfaces);
  SetInterfaces(0, -1, 1);
  EXPECT_EQ(Faults(), Only{Fault(kInterfaces, "Max", "is -1, below Min", kNoneOffered)});
}

TEST_F(InterfaceChecks, MaxReaches30) {
  SetNumber(kInterfaces, "Max", 30);
  EXPECT_EQ(Faults(), Only());
}

TEST_F(InterfaceChecks, MaxOf31EndsTheListWithAnError) {
  SetNumber(kInterfaces, "Max", 31);
  EXPECT_EQ(Faults(), Only{Fault(kInterfaces, "Max", "is 31, above 30",
                                 "the list of interfaces ends with error 6 at 31")});
}

TEST_F(InterfaceChecks, AMaxAbove1000CostsTimeAndMemory) {
  SetNumber(kInterfaces, "Max", 1000);
  EXPECT_EQ(Faults(), Only{Fault(kInterfaces, "Max", "is 1000, above 30",
                                 "the list of interfaces ends with error 6 at 31")});
  for (const std::int32_t last : {1001, 0x7FFFFFFF}) {
    SetNumber(kInterfaces, "Max", last);
    EXPECT_EQ(
        Faults(),
        Only{Fault(kInterfaces, "Max", "is " + std::to_string(last) + ", above 1000",
                   "each new object reads a key for every number, the first 4096 of them; the "
                   "list of interfaces ends with error 6")});
  }
}

TEST_F(InterfaceChecks, MinIsNotBelowMinus1) {
  SetNumber(kInterfaces, "Min", -2);
  EXPECT_EQ(Faults(),
            Only{Fault(kInterfaces, "Min", "is -2, below -1", "no list offers a number below 0")});
  EXPECT_EQ(NewRemarks(), Only());
}

TEST_F(InterfaceChecks, ATextThatIsNoNumberStopsTheSimulator) {
  for (const char* value : {"MIF", "IDSources"}) {
    for (const auto& [text, error] :
         {std::pair{"both", 13}, {"", 13}, {"4000000000", 6}, {"1e20", 6}}) {
      SetText(InterfaceKey(1), value, text);
      EXPECT_EQ(Faults(),
                Only{Fault(InterfaceKey(1), value, "is no number: \"" + std::string(text) + "\"",
                           "the simulator's dialog fails with error " + std::to_string(error) +
                               " when it is chosen")});
    }
    SetText(InterfaceKey(1), value, "3");
    EXPECT_EQ(Faults(), Only());
  }
}

TEST_F(InterfaceChecks, MinBelow0IsRemarked) {
  SetNumber(kInterfaces, "Min", -1);
  EXPECT_EQ(Faults(), Only());
  EXPECT_EQ(NewRemarks(),
            Only{Remark(kInterfaces, "Min", "is -1", "no list offers a number below 0")});
}

TEST_F(InterfaceChecks, MaskHasToBeThere) {
  DeleteValue(kInterfaces, "Mask");
  EXPECT_EQ(Faults(), Only{Fault(kInterfaces, "Mask", "is missing", kNoneOffered)});
}

TEST_F(InterfaceChecks, AMaskOf0OffersNone) {
  SetNumber(kInterfaces, "Mask", 0);
  EXPECT_EQ(Faults(), Only{Fault(kInterfaces, "Mask", "is 0", kNoneOffered)});
}

TEST_F(InterfaceChecks, TheMaskHasNoBitsOutsideTheRange) {
  SetNumber(kInterfaces, "Min", 1);
  SetNumber(kInterfaces, "Mask", 0x400101FF);
  EXPECT_EQ(Faults(), Only{Fault(kInterfaces, "Mask", "has bits outside Min to Max: 0, 16, 30",
                                 "nothing is offered there")});
}

TEST_F(InterfaceChecks, TheMaskDoesNotHaveBit31) {
  SetNumber(kInterfaces, "Mask", static_cast<std::int32_t>(0x800001FF));
  EXPECT_EQ(Faults(), Only{Fault(kInterfaces, "Mask", "has bits outside Min to Max: 31",
                                 "nothing is offered there")});
}

TEST_F(InterfaceChecks, AMaskOfMinus1StandsForAll) {
  SetNumber(kInterfaces, "Max", 8);
  for (int n = 9; n <= 15; ++n) DeleteKey(InterfaceKey(n));
  SetNumber(kInterfaces, "Mask", -1);
  EXPECT_EQ(Faults(), Only());
}

TEST_F(InterfaceChecks, AnOfferedInterfaceHasAName) {
  DeleteValue(InterfaceKey(3), "");
  EXPECT_EQ(Faults(),
            Only{Fault(InterfaceKey(3), "(default)", "is missing", "it is listed as \"Unknown\"")});
}

TEST_F(InterfaceChecks, AnOfferedInterfaceHasAKey) {
  DeleteKey(InterfaceKey(3));
  EXPECT_EQ(Faults(),
            Only{Fault(InterfaceKey(3), "", "is missing", "it is listed as \"Unknown\"")});
}

TEST_F(InterfaceChecks, Interface0HasAKeyEvenIfItIsNotOffered) {
  SetNumber(kInterfaces, "Mask", 0x1FE);
  DeleteKey(InterfaceKey(0));
  EXPECT_EQ(Faults(),
            Only{Fault(InterfaceKey(0), "", "is missing",
                       "primary interfaces take versions and MSI from here: none are left")});
}

TEST_F(InterfaceChecks, Interface0IsNotNeededWhenNoneIsOffered) {
  SetNumber(kInterfaces, "Mask", 0);
  DeleteKey(InterfaceKey(0));
  EXPECT_EQ(Faults(), Only{Fault(kInterfaces, "Mask", "is 0", kNoneOffered)});
}

TEST_F(InterfaceChecks, AnInterfaceThatIsNotOfferedMayLackItsName) {
  DeleteValue(InterfaceKey(12), "");
  DeleteKey(InterfaceKey(14));
  DeleteKey(InterfaceKey(-1));
  EXPECT_EQ(Faults(), Only());
  const std::string empty = "MIFName is empty";
  EXPECT_EQ(NewRemarks(), (Only{Remark(InterfaceKey(-1), "", "is missing", empty),
                                Remark(InterfaceKey(12), "(default)", "is missing", empty),
                                Remark(InterfaceKey(14), "", "is missing", empty)}));
}

TEST_F(InterfaceChecks, AnInterfaceOutsideTheRangeIsNotRead) {
  SetName(kInterfaces, 16, "Sixteen");
  SetName(kInterfaces, -2, "Minus two");
  const std::string outside = "lies outside -1 to Max";
  EXPECT_EQ(Faults(), (Only{Fault(InterfaceKey(-2), "", outside, kUnread),
                            Fault(InterfaceKey(16), "", outside, kUnread)}));
}

TEST_F(InterfaceChecks, AnInterfaceHasAPlainDecimalName) {
  SetText(kInterfaces + "\\01", "", "One");
  SetText(kInterfaces + "\\Pulse", "", "Word");
  const std::string no_number = "is not named by a number in plain decimal";
  EXPECT_EQ(Faults(), (Only{Fault(kInterfaces + "\\01", "", no_number, kUnread),
                            Fault(kInterfaces + "\\Pulse", "", no_number, kUnread)}));
}

TEST_F(InterfaceChecks, InterfacesThatNoTransponderReportsAreRemarked) {
  SetNumber(kInterfaces, "Max", 16);
  SetNumber(kInterfaces, "Mask", 0x101FF);
  SetName(kInterfaces, 16, "Sixteen");
  for (const char* value : {"Encoder", "IDSources", "MIF"}) SetNumber(InterfaceKey(16), value, 1);
  SetText(InterfaceKey(16), "MSI", "MSIPulse");
  SetText(InterfaceKey(16) + "\\3.0", "Ver", "3.0");
  EXPECT_EQ(Faults(), Only());
  EXPECT_EQ(NewRemarks(),
            Only{Remark(kInterfaces, "Mask", "offers interfaces that no transponder reports: 16",
                        "the simulator keeps the lowest four bits of the number")});
}

TEST_F(InterfaceChecks, WhatAnOfferedInterfaceLeavesToDefaultsIsRemarked) {
  for (const char* value : {"Encoder", "IDSources", "MIF", "MSI"}) {
    DeleteValue(InterfaceKey(1), value);
  }
  EXPECT_EQ(Faults(), Only());
  const std::string unless_version = "it is taken as 0 where no version gives it";
  EXPECT_EQ(NewRemarks(),
            (Only{Remark(InterfaceKey(1), "Encoder", "is missing",
                         "it is taken as 0: the tamper count is captioned \"Tamper\""),
                  Remark(InterfaceKey(1), "MIF", "is missing", unless_version),
                  Remark(InterfaceKey(1), "IDSources", "is missing", unless_version),
                  Remark(InterfaceKey(1), "MSI", "is missing",
                         "caption and values of the MSI are the defaults")}));
}

TEST_F(InterfaceChecks, SourcesAboveTheSecondAreRemarked) {
  SetNumber(InterfaceKey(1), "IDSources", 7);
  EXPECT_EQ(Faults(), Only());
  EXPECT_EQ(NewRemarks(), Only{Remark(InterfaceKey(1), "IDSources", "has bits above bit 1",
                                      "they mean nothing")});
}

TEST_F(InterfaceChecks, AMisspeltValueIsRemarked) {
  SetNumber(kInterfaces, "Maximum", 3);
  SetNumber(InterfaceKey(-1), "Encoder", 1);
  EXPECT_EQ(NewRemarks(),
            (Only{Remark(kInterfaces, "Maximum", "is no value of the catalog", kUnread),
                  Remark(InterfaceKey(-1), "Encoder", "is no value of the catalog", kUnread)}));
}

}  // namespace
}  // namespace qmzentrel::catalog_checker::tests
