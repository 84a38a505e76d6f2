#include "com/array_hold.h"

#include <new>

#include "platform/win32/exclusive_lock.h"

namespace qmzentrel::com {
namespace {

using platform::ExclusiveLock;

SRWLOCK g_lock = SRWLOCK_INIT;
ArrayHold* g_first = nullptr;  // of the holds of all apartments

}  // namespace

bool IsLockedByClient(const SAFEARRAY* array) {
  const ExclusiveLock lock(g_lock);
  ULONG own = 0;
  for (const ArrayHold* hold = g_first; hold != nullptr; hold = hold->next_) {
    if (hold->array_ == array) ++own;
  }
  return array->cLocks > own;
}

ArrayHold::ArrayHold(SAFEARRAY* array) : array_(array) {
  const ExclusiveLock lock(g_lock);
  if (FAILED(SafeArrayLock(array_))) throw std::bad_alloc();
  next_ = g_first;
  g_first = this;
}

ArrayHold::~ArrayHold() {
  const ExclusiveLock lock(g_lock);
  SafeArrayUnlock(array_);
  ArrayHold** link = &g_first;
  while (*link != this) link = &(*link)->next_;
  *link = next_;
}

}  // namespace qmzentrel::com
