// Frames that carry several sub-device (TELIC2) messages at once: how they are packed, how long
// they are, and what may stand in them.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <utility>

#include "interface/frame_buffer.h"
#include "interface/long_array.h"

namespace qmzentrel::telic2 {

/// Every frame: start, flags, command, count of the bytes that follow, messages.
inline constexpr std::int32_t kHeaderLength = 4;
/// Flag of a command that the sub-device answers.
inline constexpr std::uint8_t kAnswerFlag = 0x20;
inline constexpr std::uint8_t kReadCommand = 0xC7;
inline constexpr std::uint8_t kWriteCommand = 0xC6;
inline constexpr std::uint8_t kTestCommand = 0xC9;

/// The longest frame that the box takes or gives in a message command.
inline constexpr std::int32_t kLongestFrame = 20;
/// No more identifiers than this fit a buffer: entries of an array from this index on are neither
/// read nor stored by any command.
inline constexpr std::int32_t kMostMessages = FrameBuffer::kSize - kHeaderLength;

/// Stands in a read request, and first in every list, for no message.
inline constexpr std::int32_t kNoMessage = -1;

/// Data lengths by identifier, each looked up once a command: the frame that is sent is the one
/// that was judged, whatever becomes of the catalog meanwhile.
class Lengths {
 public:
  explicit Lengths(std::function<std::int64_t(std::int32_t)> look_up)
      : look_up_(std::move(look_up)) {}

  std::int64_t operator()(std::int32_t message);

 private:
  std::function<std::int64_t(std::int32_t)> look_up_;
  std::map<std::int32_t, std::int64_t> known_;
};

/// The catalog's lengths of messages; 0 for an unknown one.
Lengths MessageLengths();

/// Whether a test message can be sent: all but the one that marks an invalid choice.
bool IsValidTestMessage(std::int32_t Index);

/// Error 9 for an array without the entries 0 to `count` - 1.
void CheckEntries(const LongArray& array, std::int32_t count);

/// What a frame has of an identifier.
std::uint8_t LowByte(std::int32_t value);

/// `length` is that of the whole frame.
void PutHeader(FrameBuffer& frame, std::uint8_t flags, std::uint8_t command, std::int64_t length);

/// Each message: its identifier, then the low bytes of its data, most significant first.
void Pack(FrameBuffer& frame, std::int32_t count, const LongArray& identifiers,
          const LongArray& data, Lengths& lengths);

/// The data of the messages in a reply of `received` bytes, in the order in which they come: the
/// box may leave out or exchange messages, so an identifier only tells the length. Error 9 for more
/// messages than `data` has entries, and behind the end of the buffer.
void Unpack(const FrameBuffer& reply, std::int64_t received, const LongArray& data,
            Lengths& lengths);

}  // namespace qmzentrel::telic2
