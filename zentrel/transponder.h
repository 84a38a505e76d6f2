// What a transponder holds, as the commands show it.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "zentrel/component.h"
#include "zentrel/record_fields.h"
#include "zentrel/report.h"

namespace qmzentrel::program {

/// Opens the port that was named and says so when the simulator stands for the box.
void OpenBox(Component& component, const Options& options, Report& report);

/// Reads the transponder into the component's record.
void ReadTransponder(Component& component, const Options& options, Report& report);

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
