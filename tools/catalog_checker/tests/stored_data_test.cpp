// Values that are there, but not as the component reads them.
#include "tools/catalog_checker/tests/sample_catalog.h"

namespace qmzentrel::catalog_checker::tests {
namespace {

using namespace std::string_literals;

class StoredData : public SampleCatalog {
 protected:
  static constexpr const char* kRefused = "a command with it is refused: S_BAD_PARAMETER";
  static constexpr const char* kInvalid = "it is listed as \"Invalid\"";
  inline static const std::string kMessage = kMessages + "\\8";
};

TEST_F(StoredData, ANumberMayBeStoredAsAText) {
  for (const char* text : {"2", "&H2", "-4"}) {
    SetText(kMessage, "Bytes", text);
    EXPECT_EQ(Faults(), Only()) << text;
    EXPECT_EQ(NewRemarks(), Only()) << text;
  }
}

TEST_F(StoredData, ATextThatIsNoNumberIsAFaultInANumber) {
  SetText(kMessage, "Bytes", "two");
  EXPECT_EQ(Faults(), Only{Fault(kMessage, "Bytes", "is no number: \"two\"", kRefused)});
}

TEST_F(StoredData, ANumberOutside32BitsIsAFault) {
  SetText(kMessage, "Bytes", "4294967296");
  EXPECT_EQ(Faults(), Only{Fault(kMessage, "Bytes", "is no number: \"4294967296\"", kRefused)});
}

TEST_F(StoredData, AFractionIsRounded) {
  SetText(kMessage, "Bytes", "2.4");
  EXPECT_EQ(Faults(), Only());
  EXPECT_EQ(NewRemarks(),
            Only{Remark(kMessage, "Bytes", "is no whole number: \"2.4\"", "it is rounded to 2")});
}

TEST_F(StoredData, AListOfTextsIsAFaultInANumber) {
  TheWorld().SetTexts(kMessage, "Bytes", {"2", "3"});
  EXPECT_EQ(Faults(), Only{Fault(kMessage, "Bytes", "is no number but REG_MULTI_SZ", kRefused)});
}

TEST_F(StoredData, ATypeThatIsNotReadIsAFaultInANumber) {
  const std::pair<std::uint32_t, std::string> types[] = {
      {kRegNone, "REG_NONE"},     {kRegExpandSz, "REG_EXPAND_SZ"},
      {kRegBinary, "REG_BINARY"}, {kRegDwordBigEndian, "REG_DWORD_BIG_ENDIAN"},
      {kRegQword, "REG_QWORD"},   {12, "type 12"}};
  for (const auto& [type, name] : types) {
    Store(kMessage, "Bytes", type, "2\0"s);
    EXPECT_EQ(Faults(), Only{Fault(kMessage, "Bytes",
                                   "is stored as " + name + ", which is not read", kRefused)});
  }
}

TEST_F(StoredData, ANumberOfATypeThatIsNotReadIsTakenAsItsDefault) {
  Store(kDeviceKey, "Commands", kRegQword, "\1\0\0\0\0\0\0\0"s);
  EXPECT_EQ(Faults(),
            Only{Fault(kDeviceKey, "Commands", "is stored as REG_QWORD, which is not read",
                       "every message is offered")});
}

TEST_F(StoredData, AHighestInterfaceOfATypeThatIsNotReadLeavesTheNamesUpTo0) {
  Store(kInterfaces, "Max", kRegBinary, "\5\0\0\0"s);
  EXPECT_EQ(Faults(),
            Only{Fault(kInterfaces, "Max", "is stored as REG_BINARY, which is not read",
                       "names are loaded as if it were 0: MIFName fails with error 65535 above; no "
                       "interface is offered")});
}

TEST_F(StoredData, ANumberOfFewerThanFourBytesIsAFault) {
  Store(kMessage, "Bytes", kRegDword, "\2"s);
  EXPECT_EQ(Faults(), Only{Fault(kMessage, "Bytes", "is too short for REG_DWORD", kRefused)});
}

TEST_F(StoredData, ANumberIsAFaultInAText) {
  SetNumber(kMessage, "", 5);
  EXPECT_EQ(Faults(), Only{Fault(kMessage, "(default)", "is no text but REG_DWORD", kInvalid)});
}

TEST_F(StoredData, AListOfTextsIsAFaultInAText) {
  TheWorld().SetTexts(kMessage, "", {"a", "b"});
  EXPECT_EQ(Faults(), Only{Fault(kMessage, "(default)", "is no text but REG_MULTI_SZ", kInvalid)});
}

TEST_F(StoredData, ATypeThatIsNotReadIsAFaultInAText) {
  Store(kMessage, "", kRegExpandSz, "%name%\0"s);
  EXPECT_EQ(Faults(),
            Only{Fault(kMessage, "(default)", "is stored as REG_EXPAND_SZ, which is not read",
                       "it is taken as empty")});
}

TEST_F(StoredData, AnEmptyNameIsAFault) {
  SetText(kMessage, "", "");
  EXPECT_EQ(Faults(),
            Only{Fault(kMessage, "(default)", "is empty", "nothing is shown as the name")});
}

TEST_F(StoredData, AnEmptyListOfTextsIsReadAsAnEmptyName) {
  TheWorld().SetTexts(kMessage, "", {});
  EXPECT_EQ(Faults(),
            Only{Fault(kMessage, "(default)", "is empty", "nothing is shown as the name")});
}

TEST_F(StoredData, AFaultOfDataIsOneInAValueThatMayBeMissing) {
  SetText(kInterfaces + "\\1", "Encoder", "yes");
  EXPECT_EQ(Faults(), Only{Fault(kInterfaces + "\\1", "Encoder", "is no number: \"yes\"",
                                 "it is taken as 0: the tamper count is captioned \"Tamper\"")});
}

TEST_F(StoredData, NamesOfValuesAreComparedWithoutCase) {
  DeleteValue(kMessages, "Min");
  SetNumber(kMessages, "MIN", 8);
  EXPECT_EQ(Faults(), Only());
  EXPECT_EQ(NewRemarks(), Only());
}

TEST_F(StoredData, AValueThatNothingReadsIsRemarked) {
  SetNumber(kMessage, "Byte", 2);
  EXPECT_EQ(Faults(), Only());
  EXPECT_EQ(NewRemarks(),
            Only{Remark(kMessage, "Byte", "is no value of the catalog", "nothing reads it")});
}

}  // namespace
}  // namespace qmzentrel::catalog_checker::tests
