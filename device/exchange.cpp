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
                                  FrameBuffer& bytRx, std::int32_t RxExpected,
                                  std::int32_t Timeout) {
  std::int32_t lngAttempt = 0;
  std::int32_t lngRxCount = 0;
  ErrorFrame frame(Fields(), "ZentrelTxRx", PARAMETERS(TxLength, RxExpected, Timeout),
                   LOCALS(lngAttempt, lngRxCount));
  return frame.Run([&] {
    STEP TraceBytes(">", bytTx, TxLength);
    STEP const std::int32_t last_attempt = box_.m_blnIsElectric ? Timeout / kElectricResendMs : 0;
    STEP for (; lngAttempt <= last_attempt; ++lngAttempt) {
      STEP m_PortCtrl.ClearReceiveBuffer();
      STEP const bool sent = m_PortCtrl.Write(bytTx, TxLength);
      STEP if (RxExpected == 0) {
        // Without a reply only time tells that the box has it: the supply must stand until then.
        STEP if (!sent || !m_PortCtrl.AwaitSent()) lngRxCount = -1;
        STEP break;
      }
      STEP lngRxCount =
          m_PortCtrl.Read(bytRx, 0, 1, box_.m_blnIsElectric ? kElectricResendMs : kFirstByteMs);
      STEP if (lngRxCount > 0) break;
    }
    STEP if (lngRxCount > 0) {
      STEP lngRxCount += m_PortCtrl.Read(bytRx, 1, RxExpected - 1, kRemainderMs);
    }
    STEP if (RxExpected != 0 && lngRxCount == 0) {
      // With the supply kept on, what a driver still holds would reach the box later: the next
      // transponder could get what the caller was told has failed.
      STEP m_PortCtrl.DropUnsent();
      STEP lngRxCount = -1;
    }
    STEP TraceBytes("<", bytRx, lngRxCount);
    STEP return lngRxCount;
  });
}

ZentrelStatus Zentrel::SuppliedExchange(const FrameBuffer& bytTx, std::int32_t TxLength,
                                        FrameBuffer& bytRx, std::int32_t RxExpected,
                                        std::int32_t Timeout) {
  ZentrelStatus lngStatus = S_OKAY;
  std::int32_t lngRxCount = 0;
  ErrorFrame frame(Fields(), "SuppliedExchange",
                   PARAMETERS(bytTx, TxLength, bytRx, RxExpected, Timeout),
                   LOCALS(lngStatus, lngRxCount));
  return frame.Run([&] {
    STEP if (!m_PortCtrl.IsOpen()) {
      STEP lngStatus = S_BAD_PORT;
      STEP Power(false);
      STEP return lngStatus;
    }
    try {
      STEP Power(true);
      STEP lngRxCount = ZentrelTxRx(bytTx, TxLength, bytRx, RxExpected, Timeout);
    } catch (...) {
      Power(false);  // a fault must not leave the box supplied for ever
      throw;
    }
    STEP if (lngRxCount != RxExpected) lngStatus = S_BAD_RESPONSE;
    STEP if (lngRxCount == -1) lngStatus = S_TIMEOUT;
    STEP Power(false);
    STEP return lngStatus;
  });
}

ZentrelStatus Zentrel::ZentrelCommand(const FrameBuffer& bytTx, std::int32_t TxLength,
                                      FrameBuffer& bytRx, std::int32_t RxExpected,
                                      std::int32_t Timeout) {
  ZentrelStatus lngStatus = S_OKAY;
  ErrorFrame frame(Fields(), "ZentrelCommand",
                   PARAMETERS(bytTx, TxLength, bytRx, RxExpected, Timeout), LOCALS(lngStatus));
  return frame.Run([&] {
    STEP lngStatus = SuppliedExchange(bytTx, TxLength, bytRx, RxExpected, Timeout);
    STEP if (lngStatus == S_OKAY) lngStatus = CheckReplySum(bytRx, RxExpected);
    STEP return lngStatus;
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
