// An array of 32-bit numbers that a client hands over.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "support/dump_variable.h"
#include "support/run_time_error.h"

namespace qmzentrel {

/// Stands for the client's array: what is stored here is stored there. Addressed by the client's
/// own indices. An array without dimensions has none.
class LongArray {
 public:
  LongArray() = default;
  /// `stored`, when given, has a mark for each element, which is set when the element is stored.
  LongArray(std::span<std::int32_t> elements, std::int32_t lower_bound, std::span<bool> stored = {})
      : elements_(elements), lower_bound_(lower_bound), stored_(stored) {}

  bool Holds(std::int32_t index) const {
    const std::int64_t place = std::int64_t{index} - lower_bound_;
    return place >= 0 && place < static_cast<std::int64_t>(elements_.size());
  }

  /// Error 9 for an index outside.
  std::int32_t operator[](std::int32_t index) const { return elements_[PlaceOf(index)]; }

  /// Error 9 for an index outside.
  void Store(std::int32_t index, std::int32_t value) const {
    const std::size_t place = PlaceOf(index);
    elements_[place] = value;
    if (!stored_.empty()) stored_[place] = true;
  }

  /// For the error report.
  friend std::string DumpVariable(std::string_view name, const LongArray& value) {
    return DumpVariable(name, value.elements_, value.lower_bound_);
  }

 private:
  std::size_t PlaceOf(std::int32_t index) const {
    if (!Holds(index)) RaiseError(kErrorSubscriptOutOfRange);
    return static_cast<std::size_t>(std::int64_t{index} - lower_bound_);
  }

  std::span<std::int32_t> elements_;
  std::int32_t lower_bound_ = 0;
  std::span<bool> stored_;
};

}  // namespace qmzentrel
