// Sub-device messages: their lengths, and the three commands that carry several of them in one
// frame.
#include <algorithm>
#include <cstdlib>
#include <functional>
#include <map>

#include "device/Zentrel.h"
#include "interface/telic2_catalog.h"
#include "simulator/simulator_switch.h"
#include "support/conversion.h"

namespace qmzentrel {
namespace {

// Every frame: start, flags, command, count of the bytes that follow, messages.
constexpr std::int32_t kHeaderLength = 4;
constexpr std::uint8_t kStart = 0x7E;
constexpr std::uint8_t kAnswerFlag = 0x20;
constexpr std::uint8_t kReadCommand = 0xC7;
constexpr std::uint8_t kWriteCommand = 0xC6;
constexpr std::uint8_t kTestCommand = 0xC9;

// The longest frame that the box takes or gives in a message command.
constexpr std::int32_t kLongestFrame = 20;
// No more identifiers than this fit a buffer.
constexpr std::int32_t kMostMessages = Zentrel::kMostMessages;
static_assert(kMostMessages == FrameBuffer::kSize - kHeaderLength);

// The box asks the sub-device through the transponder before it answers.
constexpr std::int32_t kReadMs = 12500;
constexpr std::int32_t kWriteMs = 2500;

// Stands in a read request for no message.
constexpr std::int32_t kNoMessage = -1;

constexpr std::int32_t kMostDataBytes = 4;

// Data lengths by identifier, each looked up once a command: the frame that is sent is the one that
// was judged, whatever becomes of the catalog meanwhile.
class Lengths {
 public:
  explicit Lengths(std::function<std::int64_t(std::int32_t)> look_up)
      : look_up_(std::move(look_up)) {}

  std::int64_t operator()(std::int32_t message) {
    const auto known = known_.find(message);
    if (known != known_.end()) return known->second;
    return known_[message] = look_up_(message);
  }

 private:
  std::function<std::int64_t(std::int32_t)> look_up_;
  std::map<std::int32_t, std::int64_t> known_;
};

// The catalog's lengths of messages; 0 for an unknown one.
Lengths MessageLengths() {
  return Lengths([](std::int32_t message) {
    return std::abs(std::int64_t{catalogs::MessageLength(message)});
  });
}

std::uint8_t LowByte(std::int32_t value) {
  return static_cast<std::uint8_t>(value & 0xFF);
}

std::int32_t DataBytes(std::int64_t length) {
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(length, 0, kMostDataBytes));
}

void PutHeader(FrameBuffer& frame, std::uint8_t flags, std::uint8_t command, std::int64_t length) {
  frame[0] = kStart;
  frame[1] = flags;
  frame[2] = command;
  frame[3] = ToByte(length - kHeaderLength);
}

// Each message: its identifier, then the low bytes of its data, most significant first.
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

// The data of the messages in a reply, in the order in which they come: the box may leave out or
// exchange messages, so an identifier only tells the length.
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

// Error 9 for an array without the entries 0 to `count` - 1.
void CheckEntries(const LongArray& array, std::int32_t count) {
  if (count > 0 && !(array.Holds(0) && array.Holds(count - 1))) {
    RaiseError(kErrorSubscriptOutOfRange);
  }
}

}  // namespace

std::int32_t Zentrel::TELIC2_Length(std::int32_t Index) const {
  ErrorFrame frame(Fields(), "TELIC2_Length", Parameters(NAMED(Index)));
  return frame.Run([&] { STEP return catalogs::MessageLength(Index); });
}

std::int32_t Zentrel::TELIC2Test_RdLength(std::int32_t Index) const {
  ErrorFrame frame(Fields(), "TELIC2Test_RdLength", Parameters(NAMED(Index)));
  return frame.Run([&] { STEP return catalogs::TestReadLength(m_strTELIC2RegRoot, Index); });
}

