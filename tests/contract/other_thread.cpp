// A second thread, on both sides of the seam: a fake is linked into Windows programs too, where the
// compiler in use has no std::thread.
#include "tests/contract/harness.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <thread>
#endif

namespace qmzentrel::contract {

#ifdef _WIN32

namespace {

DWORD WINAPI Run(void* body) {
  (*static_cast<const std::function<void()>*>(body))();
  return 0;
}

}  // namespace

void RunOnAnotherThread(const std::function<void()>& body) {
  const HANDLE thread =
      CreateThread(nullptr, 0, Run, const_cast<std::function<void()>*>(&body), 0, nullptr);
  WaitForSingleObject(thread, INFINITE);
  CloseHandle(thread);
}

#else

void RunOnAnotherThread(const std::function<void()>& body) {
  std::thread(body).join();
}

#endif

}  // namespace qmzentrel::contract
