// Sub-device messages.
#include <limits>

#include "tools/catalog_checker/tests/sample_catalog.h"

namespace qmzentrel::catalog_checker::tests {
namespace {

class MessageChecks : public SampleCatalog {
 protected:
  static constexpr const char* kRefused = "a command with it is refused: S_BAD_PARAMETER";
  static constexpr const char* kCut =
      "only four travel; what follows them stands in the wrong place";
  static constexpr const char* kTooLong = "a command with it is refused: S_MSG_TOO_LONG";

  static std::string Message(std::int32_t number) {
    return kMessages + '\\' + std::to_string(number);
  }
};

TEST_F(MessageChecks, BothEndsOfTheRangeHaveToBeThere) {
  DeleteValue(kMessages, "Min");
  SetText(kMessages, "Max", "all");
  EXPECT_EQ(Faults(),
            (Only{Fault(kMessages, "Min", "is missing", "only NOP is listed"),
                  Fault(kMessages, "Max", "is no number: \"all\"", "only NOP is listed")}));
}

TEST_F(MessageChecks, TheRangeIsNotEmpty) {
  SetRange(kMessages, 8, 7);
  EXPECT_EQ(Faults(), Only{Fault(kMessages, "Max", "is 7, below Min", "only NOP is listed")});
}

TEST_F(MessageChecks, ARangeThatReaches31EndsWithAnError) {
  for (std::int32_t n = 19; n <= 30; ++n) {
    SetName(kMessages, n, "Further");
    SetMessage(n, 1);
  }
  SetNumber(kMessages, "Max", 30);
  EXPECT_EQ(Faults(), Only());
  SetNumber(kMessages, "Max", 31);
  EXPECT_EQ(Faults(), Only{Fault(kMessages, "Max", "is 31, above 30",
                                 "TELIC2EnumMessages fails with error 65535")});
}

TEST_F(MessageChecks, MinMayBeMinus1WithARemark) {
  for (std::int32_t n = 0; n < 8; ++n) {
    SetName(kMessages, n, "Further");
    SetMessage(n, 1);
  }
  const std::string effect = "no list offers a number below 0";
  SetNumber(kMessages, "Min", -1);
  EXPECT_EQ(Faults(), Only());
  EXPECT_EQ(NewRemarks(), Only{Remark(kMessages, "Min", "is -1", effect)});
  SetNumber(kMessages, "Min", -2);
  EXPECT_EQ(Faults(), Only{Fault(kMessages, "Min", "is -2, below -1", effect)});
  EXPECT_EQ(NewRemarks(), Only());
}

TEST_F(MessageChecks, AMessageInTheRangeHasAKey) {
  DeleteKey(Message(9));
  EXPECT_EQ(Faults(), Only{Fault(Message(9), "", "is missing",
                                 std::string("it is listed as \"Invalid\", and ") + kRefused)});
}

TEST_F(MessageChecks, AMessageHasAName) {
  DeleteValue(Message(9), "");
  EXPECT_EQ(Faults(),
            Only{Fault(Message(9), "(default)", "is missing", "it is listed as \"Invalid\"")});
}

TEST_F(MessageChecks, AMessageHasALength) {
  DeleteValue(Message(9), "Bytes");
  EXPECT_EQ(Faults(), Only{Fault(Message(9), "Bytes", "is missing", kRefused)});
  SetMessage(9, 0);
  EXPECT_EQ(Faults(), Only{Fault(Message(9), "Bytes", "is 0", kRefused)});
}

TEST_F(MessageChecks, ALengthOfUpTo4InEitherSignIsSound) {
  for (const std::int32_t bytes : {1, 4, -1, -4}) {
    SetMessage(9, bytes);
    EXPECT_EQ(Faults(), Only()) << bytes;
  }
}

TEST_F(MessageChecks, OnlyFourBytesTravel) {
  SetMessage(9, 5);
  EXPECT_EQ(Faults(), Only{Fault(Message(9), "Bytes", "is 5, more than four bytes", kCut)});
  SetMessage(9, -15);
  EXPECT_EQ(Faults(), Only{Fault(Message(9), "Bytes", "is -15, more than four bytes", kCut)});
}

TEST_F(MessageChecks, NoFrameCarriesMoreThan15Bytes) {
  SetMessage(9, 16);
  EXPECT_EQ(Faults(),
            Only{Fault(Message(9), "Bytes", "is 16, more than a frame carries", kTooLong)});
  SetMessage(9, std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(Faults(), Only{Fault(Message(9), "Bytes", "is -2147483648, more than a frame carries",
                                 kTooLong)});
}

TEST_F(MessageChecks, AMessageOutsideTheRangeIsExaminedAndRemarked) {
  SetMessage(7, 0);
  EXPECT_EQ(Faults(),
            (Only{Fault(Message(7), "(default)", "is missing", "it is listed as \"Invalid\""),
                  Fault(Message(7), "Bytes", "is 0", kRefused)}));
  EXPECT_EQ(NewRemarks(), Only{Remark(Message(7), "", "lies outside Min to Max",
                                      "it is not listed, but can be sent")});
}

TEST_F(MessageChecks, TheNumberOfAMessageIsAByteInPlainDecimal) {
  TheWorld().registry[Message(256)];
  TheWorld().registry[kMessages + "\\08"];
  const std::string lowest = "only the lowest byte of the number is sent";
  EXPECT_EQ(Faults(), (Only{Fault(kMessages + "\\08", "",
                                  "is not named by a number in plain decimal", "nothing reads it"),
                            Fault(Message(256), "", "is no byte", lowest)}));
}

}  // namespace
}  // namespace qmzentrel::catalog_checker::tests
