// A number out of random data.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>

namespace qmzentrel::fuzz {

/// Mostly from `low` to `high`, now and then one of `ends`, where rules change, or any at all.
template <std::size_t kCount>
std::int32_t DrawnNumber(FuzzedDataProvider& input, const std::int32_t (&ends)[kCount],
                         std::int32_t low, std::int32_t high) {
  switch (input.ConsumeIntegralInRange(0, 9)) {
    case 0:
      return input.ConsumeIntegral<std::int32_t>();
    case 1:
      return input.PickValueInArray(ends);
    default:
      return input.ConsumeIntegralInRange(low, high);
  }
}

}  // namespace qmzentrel::fuzz
