// write: what a transponder holds and shall hold is shown, asked about, written and read back.
#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "zentrel/commands.h"
#include "zentrel/console.h"
#include "zentrel/failure.h"
#include "zentrel/transponder.h"

namespace qmzentrel::program {
namespace {

using Assignments = std::vector<Assignment>;

bool IsNamed(const RecordField& field, std::string_view name) {
  return field.name == name;
}

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
  // It sets all three of its parts, whichever of them were named before it.
  std::stable_partition(assignments.begin(), assignments.end(), [](const Assignment& wanted) {
    return IsNamed(*wanted.field, "DeviceMIF");
  });
  return assignments;
}

bool IsAssigned(const Assignments& assignments, const RecordField* field) {
  return std::ranges::any_of(
      assignments, [field](const Assignment& assignment) { return assignment.field == field; });
}

// What the transponder cannot hold is refused: it would be lost without a word.
void RequireCarried(const Component& component, const Assignments& assignments) {
  const TransponderRecord record = RecordOf(component);
  for (const Assignment& wanted : assignments) {
    const bool carried = IsNamed(*wanted.field, "HasLeak")    ? record.CarriesLeakFlag()
                         : wanted.field->part == Part::kRadio ? record.HasBlock2()
                                                              : true;
    if (carried) continue;
    throw Failure(
        ExitCode::kRefused,
        "a transponder of version " + record.m_strXpdrVersion + " carries no " + wanted.field->name,
        std::string("leave ") + wanted.field->name + " out");
  }
}

// Everything that a write sends, whether it was named or not: a value may go along with another.
Values AllValues(const Component& component) {
  Values values = ValuesOf(component, Part::kRecord);
  if (HasRadio(component))
    std::ranges::copy(ValuesOf(component, Part::kRadio), std::back_inserter(values));
  return values;
}

// A write brings bit 7 of the count to the leak flag, a read takes it out again or leaves it: both
// are gone through here, so that the record is what a read will show.
void SettleLeakFlag(Component& component) {
  if (component.IsSimulated()) return;  // which takes the count as it is
  TransponderRecord record = RecordOf(component);
  record.PutLeakFlag();
  record.TakeLeakFlag(record.CarriesLeakFlag());
  component.Let(&_Zentrel::put_Tamper, record.m_lngTamperCount);
  component.Let(&_Zentrel::put_HasLeak, record.radio.m_blnHasLeak);
}

void RequireAssigned(const Component& component, const Assignments& assignments) {
  for (const Assignment& wanted : assignments) {
    const RecordField& field = *wanted.field;
    const LONG value = Get(component, field);
    if (value == wanted.value) continue;
    throw Failure(ExitCode::kRefused,
                  std::string(field.name) + " cannot be " + ValueText(field, wanted.value) +
                      ": with the other values it becomes " + ValueText(field, value),
                  "name values that agree: DeviceMIF holds IDToggle and MIFSelect, and bit 7 of "
                  "Tamper is HasLeak");
  }
}

struct Change {
  const RecordField* field;
  LONG old_value;
  LONG new_value;
};
using Changes = std::vector<Change>;

// Puts the assignments into the component's record, which was read and which nothing sends yet.
Changes Assign(Component& component, const Assignments& assignments) {
  RequireCarried(component, assignments);
  const Values before = AllValues(component);
  for (const Assignment& wanted : assignments) Let(component, *wanted.field, wanted.value);
  SettleLeakFlag(component);
  RequireAssigned(component, assignments);
  const Values after = AllValues(component);
  Changes changes;
  for (std::size_t i = 0; i < before.size(); ++i) {
    if (before[i].second == after[i].second) continue;
    changes.push_back({before[i].first, before[i].second, after[i].second});
  }
  return changes;
}

void ShowChanges(const Changes& changes, Report& report) {
  Json& shown = report.Document()["changes"] = Json::array();
  for (const auto& [field, old_value, new_value] : changes) {
    report.Say(ValueLine(field->name,
                         ValueText(*field, old_value) + " -> " + ValueText(*field, new_value)));
    shown.push_back({{"name", field->name}, {"old", old_value}, {"new", new_value}});
  }
}

struct Identity {
  LONG number;
  std::string version;

