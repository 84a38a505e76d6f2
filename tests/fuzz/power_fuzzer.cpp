// The supply of the box in random sequences of commands, modes, ticks and faults.
#include "tests/fuzz/supply_calls.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider chance(data, size);
  qmzentrel::fuzz::RunSupplySession(chance);
  return 0;
}
