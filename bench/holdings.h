// What this process holds, as the operating system says and as the component has asked of it.
#pragma once

#include "tests/clients/running_timers.h"

namespace qmzentrel::bench {

struct Holdings {
  long heap;       ///< bytes in use on all heaps
  long committed;  ///< bytes of private memory
  long handles;    ///< files, ports, registry keys, events, threads
  long gdi;        ///< objects for drawing
  /// Of this process, on the desktop or for messages only. Of the other objects that Windows counts
  /// with them (GR_USEROBJECTS: menus, cursors, hooks) Wine keeps no number.
  long windows;
  long threads;
  long timers;  ///< that the component has begun and not ended
};

/// Under Wine, too, which answers 0 where Windows has a function for a number.
Holdings Held(const clients::RunningTimers& timers);

}  // namespace qmzentrel::bench