std::int32_t Zentrel::TELIC2Test_WrLength(std::int32_t Index) const {
  ErrorFrame frame(Fields(), "TELIC2Test_WrLength", Parameters(NAMED(Index)));
  return frame.Run([&] { STEP return catalogs::TestWriteLength(m_strTELIC2RegRoot, Index); });
}

bool Zentrel::IsValidTestMessage(std::int32_t Index) {
  return Index != catalogs::kInvalidTestMessage;
}

ZentrelStatus Zentrel::TELIC2Read(std::int32_t NumMessages, const LongArray& MessageIDs,
                                  const LongArray& MessageData) {
  FrameBuffer bytTx;
  FrameBuffer bytRx;
  std::int64_t lngRxLength = 0;
  ZentrelStatus lngStatus = S_OKAY;
  std::int32_t i = 0;
  ErrorFrame frame(
      Fields(), "TELIC2Read", Parameters(NAMED(NumMessages), NAMED(MessageIDs), NAMED(MessageData)),
      Locals(NAMED(bytTx), NAMED(bytRx), NAMED(lngRxLength), NAMED(lngStatus), NAMED(i)));
  return frame.Run([&] {
    STEP LogStep("TELIC2Read");
    STEP if (NumMessages < 0) return S_BAD_PARAMETER;
    STEP Lengths lengths = MessageLengths();
    STEP lngRxLength = std::int64_t{kHeaderLength} + NumMessages;
    STEP for (i = 0; i < std::min(NumMessages, kMostMessages); ++i) {
      STEP if (!MessageIDs.Holds(i) || MessageIDs[i] == kNoMessage) continue;
      STEP if (lengths(MessageIDs[i]) == 0) return S_BAD_PARAMETER;
      STEP bytTx[kHeaderLength + i] = LowByte(MessageIDs[i]);
      STEP lngRxLength += lengths(MessageIDs[i]);
    }
    STEP if (lngRxLength > kLongestFrame) return S_MSG_TOO_LONG;
    STEP CheckEntries(MessageIDs, NumMessages);
    STEP CheckEntries(MessageData, NumMessages);
    STEP const std::int32_t tx_length = kHeaderLength + NumMessages;
    STEP PutHeader(bytTx, kAnswerFlag, kReadCommand, tx_length);
    STEP if (simulator::SimulatorEnabled()) {
      STEP SimulatedMessageRead(NumMessages, MessageIDs, MessageData);
      STEP return S_OKAY;
    }
    STEP if (!m_PortCtrl.IsOpen()) LogStep("TELIC2Read - PortOpen is bad");
    STEP const auto expected = static_cast<std::int32_t>(lngRxLength);
    STEP lngStatus = SuppliedExchange(bytTx, tx_length, bytRx, expected, kReadMs);
    STEP if (lngStatus == S_OKAY) Unpack(bytRx, expected, MessageData, lengths);
    STEP return lngStatus;
  });
}

ZentrelStatus Zentrel::TELIC2Write(std::int32_t NumMessages, const LongArray& MessageIDs,
                                   const LongArray& MessageData) {
  FrameBuffer bytTx;
  FrameBuffer bytRx;
  std::int64_t lngTxLength = 0;
  std::int32_t i = 0;
  ErrorFrame frame(Fields(), "TELIC2Write",
                   Parameters(NAMED(NumMessages), NAMED(MessageIDs), NAMED(MessageData)),
                   Locals(NAMED(bytTx), NAMED(bytRx), NAMED(lngTxLength), NAMED(i)));
  return frame.Run([&] {
    STEP LogStep("TELIC2Write");
    STEP if (NumMessages < 0) return S_BAD_PARAMETER;
    STEP Lengths lengths = MessageLengths();
    STEP lngTxLength = std::int64_t{kHeaderLength} + NumMessages;
    STEP for (i = 0; i < std::min(NumMessages, kMostMessages); ++i) {
      STEP if (!MessageIDs.Holds(i)) continue;
      STEP if (lengths(MessageIDs[i]) == 0) return S_BAD_PARAMETER;
      STEP lngTxLength += lengths(MessageIDs[i]);
    }
    STEP if (lngTxLength > kLongestFrame) return S_MSG_TOO_LONG;
    STEP CheckEntries(MessageIDs, NumMessages);
    STEP CheckEntries(MessageData, NumMessages);
    STEP PutHeader(bytTx, kAnswerFlag, kWriteCommand, lngTxLength);
    STEP Pack(bytTx, NumMessages, MessageIDs, MessageData, lengths);
    STEP if (simulator::SimulatorEnabled()) {
      STEP SimulatedMessageWrite(NumMessages, MessageIDs, MessageData);
      STEP return S_OKAY;
    }
    STEP const auto length = static_cast<std::int32_t>(lngTxLength);
    STEP return SuppliedExchange(bytTx, length, bytRx, length, kWriteMs);  // the box echoes it
  });
}

