#include "reports/report_text.h"

#include <cstdio>
#include <cstdlib>

#include "platform/win32/wide.h"
#include "support/shown_text.h"

namespace qmzentrel::reports {
namespace {

constexpr char kLineBreak[] = "\r\n";

LONGLONG MinutesOf(const SYSTEMTIME& time) {
  FILETIME file_time{};
  SystemTimeToFileTime(&time, &file_time);
  constexpr LONGLONG kUnitsPerMinute = 60LL * 10'000'000;
  const LONGLONG units = static_cast<LONGLONG>(file_time.dwHighDateTime) << 32 |
                         static_cast<LONGLONG>(file_time.dwLowDateTime);
  return units / kUnitsPerMinute;
}

std::string TimeText() {
  SYSTEMTIME utc{};
  SYSTEMTIME local{};
  GetSystemTime(&utc);
  SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local);
  const auto ahead = static_cast<int>(MinutesOf(local) - MinutesOf(utc));
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%03d %c%02d:%02d", local.wYear,
                local.wMonth, local.wDay, local.wHour, local.wMinute, local.wSecond,
                local.wMilliseconds, ahead < 0 ? '-' : '+', std::abs(ahead) / 60,
                std::abs(ahead) % 60);
  return text;
}

std::string ProgramText() {
  wchar_t path[MAX_PATH];
  const DWORD length = GetModuleFileNameW(nullptr, path, MAX_PATH);
  return platform::WideToUtf8({path, length}) + ", process " +
         std::to_string(GetCurrentProcessId());
}

}  // namespace

std::string TextOf(const Report& report) {
  const auto argument = [&report](Report::Place place) {
    return WithZerosShown(report.arguments[place]);
  };
  std::string text = "=== " + TimeText() + " ===" + kLineBreak;
  const auto line = [&text](const char* name, const std::string& value) {
    text += name + value + kLineBreak;
  };
  line("",
       argument(Report::kComponent) + " " + argument(Report::kVersion) + " in " + ProgramText());
  line("Component: ", argument(Report::kComponentId));
  line("Module: ", argument(Report::kModule));
  line("Procedure: ", argument(Report::kProcedure));
  line("Line Number: ", argument(Report::kLine));
  line("Source: ", argument(Report::kSource));
  line("", argument(Report::kDescription) + " (" + argument(Report::kNumber) + ")");
  line("", argument(Report::kVariables));
  return text + kLineBreak;
}

}  // namespace qmzentrel::reports
