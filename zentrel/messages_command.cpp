// messages: what the catalog has of sub-device messages, and what the sub-device answers.
#include <algorithm>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "interface/telic2_catalog.h"
#include "interface/telic2_frame.h"
#include "zentrel/commands.h"
#include "zentrel/console.h"
#include "zentrel/failure.h"
#include "zentrel/record_fields.h"
#include "zentrel/transponder.h"

namespace qmzentrel::program {
namespace {

struct Message {
  LONG identifier;
  std::string name;
  std::int64_t length;  ///< of its data; the catalog may have any number
};

std::vector<Message> AllMessages() {
  std::vector<Message> messages;
  telic2::Lengths lengths = telic2::MessageLengths();
  catalogs::MessageList("").Offer([&](std::int32_t number, const std::string& name) {
    const std::int64_t length = lengths(number);
    if (length != 0) messages.push_back({number, name, length});
  });
  if (messages.empty()) {
    throw Failure(ExitCode::kRefused, "the catalog has no sub-device messages",
                  "import a catalog; zentrel doctor says what is there");
  }
  return messages;
}

std::vector<Message> NamedMessages(const std::vector<std::string>& words) {
  std::vector<Message> messages;
  telic2::Lengths lengths = telic2::MessageLengths();
  for (const std::string& word : words) {
    LONG identifier = 0;
    if (!ParseNumber(word, identifier)) {
      throw Failure(ExitCode::kCommandLine, "\"" + word + "\" is no number of a message",
                    "see zentrel messages --list");
    }
    const std::int64_t length = lengths(identifier);
    if (length == 0) {
      throw Failure(ExitCode::kRefused, "the catalog does not know message " + word,
                    "see zentrel messages --list");
    }
    messages.push_back(
        {identifier, catalogs::ReadName(catalogs::kMessagesKey, identifier, "Invalid"), length});
  }
  return messages;
}

std::int64_t LengthInFrame(const Message& message) {
  return 1 + message.length;  // with its identifier
}

void RequireFramesThatCarryThem(const std::vector<Message>& messages) {
  for (const Message& message : messages) {
    if (telic2::kHeaderLength + LengthInFrame(message) <= telic2::kLongestFrame) continue;
    throw Failure(ExitCode::kRefused,
                  "by the catalog message " + std::to_string(message.identifier) + " has " +
                      std::to_string(message.length) + " bytes, which no frame carries",
                  "mend its length in the catalog, or name other messages");
  }
}

// In as few frames as hold them, in their order.
std::vector<LONG> ReadAll(Component& component, const std::vector<Message>& messages) {
  std::vector<LONG> data;
  std::vector<LONG> frame;
  std::int64_t frame_length = telic2::kHeaderLength;
  const auto read_frame = [&] {
    if (frame.empty()) return;
    const std::vector<LONG> answers = component.ReadMessages(frame);
    data.insert(data.end(), answers.begin(), answers.end());
    frame.clear();
    frame_length = telic2::kHeaderLength;
  };
  for (const Message& message : messages) {
    if (frame_length + LengthInFrame(message) > telic2::kLongestFrame) read_frame();
    frame.push_back(message.identifier);
    frame_length += LengthInFrame(message);
  }
  read_frame();
  return data;
}

Json Entry(const Message& message) {
  return {{"id", message.identifier}, {"name", message.name}, {"length", message.length}};
}

std::string Label(const Message& message) {
  return (message.identifier < 10 ? " " : "") + std::to_string(message.identifier) + "  " +
         message.name;
}

constexpr std::size_t kLabelWidth = 36;

}  // namespace

ExitCode Messages(const Options& options, Report& report) {
  if (!options.list) NamedPort(options);
  const std::vector<Message> messages =
      options.words.empty() ? AllMessages() : NamedMessages(options.words);
  Json entries = Json::array();
  std::vector<LONG> data;
  if (!options.list) {
    RequireFramesThatCarryThem(messages);
    Component component;
    OpenBox(component, options, report, Simulated::kAnswersItself);
    const Waiting waiting("Reading sub-device messages", options);
    data = ReadAll(component, messages);
    report.Line("Sub-device messages at the box on " + PortName(options.port));
  } else {
    report.Line("Sub-device messages of the catalog, with their lengths in bytes");
  }
  for (std::size_t i = 0; i < messages.size(); ++i) {
    Json entry = Entry(messages[i]);
    std::string line = "  " + Label(messages[i]);
    line.resize(std::max(line.size() + 1, kLabelWidth), ' ');
    if (!options.list) entry["data"] = data[i];
    report.Line(line + std::to_string(options.list ? messages[i].length : data[i]));
    entries.push_back(entry);
  }
  report.Document()["messages"] = entries;
  return ExitCode::kDone;
}

}  // namespace qmzentrel::program
