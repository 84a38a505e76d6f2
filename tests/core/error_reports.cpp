#include "tests/core/error_reports.h"

#include <gtest/gtest.h>

#include <string_view>

#include "tests/fakes/fake_world.h"

namespace qmzentrel::tests {
namespace {

// What stands between the tags of a section.
std::string Section(const std::string& variables, const std::string& name) {
  const std::string begin = "<" + name + ">\r\n";
  const std::string end = "</" + name + ">";
  const std::size_t from = variables.find(begin);
  const std::size_t to = variables.rfind(end);
  if (from == std::string::npos || to == std::string::npos) {
    ADD_FAILURE() << "no section " << name << " in " << variables;
    return "";
  }
  return variables.substr(from + begin.size(), to - from - begin.size());
}

ErrorReport FromArguments(const fakes::FakeObject::Arguments& arguments) {
  EXPECT_EQ(arguments.size(), 10U);
  const auto text = [&](std::size_t place) { return std::get<std::string>(arguments.at(place)); };
  const auto number = [&](std::size_t place) {
    return std::get<std::int32_t>(arguments.at(place));
  };
  ErrorReport report;
  report.component = text(0);
  report.version = text(1);
  report.component_id = number(2);
  report.ErrorNumber = number(3);
  report.ErrorDescription = text(4);
  report.ErrorLine = number(5);
  report.ErrorSource = text(6);
  report.module = text(7);
  report.procedure = text(8);
  report.variables = text(9);
  if (report.variables.empty()) return report;  // there was no memory for them
  report.local_variables = Section(report.variables, "LocalVariables");
  report.module_variables = Section(report.variables, "ModuleVariables");
  report.global_variables = Section(report.variables, "GlobalVariables");
  report.parameters = Section(report.variables, "Parameters");
  return report;
}

}  // namespace

ErrorHandler::ErrorHandler() {
  object.type_name = "Error";
  object.methods["ErrorHandler"] = [this](const auto& arguments) {
    reports.push_back(FromArguments(arguments));
    return 0;
  };
  object.gets["Action"] = [](const auto&) { return std::string("Continue"); };
  fakes::TheWorld().classes[kErrorHandlerClass] = [this] {
    ++created;
    return platform::HeldObject(platform::HeldObject(), &object);
  };
}

}  // namespace qmzentrel::tests
