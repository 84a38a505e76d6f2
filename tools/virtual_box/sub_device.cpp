#include "tools/virtual_box/sub_device.h"

#include <algorithm>

namespace qmzentrel::virtual_box {
namespace {

// Takes up to `count` bytes off the front of `rest`.
Bytes TakeFront(std::span<const std::uint8_t>& rest, std::size_t count) {
  const auto front = rest.first(std::min(count, rest.size()));
  rest = rest.subspan(front.size());
  return {front.begin(), front.end()};
}

void Append(Bytes& bytes, std::uint8_t identifier, const Bytes& data) {
  bytes.push_back(identifier);
  bytes.insert(bytes.end(), data.begin(), data.end());
}

}  // namespace

SubDevice::SubDevice() {
  for (std::size_t i = 8; i <= 16; ++i) messages_[i].resize(2);
  for (std::size_t i = 17; i <= 18; ++i) messages_[i].resize(4);
}

std::optional<Bytes> SubDevice::Answer(const CommandFrame& command) {
  const auto content = std::span(command.bytes).subspan(kSubDeviceHeader);
  Bytes data;
  switch (command.kind) {
    case CommandKind::kSubDeviceRead:
      data = Read(content);
      break;
    case CommandKind::kSubDeviceWrite:
      Write(content);
      return command.bytes;
    case CommandKind::kSubDeviceTest:
      data = RunTests(content);
      if ((command.bytes[1] & kSubDeviceAnswerFlag) == 0) return std::nullopt;
      break;
    default:
      return std::nullopt;
  }
  Bytes reply(command.bytes.begin(), command.bytes.begin() + kSubDeviceHeader);
  reply[3] = static_cast<std::uint8_t>(data.size());
  reply.insert(reply.end(), data.begin(), data.end());
  return reply;
}

Bytes SubDevice::Read(std::span<const std::uint8_t> identifiers) const {
  Bytes data;
  for (const std::uint8_t identifier : identifiers) {
    Append(data, identifier, messages_[identifier]);
  }
  return data;
}

void SubDevice::Write(std::span<const std::uint8_t> messages) {
  while (!messages.empty()) {
    const std::uint8_t identifier = TakeFront(messages, 1)[0];
    Bytes& stored = messages_[identifier];
    const Bytes data = TakeFront(messages, stored.size());
    std::ranges::copy(data, stored.begin());
  }
}

Bytes SubDevice::RunTests(std::span<const std::uint8_t> messages) {
  Bytes replies;
  while (!messages.empty()) {
    const std::uint8_t identifier = TakeFront(messages, 1)[0];
    TestMessage& test = tests_[identifier];
    test.written = TakeFront(messages, test.write_length);
    if (!test.reply.empty()) Append(replies, identifier, test.reply);
  }
  return replies;
}

}  // namespace qmzentrel::virtual_box
