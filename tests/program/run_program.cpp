#include "tests/program/run_program.h"

#include <algorithm>
#include <array>
#include <stdexcept>

#include "platform/win32/wide.h"

namespace qmzentrel::program_tests {
namespace {

constexpr DWORD kLimitMs = 60'000;

std::wstring Variable(const wchar_t* name) {
  std::array<wchar_t, MAX_PATH> value{};
  GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size()));
  return value.data();
}

std::wstring TemporaryFile() {
  std::array<wchar_t, MAX_PATH> folder{};
  std::array<wchar_t, MAX_PATH> file{};
  GetTempPathW(MAX_PATH, folder.data());
  GetTempFileNameW(folder.data(), L"zen", 0, file.data());
  return file.data();
}

platform::OwnedHandle InheritableFile(const std::wstring& path, DWORD access) {
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  return platform::OwnedHandle(CreateFileW(path.c_str(), access,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                           &inherited, OPEN_EXISTING, 0, nullptr));
}

std::string Contents(const std::wstring& path) {
  const platform::OwnedHandle file = InheritableFile(path, GENERIC_READ);
  std::string text(1 << 20, '\0');
  DWORD length = 0;
  ReadFile(file.Get(), text.data(), static_cast<DWORD>(text.size()), &length, nullptr);
  text.resize(length);
  text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
  return text;
}

}  // namespace

std::wstring ProgramUnderTest() {
  const std::wstring program = Variable(L"QMZ_PROGRAM");
  if (program.empty()) throw std::runtime_error("QMZ_PROGRAM does not name the program");
  return program.front() == L'/' ? L"Z:" + program : program;
}

RunningProgram::RunningProgram(const std::string& arguments, HANDLE input,
                               const std::wstring& program, HANDLE output_of_caller)
    : output_(TemporaryFile()), errors_(TemporaryFile()) {
  std::wstring command = L"\"" + program + L"\" " + platform::Utf8ToWide(arguments);
  const platform::OwnedHandle nothing = InheritableFile(L"NUL", GENERIC_READ);
  const platform::OwnedHandle output = InheritableFile(output_, GENERIC_WRITE);
  const platform::OwnedHandle errors = InheritableFile(errors_, GENERIC_WRITE);
  STARTUPINFOW start{};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = input != nullptr ? input : nothing.Get();
  start.hStdOutput = output_of_caller != nullptr ? output_of_caller : output.Get();
  start.hStdError = errors.Get();
  PROCESS_INFORMATION process{};
  if (CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start,
                     &process) == FALSE) {
    throw std::runtime_error("the program does not start");
  }
  CloseHandle(process.hThread);
  process_ = platform::OwnedHandle(process.hProcess);
  id_ = process.dwProcessId;
}

std::string RunningProgram::OutputSoFar() const {
  return Contents(output_);
}

std::string RunningProgram::ErrorsSoFar() const {
  return Contents(errors_);
}

Outcome RunningProgram::Await() {
  if (WaitForSingleObject(process_.Get(), kLimitMs) != WAIT_OBJECT_0) {
    TerminateProcess(process_.Get(), STILL_ACTIVE);
    WaitForSingleObject(process_.Get(), INFINITE);
  }
  DWORD code = 0;
  GetExitCodeProcess(process_.Get(), &code);
  Outcome outcome{static_cast<int>(code), Contents(output_), Contents(errors_)};
  DeleteFileW(output_.c_str());
  DeleteFileW(errors_.c_str());
  return outcome;
}

Outcome RunZentrel(const std::string& arguments) {
  return RunningProgram(arguments).Await();
}

void AwaitThat(const std::function<bool()>& is_so) {
  for (const ULONGLONG end = GetTickCount64() + kLimitMs; !is_so(); Sleep(20)) {
    if (GetTickCount64() > end) throw std::runtime_error("it does not happen");
  }
}

std::string Sentence(const std::string& errors) {
  const bool one_line = std::ranges::count(errors, '\n') == 1 && errors.ends_with(".\n");
  const bool next_step = errors.find("; ") != std::string::npos;
  if (!errors.starts_with("zentrel: ") || !one_line || !next_step) return "";
  return errors.substr(0, errors.size() - 1);
}

}  // namespace qmzentrel::program_tests
