#include "tests/fuzz/telic2_model.h"

#include <algorithm>
#include <cstdlib>

namespace qmzentrel::fuzz {
namespace {

constexpr std::int32_t kTooLong = 6;
constexpr std::int32_t kBadParameter = 7;
constexpr std::int32_t kFrameLimit = 20;
constexpr std::int32_t kBufferSize = 33;
constexpr std::int32_t kNoMessage = -1;
constexpr std::int32_t kInvalidTest = 99;

Telic2Length LengthOf(std::int32_t id) {
  for (const Telic2Length& length : kTelic2Lengths) {
    if (length.id == id) return length;
  }
  return {id, 0, 0, 0};
}

}  // namespace

Telic2Model::Telic2Model(const Call& call) : call_(call) {
  if (call.number < 0) {
    refusal_ = kBadParameter;
  } else if (call.what == What::kTelic2Read) {
    MakeRead();
  } else {
    MakeWriteOrTest();
  }
}

bool Telic2Model::IsShort() const {
  const auto count = static_cast<std::size_t>(call_.number);
  return call_.ids.size() < count || call_.data.size() < count;
}

void Telic2Model::MakeRead() {
  for (const std::int32_t id : call_.ids) {
    const std::int32_t bytes = std::abs(LengthOf(id).bytes);
    if (id != kNoMessage && bytes == 0) {
      refusal_ = kBadParameter;
      return;
    }
    frame_.push_back(static_cast<std::uint8_t>(id == kNoMessage ? 0 : id));
    expected_ += 1 + (id == kNoMessage ? 0 : bytes);
  }
  if (expected_ > kFrameLimit) refusal_ = kTooLong;
  Finish(0xC7, true);
}

void Telic2Model::MakeWriteOrTest() {
  const bool is_test = call_.what == What::kTelic2Test;
  std::int32_t length = 4;
  std::int32_t replies = 0;
  for (std::size_t i = 0; i < call_.ids.size(); ++i) {
    const std::int32_t id = call_.ids[i];
    const Telic2Length known = LengthOf(id);
    const std::int32_t bytes = is_test ? known.test_writes : std::abs(known.bytes);
    if (is_test ? id == kInvalidTest : bytes == 0) {
      refusal_ = kBadParameter;
      return;
    }
    length += 1 + bytes;
    if (is_test && known.test_reads > 0) replies += known.test_reads + 1;
    frame_.push_back(static_cast<std::uint8_t>(id));
    const auto value = static_cast<std::uint32_t>(i < call_.data.size() ? call_.data[i] : 0);
    for (std::int32_t place = std::min(bytes, 4); place > 0; --place) {
      frame_.push_back(static_cast<std::uint8_t>(value >> (8 * (place - 1))));
    }
  }
  // A message of more than four bytes counts whole and travels with four.
  frame_.resize(static_cast<std::size_t>(std::max<std::int32_t>(length, 4)));
  expected_ = !is_test ? length : replies > 0 ? replies + 4 : 0;
  if (length > kFrameLimit || expected_ > kBufferSize) refusal_ = kTooLong;
  Finish(is_test ? 0xC9 : 0xC6, !is_test || replies > 0);
}

void Telic2Model::Finish(std::uint8_t command, bool replies) {
  frame_[1] = replies ? 0x20 : 0;
  frame_[2] = command;
  frame_[3] = static_cast<std::uint8_t>(frame_.size() - 4);
}

bool Telic2Model::Unpack(const Bytes& reply, Numbers& data) const {
  const bool is_test = call_.what == What::kTelic2Test;
  std::size_t place = 4;
  const auto next = [&] {
    return std::uint32_t{place < reply.size() ? reply[place++] : (++place, std::uint8_t{0})};
  };
  for (std::size_t index = 0; place < reply.size(); ++index) {
    const Telic2Length known = LengthOf(static_cast<std::int32_t>(next()));
    std::uint32_t value = 0;
    const std::int32_t bytes = is_test ? known.test_reads : std::abs(known.bytes);
    for (std::int32_t i = 0; i < std::min(bytes, 4); ++i) value = value << 8 | next();
    if (index >= data.size()) return false;
    data[index] = static_cast<std::int32_t>(value);
  }
  return true;
}

}  // namespace qmzentrel::fuzz
