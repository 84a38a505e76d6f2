// The fields that a report shows, held against the declarations in the sources.
#include <regex>
#include <sstream>

#include "simulator/frmZentrelSim.h"
#include "tests/core/core_test.h"
#include "tests/core/procedure_sources.h"
#include "tests/core/simulator_test.h"

namespace qmzentrel::tests {
namespace {

using Names = std::vector<std::string>;

constexpr char kMark[] = "// In the order in which the error report shows them.\n";

std::string SourceText(const std::string& path) {
  std::string text;
  for (const std::string& line : SourceLines(path)) text += line + "\n";
  return text;
}

/// The names of the variables that `path` declares from `begin` on, up to `end`.
Names DeclaredNames(const std::string& path, const std::string& begin, const std::string& end) {
  const std::string text = SourceText(path);
  const std::size_t from = text.find(begin);
  const std::size_t to = text.find(end, from + begin.size());
  if (from == std::string::npos || to == std::string::npos) {
    ADD_FAILURE() << path << " has no " << begin;
    return {};
  }
  Names names;
  std::istringstream lines(text.substr(from + begin.size(), to - from - begin.size()));
  const std::regex declaration(R"(\s(\w+)(\{\}| = [^;]*)?;)");
  for (std::string line; std::getline(lines, line);) {
    std::smatch match;
    if (std::regex_search(line, match, declaration)) names.push_back(match[1]);
  }
  return names;
}

Names FieldsOfClass(const std::string& path) {
  return DeclaredNames(path, kMark, "\n\n");
}

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
  const Names declared = FieldsOfClass("support/CDebugLog.h");
  EXPECT_EQ(declared.size(), 6U);
  EXPECT_EQ(DumpedNames(log.DumpFields()), declared);
}

TEST_F(DeclaredFields, OfTheTimer) {
  const Names declared = FieldsOfClass("support/XTimer.h");
  EXPECT_EQ(declared.size(), 3U);
  EXPECT_EQ(DumpedNames(XTimer::Create()->DumpFields()), declared);
}

TEST_F(DeclaredFields, OfTheTimerModule) {
  const Names declared =
      DeclaredNames("support/modCOM_XTimerSupport.cpp", "struct ModuleState {\n", "};");
  EXPECT_EQ(declared.size(), 2U);
  EXPECT_EQ(DumpedNames(modCOM_XTimerSupport::DumpFields()), declared);
}

TEST_F(DeclaredFields, OfTheErrorReport) {
  const std::string path = "support/modErrorReportSupport.cpp";
  Names declared = {"ComponentID", "HasInitialised"};
  const Names of_thread = DeclaredNames(path, "struct StoredError {\n", "};");
  EXPECT_EQ(of_thread.size(), 4U);
  declared.insert(declared.end(), of_thread.begin(), of_thread.end());
  EXPECT_EQ(DumpedNames(modErrorReportSupport::DumpFields()), declared);
}

TEST_F(DeclaredFields, OfTheForm) {
  const Names declared = FieldsOfClass("simulator/frmZentrelSim.h");
  EXPECT_EQ(declared.size(), 5U);
  // Its fields are private: a procedure of it that fails shows them.
  TheWorld().has_desktop = false;
  const ErrorReport report = ReportOf([this] { zentrel->ReadXpdr(); });
  EXPECT_EQ(report.module, "frmZentrelSim");
  EXPECT_EQ(DumpedNames(report.module_variables), declared);
}

}  // namespace
}  // namespace qmzentrel::tests
