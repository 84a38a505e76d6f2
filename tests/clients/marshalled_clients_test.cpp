// Clients on several threads of the multithreaded apartment at once, which reach objects and boxes
// through the marshaller: arrays in and back, events, the same object and objects of their own.
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/clients/box_client.h"
#include "tests/clients/box_crowd.h"
#include "tests/clients/other_apartment.h"
#include "tests/clients/registered_library.h"
#include "tests/clients/sub_device_messages.h"
#include "tests/clients/test_catalog.h"

namespace qmzentrel::clients {
namespace {

constexpr int kClients = 6;
constexpr int kRounds = 5;
constexpr LONG kShort = 8;  // a message of two bytes
constexpr LONG kLong = 17;  // one of four

void Demand(bool holds, const char* what) {
  if (!holds) throw std::runtime_error(what);
}

// Differs from client to client and from round to round.
LONG NumberOf(int client, int round) {
  return 0x01010101 * (client + 1) + round;
}

class MarshalledClients : public WithRegisteredLibrary {
 protected:
  MarshalledClients() { catalog.Fill(); }

  // Runs `body` on so many threads of the multithreaded apartment at once.
  static void OnThreads(const std::function<void(int client)>& body) {
    std::vector<std::unique_ptr<OtherApartment>> threads;
    for (int client = 0; client < kClients; ++client) {
      threads.push_back(std::make_unique<OtherApartment>(COINIT_MULTITHREADED,
                                                         [&body, client] { body(client); }));
    }
    for (const auto& thread : threads) thread->Join();
  }

  static void SelectDevice(_Zentrel* object) {
    Demand(SUCCEEDED(Let(object, L"TELIC2Device", Value::Text(L"1")).result), "no sub-device");
  }

  TestCatalog catalog;
};

TEST_F(MarshalledClients, EachHasAnObjectAndABoxOfItsOwn) {
  std::vector<std::unique_ptr<CrowdBox>> boxes;
  for (int client = 0; client < kClients; ++client) {
    boxes.push_back(std::make_unique<CrowdBox>(client));
  }
  OnThreads([](int place) {
    auto object = CreatedZentrel();
    Demand(static_cast<bool>(object), "no object");
    BoxClient client(std::move(object));
    Demand(client.Open(CrowdPort(place), true) == S_OKAY, "not opened");
    Demand(client.BoxStatus() == S_OKAY, "no box");
    SelectDevice(client.Object());
    const std::size_t events = client.Events().size();
    for (int round = 0; round < kRounds; ++round) {
      Messages written({kLong}, {NumberOf(place, round)});
      Demand(written.Run(client.Object(), &_Zentrel::TELIC2Write) == S_OKAY, "not written");
      Messages read({kShort, kLong});
      Demand(read.Run(client.Object(), &_Zentrel::TELIC2Read) == S_OKAY, "not read");
      Demand(read.Received()[1] == NumberOf(place, round), "the number of another client");
    }
    // Before and after each command.
    Demand(client.Events().size() - events == 4U * kRounds, "events are missing");
    bool state = false;
    for (std::size_t i = events; i < client.Events().size(); ++i) {
      state = !state;
      Demand(client.Events()[i] == state, "events out of order");
    }
  });
  for (const auto& box : boxes) EXPECT_EQ(box->FrameLog().size(), 2U + 4U * kRounds);
}

// While the object raises its event to one client it serves the others, within that command.
TEST_F(MarshalledClients, AllShareAnObjectAndItsBox) {
  CrowdBox box(0);
  box.Tell("message 8 1234");
  for (LONG message = 9; message < 9 + kClients; ++message) {
    box.Tell("message " + std::to_string(message) + " 2" + std::to_string(100 + message));
  }
  OtherApartment(COINIT_MULTITHREADED, [] {
    auto object = CreatedZentrel();
    Demand(static_cast<bool>(object), "no object");
    BoxClient opener{ComPointer<_Zentrel>(object)};
    Demand(opener.Open(CrowdPort(0), true) == S_OKAY, "not opened");
    Demand(opener.BoxStatus() == S_OKAY, "no box");
    SelectDevice(object.Get());
    const std::size_t events = opener.Events().size();
    OnThreads([&object](int place) {
      BoxClient client{ComPointer<_Zentrel>(object)};
      const LONG own = 9 + place;
      for (int round = 0; round < kRounds; ++round) {
        Messages read({kShort, own});
        Demand(read.Run(client.Object(), &_Zentrel::TELIC2Read) == S_OKAY, "not read");
        Demand(read.Received()[0] == 0x1234, "not the message that all read");
        Demand(read.Received()[1] == std::stoi("2" + std::to_string(100 + own), nullptr, 16),
               "the message of another client");
      }
      Demand(client.Events().size() >= 2U * kRounds - 1, "events are missing");
    });
    Demand(opener.Events().size() - events == 2U * kRounds * kClients, "events are missing");
  }).Join();
  EXPECT_EQ(box.FrameLog().size(), 2U + 2U * kRounds * kClients);
}

}  // namespace
}  // namespace qmzentrel::clients
