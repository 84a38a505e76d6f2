// Variables as the error report shows them.
#include "support/dump_variable.h"

#include <algorithm>
#include <limits>

#include "tests/core/core_test.h"

namespace qmzentrel::tests {
namespace {

TEST(DumpVariable, AnEntryIsTheValueBetweenItsNameAndALineBreak) {
  EXPECT_EQ(DumpVariable("lngStatus", std::int32_t{5}), "<lngStatus>5</lngStatus>\r\n");
}

TEST(DumpVariable, ABooleanIsTrueOrFalse) {
  EXPECT_EQ(DumpVariable("b", true), "<b>True</b>\r\n");
  EXPECT_EQ(DumpVariable("b", false), "<b>False</b>\r\n");
}

TEST(DumpVariable, AWholeNumberIsASignedDecimal) {
  EXPECT_EQ(DumpVariable("n", std::int32_t{0}), "<n>0</n>\r\n");
  EXPECT_EQ(DumpVariable("n", std::numeric_limits<std::int32_t>::max()), "<n>2147483647</n>\r\n");
  EXPECT_EQ(DumpVariable("n", std::numeric_limits<std::int32_t>::min()), "<n>-2147483648</n>\r\n");
  EXPECT_EQ(DumpVariable("n", std::numeric_limits<std::int16_t>::min()), "<n>-32768</n>\r\n");
  EXPECT_EQ(DumpVariable("n", std::int16_t{7}), "<n>7</n>\r\n");
}

TEST(DumpVariable, AStatusIsItsNumber) {
  EXPECT_EQ(DumpVariable("lngStatus", S_BAD_PORT), "<lngStatus>3</lngStatus>\r\n");
}

TEST(DumpVariable, ASingleHasTheShortestDigitsThatReadBackAsItself) {
  EXPECT_EQ(DumpVariable("s", 0.0F), "<s>0</s>\r\n");
  EXPECT_EQ(DumpVariable("s", 3.9F), "<s>3.9</s>\r\n");
  EXPECT_EQ(DumpVariable("s", -0.25F), "<s>-0.25</s>\r\n");
  EXPECT_EQ(DumpVariable("s", 4.0F), "<s>4</s>\r\n");
  EXPECT_EQ(DumpVariable("s", 86399.99F), "<s>86399.99</s>\r\n");
  EXPECT_EQ(DumpVariable("s", 1.0F / 3), "<s>0.33333334</s>\r\n");
}

TEST(DumpVariable, TheLongestSingleIsShownWhole) {
  EXPECT_EQ(DumpVariable("s", -1.17549435e-38F), "<s>-1.1754944e-38</s>\r\n");
}

TEST(DumpVariable, ATextIsShownAsItIs) {
  EXPECT_EQ(DumpVariable("t", std::string("2.1")), "<t>2.1</t>\r\n");
  EXPECT_EQ(DumpVariable("t", std::string()), "<t></t>\r\n");
  EXPECT_EQ(DumpVariable("t", std::string("a<b>&\r\nc")), "<t>a<b>&\r\nc</t>\r\n");
}

TEST(DumpVariable, ATextIsCutAtItsFirstZeroCharacter) {
  using namespace std::string_literals;
  EXPECT_EQ(DumpVariable("t", "AB\0C"s), "<t>AB{Null}</t>\r\n");
  EXPECT_EQ(DumpVariable("t", "A\0B\0C"s), "<t>A{Null}</t>\r\n");
  EXPECT_EQ(DumpVariable("t", "\0"s), "<t>{Null}</t>\r\n");
  EXPECT_EQ(DumpVariable("t", "AB\0"s), "<t>AB{Null}</t>\r\n");
}

TEST(DumpVariable, AnArrayOfTextsHasOneEntryPerElementWithItsIndex) {
  using namespace std::string_literals;
  EXPECT_EQ(DumpVariable("Keys", std::vector{"Kernel"s, ""s, "a\0b"s, "MIF"s}),
            "<Keys Index=\"0\">Kernel</Keys>\r\n"
            "<Keys Index=\"1\"></Keys>\r\n"
            "<Keys Index=\"2\">a{Null}</Keys>\r\n"
            "<Keys Index=\"3\">MIF</Keys>\r\n");
}

TEST(DumpVariable, AnArrayOfBytesHasOneEntryPerByteWithItsIndex) {
  const std::array<std::uint8_t, 2> bytes{0xA5, 0};
  EXPECT_EQ(DumpVariable("bytes", bytes),
            "<bytes Index=\"0\">165</bytes>\r\n<bytes Index=\"1\">0</bytes>\r\n");
}

TEST(DumpVariable, AFrameIsShownWithAllItsBytes) {
  FrameBuffer bytTx;
  bytTx[0] = 0x80;
  bytTx[32] = 0xFF;
  const std::string text = DumpVariable("bytTx", bytTx);
  EXPECT_TRUE(text.starts_with("<bytTx Index=\"0\">128</bytTx>\r\n<bytTx Index=\"1\">0<"));
  EXPECT_TRUE(text.ends_with("<bytTx Index=\"32\">255</bytTx>\r\n"));
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 33);
}

TEST(DumpVariable, AnArrayWithoutElementsSaysSo) {
  EXPECT_EQ(DumpVariable("m_strMIFs", std::vector<std::string>()),
            "<m_strMIFs>{UnInitialised Array}</m_strMIFs>\r\n");
  EXPECT_EQ(DumpVariable("bytes", std::span<const std::uint8_t>()),
            "<bytes>{UnInitialised Array}</bytes>\r\n");
}

TEST(DumpVariable, AFixedTextStandsForWhatCannotBeShown) {
  EXPECT_EQ(DumpFixedText("maxti", "{Cannot dump UDT arrays}"),
            "<maxti>{Cannot dump UDT arrays}</maxti>\r\n");
}

// --- Values of automation ---

using platform::ArrayDimension;
using platform::ArrayValue;
using platform::LateValue;
using platform::ObjectValue;
using platform::PlainValue;

/// An object of a client as a value.
LateValue ValueOf(fakes::FakeObject& object) {
  return ObjectValue{platform::HeldObject(platform::HeldObject(), &object)};
}

LateValue Plain(const char* text) {
  return PlainValue{text};
}

/// `count` elements "0", "1" and so on, with these bounds.
LateValue Numbered(std::vector<std::optional<ArrayDimension>> dimensions, int count) {
  ArrayValue array{std::move(dimensions), {}};
  for (int i = 0; i < count; ++i) array.elements.emplace_back(PlainValue{std::to_string(i)});
  return array;
}

TEST(DumpLateValue, EmptyNullAndNothingSaySo) {
  EXPECT_EQ(DumpVariable("v", LateValue()), "<v>{Empty}</v>\r\n");
  EXPECT_EQ(DumpVariable("v", LateValue(platform::NullValue())), "<v>{Null}</v>\r\n");
  EXPECT_EQ(DumpVariable("v", LateValue(ObjectValue())), "<v>{Nothing}</v>\r\n");
}

TEST(DumpLateValue, NumbersDatesAndBooleansHaveAutomationsText) {
  EXPECT_EQ(DumpVariable("v", Plain("11/21/2026")), "<v>11/21/2026</v>\r\n");
}

TEST(DumpLateValue, ATextIsShownAsItIsAndCutAtItsFirstZeroCharacter) {
  using namespace std::string_literals;
  EXPECT_EQ(DumpVariable("v", LateValue("<b>&</b>"s)), "<v><b>&</b></v>\r\n");
  EXPECT_EQ(DumpVariable("v", LateValue("AB\0C"s)), "<v>AB{Null}</v>\r\n");
}

TEST(DumpLateValue, AStructureShowsItsType) {
  EXPECT_EQ(DumpVariable("v", LateValue(platform::StructureValue{"Meter"})),
            "<v>{UDT - Meter}</v>\r\n");
}

TEST(DumpLateValue, AnObjectShowsItsDefaultMember) {
  fakes::FakeObject box;
  box.default_value = [] { return LateValue(std::string("Pulse counter")); };
  EXPECT_EQ(DumpVariable("cbo", ValueOf(box)), "<cbo>{Pulse counter}</cbo>\r\n");
}

TEST(DumpLateValue, ADefaultMemberThatIsAnObjectShowsItsOwn) {
  fakes::FakeObject inner;
  inner.default_value = [] { return Plain("5"); };
  fakes::FakeObject outer;
  outer.default_value = [&inner] { return ValueOf(inner); };
  EXPECT_EQ(DumpVariable("v", ValueOf(outer)), "<v>{{5}}</v>\r\n");
}

TEST(DumpLateValue, AnObjectThatIsItsOwnDefaultMemberDoesNotGoOnForEver) {
  fakes::FakeObject object;
  object.default_value = [&object] { return ValueOf(object); };
  EXPECT_EQ(DumpVariable("v", ValueOf(object)), "<v>{Error 28 formatting for output}</v>\r\n");
}

TEST(DumpLateValue, AnObjectThatCanBeEnumeratedShowsItsMembers) {
  fakes::FakeObject list;
  list.members = {{Plain("8"), LateValue(std::string("MIF")), LateValue()}};
  list.default_value = [] { return Plain("unused"); };
  EXPECT_EQ(DumpVariable("v", ValueOf(list)), "<v>[8,MIF,{Empty}]</v>\r\n");
  list.members->clear();
  EXPECT_EQ(DumpVariable("v", ValueOf(list)), "<v>[]</v>\r\n");
}

TEST(DumpLateValue, AListThatContainsItselfDoesNotGoOnForEver) {
  fakes::FakeObject list;
  list.members = {{ValueOf(list)}};
  EXPECT_EQ(DumpVariable("v", ValueOf(list)), "<v>{Error 28 formatting for output}</v>\r\n");
  list.members.reset();  // its own reference
}

TEST(DumpLateValue, ObjectsInObjectsAreShownToTheSixteenth) {
  constexpr std::size_t kShown = 16;
  for (const std::size_t deeper : {0U, 1U}) {
    std::vector<fakes::FakeObject> objects(kShown + 1 + deeper);
    objects.back().default_value = [] { return Plain("5"); };
    for (std::size_t i = 0; i + 1 < objects.size(); ++i) {
      objects[i].default_value = [&objects, i] { return ValueOf(objects[i + 1]); };
    }
    const std::string text =
        deeper == 0 ? std::string(objects.size(), '{') + "5" + std::string(objects.size(), '}')
                    : "{Error 28 formatting for output}";
    EXPECT_EQ(DumpVariable("v", ValueOf(objects[0])), "<v>" + text + "</v>\r\n");
    const LateValue array = ArrayValue{{ArrayDimension{0, 1}}, {ValueOf(objects[0])}};
    EXPECT_EQ(DumpVariable("v", array), "<v Index=\"0\">" + text + "</v>\r\n");
  }
}

TEST(DumpLateValue, ListsInListsAreShownToTheSixteenth) {
  constexpr std::size_t kShown = 16;
  for (const std::size_t deeper : {0U, 1U}) {
    std::vector<fakes::FakeObject> lists(kShown + 1 + deeper);
    lists.back().members = {{Plain("5")}};
    for (std::size_t i = 0; i + 1 < lists.size(); ++i) lists[i].members = {{ValueOf(lists[i + 1])}};
    const std::string shown = std::string(lists.size(), '[') + "5" + std::string(lists.size(), ']');
    EXPECT_EQ(DumpVariable("v", ValueOf(lists[0])),
              "<v>" + (deeper == 0 ? shown : "{Error 28 formatting for output}") + "</v>\r\n");
  }
}

TEST(DumpLateValue, ADataObjectSaysSo) {
  fakes::FakeObject data;
  data.is_data_object = true;
  EXPECT_EQ(DumpVariable("v", ValueOf(data)), "<v>{DataObject}</v>\r\n");
  EXPECT_EQ(DumpVariable("v", LateValue(platform::DataObjectValue())), "<v>{DataObject}</v>\r\n");
}

TEST(DumpLateValue, AnObjectWithoutADefaultMemberCannotBeFormatted) {
  fakes::FakeObject object;
  EXPECT_EQ(DumpVariable("v", ValueOf(object)), "<v>{Error 438 formatting for output}</v>\r\n");
}

TEST(DumpLateValue, WhatFailsWhileItIsFormattedShowsItsError) {
  fakes::FakeObject object;
  object.default_value = []() -> LateValue { throw platform::LateFailure{380, "", ""}; };
  EXPECT_EQ(DumpVariable("v", ValueOf(object)), "<v>{Error 380 formatting for output}</v>\r\n");
  object.default_value = []() -> LateValue { throw std::bad_alloc(); };
  EXPECT_EQ(DumpVariable("v", ValueOf(object)), "<v>{Error 7 formatting for output}</v>\r\n");
  object.default_value = []() -> LateValue { throw 42; };
  EXPECT_EQ(DumpVariable("v", ValueOf(object)), "<v>{Error 51 formatting for output}</v>\r\n");
  EXPECT_EQ(DumpVariable("v", LateValue(platform::UnreadableValue{6})),
            "<v>{Error 6 formatting for output}</v>\r\n");
}

TEST(DumpLateValue, AnExceptionOfTheProcessorWhileFormattingIsItsError) {
  modErrorReportSupport::InitErrorReporting();
  fakes::FakeObject object;
  object.default_value = []() -> LateValue {
    fakes::RaiseHardwareFault(0xC0000005U);
    return {};
  };
  EXPECT_EQ(DumpVariable("v", ValueOf(object)), "<v>{Error 10005 formatting for output}</v>\r\n");
}

TEST(DumpLateValue, OneElementThatFailsLeavesTheOthers) {
  const LateValue array =
      ArrayValue{{ArrayDimension{0, 2}}, {LateValue(platform::UnreadableValue{13}), Plain("7")}};
  EXPECT_EQ(DumpVariable("v", array),
            "<v Index=\"0\">{Error 13 formatting for output}</v>\r\n<v Index=\"1\">7</v>\r\n");
}

TEST(DumpLateValue, AnArrayHasOneEntryPerElementFromItsLowerBoundOn) {
  EXPECT_EQ(DumpVariable("v", Numbered({ArrayDimension{3, 2}}, 2)),
            "<v Index=\"3\">0</v>\r\n<v Index=\"4\">1</v>\r\n");
  EXPECT_EQ(DumpVariable("v", Numbered({ArrayDimension{-1, 2}}, 2)),
            "<v Index=\"-1\">0</v>\r\n<v Index=\"0\">1</v>\r\n");
}

TEST(DumpLateValue, AnArrayOfTwoDimensionsHasTwoIndices) {
  EXPECT_EQ(DumpVariable("v", Numbered({ArrayDimension{0, 2}, ArrayDimension{1, 2}}, 4)),
            "<v Index=\"0,1\">0</v>\r\n<v Index=\"0,2\">1</v>\r\n"
            "<v Index=\"1,1\">2</v>\r\n<v Index=\"1,2\">3</v>\r\n");
}

TEST(DumpLateValue, AnArrayOfThreeDimensionsHasThreeIndices) {
  EXPECT_EQ(
      DumpVariable("v",
                   Numbered({ArrayDimension{0, 1}, ArrayDimension{0, 2}, ArrayDimension{5, 2}}, 4)),
      "<v Index=\"0,0,5\">0</v>\r\n<v Index=\"0,0,6\">1</v>\r\n"
      "<v Index=\"0,1,5\">2</v>\r\n<v Index=\"0,1,6\">3</v>\r\n");
}

TEST(DumpLateValue, AnArrayOfMoreThanThreeDimensionsIsNotExpanded) {
  const std::vector<std::optional<ArrayDimension>> four(4, ArrayDimension{0, 1});
  EXPECT_EQ(DumpVariable("v", Numbered(four, 0)), "<v>{Dump truncated at 4 dimensions}</v>\r\n");
  EXPECT_EQ(DumpVariable("v", LateValue(ArrayValue{{5, std::nullopt}, {}})),
            "<v>{Dump truncated at 5 dimensions}</v>\r\n");
}

TEST(DumpLateValue, AnArrayWithoutDimensionsSaysSo) {
  EXPECT_EQ(DumpVariable("v", LateValue(ArrayValue())), "<v>{UnInitialised Array}</v>\r\n");
  EXPECT_EQ(DumpVariable("v", Numbered({std::nullopt}, 0)), "<v>{UnInitialised Array}</v>\r\n");
  EXPECT_EQ(DumpVariable("v", Numbered({std::nullopt, std::nullopt}, 0)),
            "<v>{UnInitialised Array}</v>\r\n");
}

TEST(DumpLateValue, ADimensionThatCannotBeReadIsNamed) {
  const ArrayDimension read{0, 2};
  EXPECT_EQ(DumpVariable("v", Numbered({read, std::nullopt}, 0)),
            "<v>{UnInitialised Array Dimension 2}</v>\r\n");
  EXPECT_EQ(DumpVariable("v", Numbered({read, read, std::nullopt}, 0)),
            "<v>{UnInitialised Array Dimension 3}</v>\r\n");
}

TEST(DumpLateValue, AnArrayWithinAValueHasNoTextOfItsOwn) {
  fakes::FakeObject object;
  object.default_value = [] { return Numbered({ArrayDimension{0, 1}}, 1); };
  EXPECT_EQ(DumpVariable("v", ValueOf(object)), "<v>{Error 13 formatting for output}</v>\r\n");
}

TEST(DumpVariable, AnObjectOfOurOwnHasNoDefaultMember) {
  const int object = 0;
  EXPECT_EQ(DumpObject("m_XTimer", &object),
            "<m_XTimer>{Error 438 formatting for output}</m_XTimer>\r\n");
  EXPECT_EQ(DumpObject("m_XTimer", nullptr), "<m_XTimer>{Nothing}</m_XTimer>\r\n");
}

TEST(DumpVariable, ADefaultMemberIsCutAtItsFirstZeroCharacter) {
  EXPECT_EQ(DumpDefault("list", [] { return std::string("AB\0C", 4); }),
            "<list>{AB{Null}}</list>\r\n");
}

TEST(DumpVariable, AStructureParameterSaysWhyItIsNotShown) {
  EXPECT_EQ(DumpStructureParameter("frm"), "<frm>{Can't dump UDT parameters}</frm>\r\n");
}

// --- The fields of the class ---

class FieldDump : public ZentrelTest {};

TEST_F(FieldDump, AFreshObjectShowsEveryFieldInDeclaredOrder) {
  EXPECT_EQ(zentrel->DumpFields(),
            "<m_blnPowerOnDemand>False</m_blnPowerOnDemand>\r\n"
            "<m_blnPowerEnabled>False</m_blnPowerEnabled>\r\n"
            "<m_lngPowerTimeout>60</m_lngPowerTimeout>\r\n"
            "<m_lngPowerTimer>0</m_lngPowerTimer>\r\n"
            "<m_strMIFs>{UnInitialised Array}</m_strMIFs>\r\n"
            "<m_strTXIs>{UnInitialised Array}</m_strTXIs>\r\n"
            "<m_lngUtil>0</m_lngUtil>\r\n"
            "<m_lngXpdrID>0</m_lngXpdrID>\r\n"
            "<m_lngReading>0</m_lngReading>\r\n"
            "<m_lngTamperCount>0</m_lngTamperCount>\r\n"
            "<m_lngMIF>0</m_lngMIF>\r\n"
            "<m_blnMIFSelect>False</m_blnMIFSelect>\r\n"
            "<m_blnIDToggle>False</m_blnIDToggle>\r\n"
            "<m_lngMSI>0</m_lngMSI>\r\n"
            "<m_lngPLLWarmup>0</m_lngPLLWarmup>\r\n"
            "<m_lngTXI>0</m_lngTXI>\r\n"
            "<m_strXpdrVersion></m_strXpdrVersion>\r\n"
            "<m_blnIsElectric>False</m_blnIsElectric>\r\n"
            "<m_lngMIFList>0</m_lngMIFList>\r\n"
            "<m_lngFreq_MSB>0</m_lngFreq_MSB>\r\n"
            "<m_lngFreq_MID>0</m_lngFreq_MID>\r\n"
            "<m_lngFreq_LSB>0</m_lngFreq_LSB>\r\n"
            "<m_lngBR_MSB>0</m_lngBR_MSB>\r\n"
            "<M_lngBR_LSB>0</M_lngBR_LSB>\r\n"
            "<m_lngPA_CTRL>0</m_lngPA_CTRL>\r\n"
            "<m_lngEOL_CTRL>0</m_lngEOL_CTRL>\r\n"
            "<m_blnHasLeak>False</m_blnHasLeak>\r\n"
            "<m_lngLeakTHold>0</m_lngLeakTHold>\r\n"
            "<m_strZentrelVersion></m_strZentrelVersion>\r\n"
            "<m_bytZentrelSignature Index=\"0\">0</m_bytZentrelSignature>\r\n"
            "<m_bytZentrelSignature Index=\"1\">0</m_bytZentrelSignature>\r\n"
            "<m_sngBatteryVolts>0</m_sngBatteryVolts>\r\n"
            "<m_sngBoxStatusTimeout>0</m_sngBoxStatusTimeout>\r\n"
            "<m_sngVDelay>4</m_sngVDelay>\r\n"
            "<m_sngVDelayTimeout>0</m_sngVDelayTimeout>\r\n"
            "<m_strTELIC2Device></m_strTELIC2Device>\r\n"
            "<m_strTELIC2RegRoot>SOFTWARE\\QuenmoorComms\\TELIC2\\Types\\</m_strTELIC2RegRoot>\r\n"
            "<m_DebugLog>{Error 438 formatting for output}</m_DebugLog>\r\n"
            "<m_PortCtrl>{Cannot dump external UDTs}</m_PortCtrl>\r\n"
            "<m_XTimer>{Error 438 formatting for output}</m_XTimer>\r\n");
}

TEST_F(FieldDump, EveryFieldShowsWhatAReadAndItsPropertiesPutIntoIt) {
  Open(false);
  Record record;
  record.mif = 0x35;
  record.version = 0x81;
  record.signature = 0xA6;
  Port().Answer(Block1Reply(record));
  Port().Answer(Block2Reply({1, 2, 3, 4, 5, 6, 7, 200}));
  ASSERT_EQ(zentrel->ReadXpdr(), S_OKAY);
  zentrel->HasLeak(true);
  zentrel->VDelay(1500);
  zentrel->PowerTimeout(33);
  EXPECT_EQ(zentrel->DumpFields(),
            "<m_blnPowerOnDemand>True</m_blnPowerOnDemand>\r\n"
            "<m_blnPowerEnabled>True</m_blnPowerEnabled>\r\n"
            "<m_lngPowerTimeout>33</m_lngPowerTimeout>\r\n"
            "<m_lngPowerTimer>60</m_lngPowerTimer>\r\n"
            "<m_strMIFs>{UnInitialised Array}</m_strMIFs>\r\n"
            "<m_strTXIs>{UnInitialised Array}</m_strTXIs>\r\n"
            "<m_lngUtil>17</m_lngUtil>\r\n"
            "<m_lngXpdrID>1193046</m_lngXpdrID>\r\n"
            "<m_lngReading>43981</m_lngReading>\r\n"
            "<m_lngTamperCount>9</m_lngTamperCount>\r\n"
            "<m_lngMIF>5</m_lngMIF>\r\n"
            "<m_blnMIFSelect>True</m_blnMIFSelect>\r\n"
            "<m_blnIDToggle>True</m_blnIDToggle>\r\n"
            "<m_lngMSI>4</m_lngMSI>\r\n"
            "<m_lngPLLWarmup>3</m_lngPLLWarmup>\r\n"
            "<m_lngTXI>2</m_lngTXI>\r\n"
            "<m_strXpdrVersion>8.1</m_strXpdrVersion>\r\n"
            "<m_blnIsElectric>True</m_blnIsElectric>\r\n"
            "<m_lngMIFList>0</m_lngMIFList>\r\n"
            "<m_lngFreq_MSB>1</m_lngFreq_MSB>\r\n"
            "<m_lngFreq_MID>2</m_lngFreq_MID>\r\n"
            "<m_lngFreq_LSB>3</m_lngFreq_LSB>\r\n"
            "<m_lngBR_MSB>4</m_lngBR_MSB>\r\n"
            "<M_lngBR_LSB>5</M_lngBR_LSB>\r\n"
            "<m_lngPA_CTRL>6</m_lngPA_CTRL>\r\n"
            "<m_lngEOL_CTRL>7</m_lngEOL_CTRL>\r\n"
            "<m_blnHasLeak>True</m_blnHasLeak>\r\n"
            "<m_lngLeakTHold>55</m_lngLeakTHold>\r\n"
            "<m_strZentrelVersion>2.1</m_strZentrelVersion>\r\n"
            "<m_bytZentrelSignature Index=\"0\">166</m_bytZentrelSignature>\r\n"
            "<m_bytZentrelSignature Index=\"1\">0</m_bytZentrelSignature>\r\n"
            "<m_sngBatteryVolts>3.9</m_sngBatteryVolts>\r\n"
            "<m_sngBoxStatusTimeout>0</m_sngBoxStatusTimeout>\r\n"
            "<m_sngVDelay>1.5</m_sngVDelay>\r\n"
            "<m_sngVDelayTimeout>0</m_sngVDelayTimeout>\r\n"
            "<m_strTELIC2Device></m_strTELIC2Device>\r\n"
            "<m_strTELIC2RegRoot>SOFTWARE\\QuenmoorComms\\TELIC2\\Types\\</m_strTELIC2RegRoot>\r\n"
            "<m_DebugLog>{Error 438 formatting for output}</m_DebugLog>\r\n"
            "<m_PortCtrl>{Cannot dump external UDTs}</m_PortCtrl>\r\n"
            "<m_XTimer>{Error 438 formatting for output}</m_XTimer>\r\n");
}

TEST_F(FieldDump, AFaultIsReportedWithTheFieldsOfItsObject) {
  zentrel->Util(77);
  const ErrorReport report = ReportOf([&] { zentrel->ZentrelSignature(2); });
  EXPECT_EQ(report.module, "Zentrel");
  EXPECT_EQ(report.module_variables, zentrel->DumpFields());
}

}  // namespace
}  // namespace qmzentrel::tests
