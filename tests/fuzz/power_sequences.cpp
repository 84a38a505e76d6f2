// The same sequences of calls each time, as many as asked for, against the rules of the supply.
// Usage: power_sequences [COUNT [FIRST]]; each sequence has a number from FIRST on. As many as
// usual have to meet late answers.
#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <random>

#include "tests/fuzz/supply_calls.h"

namespace {

constexpr unsigned long kUsualCount = 1500;

using Chance = std::array<std::uint8_t, 150>;

// What stands for chance in the sequence of this number.
Chance BytesOf(unsigned long number) {
  std::mt19937_64 generator(number);
  Chance bytes{};
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(generator());
  return bytes;
}

unsigned long NumberOr(const char* text, unsigned long otherwise) {
  if (text == nullptr) return otherwise;
  unsigned long number = 0;
  const char* end = text + std::strlen(text);
  return std::from_chars(text, end, number).ptr == end ? number : 0;
}

}  // namespace

int main(int count_of_arguments, char** arguments) {
  const unsigned long count =
      NumberOr(count_of_arguments > 1 ? arguments[1] : nullptr, kUsualCount);
  const unsigned long first = NumberOr(count_of_arguments > 2 ? arguments[2] : nullptr, 0);
  if (count == 0) {
    std::fprintf(stderr, "Usage: power_sequences [COUNT [FIRST]]\n");
    return 2;
  }
  const auto start = std::chrono::steady_clock::now();
  for (unsigned long number = first; number < first + count; ++number) {
    const auto bytes = BytesOf(number);
    FuzzedDataProvider chance(bytes.data(), bytes.size());
    qmzentrel::fuzz::RunSupplySession(chance);
  }
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
  const std::uint64_t late = qmzentrel::fuzz::LateAnswers::PassedOver();
  std::printf("%lu sequences agree with the rules, %llu late answers passed over, %.1f s\n", count,
              static_cast<unsigned long long>(late), time.count());
  if (count < kUsualCount || late > 0) return 0;
  std::fprintf(stderr, "The rule of late answers was never met.\n");
  return 1;
}
