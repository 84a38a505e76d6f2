#include "platform/win32/thread_indices.h"

#include <cxxabi.h>
#include <windows.h>

#include <array>
#include <atomic>
#include <cstddef>

#include "platform/win32/exclusive_lock.h"

namespace qmzentrel::platform {
namespace {

// One of the run-time library, and one for each ApartmentSlot: the timers of the thread, the last
// error, the mark of its description, the dialog.
constexpr std::size_t kNeeded = 5;

std::atomic<bool> g_has_them{false};
SRWLOCK g_lock = SRWLOCK_INIT;

bool AreFree() {
  std::array<DWORD, kNeeded> indices{};
  std::size_t taken = 0;
  while (taken < kNeeded && (indices[taken] = TlsAlloc()) != TLS_OUT_OF_INDEXES) ++taken;
  const bool enough = taken == kNeeded;
  while (taken > 0) TlsFree(indices[--taken]);
  return enough;
}

}  // namespace

bool HasThreadIndices() noexcept {
  if (g_has_them) return true;
  // One thread at a time, or each would find those missing that the other is counting.
  const ExclusiveLock lock(g_lock);
  // Asking for what it keeps of each thread has the run-time library take its index.
  if (!g_has_them && AreFree() && abi::__cxa_get_globals() != nullptr) g_has_them = true;
  return g_has_them;
}

}  // namespace qmzentrel::platform
