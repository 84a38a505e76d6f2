#include "zentrel/console.h"

#include <cstdio>
#include <iostream>
#include <utility>

#include "platform/win32/console_text.h"
#include "zentrel/failure.h"

namespace qmzentrel::program {
namespace {

constexpr DWORD kTickMs = 1000;

bool IsConsole(DWORD which) {
  DWORD mode = 0;
  return GetConsoleMode(GetStdHandle(which), &mode) != FALSE;
}

void PutOnErrors(const std::string& utf8) {
  std::fputs(platform::ConsoleText(utf8).c_str(), stderr);
  std::fflush(stderr);
}

// Anything but a clear yes is a no.
bool AnswerIsYes() {
  std::string answer;
  std::getline(std::cin, answer);
  while (!answer.empty() && (answer.back() == '\r' || answer.back() == ' ')) answer.pop_back();
  return answer == "y" || answer == "Y" || answer == "yes" || answer == "Yes" || answer == "YES";
}

}  // namespace

bool CanAsk() {
  return IsConsole(STD_INPUT_HANDLE);
}

bool IsConfirmed(const std::string& question, const Options& options) {
  if (options.yes) return true;
  if (!CanAsk()) return false;
  PutOnErrors(question + " [y/N] ");
  return AnswerIsYes();
}

void RequireSomebodyToAsk(const std::string& question, const Options& options) {
  if (options.yes || CanAsk()) return;
  throw Failure(ExitCode::kNotConfirmed, "nobody can be asked: \"" + question + "\"",
                "use --yes where the input is no console");
}

void Confirm(const std::string& question, const Options& options) {
  RequireSomebodyToAsk(question, options);
  if (IsConfirmed(question, options)) return;
  throw Failure(ExitCode::kNotConfirmed, "not done, as you wish",
                "answer y, or use --yes, to go on next time");
}

Waiting::Waiting(std::string what, const Options& options) : what_(std::move(what)) {
  if (!options.progress && !IsConsole(STD_ERROR_HANDLE)) return;
  ended_ = platform::OwnedHandle(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  if (!ended_.IsValid()) return;
  thread_ = platform::OwnedHandle(CreateThread(nullptr, 0, ShowTime, this, 0, nullptr));
}

Waiting::~Waiting() {
  if (!thread_.IsValid()) return;
  SetEvent(ended_.Get());
  WaitForSingleObject(thread_.Get(), INFINITE);
}

DWORD WINAPI Waiting::ShowTime(void* waiting) {
  static_cast<Waiting*>(waiting)->Show();
  return 0;
}

void Waiting::Show() {
  std::size_t shown = 0;
  for (int seconds = 1; WaitForSingleObject(ended_.Get(), kTickMs) == WAIT_TIMEOUT; ++seconds) {
    const std::string line = what_ + " ... " + std::to_string(seconds) + " s";
    PutOnErrors('\r' + line);
    shown = line.size();
  }
  // Nothing of it stays in the way of what is printed next.
  if (shown != 0) PutOnErrors('\r' + std::string(shown, ' ') + '\r');
}

}  // namespace qmzentrel::program
