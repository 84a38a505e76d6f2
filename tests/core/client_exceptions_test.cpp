// Exceptions of the client's language that leave a command in the middle and are handled outside:
// what the command held is given back, nobody reports them, and the next command works.
#include "simulator/frmZentrelSim.h"
#include "tests/core/simulator_test.h"

namespace qmzentrel::tests {
namespace {

// Whether such an exception has left `call`.
template <class Call>
bool LeftByClientException(Call call) {
  try {
    call();
  } catch (const platform::ClientUnwinding&) {
    return true;
  }
  return false;
}

class ClientExceptions : public ZentrelTest {
 protected:
  void RaiseInEvent(bool state) {
    on_event = [state](bool raised) {
      if (raised == state) fakes::RaiseClientException();
    };
  }
  void ExpectAnswer() {
    on_event = nullptr;
    Port().Answer(BoxStatusReply(0x21, 100, 0xA5, 0));
    EXPECT_EQ(zentrel->BoxStatus(), S_OKAY);
  }
};

TEST_F(ClientExceptions, AtTheBeginningOfACommandEndItBeforeAnythingIsSent) {
  OpenBox(true, 0xA5);
  RaiseInEvent(true);
  EXPECT_TRUE(LeftByClientException([&] { zentrel->ReadXpdr(); }));
  EXPECT_EQ(Port().written.size(), 1U) << "the Box Status";
  ExpectAnswer();
}

TEST_F(ClientExceptions, AtTheBeginningOfACommandAreFollowedByItsEnd) {
  OpenBox(true, 0xA5);
  RaiseInEvent(true);
  EXPECT_TRUE(LeftByClientException([&] { zentrel->ReadXpdr(); }));
  const auto journal = TheWorld().TakeJournal();
  ASSERT_FALSE(journal.empty());
  EXPECT_EQ(journal.back(), "event False");
}

TEST_F(ClientExceptions, OnDemandLeaveTheSupplyToItsCountDown) {
  for (const bool in_opening : {true, false}) {
    RaiseInEvent(true);
    zentrel->PowerTimeout(2);
    if (!in_opening) {
      on_event = nullptr;
      ASSERT_EQ(zentrel->DeviceOpen(kPort, false), S_OKAY);
      TheWorld().Pump(Milliseconds(3000));
      RaiseInEvent(true);
    }
    EXPECT_TRUE(LeftByClientException([&] {
      if (in_opening) {
        zentrel->DeviceOpen(kPort, false);
      } else {
        zentrel->BoxStatus();
      }
    })) << in_opening;
    EXPECT_TRUE(Port().lines.dtr);
    on_event = nullptr;
    TheWorld().Pump(Milliseconds(3000));
    EXPECT_FALSE(Port().lines.dtr) << in_opening;
    zentrel->DeviceClose();
  }
}

TEST_F(ClientExceptions, InAnEventThatAnotherOneLedToLeaveTheCallToo) {
  OpenBox(true, 0xA5);
  on_event = [](bool) { fakes::RaiseClientException(); };
  EXPECT_TRUE(LeftByClientException([&] { zentrel->ReadXpdr(); }));
  ExpectAnswer();
}

TEST_F(ClientExceptions, InATickLeaveTheTimerAsItWas) {
  ASSERT_EQ(zentrel->DeviceOpen(kPort, false), S_OKAY);
  zentrel->PowerTimeout(1);
  zentrel->Power(false);
  RaiseInEvent(false);
  EXPECT_TRUE(LeftByClientException([] { TheWorld().Pump(Milliseconds(1500)); }));
  EXPECT_FALSE(Port().lines.dtr);
  EXPECT_EQ(modCOM_XTimerSupport::RunningTimers(), 0);
  ExpectAnswer();
}

TEST_F(ClientExceptions, DuringTheVerifyDelayEndTheReadBeforeItHasBegun) {
  OpenBox(true, 0xA5);
  Port().Answer(Block1Reply(Record{}));
  ASSERT_EQ(zentrel->ReadXpdr(), S_OKAY);
  Port().Answer(Block1Reply(Record{}));
  ASSERT_EQ(zentrel->WriteXpdr(), S_OKAY);
  const auto written = Port().written.size();
  TheWorld().Post(Milliseconds(1000), [] { fakes::RaiseClientException(); });
  EXPECT_TRUE(LeftByClientException([&] { zentrel->ReadXpdr(); }));
  EXPECT_EQ(Port().written.size(), written);
  ExpectAnswer();
}

TEST_F(ClientExceptions, WhileAnObjectIsShownAreNotShown) {
  fakes::FakeObject object;
  object.default_value = []() -> platform::LateValue { fakes::RaiseClientException(); };
  const platform::LateValue value =
      platform::ObjectValue{platform::HeldObject(platform::HeldObject(), &object)};
  EXPECT_TRUE(LeftByClientException([&] { DumpVariable("v", value); }));
}

TEST_F(ClientExceptions, DuringAReportAreNotTakenForAFaultOfItsOwn) {
  TheWorld().classes.clear();  // no error handler: a message box
  TheWorld().at_stop_message = [] { fakes::RaiseClientException(); };
  EXPECT_TRUE(LeftByClientException([&] { zentrel->ZentrelSignature(5); }));
  EXPECT_EQ(TheWorld().stop_messages.size(), 1U);
  TheWorld().stop_messages.clear();
}

}  // namespace
}  // namespace qmzentrel::tests
