// What a command has to say: lines for people, or one JSON document for programs.
#pragma once

#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "zentrel/exit_codes.h"
#include "zentrel/failure.h"

namespace qmzentrel::program {

using Json = nlohmann::ordered_json;

/// Lines go to the standard output as they come, the document in one piece at the end.
class Report {
 public:
  Report(const std::string& command, bool json);
  ~Report();
  Report(const Report&) = delete;
  Report& operator=(const Report&) = delete;

  bool IsJson() const { return json_; }

  /// For people; nothing with --json.
  void Line(const std::string& utf8) const;
  /// For people whatever the format: with --json it goes to the error output, which is not the
  /// document.
  void Say(const std::string& utf8) const;

  /// The document, to be filled by the command.
  Json& Document() { return *document_; }

  /// Ends the report; returns what the program ends with.
  int Finish(ExitCode code);
  /// The same after a failure, which goes to the error output as one sentence.
  int Finish(const Failure& failure);

 private:
  int Print(ExitCode code);

  bool json_;
  std::unique_ptr<Json> document_;
};

/// A complaint on the error output, in the console's characters.
void Complain(const std::string& utf8);

}  // namespace qmzentrel::program
