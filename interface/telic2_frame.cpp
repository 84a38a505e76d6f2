#include "interface/telic2_frame.h"

#include <algorithm>
#include <cstdlib>

#include "interface/telic2_catalog.h"
#include "support/conversion.h"
#include "support/run_time_error.h"

namespace qmzentrel::telic2 {
namespace {

constexpr std::uint8_t kStart = 0x7E;

// Data is 32-bit numbers.
constexpr std::int32_t kMostDataBytes = 4;

std::int32_t DataBytes(std::int64_t length) {
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(length, 0, kMostDataBytes));
}

}  // namespace

std::int64_t Lengths::operator()(std::int32_t message) {
  const auto known = known_.find(message);
  if (known != known_.end()) return known->second;
  return known_[message] = look_up_(message);
}

Lengths MessageLengths() {
  return Lengths([](std::int32_t message) {
    return std::abs(std::int64_t{catalogs::MessageLength(message)});
  });
}

bool IsValidTestMessage(std::int32_t Index) {
  return Index != catalogs::kInvalidTestMessage;
}

void CheckEntries(const LongArray& array, std::int32_t count) {
  if (count > 0 && !(array.Holds(0) && array.Holds(count - 1))) {
    RaiseError(kErrorSubscriptOutOfRange);
  }
}

std::uint8_t LowByte(std::int32_t value) {
  return static_cast<std::uint8_t>(value & 0xFF);
}

void PutHeader(FrameBuffer& frame, std::uint8_t flags, std::uint8_t command, std::int64_t length) {
  frame[0] = kStart;
  frame[1] = flags;
  frame[2] = command;
  frame[3] = ToByte(length - kHeaderLength);
}

void Pack(FrameBuffer& frame, std::int32_t count, const LongArray& identifiers,
          const LongArray& data, Lengths& lengths) {
  std::int32_t position = kHeaderLength;
  for (std::int32_t i = 0; i < count; ++i) {
    frame[position++] = LowByte(identifiers[i]);
    for (std::int32_t place = DataBytes(lengths(identifiers[i])); place > 0; --place) {
      frame[position++] = LowByte(data[i] >> (8 * (place - 1)));
    }
  }
}

void Unpack(const FrameBuffer& reply, std::int64_t received, const LongArray& data,
            Lengths& lengths) {
  std::int32_t position = kHeaderLength;
  for (std::int32_t index = 0; position < received; ++index) {
    const std::uint8_t identifier = reply[position++];
    std::uint32_t value = 0;
    for (std::int32_t left = DataBytes(lengths(identifier)); left > 0; --left) {
      value = value << 8 | reply[position++];
    }
    data.Store(index, static_cast<std::int32_t>(value));
  }
}

}  // namespace qmzentrel::telic2
