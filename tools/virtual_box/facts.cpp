#include "tools/virtual_box/facts.h"

#include <algorithm>
#include <cstdio>

#include "tools/virtual_box/basics.h"

namespace qmzentrel::virtual_box {
namespace {

using enum FactGroup;
using enum FactFormat;

constexpr std::uint32_t kByte = 0xFF;
constexpr std::uint32_t kNibble = 0xF;
constexpr std::uint32_t kThreeBytes = 0xFFFFFF;
constexpr std::uint32_t kTenMinutes = 600000;

constexpr FactField kFields[] = {
    {"box-version", kBox, &Facts::box_version, kByte, kVersion},
    {"battery", kBox, &Facts::battery, kByte, kDecimal},
    {"signature0", kBox, &Facts::signature0, kByte, kHexByte},
    {"signature1", kBox, &Facts::signature1, kByte, kHexByte},
    {"filler", kBox, &Facts::filler, kByte, kHexByte},
    {"transponder", kRecord, &Facts::transponder, 1, kDecimal},
    {"version", kRecord, &Facts::version, kByte, kVersion},
    {"mif", kRecord, &Facts::mif, 0x3F, kHexByte},
    {"util", kRecord, &Facts::util, kByte, kDecimal},
    {"id", kRecord, &Facts::id, kThreeBytes, kHexId},
    {"tamper", kRecord, &Facts::tamper, kByte, kDecimal},
    {"reading", kRecord, &Facts::reading, kThreeBytes, kDecimal},
    {"pll", kRecord, &Facts::pll, kNibble, kDecimal},
    {"txi", kRecord, &Facts::txi, kNibble, kDecimal},
    {"msi", kRecord, &Facts::msi, kNibble, kDecimal},
    {"freq-msb", kRadio, &Facts::freq_msb, kByte, kHexByte},
    {"freq-mid", kRadio, &Facts::freq_mid, kByte, kHexByte},
    {"freq-lsb", kRadio, &Facts::freq_lsb, kByte, kHexByte},
    {"br-msb", kRadio, &Facts::br_msb, kByte, kHexByte},
    {"br-lsb", kRadio, &Facts::br_lsb, kByte, kHexByte},
    {"pa", kRadio, &Facts::pa, kByte, kDecimal},
    {"eol", kRadio, &Facts::eol, kByte, kDecimal},
    {"leak-threshold", kRadio, &Facts::leak_threshold, kByte, kDecimal},
    {"startup-ms", kManners, &Facts::startup_ms, kTenMinutes, kDecimal},
    {"answer-ms", kManners, &Facts::answer_ms, kTenMinutes, kDecimal},
    {"gap-ms", kManners, &Facts::gap_ms, kTenMinutes, kDecimal},
    {"pace", kManners, &Facts::pace, 1, kDecimal},
    {"intake", kManners, &Facts::intake, 1, kDecimal},
};

std::optional<std::uint32_t> ParseVersion(std::string_view text) {
  const auto digit = [](char c) { return ParseNumber(std::string("0x") + c, kNibble); };
  if (text.size() == 3 && text[1] == '.') {
    const auto major = digit(text[0]);
    const auto minor = digit(text[2]);
    if (!major || !minor) return std::nullopt;
    return (*major << 4) | *minor;
  }
  // A plain "8" would mean version 0.8 to one reader and 8.0 to another.
  if (!text.starts_with("0x")) return std::nullopt;
  return ParseNumber(text, kByte);
}

}  // namespace

std::span<const FactField> FactFields() {
  return kFields;
}

const FactField* FindFact(std::string_view name) {
  const auto* const found = std::ranges::find(kFields, name, &FactField::name);
  return found == std::ranges::end(kFields) ? nullptr : found;
}

std::string FactText(const Facts& facts, const FactField& field) {
  const unsigned value = facts.*field.member;
  char text[24];
  switch (field.format) {
    case kVersion:
      std::snprintf(text, sizeof text, "%X.%X", value >> 4, value & 15);
      break;
    case kHexByte:
      std::snprintf(text, sizeof text, "0x%02X", value);
      break;
    case kHexId:
      std::snprintf(text, sizeof text, "0x%06X", value);
      break;
    case kDecimal:
      std::snprintf(text, sizeof text, "%u", value);
      break;
  }
  return text;
}

bool SetFact(Facts& facts, const FactField& field, std::string_view text) {
  const auto value = field.format == kVersion ? ParseVersion(text) : ParseNumber(text, field.max);
  if (!value) return false;
  facts.*field.member = *value;
  return true;
}

}  // namespace qmzentrel::virtual_box
