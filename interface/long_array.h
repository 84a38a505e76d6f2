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
  /// `locked`: its owner holds it in place and may not be working on it alone.
  LongArray(std::span<std::int32_t> elements, std::int32_t lower_bound, bool locked = false)
      : elements_(elements), lower_bound_(lower_bound), locked_(locked) {}

  bool Holds(std::int32_t index) const {
    const std::int64_t place = std::int64_t{index} - lower_bound_;
    return place >= 0 && place < static_cast<std::int64_t>(elements_.size());
  }
  bool IsLocked() const { return locked_; }

  /// Error 9 for an index outside.
  std::int32_t& operator[](std::int32_t index) const {
    if (!Holds(index)) RaiseError(kErrorSubscriptOutOfRange);
    return elements_[static_cast<std::size_t>(std::int64_t{index} - lower_bound_)];
  }

  /// For the error report.
  friend std::string DumpVariable(std::string_view name, const LongArray& value) {
    return DumpVariable(name, value.elements_, value.lower_bound_);
  }

 private:
  std::span<std::int32_t> elements_;
  std::int32_t lower_bound_ = 0;
  bool locked_ = false;
};

}  // namespace qmzentrel
