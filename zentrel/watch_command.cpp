// watch: the step lines of every program of the session that uses the component, with the times at
// which they came, until Ctrl-C.
#include <cstdio>
#include <nlohmann/json.hpp>

#include "zentrel/commands.h"
#include "zentrel/debug_lines.h"
#include "zentrel/step_line.h"

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

}  // namespace

ExitCode Watch(const Options& options, Report& report) {
  DebugLines lines;
  SetConsoleCtrlHandler(OnControl, TRUE);
  report.Line("Waiting for programs that use the component; Ctrl-C ends this.");
  const LimitOfTime limit(options.seconds);
  Json entries = Json::array();
  std::int32_t count = 0;
  while (const auto line = lines.Next(limit.RemainingMs(), StopEvent())) {
    if (line->missing > 0) {
      report.Say("(" + std::to_string(line->missing) +
                 " lines are missing here: they came while nothing could be printed)");
    }
    const auto step = ParseStepLine(line->text);
    if (!step && !options.all) continue;
    const std::string type = step ? step->type : "";
    const std::string text = step ? step->step : line->text;
    std::string shown = TimeText(line->time);
    shown.append("  ").append(line->program.empty() ? "?" : line->program);
    shown.append(" (").append(std::to_string(line->process)).append(")  ");
    if (!type.empty() && type != "INFO") shown.append(type).append(" ");
    report.Line(shown.append(text));
    if (report.IsJson()) {
      entries.push_back({{"time", TimeText(line->time)},
                         {"process", line->process},
                         {"program", line->program},
                         {"type", type},
                         {"text", text}});
    }
    if (++count == options.lines) break;
  }
  report.Document()["lines"] = entries;
  return ExitCode::kDone;
}

}  // namespace qmzentrel::program
