// The transponder's record and the facts of the box by their rules: what a reply sets, and what a
// frame carries.
#pragma once

#include <cstdint>
#include <optional>

#include "tests/fuzz/seen.h"

namespace qmzentrel::fuzz {

class RecordModel {
 public:
  void Set(Property property, std::int32_t value);
  /// Of what is here; the rest of it is left as it is.
  void Show(Shown& shown) const;

  /// The four bytes of box facts at `facts`.
  void TakeBoxFacts(const std::uint8_t* facts);
  void TakeBlock1(const Bytes& reply);
  void TakeBlock2(const Bytes& reply);
  void ClearBlock1();
  void ClearBlock2();

  bool InRange() const;
  /// Brings the tamper count in line with the leak flag.
  void AdjustLeak();
  Bytes Block1() const;
  /// None when a value does not fit its byte.
  std::optional<Bytes> Block2() const;
  bool HasBlock2() const;

  bool IsElectric() const { return signature_[0] == 0xA6; }
  std::uint8_t Signature() const { return signature_[0]; }

 private:
  std::int32_t At(Property property) const { return values_[property]; }
  std::int32_t MifByte() const;
  void TakeMif(std::int32_t value);

  /// kDeviceMif holds the type alone.
  std::array<std::int32_t, kProperties> values_{};
  std::optional<std::uint8_t> version_;
  std::optional<std::uint8_t> box_version_;
  std::array<std::uint8_t, 2> signature_{};
  std::uint8_t battery_ = 0;
};

}  // namespace qmzentrel::fuzz
