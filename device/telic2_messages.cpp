// Sub-device messages: their lengths, and the three commands that carry several of them in one
// frame.
#include <algorithm>

#include "device/Zentrel.h"
#include "interface/telic2_catalog.h"
#include "interface/telic2_frame.h"
#include "simulator/simulated_commands.h"
#include "simulator/simulator_switch.h"

namespace qmzentrel {
namespace {

// The box asks the sub-device through the transponder before it answers.
constexpr std::int32_t kReadMs = 12500;
constexpr std::int32_t kWriteMs = 2500;

}  // namespace

std::int32_t Zentrel::TELIC2_Length(std::int32_t Index) const {
  ErrorFrame frame(Fields(), "TELIC2_Length", PARAMETERS(Index));
  return frame.Run([&] { STEP return catalogs::MessageLength(Index); });
}

std::int32_t Zentrel::TELIC2Test_RdLength(std::int32_t Index) const {
  ErrorFrame frame(Fields(), "TELIC2Test_RdLength", PARAMETERS(Index));
  return frame.Run([&] { STEP return catalogs::TestReadLength(m_strTELIC2RegRoot, Index); });
}

std::int32_t Zentrel::TELIC2Test_WrLength(std::int32_t Index) const {
  ErrorFrame frame(Fields(), "TELIC2Test_WrLength", PARAMETERS(Index));
  return frame.Run([&] { STEP return catalogs::TestWriteLength(m_strTELIC2RegRoot, Index); });
}

ZentrelStatus Zentrel::TELIC2Read(std::int32_t NumMessages, const LongArray& MessageIDs,
                                  const LongArray& MessageData) {
  FrameBuffer bytTx;
  FrameBuffer bytRx;
  std::int64_t lngRxLength = 0;
  ZentrelStatus lngStatus = S_OKAY;
  std::int32_t i = 0;
  ErrorFrame frame(Fields(), "TELIC2Read", PARAMETERS(NumMessages, MessageIDs, MessageData),
                   LOCALS(bytTx, bytRx, lngRxLength, lngStatus, i));
  return frame.Run([&] {
    STEP LogStep("TELIC2Read");
    STEP if (NumMessages < 0) return S_BAD_PARAMETER;
    STEP telic2::Lengths lengths = telic2::MessageLengths();
    STEP lngRxLength = std::int64_t{telic2::kHeaderLength} + NumMessages;
    STEP for (i = 0; i < std::min(NumMessages, telic2::kMostMessages); ++i) {
      STEP if (!MessageIDs.Holds(i) || MessageIDs[i] == telic2::kNoMessage) continue;
      STEP if (lengths(MessageIDs[i]) == 0) return S_BAD_PARAMETER;
      STEP bytTx[telic2::kHeaderLength + i] = telic2::LowByte(MessageIDs[i]);
      STEP lngRxLength += lengths(MessageIDs[i]);
    }
    STEP if (lngRxLength > telic2::kLongestFrame) return S_MSG_TOO_LONG;
    STEP telic2::CheckEntries(MessageIDs, NumMessages);
    STEP telic2::CheckEntries(MessageData, NumMessages);
    STEP const std::int32_t tx_length = telic2::kHeaderLength + NumMessages;
    STEP telic2::PutHeader(bytTx, telic2::kAnswerFlag, telic2::kReadCommand, tx_length);
    STEP if (simulator::SimulatorEnabled()) {
      STEP simulator::ReadMessages(NumMessages, MessageIDs, MessageData);
      STEP return S_OKAY;
    }
    STEP if (!m_PortCtrl.IsOpen()) LogStep("TELIC2Read - PortOpen is bad");
    STEP const auto expected = static_cast<std::int32_t>(lngRxLength);
    STEP return WithSupply([&] {
      STEP lngStatus = Exchange(bytTx, tx_length, bytRx, expected, kReadMs);
      STEP if (lngStatus == S_OKAY) telic2::Unpack(bytRx, expected, MessageData, lengths);
      STEP return lngStatus;
    });
  });
}

ZentrelStatus Zentrel::TELIC2Write(std::int32_t NumMessages, const LongArray& MessageIDs,
                                   const LongArray& MessageData) {
  FrameBuffer bytTx;
  FrameBuffer bytRx;
  std::int64_t lngTxLength = 0;
  std::int32_t i = 0;
  ErrorFrame frame(Fields(), "TELIC2Write", PARAMETERS(NumMessages, MessageIDs, MessageData),
                   LOCALS(bytTx, bytRx, lngTxLength, i));
  return frame.Run([&] {
    STEP LogStep("TELIC2Write");
    STEP if (NumMessages < 0) return S_BAD_PARAMETER;
    STEP telic2::Lengths lengths = telic2::MessageLengths();
    STEP lngTxLength = std::int64_t{telic2::kHeaderLength} + NumMessages;
    STEP for (i = 0; i < std::min(NumMessages, telic2::kMostMessages); ++i) {
      STEP if (!MessageIDs.Holds(i)) continue;
      STEP if (lengths(MessageIDs[i]) == 0) return S_BAD_PARAMETER;
      STEP lngTxLength += lengths(MessageIDs[i]);
    }
    STEP if (lngTxLength > telic2::kLongestFrame) return S_MSG_TOO_LONG;
    STEP telic2::CheckEntries(MessageIDs, NumMessages);
    STEP telic2::CheckEntries(MessageData, NumMessages);
    STEP telic2::PutHeader(bytTx, telic2::kAnswerFlag, telic2::kWriteCommand, lngTxLength);
    STEP telic2::Pack(bytTx, NumMessages, MessageIDs, MessageData, lengths);
    STEP if (simulator::SimulatorEnabled()) {
      STEP simulator::WriteMessages(NumMessages, MessageIDs, MessageData);
      STEP return S_OKAY;
    }
    STEP const auto length = static_cast<std::int32_t>(lngTxLength);
    STEP return WithSupply([&] {
      STEP return Exchange(bytTx, length, bytRx, length, kWriteMs);  // the box echoes it
    });
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
  ErrorFrame frame(Fields(), "TELIC2Test", PARAMETERS(NumMessages, MessageIDs, MessageData),
                   LOCALS(bytTx, bytRx, lngTxLength, lngRxLength, lngReply, lngStatus, i));
  return frame.Run([&] {
    STEP LogStep("TELIC2Test");
    STEP if (NumMessages < 0) return S_BAD_PARAMETER;
    STEP telic2::Lengths write_lengths(
        [this](std::int32_t test) { return TELIC2Test_WrLength(test); });
    STEP telic2::Lengths read_lengths(
        [this](std::int32_t test) { return TELIC2Test_RdLength(test); });
    STEP lngTxLength = std::int64_t{telic2::kHeaderLength} + NumMessages;
    STEP for (i = 0; i < std::min(NumMessages, telic2::kMostMessages); ++i) {
      STEP if (!MessageIDs.Holds(i)) continue;
      STEP if (!telic2::IsValidTestMessage(MessageIDs[i])) return S_BAD_PARAMETER;
      STEP lngTxLength += write_lengths(MessageIDs[i]);
      STEP lngReply = read_lengths(MessageIDs[i]);
      STEP if (lngReply > 0) lngRxLength += lngReply + 1;
    }
    STEP if (lngRxLength > 0) lngRxLength += telic2::kHeaderLength;
    STEP if (NumMessages > telic2::kMostMessages || lngTxLength > telic2::kLongestFrame ||
             lngRxLength > FrameBuffer::kSize) {
      STEP return S_MSG_TOO_LONG;
    }
    STEP telic2::CheckEntries(MessageIDs, NumMessages);
    STEP telic2::CheckEntries(MessageData, NumMessages);
    STEP telic2::PutHeader(bytTx, lngRxLength > 0 ? telic2::kAnswerFlag : 0, telic2::kTestCommand,
                           lngTxLength);
    STEP telic2::Pack(bytTx, NumMessages, MessageIDs, MessageData, write_lengths);
    STEP if (simulator::SimulatorEnabled()) return S_OKAY;
    STEP const auto expected = static_cast<std::int32_t>(lngRxLength);
    STEP return WithSupply([&] {
      STEP lngStatus =
          Exchange(bytTx, static_cast<std::int32_t>(lngTxLength), bytRx, expected, kReadMs);
      STEP if (lngStatus == S_OKAY) telic2::Unpack(bytRx, expected, MessageData, read_lengths);
      STEP return lngStatus;
    });
  });
}

}  // namespace qmzentrel
