// Messages of a sub-device and their lengths out of random data.
#pragma once

#include <limits>

#include "tests/fuzz/drawn_number.h"
#include "tests/fuzz/telic2_model.h"

namespace qmzentrel::fuzz {

inline std::int32_t DrawnMessage(FuzzedDataProvider& input) {
  constexpr std::int32_t kEnds[] = {std::numeric_limits<std::int32_t>::min(),
                                    std::numeric_limits<std::int32_t>::max(),
                                    -1,
                                    99,
                                    255,
                                    256};
  return DrawnNumber(input, kEnds, 0, 12);
}

inline Numbers DrawnMessages(FuzzedDataProvider& input, std::size_t count) {
  Numbers numbers(count);
  for (std::int32_t& number : numbers) number = DrawnMessage(input);
  return numbers;
}

/// Messages 0 to 12, mostly of few bytes.
inline Telic2Catalog DrawnCatalog(FuzzedDataProvider& input) {
  const auto length = [&input] {
    return input.ConsumeIntegralInRange(0, 9) > 0 ? input.ConsumeIntegralInRange(-1, 5)
                                                  : DrawnMessage(input);
  };
  Telic2Catalog catalog;
  for (std::int32_t message = 0; message <= 12; ++message) {
    const std::int32_t bytes = length();
    const std::int32_t written = length();
    catalog.push_back({message, bytes, written, length()});
  }
  return catalog;
}

}  // namespace qmzentrel::fuzz
