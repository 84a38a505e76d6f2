// The supply of the box: the modem lines as the box sees them, the events as a client gets them.
#include "tests/clients/box_test.h"
#include "tests/clients/declared_supply_line.h"
#include "tests/clients/message_pump.h"

namespace qmzentrel::clients {
namespace {

using Events = std::vector<bool>;

class BoxSupply : public BoxTest {
 protected:
  // What the box needs from supply to its first command, and what a client waits for it.
  static constexpr const char* kStartUp = "set startup-ms 2000";
  static constexpr DWORD kStartUpPauseMs = 2500;
  static constexpr DWORD kTickMs = 1000;
  static constexpr DWORD kTimerMs = 16;
  // For a tick on a busy machine.
  static constexpr DWORD kPatienceMs = 5000;

  BoxClient client;
};

BOX_TEST(BoxSupply, MaintainedItIsOnFromOpeningToClosing) {
  EXPECT_EQ(Box().Supply(), Journal{});
  Open(client);
  EXPECT_EQ(Box().Supply(), Journal{"on"});
  ASSERT_EQ(client.BoxStatus(), S_OKAY);
  ASSERT_EQ(client.Read(), S_OKAY);
  EXPECT_EQ(Box().Supply(), Journal{"on"});
  EXPECT_EQ(client.Close(), S_OKAY);
  EXPECT_EQ(Box().Supply(), (Journal{"on", "off"}));
}

BOX_TEST(BoxSupply, OpeningDoesNotPulseAnyLine) {
  Open(client);
  EXPECT_EQ(Box().Lines(), (Journal{"dtr=0 rts=0", "dtr=1 rts=0"}));
  ASSERT_EQ(client.BoxStatus(), S_OKAY);
  EXPECT_EQ(client.Close(), S_OKAY);
  EXPECT_EQ(Box().Lines(), (Journal{"dtr=0 rts=0", "dtr=1 rts=0", "dtr=0 rts=0"}));
}

BOX_TEST(BoxSupply, OpeningAnOpenPortAgainInterruptsItForTheClosing) {
  Open(client);
  Open(client);
  EXPECT_EQ(Box().Lines(), (Journal{"dtr=0 rts=0", "dtr=1 rts=0", "dtr=0 rts=0", "dtr=1 rts=0"}));
  EXPECT_EQ(Box().Supply(), (Journal{"on", "off", "on"}));
  EXPECT_EQ(client.BoxStatus(), S_OKAY);
}

BOX_TEST(BoxSupply, MaintainedTheEventComesBeforeAndAfterEveryCommand) {
  Open(client);
  EXPECT_EQ(client.Events(), (Events{true, true, false}));
  ASSERT_EQ(client.BoxStatus(), S_OKAY);
  EXPECT_EQ(client.Events(), (Events{true, true, false, true, false}));
  client.Close();
  EXPECT_EQ(client.Events().size(), 5U) << "closing is silent";
}

BOX_TEST(BoxSupply, OnDemandItGoesOffAfterTheLastCommandAndComesBackWithTheNext) {
  Box().Tell(kStartUp);
  const Stopwatch opening;
  ASSERT_EQ(client.Open(Port(), false), S_OKAY);
  EXPECT_GE(opening.Ms(), kStartUpPauseMs - kTimerMs);
  EXPECT_EQ(client.Events(), Events{true});
  EXPECT_EQ(Box().Lines(), (Journal{"dtr=0 rts=0", "dtr=1 rts=0"})) << "off until it is asked for";

  const Stopwatch first;
  ASSERT_EQ(client.BoxStatus(), S_OKAY);
  EXPECT_LT(first.Ms(), kStartUpPauseMs) << "the box runs: no pause";
  EXPECT_EQ(client.Events(), Events{true});

  // Box Status sets the box's own time, so it is shortened behind it; a command takes it over.
  client.Let(&_Zentrel::put_PowerTimeout, 2);
  ASSERT_EQ(client.Reset(), S_OKAY);
  const Stopwatch countdown;
  EXPECT_TRUE(PumpUntil([&] { return client.Events().size() == 2; }, 2 * kTickMs + kPatienceMs));
  EXPECT_GE(countdown.Ms(), 2 * kTickMs - 2 * kTimerMs);
  EXPECT_EQ(client.Events(), (Events{true, false}));
  EXPECT_EQ(Box().Supply(), (Journal{"on", "off"}));

  const Stopwatch second;
  EXPECT_EQ(client.BoxStatus(), S_OKAY);
  EXPECT_GE(second.Ms(), kStartUpPauseMs - kTimerMs);
  EXPECT_EQ(client.Events(), (Events{true, false, true}));
  EXPECT_EQ(Box().Supply(), (Journal{"on", "off", "on"}));

  client.Close();
  EXPECT_EQ(Box().Supply(), (Journal{"on", "off", "on", "off"}));
  EXPECT_EQ(client.Events(), (Events{true, false, true})) << "closing is silent";
}

BOX_TEST(BoxSupply, TheCountdownNeedsAClientThatDispatchesMessages) {
  Open(client);
  client.Let(&_Zentrel::put_PowerTimeout, 1);
  client.Let(&_Zentrel::put_PowerManagement, true);
  const std::size_t events = client.Events().size();
  Sleep(kTickMs + 200);
  EXPECT_EQ(Box().Supply(), Journal{"on"});
  EXPECT_TRUE(PumpUntil([&] { return client.Events().size() > events; }, kPatienceMs));
  EXPECT_EQ(Box().Supply(), (Journal{"on", "off"}));
}

BOX_TEST(BoxSupply, PowerManagementCanBeSwitchedOffAtAnyTime) {
  Open(client);
  client.Let(&_Zentrel::put_PowerTimeout, 1);
  client.Let(&_Zentrel::put_PowerManagement, true);
  ASSERT_TRUE(PumpUntil([&] { return Box().Supply().size() == 2; }, kPatienceMs));
  client.Let(&_Zentrel::put_PowerManagement, false);
  EXPECT_EQ(Box().Supply(), (Journal{"on", "off", "on"}));
  EXPECT_TRUE(client.Events().back());
  EXPECT_EQ(client.BoxStatus(), S_OKAY);
}

BOX_TEST(BoxSupply, ABoxWithoutSupplyIsSilent) {
  OpenElectric(client);
  Box().Tell("supply rts");
  EXPECT_EQ(client.Reset(), S_TIMEOUT);
  Box().Tell("supply dtr");
  EXPECT_EQ(client.Reset(), S_OKAY);
}

BOX_TEST(BoxSupply, ABoxThatIsFedByAnotherLineIsDeclaredInTheRegistry) {
  Box().Tell("supply rts");
  const DeclaredSupplyLine declared(L"RTS");
  Open(client);
  EXPECT_EQ(client.BoxStatus(), S_OKAY);
  client.Close();
  EXPECT_EQ(Box().Supply(), (Journal{"on", "off"}));
  for (const std::string& state : Box().Lines()) EXPECT_TRUE(state.starts_with("dtr=0")) << state;
}

BOX_TEST(BoxSupply, ABoxThatIsFedByBothLinesIsDeclaredInTheRegistry) {
  Box().Tell("supply both");
  const DeclaredSupplyLine declared(L"both");
  Open(client);
  EXPECT_EQ(client.BoxStatus(), S_OKAY);
  client.Close();
  EXPECT_EQ(Box().Supply(), (Journal{"on", "off"}));
}

BOX_TEST(BoxSupply, ReleasingTheObjectSwitchesItOff) {
  Open(client);
  client.Release();
  EXPECT_EQ(Box().Supply(), (Journal{"on", "off"}));
}

}  // namespace
}  // namespace qmzentrel::clients
