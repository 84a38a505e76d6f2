#include "tools/virtual_box/control.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "tools/virtual_box/fault_command.h"

namespace qmzentrel::virtual_box {
namespace {

constexpr std::uint32_t kMaxWaitMilliseconds = 600000;
constexpr std::uint32_t kMaxFrames = 1000000;
constexpr std::string_view kWaitHelp =
    "wait-frames N MS       answer once N frames are in the log, error after MS ms";

ControlAnswer Ok(std::string text = {}) {
  return {true, std::move(text), {}, false};
}
ControlAnswer Error(std::string reason) {
  return {false, std::move(reason), {}, false};
}
ControlAnswer NoBox(const std::string& word) {
  return Error(word + " is for a box, and this is a tap: ask the box behind it");
}
ControlAnswer List(std::vector<std::string> lines) {
  return {true, {}, std::move(lines), true};
}

}  // namespace

struct Control::Command {
  std::string_view word;
  std::size_t min_words;  // the command itself included
  std::size_t max_words;
  std::string_view help;
  bool asks_box;
  ControlAnswer (Control::*run)(const Words& words, Time now);
};

const std::vector<Control::Command>& Control::Commands() {
  constexpr std::size_t kAny = 1000;
  constexpr bool kBox = true;
  constexpr bool kPort = false;
  static const std::vector<Command> commands = {
      {"help", 1, 1, "help                   this list", kPort, &Control::Help},
      {"set", 3, kAny, "set NAME VALUE ...     facts of box, transponder and manners", kBox,
       &Control::Set},
      {"get", 1, 2, "get [NAME|box|record|radio|manners]", kBox, &Control::Get},
      {"message", 2, kAny, "message ID [HEX...]    data of a sub-device message; its length counts",
       kBox, &Control::Message},
      {"test", 2, kAny, "test ID [LENGTH HEX..] sub-device test: bytes written, bytes of the reply",
       kBox, &Control::Test},
      {"faults", 1, 1, "faults                 the faults still to come", kBox, &Control::Faults},
      {"clear", 1, 1, "clear                  forget them", kBox, &Control::Clear},
      {"send", 2, kAny, "send HEX...            bytes that nobody asked for, now", kBox,
       &Control::Send},
      {"supply", 1, 2, "supply [dtr|rts|both|none]  which line feeds the box", kBox,
       &Control::Supply},
      {"lines", 1, 1, "lines                  how the modem lines have stood, with times", kPort,
       &Control::Lines},
      {"lines-clear", 1, 1, "lines-clear            forget that", kPort, &Control::LinesClear},
      {"state", 1, 1, "state                  plugged or not, supplied or not, port", kPort,
       &Control::State},
      {"port-settings", 1, 1, "port-settings          how the client set its port up", kPort,
       &Control::PortSettings},
      {"unplug", 1, 1, "unplug                 the port disappears", kPort, &Control::Unplug},
      {"plug", 1, 1, "plug                   the port is back", kPort, &Control::Plug},
      {"log", 1, 1, "log                    the frames since the last log-clear", kPort,
       &Control::Log},
      {"log-clear", 1, 1, "log-clear              empty the log", kPort, &Control::LogClear},
      {"now", 1, 1, "now                    the clock of the log, ms", kPort, &Control::Now},
      {"quit", 1, 1, "quit                   end the program", kPort, &Control::Quit},
  };
  return commands;
}

std::string ControlAnswer::Wire() const {
  std::string wire = ok ? "ok" : "error";
  if (is_list) {
    wire += " lines=" + std::to_string(lines.size());
  } else if (!text.empty()) {
    wire += ' ' + text;
  }
  wire += '\n';
  for (const std::string& line : lines) wire += line + '\n';
  return wire;
}

std::variant<ControlAnswer, FrameWait> Control::Execute(const std::string& line, Time now) {
  const Words words = SplitWords(line);
  if (words.empty()) return Error("empty command");
  if (IsFaultWord(words[0])) {
    if (model_ == nullptr) return NoBox(words[0]);
    std::string error;
    const auto command = ParseFault(line, error);
    if (!command) return Error(error);
    model_->faults.Add(command->fault, command->count);
    return Ok();
  }
  if (words[0] == "wait-frames") {
    const auto frames = words.size() == 3 ? ParseNumber(words[1], kMaxFrames) : std::nullopt;
    const auto wait =
        words.size() == 3 ? ParseNumber(words[2], kMaxWaitMilliseconds) : std::nullopt;
    if (!frames || !wait) return Error("usage: " + std::string(kWaitHelp));
    return FrameWait{*frames, now + std::chrono::milliseconds(*wait)};
  }
  const auto found = std::ranges::find(Commands(), words[0], &Command::word);
  if (found == Commands().end()) return Error("unknown command: " + words[0]);
  if (found->asks_box && model_ == nullptr) return NoBox(words[0]);
  if (words.size() < found->min_words || words.size() > found->max_words) {
    return Error("usage: " + std::string(found->help));
  }
  return (this->*found->run)(words, now);
}

ControlAnswer Control::Help(const Words&, Time) {
  std::vector<std::string> lines;
  for (const Command& command : Commands()) {
    if (model_ != nullptr || !command.asks_box) lines.emplace_back(command.help);
  }
  lines.emplace_back(kWaitHelp);
  if (model_ == nullptr) return List(std::move(lines));
  for (std::string& line : FaultHelp()) lines.push_back(std::move(line));
  lines.emplace_back("FAULT + FAULT          both befall the same command");
  return List(std::move(lines));
}

ControlAnswer Control::Set(const Words& words, Time) {
  if (words.size() % 2 == 0) return Error("a value is missing");
  // All or nothing: a test that misspells one name must not run with half of its record.
  Facts changed = model_->facts;
  for (std::size_t i = 1; i < words.size(); i += 2) {
    const FactField* field = FindFact(words[i]);
    if (field == nullptr) return Error("unknown name: " + words[i]);
    if (!SetFact(changed, *field, words[i + 1])) {
      return Error("not a value of " + words[i] + ": " + words[i + 1]);
    }
  }
  model_->facts = changed;
  return Ok();
}

// NOLINTNEXTLINE(readability-make-member-function-const): the table has one kind of entry.
ControlAnswer Control::Get(const Words& words, Time) {
  const std::string name = words.size() > 1 ? words[1] : "";
  constexpr std::pair<std::string_view, FactGroup> kGroups[] = {{"box", FactGroup::kBox},
                                                                {"record", FactGroup::kRecord},
                                                                {"radio", FactGroup::kRadio},
                                                                {"manners", FactGroup::kManners}};
  const auto* const group =
      std::ranges::find(kGroups, name, &std::pair<std::string_view, FactGroup>::first);
  if (!name.empty() && group == std::ranges::end(kGroups)) {
    const FactField* field = FindFact(name);
    return field != nullptr ? Ok(FactText(model_->facts, *field)) : Error("unknown name: " + name);
  }
  std::vector<std::string> lines;
  for (const FactField& field : FactFields()) {
    if (!name.empty() && field.group != group->second) continue;
    lines.push_back(std::string(field.name) + '=' + FactText(model_->facts, field));
  }
  return List(std::move(lines));
}

ControlAnswer Control::Message(const Words& words, Time) {
  const auto identifier = ParseNumber(words[1], 255);
  const auto data = ParseHexWords(words, 2);
  if (!identifier || !data) return Error("not a message");
  Bytes& stored = model_->sub_device.Message(static_cast<std::uint8_t>(*identifier));
  if (words.size() > 2) stored = *data;
  return Ok(HexText(stored));
}

ControlAnswer Control::Test(const Words& words, Time) {
  const auto identifier = ParseNumber(words[1], 255);
  const auto length = words.size() > 2 ? ParseNumber(words[2], kBoxBuffer) : 0;
  const auto reply = ParseHexWords(words, 3);
  if (!identifier || !length || !reply) return Error("not a test message");
  TestMessage& test = model_->sub_device.Test(static_cast<std::uint8_t>(*identifier));
  if (words.size() > 2) test = {*length, *reply, {}};
  return Ok("length=" + std::to_string(test.write_length) + " reply=" + HexText(test.reply) +
            " written=" + HexText(test.written));
}

// NOLINTNEXTLINE(readability-make-member-function-const): the table has one kind of entry.
ControlAnswer Control::Faults(const Words&, Time) {
  return List(model_->faults.Lines());
}

ControlAnswer Control::Clear(const Words&, Time) {
  model_->faults.Clear();
  return Ok();
}

ControlAnswer Control::Send(const Words& words, Time now) {
  const auto bytes = ParseHexWords(words, 1);
  if (!bytes) return Error("not bytes in hexadecimal");
  if (!host_.IsPlugged()) return Error("unplugged");
  return model_->SendUnasked(*bytes, now) ? Ok() : Error("the box is not ready");
}

ControlAnswer Control::Supply(const Words& words, Time now) {
  if (words.size() > 1) {
    const auto choice = ParseSupplyChoice(words[1]);
    if (!choice) return Error("not a supply: " + words[1]);
    if (*choice != SupplyChoice::kNone && !host_.HasLines()) {
      return Error("this port shows no modem lines");
    }
    supply_.Choose(*choice);
    model_->SetSupply(supply_.IsOn(), now);
  }
  return Ok(std::string(SupplyChoiceText(supply_.Choice())));
}

ControlAnswer Control::Lines(const Words&, Time) {
  std::vector<std::string> lines;
  for (LineChange change : supply_.History()) {
    change.time -= log_.Origin();
    lines.push_back(FormatLineChange(change));
  }
  return List(std::move(lines));
}

ControlAnswer Control::LinesClear(const Words&, Time) {
  supply_.ClearHistory();
  return Ok();
}

ControlAnswer Control::State(const Words&, Time) {
  return Ok(std::string(host_.IsPlugged() ? "plugged " : "unplugged ") + host_.Condition() +
            " port=" + host_.PortName());
}

ControlAnswer Control::PortSettings(const Words&, Time) {
  std::string settings = host_.PortSettings();
  return settings.empty() ? Error("not to be seen from here") : Ok(std::move(settings));
}

ControlAnswer Control::Unplug(const Words&, Time) {
  host_.Unplug();
  return Ok();
}

ControlAnswer Control::Plug(const Words&, Time) {
  const std::string reason = host_.Plug();
  return reason.empty() ? Ok("port=" + host_.PortName()) : Error(reason);
}

ControlAnswer Control::Log(const Words&, Time) {
  return List({log_.Lines().begin(), log_.Lines().end()});
}

ControlAnswer Control::LogClear(const Words&, Time) {
  log_.Clear();
  return Ok();
}

ControlAnswer Control::Now(const Words&, Time now) {
  return Ok(MillisecondsText(now - log_.Origin()));
}

ControlAnswer Control::Quit(const Words&, Time) {
  host_.Quit();
  return Ok();
}

}  // namespace qmzentrel::virtual_box
