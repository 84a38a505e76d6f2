#include "zentrel/transponder.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "interface/version_text.h"
#include "zentrel/console.h"
#include "zentrel/failure.h"

namespace qmzentrel::program {
namespace {

constexpr std::size_t kNameWidth = 16;

}  // namespace

void OpenBox(Component& component, const Options& options, Report& report, Simulated simulated) {
  component.Open(options);
  report.Document()["port"] = options.port;
  report.Document()["simulator"] = component.IsSimulated();
  if (!component.IsSimulated()) return;
  report.Say(std::string("The simulator is switched on: no port is used") +
             (simulated == Simulated::kAsksInDialog
                  ? ", and its dialog on the screen asks you to play the box."
                  : "."));
}

void ReadRecord(Component& component) {
  component.Run(&_Zentrel::ReadXpdr, Answerer::kTransponder);
  // The component clears what it does not get, and goes on. Zeros must not pass for a record.
  if (component.IsSimulated() || component.Get(&_Zentrel::get_TravonelVersion) != VersionText(0)) {
    return;
  }
  throw Failure(ExitCode::kDisturbed, "the transponder has answered with its radio settings only",
                "hold the box nearer to the meter and try again");
}

void ReadTransponder(Component& component, const Options& options, Report& report) {
  OpenBox(component, options, report, Simulated::kAsksInDialog);
  const Waiting waiting("Reading the transponder", options);
  ReadRecord(component);
}

TransponderRecord RecordOf(const Component& component) {
  TransponderRecord record;
  record.m_strXpdrVersion = component.Get(&_Zentrel::get_TravonelVersion);
  record.m_lngTamperCount = component.Get(&_Zentrel::get_Tamper);
  record.m_blnMIFSelect = component.Get(&_Zentrel::get_MIFSelect);
  record.radio.m_blnHasLeak = component.Get(&_Zentrel::get_HasLeak);
  return record;
}

bool HasRadio(const Component& component) {
  return RecordOf(component).HasBlock2();
}

Values ValuesOf(const Component& component, Part part) {
  Values values;
  for (const RecordField& field : RecordFields()) {
    if (field.part == part) values.emplace_back(&field, Get(component, field));
  }
  return values;
}

void ShowValues(const Values& values, const std::string& member, Report& report) {
  Json& shown = report.Document()[member];
  for (const auto& [field, value] : values) {
    report.Line(ValueLine(field->name, ValueText(*field, value)));
    if (field->IsFlag()) {
      shown[field->name] = value != 0;
    } else {
      shown[field->name] = value;
    }
  }
}

std::string ValueLine(const std::string& name, const std::string& value,
                      const std::string& remark) {
  std::string line = "  " + name;
  line.resize(std::max(line.size() + 1, kNameWidth + 2), ' ');
  line += value;
  if (!remark.empty()) line += "  (" + remark + ")";
  return line;
}

}  // namespace qmzentrel::program
