// Everything about the box and its transponder that can be looked at and set by name.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace qmzentrel::virtual_box {

/// One flat record: the box, the transponder's two blocks, and the manners of the box. Bytes unless
/// stated otherwise.
struct Facts {
  // The box.
  std::uint32_t box_version = 0x21;  ///< high nibble, point, low nibble
  std::uint32_t battery = 133;       ///< volts = value x 0.039
  std::uint32_t signature0 = 0xA6;   ///< 0xA6 electric, 0xA5, or another kind of box
  std::uint32_t signature1 = 0;
  std::uint32_t filler = 0;  ///< in the reply bytes that carry nothing

  // Block 1 of the transponder.
  std::uint32_t transponder = 1;  ///< 0: none in reach, its commands stay unanswered
  std::uint32_t version = 0x80;   ///< as `box_version`
  std::uint32_t mif = 1;          ///< the MIF byte with both flag bits
  std::uint32_t util = 1;
  std::uint32_t id = 0x123456;   ///< 24 bits
  std::uint32_t tamper = 0;      ///< as on the wire: bit 7 is the leak flag
  std::uint32_t reading = 1234;  ///< 24 bits
  std::uint32_t pll = 3;         ///< 4 bits
  std::uint32_t txi = 2;         ///< 4 bits
  std::uint32_t msi = 0;         ///< 4 bits

  // Block 2 of the transponder.
  std::uint32_t freq_msb = 0x6C;
  std::uint32_t freq_mid = 0x4E;
  std::uint32_t freq_lsb = 0x21;
  std::uint32_t br_msb = 0x01;
  std::uint32_t br_lsb = 0x40;
  std::uint32_t pa = 5;
  std::uint32_t eol = 31;
  std::uint32_t leak_threshold = 100;  ///< travels as 255 minus this

  // Manners.
  std::uint32_t startup_ms = 2000;  ///< silent for so long after the supply has come on
  std::uint32_t answer_ms = 0;      ///< from the end of a command to the start of its reply
  std::uint32_t gap_ms = 100;       ///< a pause of this length ends whatever was being received
  std::uint32_t pace = 1;           ///< 1: bytes take their time on the wire, 0: at once
  std::uint32_t intake = 0;         ///< 1: a byte is taken when it would have passed the wire
};

enum class FactGroup { kBox, kRecord, kRadio, kManners };
enum class FactFormat { kDecimal, kHexByte, kHexId, kVersion };

struct FactField {
  std::string_view name;  ///< as tests and options spell it
  FactGroup group;
  std::uint32_t Facts::*member;
  std::uint32_t max;
  FactFormat format;
};

/// All fields, in the order of the listing.
std::span<const FactField> FactFields();

/// The field of that name, or null.
const FactField* FindFact(std::string_view name);

/// The value as it is shown: "8.0", "0x123456", "1234".
std::string FactText(const Facts& facts, const FactField& field);

/// Sets a field from text; false when the text is no value of that field. Versions are written
/// "8.0" or as a byte "0x80".
bool SetFact(Facts& facts, const FactField& field, std::string_view text);

}  // namespace qmzentrel::virtual_box
