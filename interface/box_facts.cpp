#include "interface/box_facts.h"

#include <array>
#include <cstddef>

#include "interface/version_text.h"
#include "support/variables.h"

namespace qmzentrel {
namespace {

// Volts for each battery reading of the box. Worked out beforehand, since clients may have the
// processor round in other ways.
constexpr auto kBatteryVolts = [] {
  constexpr double kStep = 0.039;
  std::array<float, 256> volts{};
  for (std::size_t reading = 0; reading < volts.size(); ++reading) {
    volts[reading] = static_cast<float>(static_cast<double>(reading) * kStep);
  }
  return volts;
}();

}  // namespace

bool BoxFacts::HasShortSupply() const {
  return m_bytZentrelSignature[0] == kShortSupplySignature;
}

void BoxFacts::Parse(const FrameBuffer& bytes, std::int32_t Offset) {
  m_strZentrelVersion = VersionText(bytes[Offset]);
  m_sngBatteryVolts = kBatteryVolts[bytes[Offset + 1]];
  m_bytZentrelSignature = {bytes[Offset + 2], bytes[Offset + 3]};
  m_blnIsElectric = m_bytZentrelSignature[0] == kElectricSignature;
}

std::string BoxFacts::DumpFields() const {
  return DumpVariables(VARIABLES(m_strZentrelVersion, m_bytZentrelSignature, m_sngBatteryVolts));
}

}  // namespace qmzentrel
