// What clients do meanwhile: calling again from within an event or a wait, letting go of the
// object, and working with several boxes at once.
#include <stdexcept>

#include "tests/clients/box_test.h"
#include "tests/clients/message_pump.h"
#include "tests/clients/other_apartment.h"

namespace qmzentrel::clients {
namespace {

constexpr DWORD kPatienceMs = 30000;

class BoxClients : public BoxTest {
 protected:
  // Begins a count-down of one second, at whose end the timer switches the supply off.
  static void StartCountdown(BoxClient& client) {
    client.Let(&_Zentrel::put_PowerTimeout, 1);
    client.Let(&_Zentrel::put_PowerManagement, true);
  }

  // The same to its end, which the event tells.
  static bool SupplyGoesOff(BoxClient& client) {
    const std::size_t events = client.Events().size();
    StartCountdown(client);
    return PumpUntil([&] { return client.Events().size() > events; }, kPatienceMs);
  }

  // Whether any object of the library is left.
  static bool AnObjectLives() { return LoadedLibrary().CanUnloadNow() == S_FALSE; }

  static Journal Commands() {
    Journal commands;
    for (const std::string& frame : Box().Frames()) {
      if (frame.starts_with('>')) commands.push_back(frame);
    }
    return commands;
  }
};

// The client of the timer procedure below, which is handed no data.
BoxClient* g_waiting_client = nullptr;
ZentrelStatus g_inner_status = S_BAD_PORT;

__attribute__((force_align_arg_pointer)) void CALLBACK CallFromWait(HWND, UINT, UINT_PTR timer,
                                                                    DWORD) {
  KillTimer(nullptr, timer);
  g_inner_status = g_waiting_client->BoxStatus();
}

BOX_TEST(BoxClients, ACallFromWithinTheEventIsServedAtOnce) {
  BoxClient client;
  Open(client);
  ZentrelStatus inner = S_BAD_PORT;
  bool within = false;
  client.OnEvent([&](bool) {
    if (within) return;  // the inner call raises events, too
    within = true;
    inner = client.Reset();
  });
  EXPECT_EQ(client.BoxStatus(), S_OKAY);
  EXPECT_EQ(inner, S_OKAY);
  EXPECT_EQ(Commands(), (Journal{"> C0", "> 80"}));
}

BOX_TEST(BoxClients, ACallFromWithinTheVerifyDelayIsServedAtOnce) {
  Box().Tell("set version 5.0");
  BoxClient client;
  Open(client);
  client.Let(&_Zentrel::put_VDelay, 600);
  ASSERT_EQ(client.Write(), S_OKAY);
  Box().Tell("log-clear");
  g_waiting_client = &client;
  g_inner_status = S_BAD_PORT;
  SetTimer(nullptr, 0, 50, CallFromWait);
  EXPECT_EQ(client.Read(), S_OKAY);
  EXPECT_EQ(g_inner_status, S_OKAY);
  EXPECT_EQ(Commands(), (Journal{"> 80", "> 40"}));
}

BOX_TEST(BoxClients, TheEventOfTheTimerMayCallTheObjectAgain) {
  BoxClient client;
  Open(client);
  ZentrelStatus inner = S_BAD_PORT;
  bool within = false;
  client.OnEvent([&](bool new_state) {
    // The inner call raises events, too.
    if (new_state || within) return;
    within = true;
    client.Let(&_Zentrel::put_PowerManagement, false);
    inner = client.BoxStatus();
  });
  ASSERT_TRUE(SupplyGoesOff(client));
  EXPECT_EQ(inner, S_OKAY);
  EXPECT_EQ(Box().Supply(), (Journal{"on", "off", "on"}));
}

BOX_TEST(BoxClients, ClosingThePortBeforeTheCommandInTheEventIsATimeOut) {
  BoxClient client;
  Open(client);
  client.OnEvent([&](bool new_state) {
    if (new_state) client.Close();
  });
  const Stopwatch time;
  EXPECT_EQ(client.BoxStatus(), S_TIMEOUT);
  EXPECT_LT(time.Ms(), 400U) << "nobody waits for a closed port";
  EXPECT_EQ(Commands(), Journal{});
  EXPECT_EQ(client.BoxStatus(), S_BAD_PORT);
}

BOX_TEST(BoxClients, ClosingThePortAfterTheCommandInTheEventKeepsItsStatus) {
  BoxClient client;
  Open(client);
  client.OnEvent([&](bool new_state) {
    if (!new_state) client.Close();
  });
  EXPECT_EQ(client.BoxStatus(), S_OKAY);
  EXPECT_EQ(client.Get(&_Zentrel::get_ZentrelVersion), L"2.1");
  EXPECT_EQ(client.BoxStatus(), S_BAD_PORT);
}

BOX_TEST(BoxClients, ReleasingTheObjectBeforeTheCommandInTheEventLetsTheCommandEnd) {
  BoxClient client;
  Open(client);
  bool alive_in_event = false;
  client.OnEvent([&](bool new_state) {
    if (!new_state) return;
    client.Release();
    alive_in_event = AnObjectLives();
  });
  EXPECT_EQ(client.BoxStatus(), S_OKAY);
  EXPECT_TRUE(alive_in_event);
  EXPECT_FALSE(AnObjectLives());
  EXPECT_EQ(Box().Supply(), (Journal{"on", "off"}));
}

BOX_TEST(BoxClients, ReleasingTheObjectInTheEventOfTheTimerIsAllowed) {
  BoxClient client;
  Open(client);
  bool alive_in_event = false;
  client.OnEvent([&](bool new_state) {
    if (new_state) return;
    client.Release();
    alive_in_event = AnObjectLives();
  });
  ASSERT_TRUE(SupplyGoesOff(client));
  EXPECT_TRUE(alive_in_event);
  EXPECT_FALSE(AnObjectLives());
  EXPECT_EQ(Box().Supply(), (Journal{"on", "off"}));
  // No tick of a timer that was left behind may find the memory of the object.
  const std::size_t events = client.Events().size();
  EXPECT_FALSE(PumpUntil([] { return false; }, 1200));
  EXPECT_EQ(client.Events().size(), events);
}

BOX_TEST(BoxClients, ReleasingTheObjectEndsItsCountdown) {
  BoxClient client;
  Open(client);
  StartCountdown(client);
  const std::size_t events = client.Events().size();
  client.Release();
  EXPECT_FALSE(AnObjectLives());
  EXPECT_FALSE(PumpUntil([] { return false; }, 1200));
  EXPECT_EQ(client.Events().size(), events);
}

BOX_TEST(BoxClients, TwoApartmentsWorkWithTwoBoxesAtTheSameTime) {
  constexpr int kReads = 20;
  Second().Reset();
  Second().Tell("set id 0x222222 version 5.0");
  Box().Tell("set id 0x111111 version 5.0");
  const auto read = [](std::int32_t port, LONG id) {
    BoxClient client;
    if (client.Open(port, true) != S_OKAY) throw std::runtime_error("not opened");
    for (int i = 0; i < kReads; ++i) {
      if (client.Read() != S_OKAY) throw std::runtime_error("not read");
      if (client.Get(&_Zentrel::get_Xpdr) != id) throw std::runtime_error("of the other box");
    }
  };
  OtherApartment apartment(COINIT_APARTMENTTHREADED, [&] { read(SecondPort(), 0x222222); });
  read(Port(), 0x111111);
  apartment.Join();

  const auto first = Box().FrameLog();
  const auto second = Second().FrameLog();
  ASSERT_EQ(first.size(), 2U * kReads);
  ASSERT_EQ(second.size(), 2U * kReads);
  EXPECT_LT(first.front().start, second.back().start) << "one after the other";
  EXPECT_LT(second.front().start, first.back().start) << "one after the other";
}

BOX_TEST(BoxClients, ASlowBoxDoesNotHoldUpAnother) {
  Second().Reset();
  Second().Tell("late 1000");
  ZentrelStatus slow = S_BAD_PORT;
  OtherApartment apartment(COINIT_APARTMENTTHREADED, [&] {
    BoxClient client;
    client.Open(SecondPort(), true);
    slow = client.BoxStatus();
  });
  Second().AwaitFrames(1);  // its command is out, its reply is not
  BoxClient client;
  Open(client);
  EXPECT_EQ(client.BoxStatus(), S_OKAY);
  EXPECT_EQ(Second().Frames(), Journal{"> 80"}) << "the slow one was first";
  apartment.Join();
  EXPECT_EQ(slow, S_OKAY);
}

BOX_TEST(BoxClients, TheTimersOfTwoApartmentsAreTwo) {
  Second().Reset();
  bool other_went_off = false;
  OtherApartment apartment(COINIT_APARTMENTTHREADED, [&] {
    BoxClient client;
    client.Open(SecondPort(), true);
    other_went_off = SupplyGoesOff(client);
  });
  BoxClient client;
  Open(client);
  EXPECT_TRUE(SupplyGoesOff(client));
  EXPECT_EQ(Box().Supply(), (Journal{"on", "off"}));
  apartment.Join();
  EXPECT_TRUE(other_went_off);
  EXPECT_EQ(Second().Supply(), (Journal{"on", "off"}));
}

}  // namespace
}  // namespace qmzentrel::clients
