// Frames of sub-device messages: packing and unpacking.
#include <algorithm>
#include <array>
#include <string>

#include "interface/telic2_frame.h"
#include "support/run_time_error.h"
#include "tests/fuzz/drawn_messages.h"
#include "tests/fuzz/finding.h"

namespace qmzentrel::fuzz {
namespace {

constexpr std::int32_t kOutOfRange = 9;
constexpr std::size_t kRoom = kTelic2Buffer - kTelic2Header;

/// Lengths of messages by the low bits of their numbers.
class DrawnLengths {
 public:
  explicit DrawnLengths(FuzzedDataProvider& input) {
    for (std::int32_t& length : lengths_) {
      length = input.ConsumeIntegralInRange(0, 9) > 0 ? input.ConsumeIntegralInRange(-1, 5)
                                                      : DrawnMessage(input);
    }
  }

  std::int64_t operator()(std::int32_t id) const {
    return lengths_[static_cast<std::uint32_t>(id) % lengths_.size()];
  }

 private:
  std::array<std::int32_t, 16> lengths_{};
};

template <class Action>
std::int32_t ErrorOf(Action action) {
  try {
    action();
  } catch (const RunTimeError& error) {
    return error.number;
  }
  return 0;
}

void TryPacking(FuzzedDataProvider& input) {
  const DrawnLengths length_of(input);
  Numbers ids = DrawnMessages(input, input.ConsumeIntegralInRange<std::size_t>(0, 35));
  Numbers data = DrawnMessages(input, ids.size());
  const Bytes expected = Packed(ids, data, length_of);

  FrameBuffer frame;
  Numbers asked;
  telic2::Lengths looked_up([&](std::int32_t id) {
    asked.push_back(id);
    return length_of(id);
  });
  const auto count = static_cast<std::int32_t>(ids.size());
  const std::int32_t error = ErrorOf(
      [&] { telic2::Pack(frame, count, LongArray(ids, 0), LongArray(data, 0), looked_up); });
  Require(error == (expected.size() > kRoom ? kOutOfRange : 0), "a frame fits or not");
  const std::span<const std::uint8_t> bytes = frame;
  const std::size_t common = std::min(expected.size(), kRoom);
  const auto packed = bytes.subspan(kTelic2Header);
  Require(std::equal(packed.begin(), packed.begin() + static_cast<std::ptrdiff_t>(common),
                     expected.begin()),
          "packed otherwise");
  const auto is_zero = [](std::uint8_t byte) { return byte == 0; };
  Require(std::ranges::all_of(bytes.first(kTelic2Header), is_zero) &&
              std::ranges::all_of(packed.subspan(common), is_zero),
          "bytes beside the messages");
  std::ranges::sort(asked);
  Require(std::ranges::adjacent_find(asked) == asked.end(), "a length is looked up again");
}

void TryUnpacking(FuzzedDataProvider& input) {
  constexpr std::int32_t kUntouched = 0x55555555;
  const DrawnLengths length_of(input);
  Bytes reply =
      input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegralInRange<std::size_t>(0, kTelic2Buffer));
  FrameBuffer frame;
  std::ranges::copy(reply, frame.Range(0, static_cast<std::int32_t>(reply.size())).begin());
  Numbers data(input.ConsumeIntegralInRange<std::size_t>(0, 35), kUntouched);
  Numbers expected = data;
  const bool fits = Unpack(reply, length_of, expected);

  telic2::Lengths looked_up(length_of);
  const std::int32_t error = ErrorOf([&] {
    telic2::Unpack(frame, static_cast<std::int64_t>(reply.size()), LongArray(data, 0), looked_up);
  });
  Require(error == (fits ? 0 : kOutOfRange), "a reply fits or not");
  Require(data == expected, "unpacked otherwise");
}

}  // namespace
}  // namespace qmzentrel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qmzentrel::fuzz;
  FuzzedDataProvider input(data, size);
  if (input.ConsumeBool()) {
    TryPacking(input);
  } else {
    TryUnpacking(input);
  }
  return 0;
}
