// The fields of the class as text for the error report.
#include "device/Zentrel.h"

#define FIELD(member) DumpVariable(#member, member)

namespace qmzentrel {

std::string Zentrel::DumpFields() const {
  return FIELD(m_blnPowerOnDemand) + FIELD(m_blnPowerEnabled) + FIELD(m_lngPowerTimeout) +
         FIELD(m_lngPowerTimer) + FIELD(m_strMIFs) + FIELD(m_strTXIs) + FIELD(m_lngUtil) +
         FIELD(m_lngXpdrID) + FIELD(m_lngReading) + FIELD(m_lngTamperCount) + FIELD(m_lngMIF) +
         FIELD(m_blnMIFSelect) + FIELD(m_blnIDToggle) + FIELD(m_lngMSI) + FIELD(m_lngPLLWarmup) +
         FIELD(m_lngTXI) + FIELD(m_strXpdrVersion) + FIELD(m_blnIsElectric) + FIELD(m_lngMIFList) +
         FIELD(m_lngFreq_MSB) + FIELD(m_lngFreq_MID) + FIELD(m_lngFreq_LSB) + FIELD(m_lngBR_MSB) +
         FIELD(M_lngBR_LSB) + FIELD(m_lngPA_CTRL) + FIELD(m_lngEOL_CTRL) + FIELD(m_blnHasLeak) +
         FIELD(m_lngLeakTHold) + FIELD(m_strZentrelVersion) + FIELD(m_bytZentrelSignature) +
         FIELD(m_sngBatteryVolts) + FIELD(m_sngBoxStatusTimeout) + FIELD(m_sngVDelay) +
         FIELD(m_sngVDelayTimeout) + FIELD(m_strTELIC2Device) + FIELD(m_strTELIC2RegRoot) +
         DumpObject("m_DebugLog", m_DebugLog.get()) +
         DumpFixedText("m_PortCtrl", "{Cannot dump external UDTs}") +
         DumpObject("m_XTimer", m_XTimer.get());
}

ModuleFields Zentrel::Fields() const {
  return {"Zentrel", this,
          [](const void* object) { return static_cast<const Zentrel*>(object)->DumpFields(); }};
}

}  // namespace qmzentrel
