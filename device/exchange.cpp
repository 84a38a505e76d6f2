// One exchange with the box: a command goes out, a reply of known length comes back, and the reply
// is judged by its length and its sum.
#include "device/Zentrel.h"
#include "support/modCOM_Hex.h"

namespace qmzentrel {
namespace {

// A box of the electric kind sleeps and is woken by the command itself, sent every half second.
constexpr std::int32_t kElectricResendMs = 500;
// Any other box is awake and gets one long wait.
constexpr std::int32_t kFirstByteMs = 2500;
// Once a reply has begun, the box asks the transponder before it goes on.
constexpr std::int32_t kRemainderMs = 12500;

}  // namespace

std::int32_t Zentrel::ZentrelTxRx(const FrameBuffer& bytTx, std::int32_t TxLength,
                                  FrameBuffer& bytRx, std::int32_t RxExpected, std::int32_t Timeout,
                                  std::optional<Block> asked) {
  std::int32_t lngAttempt = 0;
  std::int32_t lngRxCount = 0;
  ErrorFrame frame(Fields(), "ZentrelTxRx", PARAMETERS(TxLength, RxExpected, Timeout),
                   LOCALS(lngAttempt, lngRxCount));
  return frame.Run([&] {
    STEP TraceBytes(">", bytTx, TxLength);
    STEP const std::int32_t last_attempt = box_.m_blnIsElectric ? Timeout / kElectricResendMs : 0;
    const auto read_reply = [&] {
      STEP lngRxCount =
          m_PortCtrl.Read(bytRx, 0, 1, box_.m_blnIsElectric ? kElectricResendMs : kFirstByteMs);
      STEP if (lngRxCount == 0) return;
      STEP lngRxCount += m_PortCtrl.Read(bytRx, 1, RxExpected - 1, kRemainderMs);
    };
    STEP for (; lngAttempt <= last_attempt; ++lngAttempt) {
      STEP m_PortCtrl.ClearReceiveBuffer();
      STEP const bool sent = m_PortCtrl.Write(bytTx, TxLength);
      STEP if (RxExpected == 0) {
        // Without a reply only time tells that the box has it: the supply must stand until then.
        STEP if (!sent || !m_PortCtrl.AwaitSent()) lngRxCount = -1;
        STEP break;
      }
      STEP if (sent) unanswered_sends_.Add(asked);
      STEP read_reply();
      STEP while (lngRxCount == RxExpected && IsLate(asked, bytRx)) read_reply();
      STEP if (lngRxCount > 0) break;
    }
    STEP if (lngRxCount > 0) unanswered_sends_.TakeFirst();
    // What a driver still holds would reach the box later, with the supply kept on: the next
    // transponder would get what its caller was told has failed, or was done long ago.
    STEP if (lngAttempt > 0) m_PortCtrl.DropUnsent();
    STEP if (RxExpected != 0 && lngRxCount == 0) lngRxCount = -1;
    STEP TraceBytes("<", bytRx, lngRxCount);
    STEP return lngRxCount;
  });
}

ZentrelStatus Zentrel::Exchange(const FrameBuffer& bytTx, std::int32_t TxLength, FrameBuffer& bytRx,
                                std::int32_t RxExpected, std::int32_t Timeout,
                                std::optional<Block> asked) {
  const std::int32_t count = ZentrelTxRx(bytTx, TxLength, bytRx, RxExpected, Timeout, asked);
  if (count == -1) return S_TIMEOUT;
  return count == RxExpected ? S_OKAY : S_BAD_RESPONSE;
}

ZentrelStatus Zentrel::ZentrelCommand(const FrameBuffer& bytTx, std::int32_t TxLength,
                                      FrameBuffer& bytRx, std::int32_t RxExpected,
                                      std::int32_t Timeout, std::optional<Block> asked) {
  ZentrelStatus lngStatus = S_OKAY;
  ErrorFrame frame(Fields(), "ZentrelCommand",
                   PARAMETERS(bytTx, TxLength, bytRx, RxExpected, Timeout), LOCALS(lngStatus));
  return frame.Run([&] {
    STEP return WithSupply([&] {
      STEP lngStatus = Exchange(bytTx, TxLength, bytRx, RxExpected, Timeout, asked);
      STEP if (lngStatus == S_OKAY) lngStatus = CheckReplySum(bytRx, RxExpected);
      STEP return lngStatus;
    });
  });
}

// The exchanged bytes as a line for whoever stops here in a debugger. It goes nowhere else: neither
// the log nor any other output shows what a transponder holds.
std::string Zentrel::TraceBytes(const char* direction, const FrameBuffer& bytes,
                                std::int32_t count) {
  std::string line = std::string(direction) + "  ";
  for (std::int32_t i = 0; i < count; ++i) line += modCOM_Hex::HexPad(bytes[i], 2) + " ";
  return line;
}

ZentrelStatus Zentrel::CheckReplySum(const FrameBuffer& bytRx, std::int32_t RxLength) const {
  std::int32_t lngSum = 0;
  std::int32_t i = 0;
  ErrorFrame frame(Fields(), "CheckReplySum", PARAMETERS(bytRx, RxLength), LOCALS(lngSum, i));
  return frame.Run([&] {
    STEP for (; i < RxLength - 1; ++i) {
      STEP lngSum += bytRx[i];
    }
    STEP return ((lngSum - bytRx[RxLength - 1]) & 0xFF) == 0 ? S_OKAY : S_BAD_SUM;
  });
}

}  // namespace qmzentrel
