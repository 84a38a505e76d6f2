#include "interface/box_facts.h"

#include "interface/version_text.h"
#include "support/variables.h"

namespace qmzentrel {
namespace {

// Volts per step of the battery reading of the box.
constexpr double kBatteryStep = 0.039;

}  // namespace

bool BoxFacts::HasShortSupply() const {
  return m_bytZentrelSignature[0] == kShortSupplySignature;
}

void BoxFacts::Parse(const FrameBuffer& bytes, std::int32_t Offset) {
  m_strZentrelVersion = VersionText(bytes[Offset]);
  m_sngBatteryVolts = static_cast<float>(bytes[Offset + 1] * kBatteryStep);
  m_bytZentrelSignature = {bytes[Offset + 2], bytes[Offset + 3]};
  m_blnIsElectric = m_bytZentrelSignature[0] == kElectricSignature;
}

std::string BoxFacts::DumpFields() const {
  return DumpVariables(VARIABLES(m_strZentrelVersion, m_bytZentrelSignature, m_sngBatteryVolts));
}

}  // namespace qmzentrel
