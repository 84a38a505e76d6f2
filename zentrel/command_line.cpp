#include "zentrel/command_line.h"

#include <CLI/CLI.hpp>
#include <cctype>
#include <charconv>
#include <sstream>

#include "support/component_version.h"
#include "zentrel/failure.h"

namespace qmzentrel::program {
namespace {

// More than any system hands out.
constexpr std::int32_t kLastPort = 9999;

struct CommandRow {
  const char* name;
  Command command;
  const char* description;
};

constexpr CommandRow kCommands[] = {
    {"ports", Ports, "List the serial ports with their friendly names; opens none"},
    {"probe", Probe, "Look for boxes on all ports, or on the one that is named; asks first"},
    {"info", Info, "Ask the box for its version, kind and battery"},
    {"read", Read, "Read the transponder in reach of the box"},
    {"write", Write, "Change values of the transponder: old and new are shown, and asked about"},
    {"reset", Reset, "Reset the transponder; asks first"},
    {"radio", Radio, "Read the radio settings of the transponder"},
    {"messages", Messages, "Read the messages of the sub-device, all or those that are named"},
    {"watch", Watch, "Show the step lines of every program that uses the component"},
    {"doctor", Doctor, "Look for what keeps the component from working, with the next step"},
};

std::string ExitCodeLines() {
  std::ostringstream lines;
  lines << "Exit codes:\n";
  for (const ExitCodeMeaning& row : kExitCodes) {
    lines << "  " << std::setw(2) << static_cast<int>(row.code) << "  " << row.meaning << '\n';
  }
  return lines.str();
}

// "7" or "COM7".
std::int32_t PortNumber(const std::string& text) {
  std::string_view digits = text;
  if (digits.size() > 3 && CLI::detail::to_lower(text.substr(0, 3)) == "com") {
    digits.remove_prefix(3);
  }
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc() || end != digits.data() + digits.size() || number < 1 ||
      number > kLastPort) {
    throw CLI::ValidationError("--port", "\"" + text + "\" is no port; name it as 7 or COM7");
  }
  return number;
}

void AddCommandOptions(const std::string& name, CLI::App& command, Options& options) {
  if (name == "write") {
    command.add_option("values", options.words, "Properties as the component names them")
        ->type_name("NAME=VALUE")
        ->required();
  } else if (name == "messages") {
    command.add_option("identifiers", options.words, "Numbers of messages; all when none is named")
        ->type_name("ID");
    command.add_flag("--list", options.list, "Show what the catalog has, without asking the box");
  } else if (name == "watch") {
    command.add_flag("--all", options.all, "Show every debugger line, not only the component's");
    command.add_option("--seconds", options.seconds, "End after that time")
        ->check(CLI::PositiveNumber);
    command.add_option("--lines", options.lines, "End after that many lines")
        ->check(CLI::PositiveNumber);
  } else if (name == "doctor") {
    command
        .add_option("--caller", options.caller, "A program that is to use the component: can it?")
        ->type_name("FILE");
  }
}

// Help and version are texts, everything else a wrong command line.
std::string TextOf(const CLI::App& app, const CLI::ParseError& stopped) {
  std::ostringstream text;
  std::ostringstream wrong;
  const int code = app.exit(stopped, text, wrong);
  if (code == static_cast<int>(CLI::ExitCodes::Success)) return text.str();
  std::string problem = stopped.what();
  if (const std::size_t end = problem.find_last_not_of(".\r\n "); end != std::string::npos) {
    problem.resize(end + 1);
  }
  // One sentence, which begins with the program's name.
  problem.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(problem.front())));
  throw Failure(ExitCode::kCommandLine, problem, "see zentrel --help");
}

}  // namespace

Invocation ParseCommandLine(const std::vector<std::string>& arguments) {
  Invocation invocation;
  Options& options = invocation.options;
  CLI::App app("Works with a Zentrel box through the component QmZentrel.", "zentrel");
  app.footer("Each command has its own help: zentrel read --help\n\n" + ExitCodeLines());
  app.require_subcommand(1);
  app.fallthrough();
  app.set_version_flag("--version", std::string("zentrel ") + kComponentVersion);
  app.add_flag("--json", options.json, "Print one JSON document, also on failure");
  app.add_option_function<std::string>(
         "--port", [&options](const std::string& text) { options.port = PortNumber(text); },
         "The box's serial port: 7 or COM7")
      ->type_name("PORT");
  app.add_flag("--yes", options.yes, "Do not ask: the answer is yes");
  app.add_flag("--progress", options.progress,
               "Show the time that a call takes also where the error output is no console");
  for (const CommandRow& row : kCommands) {
    CLI::App* const command = app.add_subcommand(row.name, row.description);
    AddCommandOptions(row.name, *command, options);
    command->footer("Options of all commands, such as --port and --json: zentrel --help");
    command->callback([&invocation, &row] {
      invocation.name = row.name;
      invocation.command = row.command;
    });
  }
  try {
    app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  } catch (const CLI::ParseError& stopped) {
    invocation.command = nullptr;
    invocation.text = TextOf(app, stopped);
  }
  return invocation;
}

}  // namespace qmzentrel::program
