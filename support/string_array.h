// An array of texts with bounds of its own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <string>
#include <vector>

#include "support/run_time_error.h"

namespace qmzentrel {

/// Not dimensioned at first: then every index is error 9.
class StringArray {
 public:
  /// Empty texts from `lower` to `upper`; what was there is gone. Error 9 when `upper` is below
  /// `lower`, error 7 when there is no room for so many; then the array is as it was.
  void ReDim(std::int32_t lower, std::int32_t upper) {
    if (upper < lower) RaiseError(kErrorSubscriptOutOfRange);
    const std::int64_t count = std::int64_t{upper} - lower + 1;
    if (static_cast<std::uint64_t>(count) > elements_.max_size()) throw std::bad_alloc();
    elements_ = std::vector<std::string>(static_cast<std::size_t>(count));
    lower_ = lower;
  }
  void Erase() { *this = {}; }

  /// Error 9 for an index outside.
  const std::string& operator[](std::int32_t index) const { return elements_[Place(index)]; }
  std::string& operator[](std::int32_t index) { return elements_[Place(index)]; }

  std::int32_t LowerBound() const { return lower_; }
  std::int32_t UpperBound() const {
    return static_cast<std::int32_t>(lower_ + static_cast<std::int64_t>(elements_.size()) - 1);
  }
  const std::vector<std::string>& Elements() const { return elements_; }

 private:
  std::size_t Place(std::int32_t index) const {
    const std::int64_t place = std::int64_t{index} - lower_;
    if (place < 0 || place >= static_cast<std::int64_t>(elements_.size())) {
      RaiseError(kErrorSubscriptOutOfRange);
    }
    return static_cast<std::size_t>(place);
  }

  std::vector<std::string> elements_;
  std::int32_t lower_ = 0;
};

}  // namespace qmzentrel
