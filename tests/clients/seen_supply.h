// What a box of a crowd has seen of its supply.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/clients/box_crowd.h"

namespace qmzentrel::clients {

/// Whether the supply of `box` has been switched so since the last reset. A box that no line feeds,
/// as at the end of a cable, does not know; scripts/with_crowd has none of these.
inline testing::AssertionResult HasSeenSupply(CrowdBox& box, const Journal& states) {
  const Journal seen = box.Supply();
  if (seen == states) return testing::AssertionSuccess();
  const bool may_be_unfed = std::getenv("QMZ_CROWD_IS_FED") == nullptr;
  if (may_be_unfed && box.Tell("supply") == "none") return testing::AssertionSuccess();
  return testing::AssertionFailure() << "the supply was " << testing::PrintToString(seen);
}

}  // namespace qmzentrel::clients
