#include "zentrel/transponder.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "interface/transponder_record.h"
#include "zentrel/console.h"

namespace qmzentrel::program {
namespace {

constexpr std::size_t kNameWidth = 16;

}  // namespace

void OpenBox(Component& component, const Options& options, Report& report) {
  component.Open(options);
  report.Document()["port"] = options.port;
  report.Document()["simulator"] = component.IsSimulated();
  if (component.IsSimulated()) {
    report.Say(
        "The simulator is switched on: no port is used, and its dialog on the screen asks you to "
        "play the box.");
  }
}

void ReadTransponder(Component& component, const Options& options, Report& report) {
  OpenBox(component, options, report);
  const Waiting waiting("Reading the transponder", options);
  component.Run(&_Zentrel::ReadXpdr, Answerer::kTransponder);
}

bool HasRadio(const Component& component) {
  TransponderRecord record;
  record.m_strXpdrVersion = component.Get(&_Zentrel::get_TravonelVersion);
  return record.HasBlock2();
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
