#include "platform/process_lock.h"

#include <windows.h>

namespace qmzentrel::platform {
namespace {

SRWLOCK g_lock = SRWLOCK_INIT;

}  // namespace

ProcessLock::ProcessLock() {
  AcquireSRWLockExclusive(&g_lock);
}

ProcessLock::~ProcessLock() {
  ReleaseSRWLockExclusive(&g_lock);
}

}  // namespace qmzentrel::platform
