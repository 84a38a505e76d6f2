// The radio and leak settings of an electric transponder, which travel in its block 2.
#pragma once

#include <cstdint>
#include <string>

#include "interface/frame_buffer.h"

namespace qmzentrel {

/// Plain stored numbers: any can be stored, only bytes can be sent. Its fields keep the names by
/// which the error report shows them.
struct RadioSettings {
  std::int32_t m_lngFreq_MSB = 0;
  std::int32_t m_lngFreq_MID = 0;
  std::int32_t m_lngFreq_LSB = 0;
  std::int32_t m_lngBR_MSB = 0;
  std::int32_t M_lngBR_LSB = 0;
  std::int32_t m_lngPA_CTRL = 0;
  std::int32_t m_lngEOL_CTRL = 0;
  bool m_blnHasLeak = false;  ///< travels in block 1, with the tamper count
  std::int32_t m_lngLeakTHold = 0;

  static constexpr std::int32_t kMaxByte = 0xFF;

  /// The threshold as block 2 and the simulator's dialog have it, the other way round.
  std::int64_t InvertedThreshold() const { return std::int64_t{kMaxByte} - m_lngLeakTHold; }
  void InvertedThreshold(std::int32_t inverted) { m_lngLeakTHold = kMaxByte - inverted; }

  /// Stores at most 255, which is what the transponder holds.
  void LeakThreshold(std::int32_t New_LeakThreshold);

  /// Takes the settings from a reply to a command about block 2.
  void Parse(const FrameBuffer& reply);
  /// What stands for them after a failed read.
  void Clear();
  /// Puts them into a frame that writes block 2. Error 6 for a setting that is no byte.
  void Put(FrameBuffer& frame) const;

  std::string DumpFields() const;
};

}  // namespace qmzentrel
