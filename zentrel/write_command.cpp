// write: what a transponder holds and shall hold is shown, asked about, written and read back.
#include <algorithm>
#include <nlohmann/json.hpp>
#include <vector>

#include "zentrel/commands.h"
#include "zentrel/console.h"
#include "zentrel/failure.h"
#include "zentrel/transponder.h"

namespace qmzentrel::program {
namespace {

using Assignments = std::vector<Assignment>;

Assignments ParseAll(const std::vector<std::string>& words) {
  Assignments assignments;
  for (const std::string& word : words) {
    const Assignment assignment = ParseAssignment(word);
    const bool twice = std::ranges::any_of(
        assignments, [&](const Assignment& earlier) { return earlier.field == assignment.field; });
    if (twice) {
      throw Failure(ExitCode::kCommandLine,
                    std::string(assignment.field->name) + " is set more than once",
                    "name each value once");
    }
    assignments.push_back(assignment);
  }
  return assignments;
}

void RequireRadio(const Component& component, const Assignments& assignments) {
  if (HasRadio(component)) return;
  for (const Assignment& wanted : assignments) {
    if (wanted.field->part != Part::kRadio) continue;
    throw Failure(ExitCode::kRefused,
                  std::string("a transponder of version ") +
                      component.Get(&_Zentrel::get_TravonelVersion) + " carries no " +
                      wanted.field->name,
                  "leave the radio settings out");
  }
}

// Everything that a write sends, whether it was named or not: a value may go along with another.
Values AllValues(const Component& component) {
  Values values = ValuesOf(component, Part::kRecord);
  if (HasRadio(component))
    std::ranges::copy(ValuesOf(component, Part::kRadio), std::back_inserter(values));
  return values;
}

// The changes in the component's record, which nothing has sent yet; in the document, too.
bool ShowChanges(const Values& before, const Values& after, Report& report) {
  Json& changes = report.Document()["changes"] = Json::array();
  for (std::size_t i = 0; i < before.size(); ++i) {
    const RecordField& field = *before[i].first;
    const LONG old_value = before[i].second;
    const LONG new_value = after[i].second;
    if (old_value == new_value) continue;
    report.Say(
        ValueLine(field.name, ValueText(field, old_value) + " -> " + ValueText(field, new_value)));
    changes.push_back({{"name", field.name}, {"old", old_value}, {"new", new_value}});
  }
  return !changes.empty();
}

// A transponder takes that long to store what it was sent, and the component waits as long between
// the end of a write and the next read.
class StoringTime {
 public:
  explicit StoringTime(const Component& component)
      : end_(GetTickCount64() + static_cast<ULONGLONG>(component.Get(&_Zentrel::get_VDelay))) {}

  void WaitOut(const Options& options) const {
    const Waiting waiting("Waiting until the transponder has stored it", options);
    for (ULONGLONG now = GetTickCount64(); now < end_; now = GetTickCount64()) {
      Sleep(static_cast<DWORD>(end_ - now));
    }
  }

 private:
  ULONGLONG end_;
};

// By an object that knows nothing of the write: what it shows is what the transponder holds. Nor
// does it wait by the time of day, as one that has written does, which has no midnight.
Values ReadBack(const StoringTime& storing, const Options& options) {
  Component component;
  component.Open(options);
  storing.WaitOut(options);
  const Waiting waiting("Reading the transponder again", options);
  component.Run(&_Zentrel::ReadXpdr, Answerer::kTransponder);
  return AllValues(component);
}

void CompareWithWritten(const Values& written, const Values& found, Report& report) {
  Json& differences = report.Document()["differences"] = Json::array();
  std::string named;
  for (std::size_t i = 0; i < std::min(written.size(), found.size()); ++i) {
    const RecordField& field = *written[i].first;
    if (written[i].second == found[i].second) continue;
    differences.push_back(
        {{"name", field.name}, {"written", written[i].second}, {"read", found[i].second}});
    named += (named.empty() ? "" : ", ") + std::string(field.name) + " is " +
             ValueText(field, found[i].second) + " and not " + ValueText(field, written[i].second);
  }
  if (named.empty()) return;
  throw Failure(ExitCode::kDiffers, "the transponder holds something else: " + named,
                "read it again, and write it again if it still differs");
}

}  // namespace

ExitCode Write(const Options& options, Report& report) {
  const std::string port = PortName(NamedPort(options));
  const Assignments assignments = ParseAll(options.words);
  if (!options.yes && !CanAsk()) Confirm("Write to the transponder?", options);
  Values written;
  StoringTime storing = [&] {
    Component component;
    ReadTransponder(component, options, report);
    RequireRadio(component, assignments);
    const Values before = AllValues(component);
    for (const Assignment& wanted : assignments) Let(component, *wanted.field, wanted.value);
    report.Say("Transponder at the box on " + port);
    written = AllValues(component);
    if (!ShowChanges(before, written, report)) {
      report.Line("  holds all of that already; nothing is written");
      written.clear();
      return StoringTime(component);
    }
    Confirm("Write this?", options);
    const Waiting waiting("Writing the transponder", options);
    component.Run(&_Zentrel::WriteXpdr, Answerer::kTransponder);
    return StoringTime(component);
  }();
  report.Document()["written"] = !written.empty();
  if (written.empty() || report.Document()["simulator"] == true) return ExitCode::kDone;
  CompareWithWritten(written, ReadBack(storing, options), report);
  report.Line("Written, and read back the same.");
  return ExitCode::kDone;
}

}  // namespace qmzentrel::program
