#include "zentrel/debug_lines.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "platform/text.h"
#include "platform/win32/access_rights.h"
#include "platform/win32/exclusive_lock.h"
#include "platform/win32/wide.h"
#include "zentrel/failure.h"
#include "zentrel/step_line.h"

namespace qmzentrel::program {
namespace {

// The size that senders expect: the number of the process, then text in the ANSI code page.
constexpr DWORD kBufferSize = 4096;
constexpr std::size_t kTextSize = kBufferSize - sizeof(DWORD);

// Some minutes of a client that is busy with the box.
constexpr std::size_t kMostKept = 1000;

// Who sits at this session may send, whatever rights his programs run with.
constexpr wchar_t kAccess[] = L"D:(A;;GA;;;SY)(A;;GA;;;BA)(A;;GRGWGX;;;IU)";

Failure Taken() {
  return {ExitCode::kWatchTaken, "another program receives the step lines already",
          "close it (a second zentrel watch, or a viewer of debugger output) and try again"};
}

}  // namespace

DebugLines::DebugLines(bool all) : all_(all) {
  platform::AccessRights access(kAccess);
  mapping_ = platform::OwnedHandle(CreateFileMappingW(
      INVALID_HANDLE_VALUE, access.Get(), PAGE_READWRITE, 0, kBufferSize, L"DBWIN_BUFFER"));
  if (mapping_.IsValid() && GetLastError() == ERROR_ALREADY_EXISTS) throw Taken();
  // Each of the two lets one sender or one receiver through.
  buffer_ready_ =
      platform::OwnedHandle(CreateEventW(access.Get(), FALSE, FALSE, L"DBWIN_BUFFER_READY"));
  data_ready_ =
      platform::OwnedHandle(CreateEventW(access.Get(), FALSE, FALSE, L"DBWIN_DATA_READY"));
  if (mapping_.IsValid()) {
    buffer_ = MapViewOfFile(mapping_.Get(), FILE_MAP_READ, 0, 0, kBufferSize);
  }
  if (buffer_ == nullptr || !buffer_ready_.IsValid() || !data_ready_.IsValid()) throw Taken();
  ended_ = platform::OwnedHandle(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  has_some_ = platform::OwnedHandle(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  if (ended_.IsValid() && has_some_.IsValid()) {
    thread_ = platform::OwnedHandle(CreateThread(nullptr, 0, ReceiveOf, this, 0, nullptr));
  }
  if (!thread_.IsValid()) {
    throw Failure(ExitCode::kUnexpected, "Windows has no room for one more thread",
                  "close other programs and try again");
  }
}

DebugLines::~DebugLines() {
  // Nobody finds the channel any more, and who has found it before is let through.
  mapping_ = platform::OwnedHandle();
  SetEvent(ended_.Get());
  WaitForSingleObject(thread_.Get(), INFINITE);
  UnmapViewOfFile(buffer_);
  SetEvent(buffer_ready_.Get());
}

KeptLines DebugLines::Take(DWORD timeout_ms, HANDLE stop) {
  const std::array<HANDLE, 2> events{stop, has_some_.Get()};
  WaitForMultipleObjects(events.size(), events.data(), FALSE, timeout_ms);
  const platform::ExclusiveLock lock(lock_);
  ResetEvent(has_some_.Get());
  return std::exchange(kept_, {});
}

DWORD WINAPI DebugLines::ReceiveOf(void* lines) {
  static_cast<DebugLines*>(lines)->Receive();
  return 0;
}

void DebugLines::Receive() {
  const std::array<HANDLE, 2> events{ended_.Get(), data_ready_.Get()};
  SetEvent(buffer_ready_.Get());
  while (WaitForMultipleObjects(events.size(), events.data(), FALSE, INFINITE) ==
         WAIT_OBJECT_0 + 1) {
    DWORD process = 0;
    std::memcpy(&process, buffer_, sizeof process);
    std::array<char, kTextSize> text{};
    std::memcpy(text.data(), static_cast<const char*>(buffer_) + sizeof process, text.size());
    SetEvent(buffer_ready_.Get());
    try {
      Keep(process, {text.data(), strnlen(text.data(), text.size())});
    } catch (...) {  // no room in the memory either
      const platform::ExclusiveLock lock(lock_);
      ++kept_.missing;
      SetEvent(has_some_.Get());
    }
  }
}

void DebugLines::Keep(DWORD process, std::string_view ansi) {
  DebugLine line{};
  GetLocalTime(&line.time);
  line.text = Printable(platform::FromAnsi(ansi));
  if (auto step = ParseStepLine(line.text)) {
    line.type = std::move(step->type);
    line.text = std::move(step->step);
  } else if (!all_) {
    return;
  }
  line.process = process;
  line.program = ProcessName(process);
  const platform::ExclusiveLock lock(lock_);
  // Behind one that is missing none is kept: the number would stand at the wrong place.
  if (kept_.missing == 0 && kept_.lines.size() < kMostKept) {
    kept_.lines.push_back(std::move(line));
  } else {
    ++kept_.missing;
  }
  SetEvent(has_some_.Get());
}

// Any program can send any text; none of it may act on the console.
std::string Printable(std::string_view utf8) {
  while (utf8.ends_with('\n') || utf8.ends_with('\r')) utf8.remove_suffix(1);
  std::wstring text = platform::Utf8ToWide(std::string(utf8));
  std::ranges::replace_if(
      text, [](wchar_t letter) { return letter < L' ' || (letter >= 0x7F && letter <= 0x9F); },
      L' ');
  return platform::WideToUtf8(text);
}

std::string ProcessName(DWORD process) {
  const platform::OwnedHandle opened(
      OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, process));
  std::array<wchar_t, 1024> path{};
  auto length = static_cast<DWORD>(path.size());
  if (!opened.IsValid() ||
      QueryFullProcessImageNameW(opened.Get(), 0, path.data(), &length) == FALSE) {
    return "";
  }
  const std::wstring_view whole(path.data(), length);
  return platform::WideToUtf8(whole.substr(whole.rfind(L'\\') + 1));
}

}  // namespace qmzentrel::program
