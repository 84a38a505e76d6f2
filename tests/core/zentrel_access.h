// The private procedures of the class that tests call directly.
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
  static std::string VersionText(std::uint8_t b) { return Zentrel::VersionText(b); }
  static void ParseBoxStatus(Zentrel& zentrel, const FrameBuffer& bytes, std::int32_t Offset) {
    zentrel.ParseBoxStatus(bytes, Offset);
  }
  static void ParseXpdrData(Zentrel& zentrel, ZentrelStatus status, const FrameBuffer& bytes) {
    zentrel.ParseXpdrData(status, bytes);
  }
  static void ParseXpdrBlock2(Zentrel& zentrel, ZentrelStatus status, const FrameBuffer& bytes) {
    zentrel.ParseXpdrBlock2(status, bytes);
  }
  static float BoxStatusTimeout(const Zentrel& zentrel) { return zentrel.m_sngBoxStatusTimeout; }
  static float VDelayTimeout(const Zentrel& zentrel) { return zentrel.m_sngVDelayTimeout; }
  static bool IsElectric(const Zentrel& zentrel) { return zentrel.m_blnIsElectric; }
  static std::int32_t PowerTimer(const Zentrel& zentrel) { return zentrel.m_lngPowerTimer; }
  static bool PowerEnabled(const Zentrel& zentrel) { return zentrel.m_blnPowerEnabled; }
  static bool IsValidTestMessage(std::int32_t Index) { return Zentrel::IsValidTestMessage(Index); }
  static void SetMif(Zentrel& zentrel, std::int32_t mif) { zentrel.m_lngMIF = mif; }
};

}  // namespace qmzentrel
