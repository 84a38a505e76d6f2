#include <algorithm>
#include <array>

#include "device/port_control.h"
#include "interface/catalog_layout.h"
#include "simulator/simulator_switch.h"
#include "zentrel/component.h"
#include "zentrel/console.h"
#include "zentrel/doctor_checks.h"
#include "zentrel/ports.h"
#include "zentrel/supply.h"
#include "zentrel/system_program.h"

namespace qmzentrel::program {
namespace {

constexpr const char* kPort = "port";
constexpr const char* kSupply = "supply line";

std::string ListOfPorts(const std::vector<Port>& ports) {
  std::string names;
  for (const Port& port : ports) names += (names.empty() ? "" : ", ") + ShownName(port);
  return names;
}

// True when it can be opened.
bool CheckOpening(std::int32_t number, const std::string& others, Diagnoses& diagnoses) {
  const std::string name = PortName(number);
  const std::int32_t error = OpeningError(number);
  switch (error) {
    case 0:
      diagnoses.push_back({kPort, Grade::kOk, name + " is there and free", ""});
      return true;
    case platform::kPortMissing:
      diagnoses.push_back({kPort, Grade::kFault, "there is no " + name,
                           others.empty() ? "plug the adapter in" : "use one of: " + others});
      return false;
    case platform::kPortInUse:
      diagnoses.push_back({kPort, Grade::kFault, name + " is in use by another program",
                           "close the program that holds it"});
      return false;
    default:
      diagnoses.push_back({kPort, Grade::kFault,
                           name + " does not open as a serial port, error " + std::to_string(error),
                           "plug the adapter out and in, or use another port"});
      return false;
  }
}

std::string HowToConfigure(platform::ModemLines lines) {
  using namespace catalogs::supply_line;
  const std::string text = lines.dtr && lines.rts ? kBoth : lines.rts ? kRts : kDtr;
  return std::string("set the text ") + catalogs::value_name::kSupplyLine +
         " of HKEY_LOCAL_MACHINE\\" + catalogs::kBoxKey + " to " + text + " with " +
         SystemProgram("reg.exe");
}

Diagnosis DiagnoseAnswer(const std::string& port, platform::ModemLines feeding,
                         platform::ModemLines configured) {
  if (feeding == configured) {
    return {kSupply, Grade::kOk, "a box on " + port + " answers with " + LinesText(configured), ""};
  }
  return {kSupply, Grade::kFault,
          "the box on " + port + " answers with " + LinesText(feeding) +
              ", but the component raises " + LinesText(configured),
          HowToConfigure(feeding)};
}

void CheckSupply(const Options& options, Diagnoses& diagnoses) {
  const std::string name = PortName(options.port);
  const platform::ModemLines configured = ConfiguredSupplyLines();
  // The one that the component raises first: as a rule no other is needed.
  std::array<platform::ModemLines, 3> lines{
      {{.dtr = true}, {.rts = true}, {.dtr = true, .rts = true}}};
  std::stable_partition(lines.begin(), lines.end(),
                        [&](platform::ModemLines line) { return line == configured; });
  const std::string question = "Look for a box on " + name + "? This raises " +
                               LinesText(configured) +
                               " of the port and, where nothing answers, its other line, too.";
  if (!IsConfirmed(question, options)) {
    diagnoses.push_back({kSupply, Grade::kNote, "no box was looked for on " + name,
                         "answer y, or use --yes, to have its supply checked"});
    return;
  }
  const auto* const feeding = std::ranges::find_if(lines, [&](platform::ModemLines line) {
    const Waiting waiting("Asking a box on " + name + " with " + LinesText(line), options);
    return BoxAnswers(options.port, line);
  });
  if (feeding == lines.end()) {
    diagnoses.push_back({kSupply, Grade::kFault,
                         "no box answers on " + name + ", whatever line is raised",
                         "look at cable and battery"});
  } else {
    diagnoses.push_back(DiagnoseAnswer(name, *feeding, configured));
  }
}

}  // namespace

void CheckPorts(const Options& options, Diagnoses& diagnoses) {
  const std::string others = ListOfPorts(FindPorts());
  if (options.port == 0) {
    if (others.empty()) {
      diagnoses.push_back(
          {kPort, Grade::kWarning, "the system has no serial ports", "plug the adapter in"});
    } else {
      diagnoses.push_back(
          {kPort, Grade::kNote, "there are: " + others, "name one with --port to have it checked"});
    }
    return;
  }
  if (!CheckOpening(options.port, others, diagnoses)) return;
  if (simulator::SimulatorEnabled()) {
    diagnoses.push_back({kSupply, Grade::kNote, "no box was looked for: the simulator is on",
                         "switch it off first"});
    return;
  }
  CheckSupply(options, diagnoses);
}

}  // namespace qmzentrel::program
