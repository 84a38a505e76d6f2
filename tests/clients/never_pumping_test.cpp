// A client that has an apartment of its own and never dispatches a message in it.
#include <gtest/gtest.h>

#include "tests/clients/box_client.h"
#include "tests/clients/box_crowd.h"
#include "tests/clients/message_pump.h"
#include "tests/clients/other_apartment.h"
#include "tests/clients/seen_supply.h"

namespace qmzentrel::clients {
namespace {

// Longer than the count-down of one second.
constexpr DWORD kPastTheCountDownMs = 1400;

// Processor time of the process, in milliseconds.
std::uint64_t ProcessorTimeMs() {
  FILETIME made;
  FILETIME ended;
  FILETIME in_system;
  FILETIME in_program;
  GetProcessTimes(GetCurrentProcess(), &made, &ended, &in_system, &in_program);
  const auto ms = [](const FILETIME& time) {
    constexpr std::uint64_t kUnitsInMs = 10000;
    return ((std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime) / kUnitsInMs;
  };
  return ms(in_system) + ms(in_program);
}

class NeverPumping : public testing::Test {
 protected:
  // What a client does between its calls.
  static void DoSomethingElse() {
    const std::uint64_t before = ProcessorTimeMs();
    Sleep(kPastTheCountDownMs);
    EXPECT_LT(ProcessorTimeMs() - before, kPastTheCountDownMs / 4);
  }

  static void StartCountDown(BoxClient& client) {
    client.Let(&_Zentrel::put_PowerTimeout, 1);
    client.Let(&_Zentrel::put_PowerManagement, true);
  }

  CrowdBox box{0};
};

TEST_F(NeverPumping, HasItsCommandsAndTheirEventsButNoCountDown) {
  OtherApartment(COINIT_APARTMENTTHREADED, [this] {
    BoxClient client;
    ASSERT_EQ(client.Open(CrowdPort(0), true), S_OKAY);
    EXPECT_EQ(client.BoxStatus(), S_OKAY);
    EXPECT_EQ(client.Get(&_Zentrel::get_ZentrelVersion), L"2.1");
    EXPECT_EQ(client.Events(), (std::vector<bool>{true, true, false, true, false}));

    StartCountDown(client);
    const std::size_t events = client.Events().size();
    DoSomethingElse();
    EXPECT_EQ(client.Events().size(), events);
    EXPECT_TRUE(HasSeenSupply(box, {"on"})) << "the supply stays";
    EXPECT_EQ(client.BoxStatus(), S_OKAY) << "at once, the box is still supplied";
    EXPECT_EQ(client.Events().size(), events);
    client.Release();
    EXPECT_TRUE(HasSeenSupply(box, {"on", "off"}));
  }).Join();
}

// However long it has not looked, there is one tick for all that it has missed.
TEST_F(NeverPumping, ThatPumpsAtLastEndsItsCountDownThen) {
  OtherApartment(COINIT_APARTMENTTHREADED, [this] {
    BoxClient client;
    ASSERT_EQ(client.Open(CrowdPort(0), true), S_OKAY);
    StartCountDown(client);
    const std::size_t events = client.Events().size();
    DoSomethingElse();
    EXPECT_TRUE(PumpUntil([&] { return client.Events().size() > events; }, 10000));
    EXPECT_FALSE(client.Events().back());
    EXPECT_TRUE(HasSeenSupply(box, {"on", "off"}));
  }).Join();
}

}  // namespace
}  // namespace qmzentrel::clients
