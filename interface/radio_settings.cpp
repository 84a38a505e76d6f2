#include "interface/radio_settings.h"

#include <algorithm>

#include "support/conversion.h"
#include "support/variables.h"

namespace qmzentrel {
namespace {

// What stands in the bytes of block 2 behind the MIF byte.
constexpr std::int32_t kFirstSetting = 1;
constexpr std::int32_t RadioSettings::*kSettings[] = {
    &RadioSettings::m_lngFreq_MSB, &RadioSettings::m_lngFreq_MID, &RadioSettings::m_lngFreq_LSB,
    &RadioSettings::m_lngBR_MSB,   &RadioSettings::M_lngBR_LSB,   &RadioSettings::m_lngPA_CTRL,
    &RadioSettings::m_lngEOL_CTRL};
// The threshold follows them, the other way round.
constexpr std::int32_t kThreshold = 8;

constexpr std::int32_t kUnreadEolControl = 23;
constexpr std::int32_t kUnreadLeakThreshold = 255;

}  // namespace

void RadioSettings::LeakThreshold(std::int32_t New_LeakThreshold) {
  m_lngLeakTHold = std::min(New_LeakThreshold, kMaxByte);
}

void RadioSettings::Parse(const FrameBuffer& reply) {
  std::int32_t place = kFirstSetting;
  for (const auto setting : kSettings) this->*setting = reply[place++];
  InvertedThreshold(reply[kThreshold]);
}

void RadioSettings::Clear() {
  for (const auto setting : kSettings) this->*setting = 0;
  m_lngEOL_CTRL = kUnreadEolControl;
  m_lngLeakTHold = kUnreadLeakThreshold;
}

void RadioSettings::Put(FrameBuffer& frame) const {
  std::int32_t place = kFirstSetting;
  for (const auto setting : kSettings) frame[place++] = ToByte(this->*setting);
  frame[kThreshold] = ToByte(InvertedThreshold());
}

std::string RadioSettings::DumpFields() const {
  return DumpVariables(VARIABLES(m_lngFreq_MSB, m_lngFreq_MID, m_lngFreq_LSB, m_lngBR_MSB,
                                 M_lngBR_LSB, m_lngPA_CTRL, m_lngEOL_CTRL, m_blnHasLeak,
                                 m_lngLeakTHold));
}

}  // namespace qmzentrel
