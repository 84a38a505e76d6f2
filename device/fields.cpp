// The fields of the class as text for the error report.
#include "device/Zentrel.h"
#include "support/variables.h"

namespace qmzentrel {

std::string Zentrel::DumpFields() const {
  return DumpVariables(VARIABLES(m_blnPowerOnDemand, m_blnPowerEnabled, m_lngPowerTimeout,
                                 m_lngPowerTimer, m_strMIFs, m_strTXIs)) +
         record_.DumpFields() + DumpVariable("m_blnIsElectric", box_.m_blnIsElectric) +
         DumpVariable("m_lngMIFList", m_lngMIFList) + record_.radio.DumpFields() +
         box_.DumpFields() +
         DumpVariables(VARIABLES(m_sngBoxStatusTimeout, m_sngVDelay, m_sngVDelayTimeout,
                                 m_strTELIC2Device, m_strTELIC2RegRoot)) +
         DumpObject("m_DebugLog", m_DebugLog.get()) +
         DumpFixedText("m_PortCtrl", "{Cannot dump external UDTs}") +
         DumpObject("m_XTimer", m_XTimer.get());
}

}  // namespace qmzentrel
