// How a fault reaches the client: an HRESULT and, for its thread, an error info with source and
// description.
#pragma once

#include <windows.h>

// After it, which it needs.
#include <oleauto.h>

#include <atomic>

#include "platform/hardware_faults.h"
#include "platform/win32/process_end.h"

namespace qmzentrel::com {

/// A fault that COM knows by a code of its own. `description` lives as long as the program.
struct ComError {
  HRESULT code;
  const char* description;
};

/// Called while an exception is handled: what it means to a client. A fault of the component
/// becomes 0x800A0000 plus its number, lack of memory E_OUTOFMEMORY, a ComError its code. The
/// thread's error info says the same in words.
HRESULT ReportErrorInProgress() noexcept;

/// The frame of an entry of COM: what `body` raises becomes its HRESULT. At the end of the process
/// it is not run: libraries that end after this one may still hold objects.
template <class Body>
HRESULT ResultOf(Body body) {
  if (platform::ProcessEnds()) return RPC_E_DISCONNECTED;
  return platform::CalledFromOutside([&]() -> HRESULT {
    try {
      return body();
    } catch (const platform::ClientUnwinding&) {
      throw;
    } catch (...) {
      return ReportErrorInProgress();
    }
  });
}

/// Moves the thread's error info into `info`, which describes the failure `code` then.
void TakeErrorInfo(HRESULT code, EXCEPINFO& info) noexcept;

/// Removes the mark that this thread has an error info of ours. To be called when a thread ends.
void ForgetErrorInfoOfThread() noexcept;

namespace internal {
extern std::atomic<int> g_threads_with_error_info;
void DropErrorInfoOfThread() noexcept;
}  // namespace internal

/// Drops an error info that an earlier call on this thread has left: it must not be taken for this
/// call's. At the start of every call, hence the test first, which is all that a call pays as long
/// as no thread has one.
inline void DropStaleErrorInfo() noexcept {
  if (internal::g_threads_with_error_info.load(std::memory_order_relaxed) > 0) {
    internal::DropErrorInfoOfThread();
  }
}

}  // namespace qmzentrel::com
