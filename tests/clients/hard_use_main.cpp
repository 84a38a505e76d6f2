// The tests of hard use, or the part of a client that one of them has started this program for.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdio>
#include <string>

#include "tests/clients/client_process.h"

namespace {

/// Ends the program with a word about it when a test hangs, whatever threads it has.
class HangGuard : public testing::EmptyTestEventListener {
 public:
  HangGuard() { CloseHandle(CreateThread(nullptr, 0, Watch, this, 0, nullptr)); }

  void OnTestStart(const testing::TestInfo& test) override {
    SetNameAndCount(std::string(test.test_suite_name()) + '.' + test.name());
  }

 private:
  // Many times what any test takes on a busy machine.
  static constexpr DWORD kLimitMs = 120000;
  static constexpr DWORD kLookMs = 1000;

  void SetNameAndCount(const std::string& name) {
    AcquireSRWLockExclusive(&lock_);
    name_ = name;
    since_ = GetTickCount();
    ReleaseSRWLockExclusive(&lock_);
  }

  void EndIfHanging() {
    AcquireSRWLockExclusive(&lock_);
    if (GetTickCount() - since_ > kLimitMs) {
      std::fprintf(stderr, "%s hangs\n", name_.c_str());
      std::fflush(nullptr);
      TerminateProcess(GetCurrentProcess(), 3);
    }
    ReleaseSRWLockExclusive(&lock_);
  }

  [[noreturn]] __attribute__((force_align_arg_pointer)) static DWORD WINAPI Watch(void* guard) {
    while (true) {
      Sleep(kLookMs);
      static_cast<HangGuard*>(guard)->EndIfHanging();
    }
  }

  SRWLOCK lock_ = SRWLOCK_INIT;
  std::string name_ = "The start";
  DWORD since_ = GetTickCount();
};

}  // namespace

int main(int argc, char** argv) {
  if (const auto code = qmzentrel::clients::PlayPart(argc, argv)) return *code;
  testing::InitGoogleTest(&argc, argv);
  testing::UnitTest::GetInstance()->listeners().Append(new HangGuard);
  return RUN_ALL_TESTS();
}
