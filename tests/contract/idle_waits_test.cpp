// Waits of the real platform sleep in the kernel: what a wait costs shows only there.
#include <gtest/gtest.h>
#include <windows.h>

#include <array>

#include "platform/message_loop.h"
#include "platform/pause.h"
#include "platform/serial_port.h"
#include "tests/contract/dialog_recorder.h"
#include "tests/contract/harness.h"

namespace qmzentrel {
namespace {

constexpr std::int32_t kWaitMs = 500;
// A wait that polls would use all of its time.
constexpr double kMostMs = kWaitMs / 4.0;

// Processor time that this process has used, in milliseconds.
double ProcessorMs() {
  FILETIME unused;
  FILETIME kernel;
  FILETIME user;
  GetProcessTimes(GetCurrentProcess(), &unused, &unused, &kernel, &user);
  const auto ms = [](const FILETIME& time) {
    constexpr double kTicksPerMs = 10'000.0;
    return (time.dwHighDateTime * 4294967296.0 + time.dwLowDateTime) / kTicksPerMs;
  };
  return ms(kernel) + ms(user);
}

// What `wait` uses while it lasts.
template <class Wait>
double CostMs(Wait wait) {
  const double begin = contract::MonotonicMs();
  const double before = ProcessorMs();
  wait();
  const double cost = ProcessorMs() - before;
  EXPECT_GE(contract::MonotonicMs() - begin, kWaitMs - contract::kTickMs);
  return cost;
}

TEST(IdleWaits, TheMeasureSeesABusyLoop) {
  const double cost = CostMs([] {
    const double end = contract::MonotonicMs() + kWaitMs;
    while (contract::MonotonicMs() < end) {
    }
  });
  EXPECT_GT(cost, kMostMs);
}

TEST(IdleWaits, APauseCostsNothing) {
  EXPECT_LT(CostMs([] { platform::Pause(kWaitMs); }), kMostMs);
}

TEST(IdleWaits, AQuietTurnCostsNothing) {
  platform::YieldingWait wait;
  EXPECT_LT(CostMs([&] { wait.Turn(kWaitMs); }), kMostMs);
}

TEST(IdleWaits, AQuietTurnAfterTheEndOfTheProgramCostsNothing) {
  {
    platform::YieldingWait wait;
    contract::PostQuit(7);
    wait.Turn(0);
    EXPECT_LT(CostMs([&] { wait.Turn(kWaitMs); }), kMostMs);
  }
  EXPECT_EQ(contract::TakeQuit(), 7);
}

// A message may bring a whole command of another thread, and the next when that has ended: a wait
// whose time is over must not serve all of them first.
TEST(IdleWaits, ATurnEndsBehindAMessageThatHasTakenLong) {
  constexpr int kCommands = 5;
  { platform::YieldingWait().Turn(0); }  // what tests before have left
  int served = 0;
  for (int i = 0; i < kCommands; ++i) {
    contract::PostCall([&] {
      Sleep(200);
      ++served;
    });
  }
  platform::YieldingWait wait;
  wait.Turn(0);
  EXPECT_EQ(served, 1);
  while (served < kCommands) wait.Turn(0);
}

TEST(IdleWaits, ADialogThatIsUpCostsNothing) {
  const platform::DialogContent content = contract::FullContent("An idle dialog");
  contract::DialogRecorder recorder;
  double cost = kWaitMs;
  contract::ShowToUser(content, recorder, [&cost](contract::DialogUser&) {
    cost = CostMs([] { platform::Pause(kWaitMs); });
  });
  EXPECT_LT(cost, kMostMs);
}

class IdleReads : public testing::Test {
 protected:
  void SetUp() override {
    if (!contract::HasSerialDevice()) GTEST_SKIP() << "no serial port was made available";
    contract::ResetDevice();
    ASSERT_TRUE(port_.Open(contract::DevicePort(), platform::SerialSettings{}, {}));
  }
  void TearDown() override {
    port_.Close();
    if (contract::HasSerialDevice()) contract::ResetDevice();
  }
  double CostOfRead() {
    std::array<std::uint8_t, 19> buffer{};
    return CostMs([&] { EXPECT_EQ(port_.Read(buffer, kWaitMs), 0u); });
  }

  platform::SerialPort port_;
};

TEST_F(IdleReads, WaitingForASilentDeviceCostsNothing) {
  EXPECT_LT(CostOfRead(), kMostMs);
}

TEST_F(IdleReads, WaitingForAVanishedPortCostsNothing) {
  contract::DeviceVanishes();
  EXPECT_LT(CostOfRead(), kMostMs);
  EXPECT_LT(CostOfRead(), kMostMs);
}

}  // namespace
}  // namespace qmzentrel
