// Commands that the simulator's dialog answers instead of a box: what a reply would have put into
// the record comes from its controls. A fault here is one of the command, which reports it.
#include <algorithm>

#include "device/Zentrel.h"
#include "device/record_facts.h"
#include "simulator/simulator_values.h"
#include "support/conversion.h"

namespace qmzentrel {
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
float ToSingle(const std::string& text) {
  const auto number = NumericValue(text);
  if (!number) RaiseError(kErrorTypeMismatch);
  return static_cast<float>(*number);
}

// The dialog shows the threshold the other way round; beyond its range is its end.
std::int32_t ThresholdOf(std::int32_t leak_threshold) {
  return static_cast<std::int32_t>(
      std::clamp(std::int64_t{kMaxByte} - leak_threshold, std::int64_t{0}, std::int64_t{kMaxByte}));
}

std::string MessageValueName(std::int32_t message) {
  return "TELIC2\\" + std::to_string(message);  // a value with a backslash in its name, no sub-key
}

}  // namespace

ZentrelStatus Zentrel::SimulatedBoxStatus() {
  simulator::frmZentrelSim& form = simulator::SharedForm();
  form.AdvanceStatus();
  return form.CurrentStatus();
}

ZentrelStatus Zentrel::SimulatedRead() {
  const simulator::FormUse form;
  form->ShowRead();
  m_lngMIF = (form->MIF() & MIF_MASK_TYPE) | (form->IDToggle() ? MIF_MASK_IDT : 0);
  m_blnMIFSelect = form->MIFSelect();
  m_blnIDToggle = form->IDToggle();
  m_lngUtil = form->Util();
  m_lngXpdrID = form->Xpdr();
  m_lngTamperCount = form->Tamper();
  m_lngReading = form->Reading();
  m_lngPLLWarmup = 0;
  m_lngTXI = form->TXI();
  m_lngMSI = form->MSI();
  m_strXpdrVersion = UpperCase(form->XpdrVersion());
  m_sngBatteryVolts = ToSingle(form->Battery());
  m_bytZentrelSignature = {ToByte(form->Signature(0)), ToByte(form->Signature(1))};
  m_strZentrelVersion = UpperCase(form->ZentrelVersion());
  m_lngLeakTHold = kMaxByte - form->Threshold();
  // As in a real reply, the secondary interface keeps the flag in its count.
  m_blnHasLeak = HasBlock2() && m_lngTamperCount >= kLeakFlag;
  if (m_blnHasLeak && !m_blnMIFSelect) m_lngTamperCount -= kLeakFlag;
  m_lngEOL_CTRL = form->EOL() ? kEolGood : kEolBad;
  return form->CurrentStatus();
}

ZentrelStatus Zentrel::SimulatedReset() {
  const simulator::FormUse form;
  form->ShowFactoryTest();
  return S_OKAY;  // whatever the button: a factory test has no reply to miss
}

// Unlike a read it takes the texts as typed, asks for no version and leaves the tamper count alone:
// testers compare what a client wrote with what it gets back.
ZentrelStatus Zentrel::SimulatedWrite() {
  const simulator::FormUse form;
  form->IDToggle(m_blnIDToggle);
  form->MIFSelect(m_blnMIFSelect);
  form->Util(m_lngUtil);
  form->Xpdr(m_lngXpdrID);
  form->Reading(m_lngReading);
  form->Tamper(m_lngTamperCount);
  form->Threshold(ThresholdOf(m_lngLeakTHold));
  form->MIF(m_lngMIF & MIF_MASK_TYPE);
  form->MSI(m_lngMSI);
  form->TXI(m_lngTXI);
  form->ShowWrite();
  m_lngMIF = form->MIF() & MIF_MASK_TYPE;
  m_blnIDToggle = form->IDToggle();
  m_blnMIFSelect = form->MIFSelect();
  m_lngUtil = form->Util();
  m_lngXpdrID = form->Xpdr();
  m_lngTamperCount = form->Tamper();
  m_lngReading = form->Reading();
  m_lngPLLWarmup = 0;
  m_lngTXI = form->TXI();
  m_lngMSI = form->MSI();
  m_strXpdrVersion = form->XpdrVersion();
  m_lngLeakTHold = kMaxByte - form->Threshold();
  m_blnHasLeak = m_lngTamperCount >= kLeakFlag;
  m_sngBatteryVolts = ToSingle(form->Battery());
  m_strZentrelVersion = form->ZentrelVersion();
  return form->CurrentStatus();
}

void Zentrel::SimulatedMessageRead(std::int32_t NumMessages, const LongArray& MessageIDs,
                                   const LongArray& MessageData) {
  for (std::int32_t i = 0; i < NumMessages; ++i) {
    MessageData.Store(i, simulator::ReadSimulatorNumber(MessageValueName(MessageIDs[i]), 0));
  }
}

void Zentrel::SimulatedMessageWrite(std::int32_t NumMessages, const LongArray& MessageIDs,
                                    const LongArray& MessageData) {
  for (std::int32_t i = 0; i < NumMessages; ++i) {
    simulator::WriteSimulatorValue(MessageValueName(MessageIDs[i]), MessageData[i]);
  }
}

}  // namespace qmzentrel
