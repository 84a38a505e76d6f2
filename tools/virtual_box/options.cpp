#include "tools/virtual_box/options.h"

#include <algorithm>
#include <string_view>

namespace qmzentrel::virtual_box {
namespace {

#ifdef _WIN32
constexpr bool kWindows = true;
#else
constexpr bool kWindows = false;
#endif

struct Parsed {
  Options options;
  bool supply_given = false;
};

struct Option {
  std::string_view name;
  std::string_view value;  // how the help calls it; empty: the option takes none
  std::string_view help;
  // False when the value is no value of this option.
  bool (*take)(Parsed&, const std::string& value);
};

bool TakeControlPort(Parsed& parsed, const std::string& value) {
  const auto port = ParseNumber(value, 0xFFFF);
  if (port) parsed.options.control_port = static_cast<std::uint16_t>(*port);
  return port.has_value();
}

bool TakeSupply(Parsed& parsed, const std::string& value) {
  const auto choice = ParseSupplyChoice(value);
  if (choice) parsed.options.supply = *choice;
  parsed.supply_given = true;
  return choice.has_value();
}

bool AddCommand(Parsed& parsed, std::string command) {
  parsed.options.commands.push_back(std::move(command));
  return true;
}

bool TakeSetting(Parsed& parsed, const std::string& value) {
  const std::size_t equals = value.find('=');
  if (equals == std::string::npos) return false;
  return AddCommand(parsed, "set " + value.substr(0, equals) + ' ' + value.substr(equals + 1));
}

template <std::string Options::*kMember>
bool TakeText(Parsed& parsed, const std::string& value) {
  parsed.options.*kMember = value;
  return !value.empty();
}

template <std::string PortOptions::*kMember>
bool TakePortText(Parsed& parsed, const std::string& value) {
  parsed.options.port.*kMember = value;
  return !value.empty();
}

const std::vector<Option>& AllOptions() {
  static const std::vector<Option> options = {
#ifdef _WIN32
      {"--port", "COMn", "the COM port of the box's end of a null-modem pair",
       TakePortText<&PortOptions::com_name>},
#else
      {"--link", "PATH", "a symbolic link to the pseudo-terminal, there while plugged",
       TakePortText<&PortOptions::link>},
      {"--lines", "DIR", "modem lines: folder of the files that the modem_lines library writes",
       TakePortText<&PortOptions::lines_dir>},
#endif
      {"--tap", "PORT", "no box but a tap: all goes on to the box behind this port, and is logged",
       TakeText<&Options::tap>},
      {"--supply", "LINE", "dtr, rts, both or none: the line that feeds the box", TakeSupply},
      {"--startup-ms", "N", "silent for so long after the supply has come on (2000)",
       [](Parsed& p, const std::string& v) { return AddCommand(p, "set startup-ms " + v); }},
      {"--pace", "on|off", "bytes take their time at 9600 baud, or go at once",
       [](Parsed& p, const std::string& v) {
         return (v == "on" || v == "off") && AddCommand(p, v == "on" ? "set pace 1" : "set pace 0");
       }},
      {"--set", "NAME=VALUE", "a fact of box or transponder; the names are those of `get`",
       TakeSetting},
      {"--do", "COMMAND", "a control command to begin with, such as \"silence 2\"",
       [](Parsed& p, const std::string& v) { return AddCommand(p, v); }},
      {"--control", "PORT", "control channel on 127.0.0.1; 0 lets the system choose the port",
       TakeControlPort},
      {"--control-file", "PATH", "where to write the number of that port",
       TakeText<&Options::control_file>},
      {"--log", "FILE", "write every frame to a file", TakeText<&Options::log_file>},
      {"--trace", "", "write every frame to standard output",
       [](Parsed& p, const std::string&) { return p.options.trace = true; }},
      {"--help", "", "this text",
       [](Parsed& p, const std::string&) { return p.options.help = true; }},
  };
  return options;
}

std::string Check(Parsed& parsed) {
  Options& options = parsed.options;
  if (options.help) return {};
  if (kWindows && options.port.com_name.empty()) return "--port is missing";
  if (!options.tap.empty() && parsed.supply_given)
    return "--supply is for a box, and not for --tap";
  // A COM port takes its own time for the bytes.
  if (kWindows && options.tap.empty()) {
    options.commands.insert(options.commands.begin(), "set pace 0");
  }
  if (!kWindows) {
    const bool has_lines = !options.port.lines_dir.empty();
    if (options.supply != SupplyChoice::kNone && !has_lines) {
      return "--supply needs the modem lines of --lines";
    }
    if (has_lines && !parsed.supply_given && options.tap.empty())
      options.supply = SupplyChoice::kDtr;
  }
  if (!options.control_file.empty() && !options.control_port) {
    return "--control-file needs --control";
  }
  return {};
}

}  // namespace

std::optional<Options> ParseOptions(const std::vector<std::string>& arguments, std::string& error) {
  Parsed parsed;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    const auto found = std::ranges::find(AllOptions(), argument, &Option::name);
    if (found == AllOptions().end()) {
      error = "unknown option: " + argument;
      return std::nullopt;
    }
    std::string value;
    if (!found->value.empty()) {
      if (++i == arguments.size()) {
        error = argument + " needs a value";
        return std::nullopt;
      }
      value = arguments[i];
    }
    if (!found->take(parsed, value)) {
      error = "not a value of ";
      error.append(argument).append(": ").append(value);
      return std::nullopt;
    }
  }
  error = Check(parsed);
  if (!error.empty()) return std::nullopt;
  return parsed.options;
}

std::string HelpText() {
  std::string text =
      "virtual_box: plays a Zentrel box with a transponder on a serial port.\n"
      "With --tap it listens between a client and a box instead.\n"
      "\n"
      "usage: virtual_box [options]\n";
  for (const Option& option : AllOptions()) {
    std::string line = "  " + std::string(option.name) + ' ' + std::string(option.value);
    line.resize(std::max<std::size_t>(line.size() + 1, 26), ' ');
    text += line + std::string(option.help) + '\n';
  }
  text +=
      "\n"
      "When it is ready it prints one line: \"ready port=NAME control=PORT\". It ends on an\n"
      "interrupt or on the control command \"quit\". The control command \"help\" lists the "
      "others.\n";
  return text;
}

}  // namespace qmzentrel::virtual_box
