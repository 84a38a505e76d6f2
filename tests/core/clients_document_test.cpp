// What the document for clients (docs/clients.md) promises beyond what single commands do: what
// opening again, a good reply and a simulated read leave behind.
#include <functional>

#include "tests/core/call_time.h"
#include "tests/core/core_test.h"
#include "tests/core/simulator_test.h"

namespace qmzentrel::tests {
namespace {

constexpr std::uint8_t kSignatureOfElectricBox = 0xA6;
constexpr std::uint8_t kSignatureOfOtherBox = 0xA5;

class ClientsDocument : public ZentrelTest {};

// --- Opening again ---

TEST_F(ClientsDocument, ASecondMaintainedSessionWithAnElectricBoxMeetsABoxThatIsStillStarting) {
  constexpr Milliseconds kStartUp(2400);
  fakes::Microseconds supplied{0};
  Port().device = [&](std::span<const std::uint8_t>) -> fakes::Reaction {
    if (TheWorld().now - supplied < kStartUp) return {};
    return {{BoxStatusReply(0x21, 100, kSignatureOfElectricBox, 0), Milliseconds(0)}};
  };
  const auto open = [&] {
    supplied = TheWorld().now;
    EXPECT_EQ(zentrel->DeviceOpen(kPort, true), S_OKAY);
  };
  open();
  EXPECT_EQ(zentrel->DeviceInit(), S_OKAY) << "the first session waits longer, not knowing the box";
  zentrel->DeviceClose();
  open();
  EXPECT_EQ(zentrel->DeviceInit(), S_TIMEOUT);
  EXPECT_EQ(zentrel->DeviceInit(), S_OKAY);
}

TEST_F(ClientsDocument, AfterAWrongPortTheRightOneIsOpenedWithoutPauseOrEvent) {
  constexpr std::int32_t kNoPort = 99;
  EXPECT_EQ(zentrel->DeviceOpen(kNoPort, false), S_BAD_PORT);
  TheWorld().TakeJournal();
  EXPECT_EQ(TimeOf([&] { EXPECT_EQ(zentrel->DeviceOpen(kPort, false), S_OKAY); }), "0 s");
  for (const std::string& line : TheWorld().TakeJournal()) {
    EXPECT_FALSE(line.starts_with("event") || line.starts_with("pause")) << line;
  }

  EXPECT_EQ(zentrel->DeviceOpen(kNoPort, false), S_BAD_PORT);
  zentrel->DeviceClose();
  EXPECT_EQ(TimeOf([&] { zentrel->DeviceOpen(kPort, false); }), "2.5 s") << "closed in between";
}

// --- What replies leave behind ---

TEST_F(ClientsDocument, EveryGoodReplyWithTheFactsOfTheBoxReplacesThePowerTimeout) {
  Open(true);
  const auto timeout_after = [&](const Bytes& reply, const std::function<void()>& call) {
    zentrel->PowerTimeout(7);
    Port().Answer(reply);
    call();
    return zentrel->PowerTimeout();
  };
  const Bytes record = Block1Reply({.signature = kSignatureOfOtherBox});
  const Bytes box = BoxStatusReply(0x21, 100, kSignatureOfOtherBox, 0);
  EXPECT_EQ(timeout_after(box, [&] { zentrel->BoxStatus(); }), 20);
  EXPECT_EQ(timeout_after(record, [&] { zentrel->ReadXpdr(); }), 20);
  EXPECT_EQ(timeout_after(record, [&] { zentrel->WriteXpdr(); }), 20);
  EXPECT_EQ(timeout_after(record, [&] { zentrel->ResetXpdr(); }), 7) << "nothing of it is read";
  EXPECT_EQ(timeout_after({1, 2, 3}, [&] { zentrel->BoxStatus(); }), 7) << "a bad reply";
}

class SimulatedReadInTheClientsDocument : public SimulatorTest {};

TEST_F(SimulatedReadInTheClientsDocument, AloneNamesAnInterfaceByTheIdSourceToggleToo) {
  SetInterfaces(0, 21, 1 << 5);
  SetName(kInterfaces, 21, "Register, other source");
  SetNumber(kSimulatorKey, "MIF", 5 | MIF_MASK_IDT | MIF_MASK_2IF);
  Read(Ok);
  EXPECT_EQ(zentrel->DeviceMIF(), 5 | MIF_MASK_IDT | MIF_MASK_2IF);
  EXPECT_EQ(zentrel->MIFName(), "Register, other source");
  zentrel->DeviceMIF(zentrel->DeviceMIF());
  EXPECT_EQ(zentrel->MIFName(), "Register");
}

}  // namespace
}  // namespace qmzentrel::tests
