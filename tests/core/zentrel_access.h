// The private procedures of the class that tests call directly, and a field that no client can set
// to every number.
#pragma once

#include "device/Zentrel.h"

namespace qmzentrel {

struct ZentrelAccess {
  static std::int32_t TxRx(Zentrel& zentrel, const FrameBuffer& bytTx, std::int32_t TxLength,
                           FrameBuffer& bytRx, std::int32_t RxExpected, std::int32_t Timeout) {
    return zentrel.ZentrelTxRx(bytTx, TxLength, bytRx, RxExpected, Timeout);
  }
  static ZentrelStatus Command(Zentrel& zentrel, const FrameBuffer& bytTx, std::int32_t TxLength,
                               FrameBuffer& bytRx, std::int32_t RxExpected, std::int32_t Timeout) {
    return zentrel.ZentrelCommand(bytTx, TxLength, bytRx, RxExpected, Timeout);
  }
  static ZentrelStatus CheckReplySum(const Zentrel& zentrel, const FrameBuffer& bytRx,
                                     std::int32_t RxLength) {
    return zentrel.CheckReplySum(bytRx, RxLength);
  }
  static std::string TraceBytes(const char* direction, const FrameBuffer& bytes,
                                std::int32_t count) {
    return Zentrel::TraceBytes(direction, bytes, count);
  }
  static void ParseBoxStatus(Zentrel& zentrel, const FrameBuffer& bytes, std::int32_t Offset) {
    zentrel.ParseBoxStatus(bytes, Offset);
  }
  static void ParseXpdrData(Zentrel& zentrel, ZentrelStatus status, const FrameBuffer& bytes) {
    zentrel.ParseXpdrData(status, bytes);
  }
  static void ParseXpdrBlock2(Zentrel& zentrel, ZentrelStatus status, const FrameBuffer& bytes) {
    zentrel.ParseXpdrBlock2(status, bytes);
  }
  static void SetMif(Zentrel& zentrel, std::int32_t mif) { zentrel.record_.m_lngMIF = mif; }
};

}  // namespace qmzentrel
