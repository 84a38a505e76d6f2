#include "tests/core/failing_memory.h"

#include <cstdlib>
#include <new>

namespace qmzentrel::tests {
namespace {

enum class Failing { kNone, kAll, kOne };

thread_local Failing g_failing = Failing::kNone;
thread_local int g_spared = 0;
thread_local bool g_has_failed = false;

bool Fails() {
  if (g_failing == Failing::kNone) return false;
  if (g_failing == Failing::kOne && g_spared-- > 0) return false;
  if (g_failing == Failing::kOne) g_failing = Failing::kNone;
  g_has_failed = true;
  return true;
}

}  // namespace

MemoryRunsOut::MemoryRunsOut() {
  g_has_failed = false;
  g_failing = Failing::kAll;
}

MemoryRunsOut::MemoryRunsOut(int spared) {
  g_has_failed = false;
  g_spared = spared;
  g_failing = Failing::kOne;
}

MemoryRunsOut::~MemoryRunsOut() {
  g_failing = Failing::kNone;
}

bool MemoryRunsOut::HasFailed() {
  return g_has_failed;
}

}  // namespace qmzentrel::tests

// Those of the whole program.
void* operator new(std::size_t size) {
  if (qmzentrel::tests::Fails()) throw std::bad_alloc();
  if (void* const memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
