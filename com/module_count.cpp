#include "com/module_count.h"

#include <atomic>

#include "support/modCOM_XTimerSupport.h"

namespace qmzentrel::com {
namespace {

std::atomic<long> objects{0};
std::atomic<long> locks{0};

}  // namespace

ModuleReference::ModuleReference() noexcept {
  ++objects;
}

ModuleReference::~ModuleReference() {
  --objects;
}

bool LockModule(bool lock) noexcept {
  if (lock) {
    ++locks;
    return true;
  }
  long held = locks;
  while (held > 0) {
    if (locks.compare_exchange_weak(held, held - 1)) return true;
  }
  return false;
}

bool ModuleInUse() noexcept {
  return objects != 0 || locks != 0 || modCOM_XTimerSupport::RunningTimers() != 0;
}

}  // namespace qmzentrel::com
