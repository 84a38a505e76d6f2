#include "zentrel/report.h"

#include <cstdio>
#include <nlohmann/json.hpp>

#include "platform/win32/console_text.h"

namespace qmzentrel::program {
namespace {

// With a column of blanks between name and text, as a person reads it.
constexpr int kIndent = 2;

void PutLine(FILE* file, const std::string& utf8) {
  std::fputs((platform::ConsoleText(utf8) + '\n').c_str(), file);
  std::fflush(file);  // whoever reads along sees it now
}

}  // namespace

Report::Report(const std::string& command, bool json)
    : json_(json), document_(std::make_unique<Json>()) {
  (*document_)["command"] = command;
  (*document_)["ok"] = false;
  (*document_)["exit_code"] = static_cast<int>(ExitCode::kUnexpected);
}

Report::~Report() = default;

void Report::Line(const std::string& utf8) const {
  if (!json_) PutLine(stdout, utf8);
}

void Report::Say(const std::string& utf8) const {
  PutLine(json_ ? stderr : stdout, utf8);
}

int Report::Finish(ExitCode code) {
  return Print(code);
}

int Report::Finish(const Failure& failure) {
  Complain(std::string("zentrel: ") + failure.what() + "; " + failure.next + ".");
  (*document_)["error"] = {{"problem", failure.what()}, {"next", failure.next}};
  return Print(failure.code);
}

int Report::Print(ExitCode code) {
  (*document_)["ok"] = code == ExitCode::kDone;
  (*document_)["exit_code"] = static_cast<int>(code);
  if (json_) {
    // In plain ASCII, which every code page has.
    const std::string text =
        document_->dump(kIndent, ' ', true, nlohmann::json::error_handler_t::replace);
    std::fputs((text + '\n').c_str(), stdout);
  }
  return static_cast<int>(code);
}

void Complain(const std::string& utf8) {
  PutLine(stderr, utf8);
}

}  // namespace qmzentrel::program
