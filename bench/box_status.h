// Box Status by a raw program: the exchange that the component's is measured against.
#pragma once

#include "bench/raw_port.h"

namespace qmzentrel::bench {

/// Step by step what the component does: only then can a reply be told from leftovers, and a silent
/// box from a slow one.
void BoxStatusInTheSameSteps(RawPort& port);

/// One write and one read.
void BoxStatusAtItsLeast(RawPort& port);

}  // namespace qmzentrel::bench
