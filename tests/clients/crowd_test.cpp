// As many single-threaded apartments in one process as a large test bench has places, each with a
// box of its own.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/clients/box_client.h"
#include "tests/clients/box_crowd.h"
#include "tests/clients/message_pump.h"
#include "tests/clients/other_apartment.h"

namespace qmzentrel::clients {
namespace {

// A hang ends the wait; nothing here takes a tenth of it.
constexpr DWORD kCrowdPatienceMs = 60000;

constexpr int kSlow = 0;  // the place of the slow box
constexpr int kReadsEach = 5;

// Differs from place to place, and from what a box has by itself.
LONG IdentifierAt(int place) {
  return 0x700000 + place;
}

class Crowd : public testing::Test {
 protected:
  void SetUp() override {
    LoadedLibrary();
    for (int place = 0; place < CrowdSize(); ++place) {
      boxes.push_back(std::make_unique<CrowdBox>(place));
      boxes.back()->Tell("set version 5.0 id " + std::to_string(IdentifierAt(place)));
    }
  }

  // Runs `work` in an apartment of its own for each place from `first` on.
  void StartApartments(int first, const std::function<void(int place)>& work) {
    for (int place = first; place < CrowdSize(); ++place) {
      apartments.push_back(std::make_unique<OtherApartment>(COINIT_APARTMENTTHREADED,
                                                            [work, place] { work(place); }));
    }
  }

  void JoinApartments() {
    for (const auto& apartment : apartments) apartment->Join();
  }

  std::vector<std::unique_ptr<CrowdBox>> boxes;
  std::vector<std::unique_ptr<OtherApartment>> apartments;
};

void OpenAt(BoxClient& client, int place) {
  if (client.Open(CrowdPort(place), true) != S_OKAY) {
    throw std::runtime_error("COM" + std::to_string(CrowdPort(place)) + " does not open");
  }
}

// The slow one waits for a box that says nothing, at most 52 s, while all others read theirs. Who
// is first is told by counts, not by clocks: the silence ends when the others are through.
TEST_F(Crowd, ASlowBoxHoldsUpNoneOfTheOthers) {
  CrowdBox& slow_box = *boxes[kSlow];
  std::atomic<int> readings{0};
  ZentrelStatus slow_status = S_BAD_PORT;
  std::atomic<bool> slow_is_through{false};
  const platform::OwnedHandle first_are_through(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  const int all = (CrowdSize() - 1) * kReadsEach;
  OtherApartment slow(COINIT_APARTMENTTHREADED, [&] {
    BoxClient client;
    OpenAt(client, kSlow);
    // It learns that its box is an electric one, with which it is patient.
    if (client.BoxStatus() != S_OKAY) throw std::runtime_error("the slow box does not answer");
    slow_box.Tell("log-clear");
    slow_box.Tell("silence 10000");
    slow_status = client.Read();
    slow_is_through = true;
    SetEvent(first_are_through.Get());
  });
  slow_box.AwaitFrames(1);  // its command is out

  StartApartments(kSlow + 1, [&](int place) {
    BoxClient client;
    OpenAt(client, place);
    for (int i = 0; i < kReadsEach; ++i) {
      if (client.Read() != S_OKAY) throw std::runtime_error("not read");
      if (client.Get(&_Zentrel::get_Xpdr) != IdentifierAt(place)) {
        throw std::runtime_error("the transponder of another box");
      }
      if (++readings == all) SetEvent(first_are_through.Get());
    }
  });
  EXPECT_TRUE(PumpUntilSignalled(first_are_through.Get(), kCrowdPatienceMs));
  EXPECT_FALSE(slow_is_through) << "after " << readings << " of " << all << " readings";
  slow_box.Tell("clear");
  JoinApartments();
  slow.Join();
  EXPECT_EQ(readings, all);
  EXPECT_EQ(slow_status, S_OKAY);
  for (int place = kSlow + 1; place < CrowdSize(); ++place) {
    EXPECT_EQ(boxes[static_cast<std::size_t>(place)]->FrameLog().size(), 2U * kReadsEach);
  }
}

TEST_F(Crowd, EveryCountDownEndsInItsOwnApartment) {
  std::atomic<int> ended{0};
  StartApartments(0, [&](int place) {
    BoxClient client;
    OpenAt(client, place);
    bool elsewhere = false;
    client.OnEvent([&, thread = GetCurrentThreadId()](bool) {
      elsewhere = elsewhere || GetCurrentThreadId() != thread;
    });
    client.Let(&_Zentrel::put_PowerTimeout, 1);
    const std::size_t before = client.Events().size();
    client.Let(&_Zentrel::put_PowerManagement, true);
    if (!PumpUntil([&] { return client.Events().size() > before; }, kCrowdPatienceMs)) {
      throw std::runtime_error("the supply stays on");
    }
    if (elsewhere) throw std::runtime_error("an event in another apartment");
    ++ended;
  });
  JoinApartments();
  EXPECT_EQ(ended, CrowdSize());
  for (const auto& box : boxes) EXPECT_EQ(box->Supply(), (Journal{"on", "off"}));
}

}  // namespace
}  // namespace qmzentrel::clients
