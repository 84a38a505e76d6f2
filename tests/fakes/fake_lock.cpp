// A lock for tests. A thread that takes it twice would wait for ever; here that is an error.
#include <atomic>
#include <stdexcept>

#include "platform/process_lock.h"
#include "tests/fakes/fake_world.h"

namespace qmzentrel::platform {
namespace {

std::atomic<const void*> g_holder{nullptr};

}  // namespace

ProcessLock::ProcessLock() {
  fakes::TheWorld().Enter("ProcessLock");
  const void* const self = fakes::ThisThread();
  for (const void* nobody = nullptr; !g_holder.compare_exchange_weak(nobody, self);
       nobody = nullptr) {
    if (nobody == self) throw std::logic_error("the lock is held by this thread already");
  }
}

ProcessLock::~ProcessLock() {
  g_holder = nullptr;
}

}  // namespace qmzentrel::platform
