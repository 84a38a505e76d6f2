// A second client thread beside the one that runs the tests.
#pragma once

#include <windows.h>

#include <functional>
#include <string>

#include "platform/win32/handle.h"

namespace qmzentrel::clients {

/// A thread with an apartment of that kind (COINIT_…) in which `body` runs, at once.
class OtherApartment {
 public:
  /// `stack` is the size of its stack in bytes, 0 for that of the program.
  OtherApartment(DWORD kind, std::function<void()> body, SIZE_T stack = 0);
  /// Dispatches messages until the thread has ended.
  ~OtherApartment();
  OtherApartment(const OtherApartment&) = delete;
  OtherApartment& operator=(const OtherApartment&) = delete;

  /// The same; throws std::runtime_error when `body` has thrown or never ran.
  void Join();

 private:
  static DWORD WINAPI Main(void* argument);
  void Await();

  DWORD kind_;
  std::function<void()> body_;
  std::string failure_;
  platform::OwnedHandle thread_;
};

}  // namespace qmzentrel::clients
