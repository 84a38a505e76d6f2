// Tests in real time on a machine that has other things to do: what a box was kept from by the
// machine is no fault of the library's.
#pragma once

#include <windows.h>

#include <functional>

namespace qmzentrel::clients {

/// Runs `attempt`, whose failures are those of the test. But an attempt that fails while the
/// machine has held the test or its box up (QMZ_BOX_CONTROL), once for `spare_ms` or longer, shows
/// nothing: it is done again, a few times at most, and says so. How long is measured all the while:
/// the box is asked for its clock again and again, and answers when it, this program and the system
/// between them have had their turn. So a failure without such a pause counts at once, and one that
/// comes each time counts as well, and so does any once a program has repeated too much.
void UnlessHeldUp(DWORD spare_ms, const std::function<void()>& attempt);

/// Runs one step of an attempt. False when it has ended early: the next one has nothing to stand
/// on.
bool GoesOnAfter(const std::function<void()>& step);

}  // namespace qmzentrel::clients
