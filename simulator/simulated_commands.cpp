#include "simulator/simulated_commands.h"

#include <algorithm>
#include <string>

#include "simulator/frmZentrelSim.h"
#include "simulator/simulator_values.h"
#include "support/conversion.h"
#include "support/run_time_error.h"

namespace qmzentrel::simulator {
namespace {

// What a read reports of the end of life of the transponder's battery.
constexpr std::int32_t kEolGood = 31;
constexpr std::int32_t kEolBad = 8;

std::string UpperCase(std::string text) {
  std::ranges::transform(text, text.begin(), [](char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  });
  return text;
}

// Error 13 for a text that is no number.
float VoltsOf(const std::string& text) {
  const auto number = NumericValue(text);
  if (!number) RaiseError(kErrorTypeMismatch);
  return ToSingle(*number);
}

// Beyond the range of the dialog is its end.
std::int32_t ThresholdOf(const RadioSettings& radio) {
  return static_cast<std::int32_t>(
      std::clamp<std::int64_t>(radio.InvertedThreshold(), 0, RadioSettings::kMaxByte));
}

void Put(const TransponderRecord& record, frmZentrelSim& form) {
  form.IDToggle(record.m_blnIDToggle);
  form.MIFSelect(record.m_blnMIFSelect);
  form.Util(record.m_lngUtil);
  form.Xpdr(record.m_lngXpdrID);
  form.Reading(record.m_lngReading);
  form.Tamper(record.m_lngTamperCount);
  form.Threshold(ThresholdOf(record.radio));
  form.MIF(record.m_lngMIF & MIF_MASK_TYPE);
  form.MSI(record.m_lngMSI);
  form.TXI(record.m_lngTXI);
}

// The values that a read and a write take alike.
void Take(const frmZentrelSim& form, TransponderRecord& record) {
  record.m_lngMIF = form.MIF() & MIF_MASK_TYPE;
  record.m_blnMIFSelect = form.MIFSelect();
  record.m_blnIDToggle = form.IDToggle();
  record.m_lngUtil = form.Util();
  record.m_lngXpdrID = form.Xpdr();
  record.m_lngTamperCount = form.Tamper();
  record.m_lngReading = form.Reading();
  record.m_lngPLLWarmup = 0;  // which the dialog does not have
  record.m_lngTXI = form.TXI();
  record.m_lngMSI = form.MSI();
}

// A value with a backslash in its name, no sub-key.
std::string MessageValueName(std::int32_t message) {
  return "TELIC2\\" + std::to_string(message);
}

}  // namespace

ZentrelStatus BoxStatus() {
  frmZentrelSim& form = SharedForm();
  form.AdvanceStatus();
  return form.CurrentStatus();
}

ZentrelStatus ReadXpdr(TransponderRecord& record, BoxFacts& box) {
  const FormUse form;
  form->ShowRead();
  Take(*form, record);
  if (record.m_blnIDToggle) record.m_lngMIF |= MIF_MASK_IDT;
  record.m_strXpdrVersion = UpperCase(form->XpdrVersion());
  box.m_sngBatteryVolts = VoltsOf(form->Battery());
  box.m_bytZentrelSignature = {ToByte(form->Signature(0)), ToByte(form->Signature(1))};
  box.m_strZentrelVersion = UpperCase(form->ZentrelVersion());
  record.radio.InvertedThreshold(form->Threshold());
  record.TakeLeakFlag(record.HasBlock2());
  record.radio.m_lngEOL_CTRL = form->EOL() ? kEolGood : kEolBad;
  return form->CurrentStatus();
}

// Unlike a read it takes the texts as typed, asks for no version and leaves the tamper count alone:
// testers compare what a client wrote with what it gets back.
ZentrelStatus WriteXpdr(TransponderRecord& record, BoxFacts& box) {
  const FormUse form;
  Put(record, *form);
  form->ShowWrite();
  Take(*form, record);
  record.m_strXpdrVersion = form->XpdrVersion();
  record.radio.InvertedThreshold(form->Threshold());
  record.radio.m_blnHasLeak = record.m_lngTamperCount >= TransponderRecord::kLeakFlag;
  box.m_sngBatteryVolts = VoltsOf(form->Battery());
  box.m_strZentrelVersion = form->ZentrelVersion();
  return form->CurrentStatus();
}

ZentrelStatus ResetXpdr() {
  const FormUse form;
  form->ShowFactoryTest();
  return S_OKAY;
}

void ReadMessages(std::int32_t count, const LongArray& identifiers, const LongArray& data) {
  for (std::int32_t i = 0; i < count; ++i) {
    data.Store(i, ReadSimulatorNumber(MessageValueName(identifiers[i]), 0));
  }
}

void WriteMessages(std::int32_t count, const LongArray& identifiers, const LongArray& data) {
  for (std::int32_t i = 0; i < count; ++i) {
    WriteSimulatorValue(MessageValueName(identifiers[i]), data[i]);
  }
}

}  // namespace qmzentrel::simulator
