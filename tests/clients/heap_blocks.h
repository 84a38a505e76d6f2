// What the process holds of memory, counted in blocks.
#pragma once

#include <windows.h>

namespace qmzentrel::clients {

/// Blocks that are in use on all heaps of the process.
inline std::size_t BlocksInUse() {
  HANDLE heaps[64];
  const DWORD count = GetProcessHeaps(64, heaps);
  std::size_t blocks = 0;
  for (DWORD i = 0; i < count && i < 64; ++i) {
    HeapLock(heaps[i]);
    PROCESS_HEAP_ENTRY entry{};
    while (HeapWalk(heaps[i], &entry)) {
      if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) ++blocks;
    }
    HeapUnlock(heaps[i]);
  }
  return blocks;
}

}  // namespace qmzentrel::clients
