#include "tests/faults/memory_use.h"

#include <windows.h>

/* After it, which it needs. */
#include <psapi.h>

unsigned HeapUse(void) {
  enum { kMostHeaps = 64 };
  HANDLE heaps[kMostHeaps];
  const DWORD count = GetProcessHeaps(kMostHeaps, heaps);
  unsigned bytes = 0;
  for (DWORD index = 0; index < count && index < kMostHeaps; ++index) {
    PROCESS_HEAP_ENTRY entry = {0};
    HeapLock(heaps[index]);
    while (HeapWalk(heaps[index], &entry)) {
      if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) bytes += entry.cbData;
    }
    HeapUnlock(heaps[index]);
  }
  return bytes;
}

unsigned PrivateUse(void) {
  PROCESS_MEMORY_COUNTERS counters = {.cb = sizeof counters};
  GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
  /* Both are the same under Windows; Wine counts this one alone. */
  return (unsigned)counters.PagefileUsage;
}