ZentrelStatus Zentrel::TELIC2Test(std::int32_t NumMessages, const LongArray& MessageIDs,
                                  const LongArray& MessageData) {
  FrameBuffer bytTx;
  FrameBuffer bytRx;
  std::int64_t lngTxLength = 0;
  std::int64_t lngRxLength = 0;
  std::int64_t lngReply = 0;
  ZentrelStatus lngStatus = S_OKAY;
  std::int32_t i = 0;
  ErrorFrame frame(Fields(), "TELIC2Test",
                   Parameters(NAMED(NumMessages), NAMED(MessageIDs), NAMED(MessageData)),
                   Locals(NAMED(bytTx), NAMED(bytRx), NAMED(lngTxLength), NAMED(lngRxLength),
                          NAMED(lngReply), NAMED(lngStatus), NAMED(i)));
  return frame.Run([&] {
    STEP LogStep("TELIC2Test");
    STEP if (NumMessages < 0) return S_BAD_PARAMETER;
    STEP Lengths write_lengths([this](std::int32_t test) { return TELIC2Test_WrLength(test); });
    STEP Lengths read_lengths([this](std::int32_t test) { return TELIC2Test_RdLength(test); });
    STEP lngTxLength = std::int64_t{kHeaderLength} + NumMessages;
    STEP for (i = 0; i < std::min(NumMessages, kMostMessages); ++i) {
      STEP if (!MessageIDs.Holds(i)) continue;
      STEP if (!IsValidTestMessage(MessageIDs[i])) return S_BAD_PARAMETER;
      STEP lngTxLength += write_lengths(MessageIDs[i]);
      STEP lngReply = read_lengths(MessageIDs[i]);
      STEP if (lngReply > 0) lngRxLength += lngReply + 1;
    }
    STEP if (lngRxLength > 0) lngRxLength += kHeaderLength;
    STEP if (NumMessages > kMostMessages || lngTxLength > kLongestFrame ||
             lngRxLength > FrameBuffer::kSize) {
      STEP return S_MSG_TOO_LONG;
    }
    STEP CheckEntries(MessageIDs, NumMessages);
    STEP CheckEntries(MessageData, NumMessages);
    STEP PutHeader(bytTx, lngRxLength > 0 ? kAnswerFlag : 0, kTestCommand, lngTxLength);
    STEP Pack(bytTx, NumMessages, MessageIDs, MessageData, write_lengths);
    STEP if (simulator::SimulatorEnabled()) return S_OKAY;
    STEP const auto expected = static_cast<std::int32_t>(lngRxLength);
    STEP lngStatus =
        SuppliedExchange(bytTx, static_cast<std::int32_t>(lngTxLength), bytRx, expected, kReadMs);
    STEP if (lngStatus == S_OKAY) Unpack(bytRx, expected, MessageData, read_lengths);
    STEP return lngStatus;
  });
}

}  // namespace qmzentrel
