#include "interface/transponder_record.h"

#include <algorithm>

#include "interface/enumerations.h"
#include "interface/version_text.h"
#include "support/conversion.h"
#include "support/modCOM_IsWithinMinMax.h"
#include "support/variables.h"

namespace qmzentrel {
namespace {

using modCOM_IsWithinMinMax::IsWithinMinMax;

constexpr double kFirstLeakVersion = 8.0;

constexpr double kFirstVersionWithoutBlock2 = 4.0;
constexpr double kNextVersionWithBlock2 = 8.0;

constexpr std::int32_t kMaxMif = 63;

// Where a number stands in block 1, replies and write frames alike: in `width` bytes from `first`
// on, most significant first, `shift` bits up.
struct NumberField {
  std::int32_t TransponderRecord::*number;
  std::int32_t first;
  std::int32_t width;
  std::int32_t shift;
  std::int32_t greatest;  // all its bits
};
constexpr NumberField kNumbers[] = {
    {&TransponderRecord::m_lngUtil, 1, 1, 0, 0xFF},
    {&TransponderRecord::m_lngXpdrID, 2, 3, 0, 0xFFFFFF},
    {&TransponderRecord::m_lngTamperCount, 5, 1, 0, 0xFF},
    {&TransponderRecord::m_lngReading, 6, 3, 0, 0xFFFFFF},
    {&TransponderRecord::m_lngPLLWarmup, 9, 1, 4, 0xF},
    {&TransponderRecord::m_lngTXI, 9, 1, 0, 0xF},
    {&TransponderRecord::m_lngMSI, 10, 1, 0, 0xF},
};
constexpr std::int32_t kMifByte = 0;
constexpr std::int32_t kVersionByte = 11;

// Byte 10 of a frame that writes block 2: what tells the transponder that it is one.
constexpr std::int32_t kBlock2MarkByte = 10;
constexpr std::uint8_t kBlock2Mark = 0x20;

std::int32_t Get(const FrameBuffer& reply, const NumberField& field) {
  std::int32_t bits = 0;
  for (const std::uint8_t byte : reply.Range(field.first, field.width)) bits = bits << 8 | byte;
  return bits >> field.shift & field.greatest;
}

void Put(FrameBuffer& frame, const NumberField& field, std::int32_t number) {
  std::int32_t bits = (number & field.greatest) << field.shift;
  for (std::int32_t i = field.width; i-- > 0; bits >>= 8) {
    frame[field.first + i] |= static_cast<std::uint8_t>(bits & 0xFF);
  }
}

}  // namespace

std::int32_t TransponderRecord::DeviceMIF() const {
  return m_lngMIF | (m_blnIDToggle ? MIF_MASK_IDT : 0) | (m_blnMIFSelect ? MIF_MASK_2IF : 0);
}

void TransponderRecord::DeviceMIF(std::int32_t New_DeviceMIF) {
  m_lngMIF = New_DeviceMIF & MIF_MASK_TYPE;
  m_blnIDToggle = (New_DeviceMIF & MIF_MASK_IDT) != 0;
  m_blnMIFSelect = (New_DeviceMIF & MIF_MASK_2IF) != 0;
}

bool TransponderRecord::IsInRange() const {
  return IsWithinMinMax(m_lngMIF, 0, kMaxMif) &&
         std::ranges::all_of(kNumbers, [this](const NumberField& field) {
           return IsWithinMinMax(this->*field.number, 0, field.greatest);
         });
}

void TransponderRecord::ParseBlock1(const FrameBuffer& reply) {
  DeviceMIF(reply[kMifByte]);
  for (const NumberField& field : kNumbers) this->*field.number = Get(reply, field);
  m_strXpdrVersion = VersionText(reply[kVersionByte]);
  TakeLeakFlag(CarriesLeakFlag());
}

void TransponderRecord::ClearBlock1() {
  DeviceMIF(0);
  for (const NumberField& field : kNumbers) this->*field.number = 0;
  m_strXpdrVersion = VersionText(0);
  radio.m_blnHasLeak = false;
}

FrameBuffer TransponderRecord::Block1Frame() const {
  FrameBuffer frame;
  frame[kMifByte] = ToByte(DeviceMIF());
  for (const NumberField& field : kNumbers) Put(frame, field, this->*field.number);
  return frame;
}

bool TransponderRecord::HasBlock2() const {
  const double version = VersionValue(m_strXpdrVersion);
  return version < kFirstVersionWithoutBlock2 || version >= kNextVersionWithBlock2;
}

FrameBuffer TransponderRecord::Block2Frame() const {
  FrameBuffer frame;
  frame[kMifByte] = ToByte(DeviceMIF());
  radio.Put(frame);
  frame[kBlock2MarkByte] = kBlock2Mark;
  return frame;
}

bool TransponderRecord::CarriesLeakFlag() const {
  return VersionValue(m_strXpdrVersion) >= kFirstLeakVersion;
}

void TransponderRecord::TakeLeakFlag(bool carries_flag) {
  radio.m_blnHasLeak = carries_flag && m_lngTamperCount >= kLeakFlag;
  // The secondary interface keeps the flag in its count: clients look for it there.
  if (radio.m_blnHasLeak && !m_blnMIFSelect) m_lngTamperCount -= kLeakFlag;
}

void TransponderRecord::PutLeakFlag() {
  if (radio.m_blnHasLeak && m_lngTamperCount < kLeakFlag) m_lngTamperCount += kLeakFlag;
  if (!radio.m_blnHasLeak && m_lngTamperCount >= kLeakFlag) m_lngTamperCount -= kLeakFlag;
}

std::string TransponderRecord::DumpFields() const {
  return DumpVariables(VARIABLES(m_lngUtil, m_lngXpdrID, m_lngReading, m_lngTamperCount, m_lngMIF,
                                 m_blnMIFSelect, m_blnIDToggle, m_lngMSI, m_lngPLLWarmup, m_lngTXI,
                                 m_strXpdrVersion));
}

}  // namespace qmzentrel
