#include "tests/fuzz/telic2_model.h"

#include <algorithm>
#include <cstdlib>

namespace qmzentrel::fuzz {
namespace {

constexpr std::int32_t kTooLong = 6;
constexpr std::int32_t kBadParameter = 7;
constexpr std::int64_t kFrameLimit = 20;
constexpr std::int32_t kNoMessage = -1;
constexpr std::int32_t kInvalidTest = 99;
constexpr std::int32_t kOverflow = 6;
constexpr std::int32_t kOutOfRange = 9;
// So many messages are looked at.
constexpr std::size_t kMostMessages = kTelic2Buffer - kTelic2Header;

// Bytes of data in a frame: a message of more counts whole and travels with four.
std::size_t DataBytes(std::int64_t length) {
  return static_cast<std::size_t>(std::clamp<std::int64_t>(length, 0, 4));
}

}  // namespace

Bytes Packed(const Numbers& ids, const Numbers& data, const LengthOfMessage& length_of) {
  Bytes bytes;
  for (std::size_t i = 0; i < ids.size(); ++i) {
    bytes.push_back(static_cast<std::uint8_t>(ids[i]));
    const auto value = static_cast<std::uint32_t>(i < data.size() ? data[i] : 0);
    for (std::size_t place = DataBytes(length_of(ids[i])); place > 0; --place) {
      bytes.push_back(static_cast<std::uint8_t>(value >> (8 * (place - 1))));
    }
  }
  return bytes;
}

bool Unpack(const Bytes& reply, const LengthOfMessage& length_of, Numbers& data) {
  std::size_t at = kTelic2Header;
  const auto next = [&] {
    const std::uint8_t byte = at < reply.size() ? reply[at] : std::uint8_t{0};
    ++at;
    return byte;
  };
  for (std::size_t index = 0; at < reply.size(); ++index) {
    const std::size_t count = DataBytes(length_of(next()));
    if (at + count > kTelic2Buffer || index >= data.size()) return false;
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < count; ++i) value = value << 8 | next();
    data[index] = static_cast<std::int32_t>(value);
  }
  return true;
}

Telic2Model::Telic2Model(const Call& call, const Telic2Catalog& catalog)
    : call_(call), catalog_(catalog) {
  if (call.number < 0) {
    refusal_ = kBadParameter;
  } else if (call.what == What::kTelic2Read) {
    MakeRead();
  } else if (call.what == What::kTelic2Write) {
    MakeWrite();
  } else {
    MakeTest();
  }
}

Telic2Length Telic2Model::Known(std::int32_t id) const {
  const auto known = std::ranges::find(catalog_, id, &Telic2Length::id);
  return known == catalog_.end() ? Telic2Length{id, 0, 0, 0} : *known;
}

std::int64_t Telic2Model::Length(std::int32_t id) const {
  return std::abs(std::int64_t{Known(id).bytes});
}

std::int32_t Telic2Model::Error() const {
  const auto count = static_cast<std::size_t>(call_.number);
  if (call_.ids.size() < count || call_.data.size() < count) return kOutOfRange;
  return error_;
}

void Telic2Model::MakeRead() {
  Bytes messages;
  for (const std::int32_t id : call_.ids) {
    const bool is_message = id != kNoMessage;
    if (is_message && messages.size() < kMostMessages && Length(id) == 0) {
      refusal_ = kBadParameter;
      return;
    }
    messages.push_back(static_cast<std::uint8_t>(is_message ? id : 0));
    expected_ += 1 + (is_message ? Length(id) : 0);
  }
  if (expected_ > kFrameLimit) refusal_ = kTooLong;
  Finish(0xC7, true, static_cast<std::int64_t>(kTelic2Header + messages.size()), messages);
}

void Telic2Model::MakeWrite() {
  std::size_t looked_at = 0;
  for (const std::int32_t id : call_.ids) {
    if (looked_at++ < kMostMessages && Length(id) == 0) {
      refusal_ = kBadParameter;
      return;
    }
    expected_ += 1 + Length(id);
  }
  if (expected_ > kFrameLimit) refusal_ = kTooLong;
  Finish(0xC6, true, expected_,
         Packed(call_.ids, call_.data, [this](std::int32_t id) { return Length(id); }));
}

void Telic2Model::MakeTest() {
  auto length = std::int64_t{kTelic2Header};
  std::int64_t replies = 0;
  std::size_t looked_at = 0;
  for (const std::int32_t id : call_.ids) {
    ++length;
    if (looked_at++ >= kMostMessages) continue;
    if (id == kInvalidTest) {
      refusal_ = kBadParameter;
      return;
    }
    length += Known(id).test_writes;
    if (Known(id).test_reads > 0) replies += Known(id).test_reads + std::int64_t{1};
  }
  expected_ = replies > 0 ? replies + std::int64_t{kTelic2Header} : 0;
  if (call_.ids.size() > kMostMessages || length > kFrameLimit ||
      expected_ > std::int64_t{kTelic2Buffer}) {
    refusal_ = kTooLong;
  }
  Finish(0xC9, replies > 0, length,
         Packed(call_.ids, call_.data, [this](std::int32_t id) { return Known(id).test_writes; }));
}

void Telic2Model::Finish(std::uint8_t command, bool replies, std::int64_t length,
                         const Bytes& messages) {
  if (refusal_) return;
  // A negative length takes more from the frame than the messages bring.
  if (length < std::int64_t{kTelic2Header}) {
    error_ = kOverflow;
  } else if (messages.size() > kMostMessages) {
    error_ = kOutOfRange;
  } else {
    frame_ = {0x7E, static_cast<std::uint8_t>(replies ? 0x20 : 0), command,
              static_cast<std::uint8_t>(length - std::int64_t{kTelic2Header})};
    frame_.insert(frame_.end(), messages.begin(), messages.end());
    frame_.resize(static_cast<std::size_t>(length));
  }
}

bool Telic2Model::Store(const Bytes& reply, Numbers& data) const {
  if (call_.what == What::kTelic2Write) return true;
  const bool is_test = call_.what == What::kTelic2Test;
  return Unpack(
      reply,
      [&](std::int32_t id) { return is_test ? std::int64_t{Known(id).test_reads} : Length(id); },
      data);
}

}  // namespace qmzentrel::fuzz
