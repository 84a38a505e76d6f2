#include "tests/com_box/box_process.h"

#include <stdexcept>

namespace qmzentrel::com_box {
namespace {

// Far beyond anything that is expected to take time; a loaded machine must not fail a test.
constexpr DWORD kPatienceMs = 60'000;

// In which a program ends with this one, however that ends: a box would keep its port.
HANDLE JobThatEndsWithThisProgram() {
  HANDLE job = CreateJobObjectA(nullptr, nullptr);
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
  limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
  SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits);
  return job;
}

BOOL WINAPI Ignore(DWORD) {
  return TRUE;
}

}  // namespace

Process::Process(std::string command_line) : job_(JobThatEndsWithThisProgram()) {
  // The output of the tests is not the program's, whose console would hold it for a while. Ahead of
  // the pipe: what has become of these handles at another console may be its numbers.
  for (const DWORD own : {STD_OUTPUT_HANDLE, STD_ERROR_HANDLE}) {
    SetHandleInformation(GetStdHandle(own), HANDLE_FLAG_INHERIT, 0);
  }
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  HANDLE written = nullptr;
  if (!CreatePipe(&output_, &written, &inherited, 0)) throw std::runtime_error("no pipe");
  SetHandleInformation(output_, HANDLE_FLAG_INHERIT, 0);
  STARTUPINFOA start{};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES | STARTF_USESHOWWINDOW;
  start.wShowWindow = SW_HIDE;
  start.hStdOutput = written;
  start.hStdError = written;
  const BOOL started = CreateProcessA(nullptr, command_line.data(), nullptr, nullptr, TRUE,
                                      CREATE_NEW_CONSOLE, nullptr, nullptr, &start, &process_);
  CloseHandle(written);
  if (!started) throw std::runtime_error("cannot start " + command_line);
  // Windows 7 refuses where this program is in a job itself.
  AssignProcessToJobObject(job_, process_.hProcess);
}

Process::~Process() {
  TerminateProcess(process_.hProcess, 1);
  CloseHandle(process_.hThread);
  CloseHandle(process_.hProcess);
  CloseHandle(output_);
  CloseHandle(job_);
}

std::string Process::ReadLine() {
  std::string line;
  char c = 0;
  DWORD count = 0;
  while (ReadFile(output_, &c, 1, &count, nullptr) && count == 1 && c != '\n') {
    if (c != '\r') line += c;
  }
  return line;
}

std::string Process::RestOfOutput() const {
  ExitCode();
  DWORD count = 0;
  PeekNamedPipe(output_, nullptr, 0, nullptr, &count, nullptr);
  std::string rest(count, '\0');
  if (count != 0) ReadFile(output_, rest.data(), count, &count, nullptr);
  return rest;
}

bool Process::PressCtrlC() const {
  // Only whoever sits at a console can press a key there; the same key reaches this process, too.
  FreeConsole();
  if (!AttachConsole(process_.dwProcessId)) return false;
  SetConsoleCtrlHandler(Ignore, TRUE);
  const bool pressed = GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0) != FALSE;
  ExitCode();
  FreeConsole();
  SetConsoleCtrlHandler(Ignore, FALSE);
  return pressed;
}

std::optional<DWORD> Process::ExitCode() const {
  DWORD code = 0;
  if (WaitForSingleObject(process_.hProcess, kPatienceMs) != WAIT_OBJECT_0 ||
      !GetExitCodeProcess(process_.hProcess, &code)) {
    return std::nullopt;
  }
  return code;
}

}  // namespace qmzentrel::com_box
