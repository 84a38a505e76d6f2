#include "tools/virtual_box/frame_text.h"

#include <string_view>

#include "tools/virtual_box/facts.h"
#include "tools/virtual_box/message_split.h"
#include "tools/virtual_box/record_frame.h"

namespace qmzentrel::virtual_box {
namespace {

constexpr std::string_view kVersionName[] = {"version"};
constexpr std::string_view kMifName[] = {"mif"};
constexpr std::string_view kBoxNames[] = {"box-version", "battery", "signature0", "signature1"};
constexpr std::string_view kBlock1Names[] = {"mif",     "util", "id",  "tamper",
                                             "reading", "pll",  "txi", "msi"};
constexpr std::string_view kBlock2Names[] = {"freq-msb", "freq-mid", "freq-lsb", "br-msb",
                                             "br-lsb",   "pa",       "eol",      "leak-threshold"};

std::string Listed(const Facts& facts, std::span<const std::string_view> names) {
  std::string text;
  for (const std::string_view name : names) {
    text += ' ' + std::string(name) + '=' + FactText(facts, *FindFact(name));
  }
  return text;
}

std::string BoxText(std::span<const std::uint8_t> bytes) {
  Facts facts;
  facts.box_version = bytes[0];
  facts.battery = bytes[1];
  facts.signature0 = bytes[2];
  facts.signature1 = bytes[3];
  return Listed(facts, kBoxNames);
}

std::string Block1Text(std::span<const std::uint8_t> bytes) {
  Facts facts;
  TakeBlock1(bytes, facts);
  return Listed(facts, kBlock1Names);
}

std::string Block2Text(std::span<const std::uint8_t> bytes) {
  Facts facts;
  TakeBlock2(bytes, facts);
  return Listed(facts, kBlock2Names);
}

std::string VersionText(std::uint8_t byte) {
  Facts facts;
  facts.version = byte;
  return Listed(facts, kVersionName);
}

std::string MifText(std::uint8_t byte) {
  Facts facts;
  facts.mif = byte;
  return Listed(facts, kMifName);
}

std::string BytesText(std::span<const std::uint8_t> bytes) {
  return HexText({bytes.begin(), bytes.end()});
}

// How long the data of a message are, only the catalogs of box and client know; the first message
// always shows itself.
std::string MessagesText(std::span<const std::uint8_t> content) {
  if (content.empty()) return " no message";
  std::string text = " message " + std::to_string(content[0]);
  if (content.size() > 1) text += " and behind it " + BytesText(content.subspan(1));
  return text;
}

std::string IdentifiersText(std::span<const std::uint8_t> identifiers) {
  if (identifiers.empty()) return " no message";
  std::string text = identifiers.size() > 1 ? " messages" : " message";
  for (const std::uint8_t identifier : identifiers) text += ' ' + std::to_string(identifier);
  return text;
}

std::string ReadMessagesText(std::span<const std::uint8_t> identifiers,
                             std::span<const std::uint8_t> content) {
  const auto places = SplitMessages(identifiers, content);
  if (!places) return MessagesText(content);
  std::string text;
  for (std::size_t i = 0; i < places->size(); ++i) {
    const std::size_t data = (*places)[i] + 1;
    const std::size_t end = i + 1 < places->size() ? (*places)[i + 1] : content.size();
    text += text.empty() ? " message " : ", message ";
    text += std::to_string(identifiers[i]) + '=' + BytesText(content.subspan(data, end - data));
  }
  return text;
}

std::string CommandContent(const CommandFrame& command) {
  const std::span bytes(command.bytes);
  switch (command.kind) {
    case CommandKind::kWriteBlock1:
      return Block1Text(bytes);
    case CommandKind::kWriteBlock2:
      return MifText(bytes[0]) + Block2Text(bytes);
    case CommandKind::kSubDeviceRead:
      return IdentifiersText(bytes.subspan(kSubDeviceHeader));
    case CommandKind::kSubDeviceWrite:
    case CommandKind::kSubDeviceTest:
      return MessagesText(bytes.subspan(kSubDeviceHeader));
    default:
      return {};
  }
}

std::string ReplyContent(const CommandFrame& command, std::span<const std::uint8_t> reply) {
  switch (command.kind) {
    case CommandKind::kBoxStatus:
      return BoxText(reply);
    case CommandKind::kReadBlock1:
    case CommandKind::kReset:
    case CommandKind::kWriteBlock1:
      return Block1Text(reply) + VersionText(reply[11]) + BoxText(reply.subspan(12));
    case CommandKind::kReadBlock2:
    case CommandKind::kWriteBlock2:
      return Block2Text(reply);
    case CommandKind::kSubDeviceRead:
      return ReadMessagesText(std::span(command.bytes).subspan(kSubDeviceHeader),
                              reply.subspan(kSubDeviceHeader));
    case CommandKind::kSubDeviceWrite:
    case CommandKind::kSubDeviceTest:
      return MessagesText(reply.subspan(kSubDeviceHeader));
    case CommandKind::kUnknown:
      break;
  }
  return {};
}

std::string WithContent(const std::string& name, const std::string& content) {
  return content.empty() ? name : name + ':' + content;
}

}  // namespace

std::string CommandText(const CommandFrame& command) {
  return WithContent(std::string(CommandName(command.kind)), CommandContent(command));
}

std::string ReplyText(const CommandFrame& command, std::span<const std::uint8_t> reply) {
  return WithContent(std::string(CommandName(command.kind)) + " reply",
                     ReplyContent(command, reply));
}

}  // namespace qmzentrel::virtual_box
