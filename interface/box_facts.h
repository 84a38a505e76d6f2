// What the box says of itself, in a Box Status and at the end of every reply about a transponder.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "interface/frame_buffer.h"

namespace qmzentrel {

/// Box Status: this byte goes out, a reply of so many comes back, the last of them the sum of those
/// before it.
inline constexpr std::uint8_t kBoxStatusCommand = 0x80;
inline constexpr std::int32_t kBoxStatusLength = 7;

/// Kinds of boxes that need a treatment of their own, by byte 0 of the signature.
inline constexpr std::uint8_t kShortSupplySignature = 0xA5;
inline constexpr std::uint8_t kElectricSignature = 0xA6;

/// Its fields keep the names by which the error report shows them.
struct BoxFacts {
  /// Sleeps, and is woken by the commands themselves. Stays as the last reply had it when the
  /// simulator changes the signature.
  bool m_blnIsElectric = false;
  std::string m_strZentrelVersion;                      ///< "2.1", empty before the first reply
  std::array<std::uint8_t, 2> m_bytZentrelSignature{};  ///< byte 0 names the kind of box
  float m_sngBatteryVolts = 0;

  /// A kind of box that cannot be supplied for long.
  bool HasShortSupply() const;

  /// Takes the facts from `Offset` on.
  void Parse(const FrameBuffer& bytes, std::int32_t Offset);

  /// The fields but m_blnIsElectric, which the report shows in another place.
  std::string DumpFields() const;
};

}  // namespace qmzentrel
