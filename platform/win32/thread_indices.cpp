#include "platform/win32/thread_indices.h"

#include <cxxabi.h>
#include <windows.h>

#include <array>
#include <atomic>
#include <cstddef>

namespace qmzentrel::platform {
namespace {

// One of the run-time library, and those of ApartmentSlot.
constexpr std::size_t kNeeded = 4;

std::atomic<bool> g_has_them{false};

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
  // The second takes the one of the run-time library.
  g_has_them = AreFree() && abi::__cxa_get_globals() != nullptr;
  return g_has_them;
}

}  // namespace qmzentrel::platform
