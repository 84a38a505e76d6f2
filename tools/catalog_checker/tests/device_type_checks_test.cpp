// Types of sub-devices.
#include "tools/catalog_checker/tests/sample_catalog.h"

namespace qmzentrel::catalog_checker::tests {
namespace {

class DeviceTypeChecks : public SampleCatalog {
 protected:
  static constexpr const char* kNoneListed = "only NOP and Invalid are listed";
  static constexpr const char* kTooLong = "a command with it is refused: S_MSG_TOO_LONG";
  static constexpr const char* kLowByte = "only the lowest byte of the number is sent";
  inline static const std::string kTests = TestMessages(kDevice);

  static std::string TestKey(std::int32_t number) { return kTests + '\\' + std::to_string(number); }
  static void AddTests(std::int32_t first, std::int32_t last) {
    for (std::int32_t n = first; n <= last; ++n) {
      SetName(kTests, n, "Further");
      SetTest(kDevice, n, 1, 1);
    }
  }
};

TEST_F(DeviceTypeChecks, ThereIsAType) {
  DeleteKey(kDeviceTypes);
  EXPECT_EQ(Faults(), Only{Fault(kDeviceTypes, "", "has no sub-keys",
                                 "TELIC2EnumDevices has no type to list")});
}

TEST_F(DeviceTypeChecks, NamesDoNotMixNumbersAndWords) {
  SetNumber(kDeviceTypes + "\\12", "Commands", 0x100);
  EXPECT_EQ(Faults(),
            Only{Fault(kDeviceTypes, "", "has sub-keys named by numbers and others named by words",
                       "they are not sorted by number, and one more can make it fail")});
  SetNumber(kDeviceTypes + "\\13", "Commands", 0x100);
  SetNumber(kDeviceTypes + "\\14", "Commands", 0x100);
  EXPECT_EQ(Faults(),
            Only{Fault(kDeviceTypes, "", "has sub-keys named by numbers and others named by words",
                       "sorting them fails with error 13, and there is no list")});
}

TEST_F(DeviceTypeChecks, CommandsIsANumber) {
  SetText(kDeviceKey, "Commands", "all");
  EXPECT_EQ(Faults(), Only{Fault(kDeviceKey, "Commands", "is no number: \"all\"",
                                 "every message is offered")});
}

TEST_F(DeviceTypeChecks, CommandsMayBeMissing) {
  DeleteValue(kDeviceKey, "Commands");
  EXPECT_EQ(Faults(), Only());
  EXPECT_EQ(NewRemarks(),
            Only{Remark(kDeviceKey, "Commands", "is missing", "every message is offered")});
}

TEST_F(DeviceTypeChecks, CommandsHasNoBitsForMessagesOutsideTheRange) {
  SetNumber(kDeviceKey, "Commands", static_cast<std::int32_t>(0x80080180));
  EXPECT_EQ(Faults(), Only{Fault(kDeviceKey, "Commands", "has bits outside Min to Max: 7, 19, 31",
                                 "nothing is offered there")});
}

TEST_F(DeviceTypeChecks, CommandsOfMinus1StandsForAll) {
  SetNumber(kDeviceKey, "Commands", -1);
  EXPECT_EQ(Faults(), Only());
}

TEST_F(DeviceTypeChecks, CommandsOf0IsRemarked) {
  SetNumber(kDeviceKey, "Commands", 0);
  EXPECT_EQ(Faults(), Only());
  EXPECT_EQ(NewRemarks(), Only{Remark(kDeviceKey, "Commands", "is 0", "no message is offered")});
}

TEST_F(DeviceTypeChecks, ATypeMayHaveNoTestMessages) {
  DeleteKey(kTests);
  EXPECT_EQ(Faults(), Only());
  EXPECT_EQ(NewRemarks(), Only{Remark(kTests, "", "is missing", kNoneListed)});
}

TEST_F(DeviceTypeChecks, TestMessagesHaveARange) {
  DeleteValue(kTests, "Min");
  DeleteValue(kTests, "Max");
  EXPECT_EQ(Faults(), (Only{Fault(kTests, "Min", "is missing", kNoneListed),
                            Fault(kTests, "Max", "is missing", kNoneListed)}));
}

TEST_F(DeviceTypeChecks, TheRangeOfTestMessagesIsNotEmpty) {
  SetRange(kTests, 3, 2);
  EXPECT_EQ(Faults(), Only{Fault(kTests, "Max", "is 2, below Min", kNoneListed)});
}

TEST_F(DeviceTypeChecks, TheRangeOfTestMessagesIsOfBytes) {
  AddTests(0, 98);
  AddTests(100, 255);
  SetRange(kTests, -1, 256);
  EXPECT_EQ(Faults(),
            (Only{Fault(kTests, "Min", "is -1, below 0", kLowByte),
                  Fault(kTests, "Max", "is 256, above 255", kLowByte),
                  Fault(kTests, "Max", "lets 99, the number of \"Invalid\", into the range",
                        "it is listed twice and never sent")}));
}

TEST_F(DeviceTypeChecks, ARangeOfTestMessagesBelowMinus1OrAbove1000IsLookedUpInPart) {
  AddTests(0, 98);
  AddTests(100, 255);
  SetRange(kTests, -2, 1001);
  const std::string in_part = "its numbers are looked up one by one, the first 4096 of them; ";
  EXPECT_EQ(Faults(),
            (Only{Fault(kTests, "Min", "is -2, below 0", in_part + kLowByte),
                  Fault(kTests, "Max", "is 1001, above 255", in_part + kLowByte),
                  Fault(kTests, "Max", "lets 99, the number of \"Invalid\", into the range",
                        "it is listed twice and never sent")}));
}

TEST_F(DeviceTypeChecks, TestMessage99IsNeverSent) {
  SetName(kTests, 99, "Ninety-nine");
  EXPECT_EQ(Faults(), Only{Fault(TestKey(99), "", "is the number of \"Invalid\"",
                                 "it is never sent: a command with it is refused: "
                                 "S_BAD_PARAMETER")});
}

TEST_F(DeviceTypeChecks, ATestMessageInTheRangeHasAKey) {
  DeleteKey(TestKey(2));
  EXPECT_EQ(Faults(), Only{Fault(TestKey(2), "", "is missing",
                                 "it is listed as \"Invalid\", and has no data and no reply")});
}

TEST_F(DeviceTypeChecks, ATestMessageHasAName) {
  DeleteValue(TestKey(2), "");
  EXPECT_EQ(Faults(),
            Only{Fault(TestKey(2), "(default)", "is missing", "it is listed as \"Invalid\"")});
}

TEST_F(DeviceTypeChecks, LengthsOfATestMessageMayBeMissing) {
  DeleteValue(TestKey(2), "RBytes");
  DeleteValue(TestKey(2), "PBytes");
  EXPECT_EQ(Faults(), Only());
  EXPECT_EQ(NewRemarks(), (Only{Remark(TestKey(2), "RBytes", "is missing", "it is taken as 0"),
                                Remark(TestKey(2), "PBytes", "is missing", "it is taken as 0")}));
}

TEST_F(DeviceTypeChecks, LengthsOfATestMessageAreNumbers) {
  SetText(TestKey(2), "RBytes", "none");
  SetText(TestKey(2), "PBytes", "");
  EXPECT_EQ(Faults(),
            (Only{Fault(TestKey(2), "RBytes", "is no number: \"none\"", "it is taken as 0"),
                  Fault(TestKey(2), "PBytes", "is no number: \"\"", "it is taken as 0")}));
}

TEST_F(DeviceTypeChecks, SoundLengthsOfATestMessage) {
  for (const std::int32_t write : {0, 4}) {
    for (const std::int32_t read : {-1, 0, 4}) {
      SetTest(kDevice, 2, write, read);
      EXPECT_EQ(Faults(), Only()) << write << ", " << read;
    }
  }
}

TEST_F(DeviceTypeChecks, AReplyHasNoLengthBelowMinus1) {
  SetTest(kDevice, 2, 0, -2);
  EXPECT_EQ(Faults(),
            Only{Fault(TestKey(2), "RBytes", "is -2, below -1", "it counts as no reply")});
}

TEST_F(DeviceTypeChecks, FourBytesOfAReplyAreTaken) {
  const std::string others = "four are taken, the others for messages of their own";
  SetTest(kDevice, 2, 0, 5);
  EXPECT_EQ(Faults(), Only{Fault(TestKey(2), "RBytes", "is 5, more than four bytes", others)});
  SetTest(kDevice, 2, 0, 28);
  EXPECT_EQ(Faults(), Only{Fault(TestKey(2), "RBytes", "is 28, more than four bytes", others)});
}

TEST_F(DeviceTypeChecks, NoReplyHoldsMoreThan28Bytes) {
  SetTest(kDevice, 2, 0, 29);
  EXPECT_EQ(Faults(),
            Only{Fault(TestKey(2), "RBytes", "is 29, more than a reply holds", kTooLong)});
}

TEST_F(DeviceTypeChecks, ARequestHasNoNegativeLength) {
  SetTest(kDevice, 2, -1, 0);
  EXPECT_EQ(Faults(), Only{Fault(TestKey(2), "PBytes", "is -1, below 0",
                                 "the frame is cut short by so many bytes")});
}

TEST_F(DeviceTypeChecks, OnlyFourBytesOfARequestTravel) {
  const std::string cut = "only four travel; what follows them stands in the wrong place";
  SetTest(kDevice, 2, 5, 0);
  EXPECT_EQ(Faults(), Only{Fault(TestKey(2), "PBytes", "is 5, more than four bytes", cut)});
  SetTest(kDevice, 2, 15, 0);
  EXPECT_EQ(Faults(), Only{Fault(TestKey(2), "PBytes", "is 15, more than four bytes", cut)});
}

TEST_F(DeviceTypeChecks, NoFrameCarriesMoreThan15BytesOfARequest) {
  SetTest(kDevice, 2, 16, 0);
  EXPECT_EQ(Faults(),
            Only{Fault(TestKey(2), "PBytes", "is 16, more than a frame carries", kTooLong)});
}

TEST_F(DeviceTypeChecks, ATestMessageOutsideTheRangeIsExaminedAndRemarked) {
  SetName(kTests, 4, "Four");
  SetTest(kDevice, 4, -1, 0);
  EXPECT_EQ(Faults().size(), 1U);
  EXPECT_EQ(NewRemarks(), Only{Remark(TestKey(4), "", "lies outside Min to Max",
                                      "it is not listed, but can be sent")});
}

TEST_F(DeviceTypeChecks, TheNumberOfATestMessageIsAByteInPlainDecimal) {
  TheWorld().registry[TestKey(256)];
  TheWorld().registry[kTests + "\\0x1"];
  EXPECT_EQ(Faults(), (Only{Fault(kTests + "\\0x1", "", "is not named by a number in plain decimal",
                                  "nothing reads it"),
                            Fault(TestKey(256), "", "is no byte", kLowByte)}));
}

TEST_F(DeviceTypeChecks, WhatNothingReadsIsRemarked) {
  SetNumber(kDeviceKey, "Command", 1);
  SetNumber(kDeviceKey + "\\Tests", "Min", 0);
  EXPECT_EQ(
      NewRemarks(),
      (Only{Remark(kDeviceKey, "Command", "is no value of the catalog", "nothing reads it"),
            Remark(kDeviceKey + "\\Tests", "", "is no key of the catalog", "nothing reads it")}));
}

}  // namespace
}  // namespace qmzentrel::catalog_checker::tests
