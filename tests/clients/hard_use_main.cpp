// The tests of hard use, or the part of a client that one of them has started this program for.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <string>

#include "platform/win32/exclusive_lock.h"
#include "tests/clients/box_crowd.h"
#include "tests/clients/client_process.h"
#include "tests/com_box/played_box.h"

namespace {

using qmzentrel::clients::CrowdSize;
using qmzentrel::com_box::PlayedBox;
using qmzentrel::platform::ExclusiveLock;

/// Says which test hangs, whatever threads it has, and ends the program. Where a script has set a
/// limit, it leaves the end to that one, which shows the stacks first.
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
    const ExclusiveLock lock(lock_);
    name_ = name;
    since_ = GetTickCount();
    is_said_ = false;
  }

  void LookForAHang() {
    const ExclusiveLock lock(lock_);
    if (is_said_ || GetTickCount() - since_ <= kLimitMs) return;
    std::fprintf(stderr, "%s hangs\n", name_.c_str());
    std::fflush(nullptr);
    is_said_ = true;
    if (!has_limit_) TerminateProcess(GetCurrentProcess(), 3);
  }

  [[noreturn]] __attribute__((force_align_arg_pointer)) static DWORD WINAPI Watch(void* guard) {
    while (true) {
      Sleep(kLookMs);
      static_cast<HangGuard*>(guard)->LookForAHang();
    }
  }

  SRWLOCK lock_ = SRWLOCK_INIT;
  std::string name_ = "The start";
  DWORD since_ = GetTickCount();
  bool is_said_ = false;
  const bool has_limit_ = std::getenv("QMZ_TEST_LIMIT") != nullptr;
};

/// Where no script has made a crowd: one of a single box, at the other end of a cable, or of none.
std::optional<PlayedBox> PlayCrowd() {
  if (std::getenv("QMZ_CROWD") != nullptr) return std::nullopt;
  PlayedBox box({});
  const bool is_there = box.ControlPort() != 0;
  _putenv_s("QMZ_CROWD", is_there ? "1" : "0");
  if (is_there) {
    const std::string port =
        std::to_string(qmzentrel::virtual_box::NumberFromEnvironment("QMZ_PORT").value());
    _putenv_s("QMZ_CROWD_FIRST_PORT", port.c_str());
    _putenv_s(("QMZ_BOX_CONTROL_" + port).c_str(), std::to_string(box.ControlPort()).c_str());
  }
  return box;
}

struct Need {
  int boxes;
  const char* tests;
};
constexpr Need kNeeds[] = {
    {1, "EndingProcesses.*:EndingThreads.*:EndlessRecursion.*:NeverPumping.*"},
    {1, "MarshalledClients.AllShareAnObjectAndItsBox"},
    {6, "MarshalledClients.EachHasAnObjectAndABoxOfItsOwn:Crowd.*:SlowBox.*"},
};

/// Where there are too few boxes for them; says which.
void LeaveTestsOut() {
  for (const Need& need : kNeeds) {
    if (CrowdSize() >= need.boxes) continue;
    std::printf("Left out, with %d boxes: %s\n", CrowdSize(), need.tests);
    std::string filter = GTEST_FLAG_GET(filter);
    filter += filter.find('-') == std::string::npos ? '-' : ':';
    GTEST_FLAG_SET(filter, filter + need.tests);
  }
}

}  // namespace

int main(int argc, char** argv) try {
  if (const auto code = qmzentrel::clients::PlayPart(argc, argv)) return *code;
  testing::InitGoogleTest(&argc, argv);
  const auto box = PlayCrowd();
  LeaveTestsOut();
  testing::UnitTest::GetInstance()->listeners().Append(new HangGuard);
  return RUN_ALL_TESTS();
} catch (const std::exception& error) {
  std::fprintf(stderr, "no box: %s\n", error.what());
  return EXIT_FAILURE;
}
