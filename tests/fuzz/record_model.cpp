#include "tests/fuzz/record_model.h"

#include <algorithm>
#include <cstdio>

namespace qmzentrel::fuzz {
namespace {

constexpr Property kRadio[] = {kFreqMsb, kFreqMid,   kFreqLsb,   kRateMsb,
                               kRateLsb, kPaControl, kEolControl};
constexpr std::int32_t kLeakBit = 128;

struct Range {
  Property property;
  std::int32_t most;
};
constexpr Range kRanges[] = {{kUtil, 255},  {kDeviceMif, 63}, {kXpdr, 0xFFFFFF},    {kTamper, 255},
                             {kWarmup, 15}, {kInterval, 15},  {kReading, 0xFFFFFF}, {kMsi, 15}};

std::string Digits(std::optional<std::uint8_t> version) {
  if (!version) return "";
  char text[8];
  std::snprintf(text, sizeof text, "%X.%X", *version >> 4, *version & 15);
  return text;
}

std::int32_t Word(const Bytes& bytes, std::size_t place) {
  return bytes[place] * 65536 + bytes[place + 1] * 256 + bytes[place + 2];
}

void Put(Bytes& frame, std::int32_t value) {
  frame.push_back(static_cast<std::uint8_t>(value));
}

void PutWord(Bytes& frame, std::int32_t value) {
  Put(frame, value / 65536);
  Put(frame, value / 256 % 256);
  Put(frame, value % 256);
}

}  // namespace

void RecordModel::Set(Property property, std::int32_t value) {
  if (property == kDeviceMif) {
    TakeMif(value);
  } else if (property == kThreshold) {
    values_[property] = std::min(value, 255);
  } else {
    values_[property] = value;
  }
}

void RecordModel::Show(Shown& shown) const {
  shown.properties = values_;
  shown.properties[kDeviceMif] = MifByte();
  shown.transponder_version = Digits(version_);
  shown.box_version = Digits(box_version_);
  shown.signature = {signature_[0], signature_[1]};
  shown.volts = static_cast<float>(battery_ * 0.039);
}

void RecordModel::TakeBoxFacts(const std::uint8_t* facts) {
  box_version_ = facts[0];
  battery_ = facts[1];
  signature_ = {facts[2], facts[3]};
}

void RecordModel::TakeBlock1(const Bytes& reply) {
  TakeMif(reply[0]);
  values_[kUtil] = reply[1];
  values_[kXpdr] = Word(reply, 2);
  values_[kTamper] = reply[5];
  values_[kReading] = Word(reply, 6);
  values_[kWarmup] = reply[9] / 16;
  values_[kInterval] = reply[9] % 16;
  values_[kMsi] = reply[10] % 16;
  version_ = reply[11];
  const bool counts_leaks = *version_ / 16 == 8 || *version_ / 16 == 9;
  values_[kHasLeak] = counts_leaks && At(kTamper) >= kLeakBit;
  if (At(kHasLeak) && !At(kMifSelect)) values_[kTamper] -= kLeakBit;
  TakeBoxFacts(&reply[12]);
}

void RecordModel::TakeBlock2(const Bytes& reply) {
  std::size_t place = 1;
  for (const Property property : kRadio) values_[property] = reply[place++];
  values_[kThreshold] = 255 - reply[8];
}

void RecordModel::ClearBlock1() {
  for (const Property property : {kDeviceMif, kIdToggle, kMifSelect, kUtil, kXpdr, kTamper,
                                  kReading, kWarmup, kInterval, kMsi, kHasLeak}) {
    values_[property] = 0;
  }
  version_ = 0;
}

void RecordModel::ClearBlock2() {
  for (const Property property : kRadio) values_[property] = 0;
  values_[kEolControl] = 23;
  values_[kThreshold] = 255;
}

bool RecordModel::InRange() const {
  return std::all_of(std::begin(kRanges), std::end(kRanges), [this](const Range& range) {
    return At(range.property) >= 0 && At(range.property) <= range.most;
  });
}

void RecordModel::AdjustLeak() {
  if (At(kHasLeak) && At(kTamper) < kLeakBit) {
    values_[kTamper] += kLeakBit;
  } else if (!At(kHasLeak) && At(kTamper) >= kLeakBit) {
    values_[kTamper] -= kLeakBit;
  }
}

Bytes RecordModel::Block1() const {
  Bytes frame;
  Put(frame, MifByte());
  Put(frame, At(kUtil));
  PutWord(frame, At(kXpdr));
  Put(frame, At(kTamper));
  PutWord(frame, At(kReading));
  Put(frame, At(kWarmup) * 16 + At(kInterval));
  Put(frame, At(kMsi));
  Put(frame, 0);
  return frame;
}

std::optional<Bytes> RecordModel::Block2() const {
  Numbers numbers;
  for (const Property property : kRadio) numbers.push_back(At(property));
  Bytes frame;
  Put(frame, MifByte());
  for (const std::int32_t number : numbers) {
    if (number < 0 || number > 255) return std::nullopt;
    Put(frame, number);
  }
  if (At(kThreshold) < 0) return std::nullopt;
  Put(frame, 255 - At(kThreshold));
  for (const std::int32_t fixed : {0, 0x20, 0}) Put(frame, fixed);
  return frame;
}

// A version that begins with a letter counts as 0.
bool RecordModel::HasBlock2() const {
  const int major = version_.value_or(0) / 16;
  return major < 4 || major >= 8;
}

std::int32_t RecordModel::MifByte() const {
  return At(kDeviceMif) + (At(kIdToggle) ? 16 : 0) + (At(kMifSelect) ? 32 : 0);
}

void RecordModel::TakeMif(std::int32_t value) {
  values_[kDeviceMif] = value & 15;
  values_[kIdToggle] = (value & 16) != 0;
  values_[kMifSelect] = (value & 32) != 0;
}

}  // namespace qmzentrel::fuzz
