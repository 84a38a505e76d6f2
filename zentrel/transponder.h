// What a transponder holds, as the commands show it.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "interface/transponder_record.h"
#include "zentrel/component.h"
#include "zentrel/record_fields.h"
#include "zentrel/report.h"

namespace qmzentrel::program {

/// What the simulator does for a command: some need nobody.
enum class Simulated { kAnswersItself, kAsksInDialog };

/// Opens the port that was named and says so when the simulator stands for the box.
void OpenBox(Component& component, const Options& options, Report& report, Simulated simulated);

/// Reads the transponder at the opened box into the component's record; Failure, too, when only its
/// radio settings have answered.
void ReadRecord(Component& component);

/// Both, one after the other.
void ReadTransponder(Component& component, const Options& options, Report& report);

/// Of the component's record what tells the parts of a transponder: its version, and what has to do
/// with the leak flag.
TransponderRecord RecordOf(const Component& component);

/// Whether the transponder that was read carries radio settings.
bool HasRadio(const Component& component);

/// Name and value of each field of a part.
using Values = std::vector<std::pair<const RecordField*, LONG>>;
Values ValuesOf(const Component& component, Part part);

/// Lines for people, and a member of the document with the same.
void ShowValues(const Values& values, const std::string& member, Report& report);

/// "  Util            42  (a remark)"
std::string ValueLine(const std::string& name, const std::string& value,
                      const std::string& remark = "");

}  // namespace qmzentrel::program
