// The person at the console: what he is asked, and what he sees while something waits.
#pragma once

#include <windows.h>

#include <string>

#include "platform/win32/handle.h"
#include "zentrel/options.h"

namespace qmzentrel::program {

/// Whether somebody can be asked: the input is a console.
bool CanAsk();

/// Asks, on the error output, unless `options` say yes to everything. Returns when the answer is
/// yes; else, or when nobody can be asked, throws Failure.
void Confirm(const std::string& question, const Options& options);

/// Failure as above when the question would find nobody: before anything is done towards it.
void RequireSomebodyToAsk(const std::string& question, const Options& options);

/// The same as Confirm without a Failure: false for another answer, or when nobody can be asked.
bool IsConfirmed(const std::string& question, const Options& options);

/// While it lives, a line on the error output says what is waited for and how long already. A call
/// of the component holds its thread, so the line is another thread's. Only on a console, or with
/// --progress, and not before a second has passed.
class Waiting {
 public:
  Waiting(std::string what, const Options& options);
  ~Waiting();
  Waiting(const Waiting&) = delete;
  Waiting& operator=(const Waiting&) = delete;

 private:
  static DWORD WINAPI ShowTime(void* waiting);
  void Show();

  std::string what_;
  platform::OwnedHandle ended_;
  platform::OwnedHandle thread_;
};

}  // namespace qmzentrel::program
