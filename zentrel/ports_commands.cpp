// The commands that are about ports: ports, probe.
#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "device/port_control.h"
#include "simulator/simulator_switch.h"
#include "zentrel/commands.h"
#include "zentrel/component.h"
#include "zentrel/console.h"
#include "zentrel/failure.h"
#include "zentrel/ports.h"
#include "zentrel/supply.h"

namespace qmzentrel::program {
namespace {

Json Entry(const Port& port) {
  return {{"port", PortName(port.number)}, {"number", port.number}, {"name", port.friendly_name}};
}

std::vector<Port> PortsToProbe(const Options& options) {
  std::vector<Port> ports = FindPorts();
  if (options.port == 0) return ports;
  std::erase_if(ports, [&](const Port& port) { return port.number != options.port; });
  // One that nothing tells of may be there all the same.
  if (ports.empty()) ports.push_back({options.port, ""});
  return ports;
}

std::string Question(const std::vector<Port>& ports) {
  std::string names;
  for (const Port& port : ports) names += (names.empty() ? "" : ", ") + ShownName(port);
  return "This raises " + LinesText(ConfiguredSupplyLines()) + " of " + names +
         ", whatever is connected there. Go on?";
}

// What one port has to say, in words for the document and for people.
struct Finding {
  std::string outcome;
  std::string text;
};

Finding Describe(::ZentrelStatus status, const Component& component) {
  switch (status) {
    case S_OKAY:
      return {"box", "a box, version " + component.Get(&_Zentrel::get_ZentrelVersion)};
    case S_TIMEOUT:
      return {"silent", "nothing answers"};
    case S_BAD_PORT:
      return {"closed", "cannot be opened: missing, busy or no port"};
    default:
      return {"other", "something answers, but not as a box does"};
  }
}

}  // namespace

ExitCode Ports(const Options&, Report& report) {
  Json entries = Json::array();
  for (const Port& port : FindPorts()) {
    std::string line = PortName(port.number);
    line.resize(std::max<std::size_t>(line.size() + 1, 8), ' ');
    report.Line(line + (port.friendly_name.empty() ? "(no name)" : port.friendly_name));
    entries.push_back(Entry(port));
  }
  if (entries.empty()) report.Line("The system has no serial ports; plug the adapter in.");
  report.Document()["ports"] = entries;
  return ExitCode::kDone;
}

ExitCode Probe(const Options& options, Report& report) {
  if (simulator::SimulatorEnabled()) {
    throw Failure(ExitCode::kRefused,
                  "the simulator is switched on, so that no port would be asked",
                  "switch it off (zentrel doctor says how) and probe again");
  }
  const std::vector<Port> ports = PortsToProbe(options);
  if (ports.empty()) {
    throw Failure(ExitCode::kPort, "the system has no serial ports",
                  "plug the adapter in, or name its port with --port");
  }
  const std::string question = Question(ports);
  if (options.yes) report.Line(question.substr(0, question.rfind(" Go on?")));
  Confirm(question, options);
  Json entries = Json::array();
  bool found = false;
  for (const Port& port : ports) {
    Finding finding;
    Component component;
    {
      const Waiting waiting("Asking " + PortName(port.number), options);
      finding = Describe(component.TryToOpen(port.number), component);
    }
    report.Line(ShownName(port) + ": " + finding.text);
    Json entry = Entry(port);
    entry["outcome"] = finding.outcome;
    if (finding.outcome == "box") {
      found = true;
      entry["version"] = component.Get(&_Zentrel::get_ZentrelVersion);
    }
    entries.push_back(entry);
  }
  report.Document()["ports"] = entries;
  if (found) return ExitCode::kDone;
  throw Failure(ExitCode::kNoAnswer, "no box answers on any of these ports",
                "look at cable and battery, then run zentrel doctor --port with the box's port");
}

}  // namespace qmzentrel::program
