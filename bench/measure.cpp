#include "bench/measure.h"

#include <windows.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

namespace qmzentrel::bench {

double Quantile(const Samples& sorted, double share) {
  const double place = share * static_cast<double>(sorted.size() - 1);
  const auto below = static_cast<std::size_t>(place);
  const std::size_t above = std::min(below + 1, sorted.size() - 1);
  return std::lerp(sorted[below], sorted[above], place - static_cast<double>(below));
}

double NowNanoseconds() {
  LARGE_INTEGER frequency;
  LARGE_INTEGER count;
  QueryPerformanceFrequency(&frequency);
  QueryPerformanceCounter(&count);
  return static_cast<double>(count.QuadPart) * 1e9 / static_cast<double>(frequency.QuadPart);
}

std::vector<Samples> Taken(int rounds, const std::vector<Way>& ways) {
  std::vector<Samples> samples(ways.size());
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t i = 0; i < ways.size(); ++i) {
      const std::size_t turn = (i + static_cast<std::size_t>(round)) % ways.size();
      ways[turn].block(samples[turn]);
    }
  }
  for (Samples& of_way : samples) std::ranges::sort(of_way);
  return samples;
}

void Measure(const Comparison& comparison) {
  const std::vector<Samples> samples = Taken(comparison.rounds, comparison.ways);

  std::printf("\n%s\n  %-44s %10s %10s %10s %10s %8s\n", comparison.title.c_str(), "", "median",
              "5 %", "95 %", "difference", "ratio");
  const auto print_time = [&](double nanoseconds) {
    std::printf(" %7.1f %s", nanoseconds / comparison.unit.nanoseconds, comparison.unit.name);
  };
  double first = 0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double median = Quantile(samples[i], 0.5);
    if (i == 0) first = median;
    std::printf("  %-44s", comparison.ways[i].name.c_str());
    print_time(median);
    print_time(Quantile(samples[i], 0.05));
    print_time(Quantile(samples[i], 0.95));
    print_time(median - first);
    std::printf(" %8.3g\n", median / first);
  }
  std::fflush(stdout);
}

void Require(bool condition, const char* what) {
  if (condition) return;
  std::fflush(stdout);
  std::fprintf(stderr, "Cannot measure: %s\n", what);
  std::exit(EXIT_FAILURE);
}

}  // namespace qmzentrel::bench
