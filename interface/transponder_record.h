// What a transponder holds, and how it travels between it and the box.
#pragma once

#include <cstdint>
#include <string>

#include "interface/frame_buffer.h"
#include "interface/radio_settings.h"

namespace qmzentrel {

/// The record of one transponder. Any number can be stored; IsInRange says whether the record can
/// be sent. Its fields keep the names by which the error report shows them.
struct TransponderRecord {
  /// On the transponder the leak flag is bit 7 of the tamper count.
  static constexpr std::int32_t kLeakFlag = 128;

  std::int32_t m_lngUtil = 0;     ///< utility code
  std::int32_t m_lngXpdrID = 0;   ///< 24 bits
  std::int32_t m_lngReading = 0;  ///< of the meter, 24 bits
  std::int32_t m_lngTamperCount = 0;
  std::int32_t m_lngMIF = 0;        ///< type of the meter interface
  bool m_blnMIFSelect = false;      ///< secondary interface
  bool m_blnIDToggle = false;       ///< ID source
  std::int32_t m_lngMSI = 0;        ///< meter specific information
  std::int32_t m_lngPLLWarmup = 0;  ///< in steps of 0.2 ms
  std::int32_t m_lngTXI = 0;        ///< transmit-interval index
  std::string m_strXpdrVersion;     ///< "8.0"; "0.0" after a failed read
  RadioSettings radio;

  /// The MIF byte: type in bits 0 to 3, ID toggle in bit 4, secondary select in bit 5.
  std::int32_t DeviceMIF() const;
  void DeviceMIF(std::int32_t New_DeviceMIF);

  /// Whether every value of block 1 fits the transponder.
  bool IsInRange() const;

  /// Takes block 1 from a reply.
  void ParseBlock1(const FrameBuffer& reply);
  /// What stands for it after a failed read.
  void ClearBlock1();
  /// The frame that writes block 1. The record must be in range.
  FrameBuffer Block1Frame() const;

  /// Transponders from version 4.0 to below 8.0 have no block 2.
  bool HasBlock2() const;
  /// The frame that writes block 2. Error 6 for a radio setting that is no byte.
  FrameBuffer Block2Frame() const;

  /// From version 8.0 on the tamper count is read with the leak flag in it.
  bool CarriesLeakFlag() const;
  /// Splits what the transponder counts: into the count and, when `carries_flag`, the leak flag.
  void TakeLeakFlag(bool carries_flag);
  /// Brings the count to what goes to the transponder: bit 7 as the leak flag has it.
  void PutLeakFlag();

  /// The fields without the radio settings, which the report shows in another place.
  std::string DumpFields() const;
};

}  // namespace qmzentrel
