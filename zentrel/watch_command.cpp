// watch: the step lines of every program of the session that uses the component, with the times at
// which they came, until Ctrl-C.
#include <cstdio>
#include <nlohmann/json.hpp>

#include "zentrel/commands.h"
#include "zentrel/debug_lines.h"

namespace qmzentrel::program {
namespace {

// Set by Ctrl-C, so that the report is brought to its end. Never closed: the system may call as
// long as the process lives.
HANDLE StopEvent() {
  static const HANDLE stop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  return stop;
}

BOOL WINAPI OnControl(DWORD) {
  SetEvent(StopEvent());
  return TRUE;
}

std::string TimeText(const SYSTEMTIME& time) {
  char text[32];
  std::snprintf(text, sizeof text, "%02d:%02d:%02d.%03d", time.wHour, time.wMinute, time.wSecond,
                time.wMilliseconds);
  return text;
}

class LimitOfTime {
 public:
  explicit LimitOfTime(std::int32_t seconds) : seconds_(seconds), begin_(GetTickCount64()) {}

  DWORD RemainingMs() const {
    if (seconds_ == 0) return INFINITE;
    const ULONGLONG end = begin_ + static_cast<ULONGLONG>(seconds_) * 1000;
    const ULONGLONG now = GetTickCount64();
    return now >= end ? 0 : static_cast<DWORD>(end - now);
  }

 private:
  std::int32_t seconds_;
  ULONGLONG begin_;
};

void Show(const DebugLine& line, Report& report) {
  const std::string time = TimeText(line.time);
  std::string shown = time;
  shown.append("  ").append(line.program.empty() ? "?" : line.program);
  shown.append(" (").append(std::to_string(line.process)).append(")  ");
  if (!line.type.empty() && line.type != "INFO") shown.append(line.type).append(" ");
  report.Line(shown.append(line.text));
  if (!report.IsJson()) return;
  report.Document()["lines"].push_back({{"time", time},
                                        {"process", line.process},
                                        {"program", line.program},
                                        {"type", line.type},
                                        {"text", line.text}});
}

}  // namespace

ExitCode Watch(const Options& options, Report& report) {
  DebugLines lines(options.all);
  const LimitOfTime limit(options.seconds);
  SetConsoleCtrlHandler(OnControl, TRUE);
  report.Line("Waiting for programs that use the component; Ctrl-C ends this.");
  report.Document()["lines"] = Json::array();
  std::size_t missing = 0;
  report.Document()["missing"] = missing;
  std::int32_t count = 0;
  for (bool is_last = false; !is_last;) {
    // What has come by the end is shown still, however long that takes.
    const DWORD remaining_ms = limit.RemainingMs();
    is_last = remaining_ms == 0 || WaitForSingleObject(StopEvent(), 0) == WAIT_OBJECT_0;
    const KeptLines kept = lines.Take(remaining_ms, StopEvent());
    for (const DebugLine& line : kept.lines) {
      Show(line, report);
      if (++count == options.lines) return ExitCode::kDone;
    }
    if (kept.missing == 0) continue;
    report.Say("(" + std::to_string(kept.missing) +
               " lines are missing here: they came while nothing could be printed)");
    missing += kept.missing;
    report.Document()["missing"] = missing;
  }
  return ExitCode::kDone;
}

}  // namespace qmzentrel::program
