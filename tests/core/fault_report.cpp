#include "tests/core/fault_report.h"

#include <algorithm>
#include <map>

#include "interface/frame_buffer.h"
#include "tests/core/procedure_sources.h"
#include "tests/core/source_text.h"

namespace qmzentrel::tests {
namespace {

std::string ShownElement(const std::string& name, std::size_t index, const std::string& text) {
  return "<" + name + " Index=\"" + std::to_string(index) + "\">" + text + "</" + name + ">\r\n";
}

// The first and the last field of a module: whose fields a report shows.
struct FieldEnds {
  std::string first;
  std::string last;
};

FieldEnds FieldsOf(const std::string& module) {
  static const std::map<std::string, FieldEnds> kFields = {
      {"Zentrel", {"m_blnPowerOnDemand", "m_XTimer"}},
      {"XTimer", {"mlngTimerID", "mblnEnabled"}},
      {"modCOM_XTimerSupport", {"maxti", "mintMaxTimers"}},
      {"frmZentrelSim", {"g_strKeyZentrelSim", "m_NextStatus"}},
  };
  const auto fields = kFields.find(module);
  return fields == kFields.end() ? FieldEnds{} : fields->second;
}

void CompareFields(const ErrorReport& report) {
  const FieldEnds fields = FieldsOf(report.module);
  if (fields.first.empty()) {
    EXPECT_EQ(report.module_variables, "");
    return;
  }
  EXPECT_TRUE(report.module_variables.starts_with("<" + fields.first + ">"))
      << report.module_variables;
  EXPECT_TRUE(report.module_variables.ends_with("</" + fields.last + ">\r\n"))
      << report.module_variables;
}

std::string ProcedureOfTest() {
  const std::string test = testing::UnitTest::GetInstance()->current_test_info()->name();
  EXPECT_TRUE(test.ends_with(kFaultTestSuffix)) << test;
  return test.substr(0, test.size() - kFaultTestSuffix.size());
}

void CompareLine(const ErrorReport& report, const std::string& expected) {
  if (expected == kBeforeTheFirstLine) {
    EXPECT_EQ(report.ErrorLine, 0);
    return;
  }
  const auto& procedures = ProceduresInSources();
  const auto source = std::ranges::find(procedures, report.procedure, &ProcedureSource::name);
  ASSERT_NE(source, procedures.end()) << "no source has a procedure " << report.procedure;
  EXPECT_GT(report.ErrorLine, source->first_line) << source->file;
  EXPECT_LT(report.ErrorLine, source->end_line) << source->file;
  const std::string line = SourceLine(source->file, report.ErrorLine);
  EXPECT_TRUE(line.find(expected) != std::string::npos)
      << source->file << ":" << report.ErrorLine << " is" << line << " and holds no " << expected;
}

void RaiseOfProcessor(std::uint32_t code) {
  if (!fakes::RaiseHardwareFault(code)) ADD_FAILURE() << "not within a procedure";
}

}  // namespace

std::string Shown(const std::string& name, const std::string& text) {
  return "<" + name + ">" + text + "</" + name + ">\r\n";
}

std::string Shown(const std::string& name, std::int32_t number) {
  return Shown(name, std::to_string(number));
}

std::string Shown(const std::string& name, bool value) {
  return Shown(name, value ? "True" : "False");
}

std::string ShownFrame(const std::string& name, const Bytes& bytes) {
  Bytes whole = bytes;
  whole.resize(FrameBuffer::kSize);
  return ShownNumbers(name, {whole.begin(), whole.end()});
}

std::string ShownNumbers(const std::string& name, const std::vector<std::int32_t>& numbers) {
  std::vector<std::string> texts;
  texts.reserve(numbers.size());
  for (const std::int32_t number : numbers) texts.push_back(std::to_string(number));
  return ShownTexts(name, texts);
}

std::string ShownTexts(const std::string& name, const std::vector<std::string>& texts) {
  std::string entries;
  std::size_t index = 0;
  for (const std::string& text : texts) entries += ShownElement(name, index++, text);
  return entries;
}

void Compare(const ErrorReport& report, const ExpectedReport& expected) {
  EXPECT_EQ(report.ErrorNumber, expected.error.number);
  EXPECT_EQ(report.ErrorDescription, expected.error.description);
  EXPECT_EQ(report.ErrorSource, expected.error.source);
  EXPECT_EQ(report.module, expected.module);
  EXPECT_EQ(report.procedure, ProcedureOfTest());
  EXPECT_EQ(report.parameters, expected.parameters);
  EXPECT_EQ(report.local_variables, expected.locals);
  CompareFields(report);
  CompareLine(report, expected.line);
}

void ViolateAccess() {
  RaiseOfProcessor(0xC0000005U);
}

void RunOutOfStack() {
  RaiseOfProcessor(0xC00000FDU);
}

void FailIn(const std::string& call, const std::function<void()>& fail, int turn) {
  const auto left = std::make_shared<int>(turn);
  TheWorld().before_call = [=](const std::string& entered) {
    if (entered != call || --*left != 0) return;
    TheWorld().before_call = nullptr;
    fail();
  };
}

void RunOutOfMemoryInRegistry(const std::string& call, const std::string& subject) {
  TheWorld().registry_fault = [=](const std::string& asked,
                                  const std::string& about) -> std::optional<std::int32_t> {
    if (asked == call && about == subject) RunOutOfMemory();
    return std::nullopt;
  };
}

}  // namespace qmzentrel::tests