  bool operator==(const Identity&) const = default;
};

Identity IdentityOf(const Component& component) {
  return {component.Get(&_Zentrel::get_Xpdr), component.Get(&_Zentrel::get_TravonelVersion)};
}

// While somebody thought about the question the transponder may have been exchanged or gone on
// counting: what he has agreed to is done to what is there now, or nothing is.
void AssignToWhatIsThereNow(Component& component, const Assignments& assignments,
                            const Identity& asked_about, const Changes& agreed) {
  ReadRecord(component);
  const Identity found = IdentityOf(component);
  if (found != asked_about) {
    throw Failure(ExitCode::kRefused,
                  "another transponder answers now: " + std::to_string(found.number) +
                      " of version " + found.version,
                  "write again with the one in reach that is meant");
  }
  for (const Change& change : Assign(component, assignments)) {
    const bool is_agreed = std::ranges::any_of(agreed, [&](const Change& other) {
      return other.field == change.field && other.new_value == change.new_value;
    });
    if (is_agreed || IsAssigned(assignments, change.field)) continue;
    throw Failure(ExitCode::kRefused,
                  std::string("the transponder has changed meanwhile: ") + change.field->name +
                      " would go along",
                  "write again, and look at what is shown then");
  }
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

// What a read shows.
struct Held {
  std::string version;
  Values values;
};

Held HeldBy(const Component& component) {
  return {component.Get(&_Zentrel::get_TravonelVersion), AllValues(component)};
}

// By an object that knows nothing of the write: what it shows is what the transponder holds. Nor
// does it wait by the time of day, as one that has written does, which has no midnight.
Held ReadBack(const StoringTime& storing, const Options& options) {
  Component component;
  component.Open(options);
  storing.WaitOut(options);
  const Waiting waiting("Reading the transponder again", options);
  ReadRecord(component);
  return HeldBy(component);
}

// These the transponder changes by itself, between the write and the read, too.
bool GoesOnByItself(const RecordField& field) {
  return std::ranges::any_of(std::array{"Reading", "Tamper", "HasLeak", "EOL_CTRL"},
                             [&](const char* name) { return IsNamed(field, name); });
}

void CompareWithWritten(const Held& written, const Held& found, const Assignments& assignments,
                        const Changes& changes, Report& report) {
  Json& differences = report.Document()["differences"] = Json::array();
  std::string named;
  const auto add = [&](const std::string& name, const std::string& is, const std::string& is_not) {
    named += (named.empty() ? "" : ", ") + name + " is " + is + " and not " + is_not;
  };
  // Of another version it may carry other values: one line says it all.
  if (written.version != found.version) {
    differences.push_back(
        {{"name", "TravonelVersion"}, {"written", written.version}, {"read", found.version}});
    add("TravonelVersion", found.version, written.version);
  }
  for (std::size_t i = 0; i < std::min(written.values.size(), found.values.size()); ++i) {
    const auto& [field, value] = written.values[i];
    const LONG value_found = found.values[i].second;
    const bool is_meant = IsAssigned(assignments, field) ||
                          std::ranges::any_of(changes, [changed = field](const Change& change) {
                            return change.field == changed;
                          });
    if (value == value_found || (!is_meant && GoesOnByItself(*field))) continue;
    differences.push_back({{"name", field->name}, {"written", value}, {"read", value_found}});
    add(field->name, ValueText(*field, value_found), ValueText(*field, value));
  }
  if (named.empty()) return;
  throw Failure(ExitCode::kDiffers, "the transponder holds something else: " + named,
                "read it again, and write it again if it still differs");
}

StoringTime Send(Component& component, const Options& options, Report& report) {
  const Waiting waiting("Writing the transponder", options);
  try {
    component.Run(&_Zentrel::WriteXpdr, Answerer::kTransponder);
  } catch (const Failure& failure) {
    if (failure.code == ExitCode::kRefused) throw;  // before anything is sent
    report.Document()["written"] = nullptr;
    throw Failure(failure.code,
                  std::string(failure.what()) + ", and what was sent may have been stored in part",
                  "read the transponder to see what it holds, and write again what is missing");
  }
  report.Document()["written"] = true;
  return StoringTime(component);
}

}  // namespace

ExitCode Write(const Options& options, Report& report) {
  const std::string port = PortName(NamedPort(options));
  const Assignments assignments = ParseAll(options.words);
  RequireSomebodyToAsk("Write to the transponder?", options);
  report.Document()["written"] = false;
  std::optional<Component> component(std::in_place);
  ReadTransponder(*component, options, report);
  const Identity identity = IdentityOf(*component);
  const Changes changes = Assign(*component, assignments);
  report.Say("Transponder at the box on " + port);
  ShowChanges(changes, report);
  if (changes.empty()) {
    report.Line("  holds all of that already; nothing is written");
    return ExitCode::kDone;
  }
  Confirm("Write this?", options);
  if (!options.yes && !component->IsSimulated()) {
    AssignToWhatIsThereNow(*component, assignments, identity, changes);
  }
  const Held written = HeldBy(*component);
  const StoringTime storing = Send(*component, options, report);
  if (component->IsSimulated()) return ExitCode::kDone;
  component.reset();  // which closes the port
  CompareWithWritten(written, ReadBack(storing, options), assignments, changes, report);
  report.Line("Written, and read back the same.");
  return ExitCode::kDone;
}

}  // namespace qmzentrel::program
