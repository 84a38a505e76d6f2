// What the operating system says that this process holds.
#pragma once

namespace qmzentrel::bench {

struct Holdings {
  long heap;       ///< bytes in use on all heaps
  long committed;  ///< bytes of private memory
  long handles;    ///< files, ports, registry keys, events, threads
  long gdi;        ///< objects for drawing
  long windows;    ///< of this process, on the desktop or for messages only
  long threads;
};

/// Under Wine, too, which answers 0 where Windows has a function for a number.
Holdings Held();

}  // namespace qmzentrel::bench
