// GoogleTest reads this file in place of its own, which is empty.
// The win32 thread model of mingw-w64 has neither std::mutex nor std::condition_variable, which
// GoogleTest's Notification is made of. This takes its place, through the switch that GoogleTest
// has for it; the functions are declared here so that no test sees <windows.h> that did not ask for
// it.
#pragma once

#define GTEST_HAS_NOTIFICATION_ 1

struct _SECURITY_ATTRIBUTES;

extern "C" {
__declspec(dllimport) void* __stdcall CreateEventW(_SECURITY_ATTRIBUTES*, int, int, const wchar_t*);
__declspec(dllimport) int __stdcall SetEvent(void*);
__declspec(dllimport) unsigned long __stdcall WaitForSingleObject(void*, unsigned long);
__declspec(dllimport) int __stdcall CloseHandle(void*);
}

namespace testing::internal {

class Notification {
 public:
  Notification() = default;
  Notification(const Notification&) = delete;
  Notification& operator=(const Notification&) = delete;
  ~Notification() { ::CloseHandle(event_); }

  void Notify() { ::SetEvent(event_); }
  void WaitForNotification() { ::WaitForSingleObject(event_, 0xFFFFFFFF); }

 private:
  void* const event_ = ::CreateEventW(nullptr, 1, 0, nullptr);
};

}  // namespace testing::internal
