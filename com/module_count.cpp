#include "com/module_count.h"

#include <atomic>

#include "support/modCOM_XTimerSupport.h"

namespace qmzentrel::com {
namespace {

std::atomic<long> g_objects{0};
std::atomic<long> g_locks{0};

}  // namespace

ModuleReference::ModuleReference() noexcept {
  ++g_objects;
}

ModuleReference::~ModuleReference() {
  --g_objects;
}

bool LockModule(bool lock) noexcept {
  if (lock) {
    ++g_locks;
    return true;
  }
  long held = g_locks;
  while (held > 0) {
    if (g_locks.compare_exchange_weak(held, held - 1)) return true;
  }
  return false;
}

bool ModuleInUse() noexcept {
  return g_objects != 0 || g_locks != 0 || modCOM_XTimerSupport::RunningTimers() != 0;
}

}  // namespace qmzentrel::com
