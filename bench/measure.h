// Comparing measurements: several ways to do the same are sampled in turn, so that whatever else
// the machine is doing befalls all of them, and their medians are set against each other.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace qmzentrel::bench {

/// In nanoseconds.
using Samples = std::vector<double>;

/// The monotonic clock of the system, in nanoseconds; it counts in steps of some hundred.
double NowNanoseconds();

/// One way to do it. `block` adds its samples.
struct Way {
  std::string name;
  std::function<void(Samples& samples)> block;
};

/// A way that is repeated so often for one sample, the mean of them, that the steps of the clock do
/// not show: for some hundred microseconds.
template <class Call>
Way Repeated(std::string name, unsigned calls, Call call) {
  return {std::move(name), [=](Samples& samples) mutable {
            const double start = NowNanoseconds();
            for (unsigned i = 0; i < calls; ++i) call();
            samples.push_back((NowNanoseconds() - start) / calls);
          }};
}

/// What a table shows its figures in.
struct Unit {
  const char* name;
  double nanoseconds;
};
inline constexpr Unit kNanoseconds{"ns", 1};
inline constexpr Unit kMicroseconds{"us", 1000};

struct Comparison {
  std::string title;
  Unit unit;
  int rounds;  ///< how often each way's block runs; every round begins with another way
  std::vector<Way> ways;
};

/// Runs the blocks of all ways in turn and returns the samples of each, sorted.
std::vector<Samples> Taken(int rounds, const std::vector<Way>& ways);

/// The value below which this share of the samples lies, between two of them where need be.
double Quantile(const Samples& sorted, double share);

/// Measures and prints one line a way: the median, where nine of ten samples lie, and how the
/// median compares with that of the first way.
void Measure(const Comparison& comparison);

/// Ends the program with `what` when `condition` is false: a step that fails is not measured.
void Require(bool condition, const char* what);

}  // namespace qmzentrel::bench
