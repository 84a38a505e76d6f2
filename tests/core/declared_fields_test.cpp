// The fields that a report shows, by name and in order, written down once more: whoever reads
// reports looks for them.
#include <regex>

#include "simulator/frmZentrelSim.h"
#include "tests/core/core_test.h"
#include "tests/core/simulator_test.h"

namespace qmzentrel::tests {
namespace {

using Names = std::vector<std::string>;

/// The names of the entries, arrays counting once.
Names DumpedNames(const std::string& dump) {
  Names names;
  const std::regex tag(R"((?:^|\n)<(\w+)[ >])");
  for (std::sregex_iterator entry(dump.begin(), dump.end(), tag), end; entry != end; ++entry) {
    if (names.empty() || names.back() != (*entry)[1]) names.push_back((*entry)[1]);
  }
  return names;
}

class DeclaredFields : public SimulatorTest {
 protected:
  void SetUp() override {
    SimulatorTest::SetUp();
    Create();
  }
};

TEST_F(DeclaredFields, OfTheClass) {
  const Names declared = {"m_blnPowerOnDemand",
                          "m_blnPowerEnabled",
                          "m_lngPowerTimeout",
                          "m_lngPowerTimer",
                          "m_strMIFs",
                          "m_strTXIs",
                          "m_lngUtil",
                          "m_lngXpdrID",
                          "m_lngReading",
                          "m_lngTamperCount",
                          "m_lngMIF",
                          "m_blnMIFSelect",
                          "m_blnIDToggle",
                          "m_lngMSI",
                          "m_lngPLLWarmup",
                          "m_lngTXI",
                          "m_strXpdrVersion",
                          "m_blnIsElectric",
                          "m_lngMIFList",
                          "m_lngFreq_MSB",
                          "m_lngFreq_MID",
                          "m_lngFreq_LSB",
                          "m_lngBR_MSB",
                          "M_lngBR_LSB",
                          "m_lngPA_CTRL",
                          "m_lngEOL_CTRL",
                          "m_blnHasLeak",
                          "m_lngLeakTHold",
                          "m_strZentrelVersion",
                          "m_bytZentrelSignature",
                          "m_sngBatteryVolts",
                          "m_sngBoxStatusTimeout",
                          "m_sngVDelay",
                          "m_sngVDelayTimeout",
                          "m_strTELIC2Device",
                          "m_strTELIC2RegRoot",
                          "m_DebugLog",
                          "m_PortCtrl",
                          "m_XTimer"};
  EXPECT_EQ(DumpedNames(zentrel->DumpFields()), declared);
}

TEST_F(DeclaredFields, OfTheDebugLog) {
  const CDebugLog log;
  EXPECT_EQ(DumpedNames(log.DumpFields()),
            (Names{"m_lngFileNum", "m_strFilePath", "m_lngEventTypes", "m_lngDebuggerEventTypes",
                   "m_lngAssertEventTypes", "m_strTimeStampMask"}));
}

TEST_F(DeclaredFields, OfTheTimer) {
  EXPECT_EQ(DumpedNames(XTimer::Create()->DumpFields()),
            (Names{"mlngTimerID", "mlngInterval", "mblnEnabled"}));
}

TEST_F(DeclaredFields, OfTheTimerModule) {
  EXPECT_EQ(DumpedNames(modCOM_XTimerSupport::DumpFields()), (Names{"maxti", "mintMaxTimers"}));
}

TEST_F(DeclaredFields, OfTheErrorReport) {
  EXPECT_EQ(DumpedNames(modErrorReportSupport::DumpFields()),
            (Names{"ComponentID", "HasInitialised", "ErrorNumber", "ErrorDescription", "ErrorLine",
                   "ErrorSource"}));
}

TEST_F(DeclaredFields, OfTheForm) {
  // They are private: a procedure of it that fails shows them.
  TheWorld().has_desktop = false;
  const ErrorReport report = ReportOf([this] { zentrel->ReadXpdr(); });
  EXPECT_EQ(report.module, "frmZentrelSim");
  EXPECT_EQ(DumpedNames(report.module_variables),
            (Names{"g_strKeyZentrelSim", "m_lngMIFsAvailable", "m_lngSelectedMIF", "m_Status",
                   "m_NextStatus"}));
}

}  // namespace
}  // namespace qmzentrel::tests
