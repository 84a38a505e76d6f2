// Runs the box in a session of its own (Linux).
#pragma once

#include <functional>

namespace qmzentrel::virtual_box {

/// Runs `work` in a child process that leads a session of its own, so that its pseudo-terminal can
/// be the controlling terminal of that session. The calling process stays where its user started
/// it, passes interrupts on, and returns what `work` returned; when it is killed the child ends
/// too.
int RunInOwnSession(const std::function<int()>& work);

}  // namespace qmzentrel::virtual_box
