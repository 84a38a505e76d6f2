// How long a call holds its caller, in virtual time.
#pragma once

#include <chrono>
#include <cmath>
#include <functional>
#include <string>

#include "tests/fakes/fake_world.h"

namespace qmzentrel::tests {

inline double DurationOf(const std::function<void()>& call) {
  const fakes::Microseconds start = fakes::TheWorld().now;
  call();
  return std::chrono::duration<double>(fakes::TheWorld().now - start).count();
}

/// "2.5 s", to half a second: what the bytes take on the line is left out.
inline std::string TimeOf(const std::function<void()>& call) {
  const auto halves = std::lround(DurationOf(call) * 2);
  return std::to_string(halves / 2) + (halves % 2 == 0 ? "" : ".5") + " s";
}

}  // namespace qmzentrel::tests
