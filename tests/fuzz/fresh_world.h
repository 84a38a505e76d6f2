// The component in a world of its own for one input, with an eye on what it reports and leaves.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tests/fakes/fake_object.h"

namespace qmzentrel::fuzz {

/// Requires at its end that nothing is left open or running.
class FreshWorld {
 public:
  FreshWorld();
  ~FreshWorld();
  FreshWorld(const FreshWorld&) = delete;
  FreshWorld& operator=(const FreshWorld&) = delete;

  /// Runs what a client does. The number that was reported, 0 when nothing was: requires one report
  /// of whatever leaves, and that it leaves as 65535.
  std::int32_t FaultOf(const std::function<void()>& action);

 private:
  fakes::FakeObject error_handler_;
  std::vector<std::int32_t> reported_;
};

}  // namespace qmzentrel::fuzz
