#include "support/CDebugLog.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "platform/clock.h"
#include "platform/debugger.h"
#include "platform/number.h"
#include "support/ignoring_errors.h"
#include "support/variables.h"

namespace qmzentrel {
namespace {

// One log has one file, so any number but 0 says that it was started.
constexpr std::int32_t kFileNumber = 1;

std::string_view LabelOf(std::int32_t event_type) {
  const auto* const known =
      std::ranges::find(CDebugLog::kLabels, event_type, &CDebugLog::Label::event_type);
  return known != std::end(CDebugLog::kLabels) ? known->text : CDebugLog::kOtherLabel;
}

std::string OnOneLine(std::string_view text) {
  std::string flat;
  char before = '\0';
  for (const char c : text) {
    const bool ends_pair = before == '\r' && c == '\n';
    if (!ends_pair) flat += c == '\r' || c == '\n' ? ' ' : c;
    before = c;
  }
  return flat;
}

}  // namespace

CDebugLog::~CDebugLog() {
  CloseLog();
}

void CDebugLog::StartLog(const std::string& LogPath, bool OverWriteLog, std::int32_t EventTypes,
                         std::int32_t DebuggerEventTypes, std::int32_t AssertEventTypes) {
  CloseLog();
  m_lngFileNum = kFileNumber;
  IgnoringErrors([&] {
    file_.Open(LogPath, OverWriteLog);
    if (file_.Length() > 0) file_.WriteLine("");  // keeps the runs in one file apart
  });
  IgnoringErrors([&] { m_strFilePath = LogPath; });
  m_lngEventTypes = EventTypes;
  m_lngDebuggerEventTypes = DebuggerEventTypes == -1 ? 31 : DebuggerEventTypes;
  m_lngAssertEventTypes = AssertEventTypes == -1 ? 1 : AssertEventTypes;
  DebugOutput("**** Log opened. ****", kInformation, true, false);
}

void CDebugLog::DebugOutput(std::string_view DebugText, const std::int32_t& EventType,
                            bool ForceEntry, bool /*StopOnError*/) {
  IgnoringErrors([&] {
    std::string line = platform::FormatDate(platform::LocalDate(), m_strTimeStampMask);
    line.append(LabelOf(EventType)).append(OnOneLine(DebugText));
    WriteLine(line, EventType, ForceEntry);
  });
}

void CDebugLog::WriteLine(const std::string& line, std::int32_t event_type, bool force) {
  if (m_lngFileNum != 0 && ((event_type & m_lngEventTypes) != 0 || force)) {
    IgnoringErrors([&] { file_.WriteLine(line); });
  }
  if ((event_type & m_lngDebuggerEventTypes) != 0 || force) platform::DebuggerOutput(line);
}

void CDebugLog::CloseLog() {
  if (m_lngFileNum == 0) return;
  DebugOutput("**** Log closed. ****", kInformation, true, false);
  IgnoringErrors([&] { file_.Close(); });
  m_lngFileNum = 0;
}

std::string CDebugLog::DumpFields() const {
  return DumpVariables(VARIABLES(m_lngFileNum, m_strFilePath, m_lngEventTypes,
                                 m_lngDebuggerEventTypes, m_lngAssertEventTypes,
                                 m_strTimeStampMask));
}

}  // namespace qmzentrel
