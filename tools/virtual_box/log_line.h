// One line of the frame log: what the box writes and what tests read back.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "tools/virtual_box/basics.h"

namespace qmzentrel::virtual_box {

enum class LogMark : char {
  kToBox = '>',    ///< bytes the box received
  kFromBox = '<',  ///< bytes the box sent
  kEvent = '!',    ///< supply, plug, fault: no bytes
};

struct LogLine {
  Time start{0};     ///< when the first byte passed the port, or when the event happened
  Time duration{0};  ///< from the first to the last byte
  LogMark mark = LogMark::kEvent;
  Bytes bytes;
  std::string meaning;

  bool IsFrame() const { return mark != LogMark::kEvent; }
};

/// "81236.412 +6.875 < 21 85 A6 ; Box Status reply": times in milliseconds of the monotonic clock.
std::string FormatLogLine(const LogLine& line);

/// The reverse; nothing when `text` is no such line.
std::optional<LogLine> ParseLogLine(std::string_view text);

}  // namespace qmzentrel::virtual_box
