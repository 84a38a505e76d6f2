// The diagnostic trace: one line per event, to a text file and, independently, to the debugger
// channel. Nothing here ever raises: a trace that fails must not disturb what it traces.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/text_file.h"
#include "support/object_lifetime.h"

namespace qmzentrel {

class CDebugLog {
 public:
  // Event types, passed one at a time; masks combine them.
  static constexpr std::int32_t kError = 1;
  static constexpr std::int32_t kWarning = 2;
  static constexpr std::int32_t kInformation = 4;
  static constexpr std::int32_t kWindowProcedure = 8;
  static constexpr std::int32_t kResource = 16;

  /// What stands for the event type in a line, between time stamp and text.
  struct Label {
    std::int32_t event_type;
    std::string_view text;
  };
  /// Nine characters each, so that the texts of a log line up.
  static constexpr Label kLabels[] = {{kError, "  ERROR  "},
                                      {kWarning, "  WARN   "},
                                      {kInformation, "  INFO   "},
                                      {kWindowProcedure, "  WPROC  "},
                                      {kResource, "  *RES*  "}};
  /// Of any other type.
  static constexpr std::string_view kOtherLabel = "  CHECK  ";

  CDebugLog() = default;
  /// Closes the log, so that a log written to its end always says so.
  ~CDebugLog();
  CDebugLog(const CDebugLog&) = delete;
  CDebugLog& operator=(const CDebugLog&) = delete;

  /// Opens the file `LogPath`, whose folder must exist, and writes the opening line; a log that is
  /// open already is closed first. `OverWriteLog` starts the file afresh, else it is continued
  /// after an empty line. The masks choose which event types reach the file and the debugger
  /// channel and which are meant to stop a debugging session (kept, but without effect on output);
  /// -1 stands for every type (31) and for errors only (1).
  void StartLog(const std::string& LogPath, bool OverWriteLog, std::int32_t EventTypes,
                std::int32_t DebuggerEventTypes = -1, std::int32_t AssertEventTypes = -1);

  std::int32_t EventTypes() const { return m_lngEventTypes; }
  void EventTypes(std::int32_t New_EventTypes) { m_lngEventTypes = New_EventTypes; }

  std::int32_t DebuggerEventTypes() const { return m_lngDebuggerEventTypes; }
  void DebuggerEventTypes(std::int32_t New_DebuggerEventTypes) {
    m_lngDebuggerEventTypes = New_DebuggerEventTypes;
  }

  std::int32_t AssertEventTypes() const { return m_lngAssertEventTypes; }
  void AssertEventTypes(std::int32_t New_AssertEventTypes) {
    m_lngAssertEventTypes = New_AssertEventTypes;
  }

  /// Automation date format of the time stamps.
  const std::string& TimeStampMask() const { return m_strTimeStampMask; }
  void TimeStampMask(const std::string& New_TimeStampMask) {
    m_strTimeStampMask = New_TimeStampMask;
  }

  /// Writes one event as one line: time stamp, label of the type, text with its line ends made
  /// blanks. `ForceEntry` passes both masks; `StopOnError` has no effect on output.
  void DebugOutput(std::string_view DebugText, const std::int32_t& EventType, bool ForceEntry,
                   bool StopOnError);

  /// Writes the closing line and closes the file, if one was started.
  void CloseLog();

  /// The fields in declared order, for the error report.
  std::string DumpFields() const;

 private:
  void WriteLine(const std::string& line, std::int32_t event_type, bool force);

  ObjectLifetime lifetime_{"CDebugLog"};

  // In the order in which the error report shows them.
  std::int32_t m_lngFileNum = 0;
  std::string m_strFilePath;
  std::int32_t m_lngEventTypes = -1;
  std::int32_t m_lngDebuggerEventTypes = -1;
  std::int32_t m_lngAssertEventTypes = -1;
  std::string m_strTimeStampMask = "dd mmm yyyy, Hh:Nn:Ss";

  platform::TextFile file_;
};

}  // namespace qmzentrel
