// The commands that ask a box or its transponder and change nothing that was not asked for: info,
// read, radio, reset.
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "interface/box_facts.h"
#include "interface/catalogs.h"
#include "interface/enumerations.h"
#include "support/registry_values.h"
#include "zentrel/commands.h"
#include "zentrel/console.h"
#include "zentrel/transponder.h"

namespace qmzentrel::program {
namespace {

std::string KindOf(LONG signature) {
  if (signature == kElectricSignature) return "electric";
  if (signature == kShortSupplySignature) return "short supply";
  return "other";
}

std::string HexByte(LONG byte) {
  char text[8];
  std::snprintf(text, sizeof text, "0x%02lX", static_cast<unsigned long>(byte));
  return text;
}

std::string Volts(float volts) {
  char text[32];
  std::snprintf(text, sizeof text, "%.2f V", static_cast<double>(volts));
  return text;
}

void ShowBox(const Component& component, Report& report) {
  const std::string version = component.Get(&_Zentrel::get_ZentrelVersion);
  const LONG kind = component.Signature(0);
  const LONG mode = component.Signature(1);
  const float volts = component.BatteryVoltage();
  report.Line(ValueLine("Version", version));
  report.Line(ValueLine("Signature", HexByte(kind) + " " + HexByte(mode), KindOf(kind)));
  report.Line(ValueLine("Battery", Volts(volts)));
  report.Document()["box"] = {{"version", version},
                              {"signature", {kind, mode}},
                              {"kind", KindOf(kind)},
                              {"battery", std::round(volts * 100.0) / 100.0}};
}

// From the catalog itself: the component's own properties fail where it has no place for a number.
std::string InterfaceName(LONG interface_value) {
  return catalogs::ReadName(catalogs::kInterfacesKey, interface_value & MIF_MASK_TYPE, "");
}
std::string IntervalName(LONG interval) {
  return registry::Text({platform::kLocalMachine, catalogs::kIntervalsKey},
                        std::to_string(interval), "");
}

void ShowNames(const Component& component, Report& report) {
  Json& names = report.Document()["names"];
  const auto show = [&](const char* property, const std::string& name) {
    report.Line(ValueLine(property, name.empty() ? "not in the catalog" : name));
    names[property] = name;
  };
  show("MIFName", InterfaceName(component.Get(&_Zentrel::get_DeviceMIF)));
  show("TXIName", IntervalName(component.Get(&_Zentrel::get_TXI)));
  show("PLLWarmUpName", component.Get(&_Zentrel::get_PLLWarmUpName));
}

void ShowVersion(const Component& component, Report& report) {
  const std::string version = component.Get(&_Zentrel::get_TravonelVersion);
  report.Line(ValueLine("Version", version));
  report.Document()["version"] = version;
}

// Null in the document where the transponder has none.
void ShowRadio(const Component& component, Report& report) {
  if (HasRadio(component)) {
    ShowValues(ValuesOf(component, Part::kRadio), "radio", report);
    return;
  }
  report.Line("  no radio settings: transponders of this version carry none");
  report.Document()["radio"] = nullptr;
}

}  // namespace

ExitCode Info(const Options& options, Report& report) {
  NamedPort(options);
  Component component;
  OpenBox(component, options, report, Simulated::kAnswersItself);
  if (component.IsSimulated()) {
    report.Line("There is no box to tell its facts; those that the dialog shows come with a read.");
    report.Document()["box"] = nullptr;
    return ExitCode::kDone;
  }
  report.Line("Box on " + PortName(options.port));
  ShowBox(component, report);
  return ExitCode::kDone;
}

ExitCode Read(const Options& options, Report& report) {
  NamedPort(options);
  Component component;
  ReadTransponder(component, options, report);
  report.Line("Transponder at the box on " + PortName(options.port));
  ShowVersion(component, report);
  ShowValues(ValuesOf(component, Part::kRecord), "record", report);
  ShowNames(component, report);
  ShowRadio(component, report);
  report.Line("Box");
  ShowBox(component, report);
  return ExitCode::kDone;
}

ExitCode Radio(const Options& options, Report& report) {
  NamedPort(options);
  Component component;
  ReadTransponder(component, options, report);
  report.Line("Radio settings of the transponder at the box on " + PortName(options.port));
  ShowVersion(component, report);
  ShowRadio(component, report);
  return ExitCode::kDone;
}

ExitCode Reset(const Options& options, Report& report) {
  const std::string port = PortName(NamedPort(options));
  Confirm("Reset the transponder at the box on " + port + "?", options);
  Component component;
  OpenBox(component, options, report, Simulated::kAsksInDialog);
  {
    const Waiting waiting("Resetting the transponder", options);
    component.Run(&_Zentrel::ResetXpdr, Answerer::kTransponder);
  }
  report.Line("The transponder at the box on " + port + " has been reset.");
  return ExitCode::kDone;
}

}  // namespace qmzentrel::program
