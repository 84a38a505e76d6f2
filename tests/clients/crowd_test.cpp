// As many single-threaded apartments in one process as a large test bench has places, each with a
// box of its own.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/clients/box_client.h"
#include "tests/clients/box_crowd.h"
#include "tests/clients/box_test.h"
#include "tests/clients/message_pump.h"
#include "tests/clients/other_apartment.h"

namespace qmzentrel::clients {
namespace {

// A hang ends the wait; nothing here takes a tenth of it.
constexpr DWORD kCrowdPatienceMs = 60000;

constexpr int kSlow = 0;  // the place of the slow box
// Of which the first may have begun before a wait did.
constexpr int kReadsInAWait = 2;
// Between two readings, so that so many clients leave a busy machine time for their boxes.
constexpr DWORD kRestMs = 200;

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

  // Runs `work` in an apartment of its own for each place from `first` to before `end`.
  void StartApartments(int first, int end, const std::function<void(int place)>& work) {
    for (int place = first; place < end; ++place) {
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

// How a box keeps its client in one single wait of an exchange.
struct HeldWait {
  const char* fault;
  std::size_t frames;  // have passed when the wait begins
  const char* end;     // what the box has to say for the reply to be whole
};

// Readings beside a box that is slow. Who is first is told by counts, not by clocks: the box says
// the rest of its reply when the others have read, and the reply is whole only if the client is in
// the same wait still. A machine that is so busy that the wait has run out gets another one.
class SlowBox : public Crowd {
 protected:
  void TearDown() override {
    enough_ = true;
    apartments.clear();
  }

  void ExpectReadingsWithinOneWait(int others, const HeldWait& wait) {
    const int end = kSlow + 1 + others;
    KeepReading(end);
    const Stopwatch time;
    bool within = false;
    while (!within && time.Ms() < kCrowdPatienceMs) within = ReadWithinOneWait(end, wait);
    enough_ = true;
    JoinApartments();
    EXPECT_TRUE(within) << "the others wait for the slow one";
    for (int place = kSlow + 1; place < end; ++place) {
      EXPECT_GE(boxes[static_cast<std::size_t>(place)]->FrameLog().size(), 2U * ReadingsAt(place));
    }
  }

 private:
  std::atomic<std::size_t>& ReadingsAt(int place) {
    return readings_[static_cast<std::size_t>(place)];
  }

  void KeepReading(int end) {
    StartApartments(kSlow + 1, end, [this](int place) {
      BoxClient client;
      OpenAt(client, place);
      while (!enough_) {
        if (client.Read() != S_OKAY) throw std::runtime_error("not read");
        if (client.Get(&_Zentrel::get_Xpdr) != IdentifierAt(place)) {
          throw std::runtime_error("the transponder of another box");
        }
        ++ReadingsAt(place);
        Sleep(kRestMs);
      }
    });
  }

  bool ReadWithinOneWait(int end, const HeldWait& wait) {
    CrowdBox& box = *boxes[kSlow];
    box.Tell("log-clear");
    box.Tell(wait.fault);
    ZentrelStatus status = S_BAD_PORT;
    std::atomic<bool> is_through{false};
    const platform::OwnedHandle said(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    OtherApartment slow(COINIT_APARTMENTTHREADED, [&] {
      BoxClient client;
      OpenAt(client, kSlow);
      status = client.BoxStatus();  // is sent once
      is_through = true;
      // A box says nothing without its supply.
      WaitForSingleObject(said.Get(), kCrowdPatienceMs);
    });
    box.AwaitFrames(wait.frames);
    std::vector<std::size_t> wanted(readings_.begin(), readings_.end());
    for (std::size_t& count : wanted) count += kReadsInAWait;
    const auto have_read = [&] {
      return std::equal(wanted.begin() + kSlow + 1, wanted.begin() + end,
                        readings_.begin() + kSlow + 1, std::less_equal<>());
    };
    PumpUntil([&] { return is_through || have_read(); }, kCrowdPatienceMs);
    box.Tell(wait.end);
    SetEvent(said.Get());
    slow.Join();
    return status == S_OKAY;
  }

  std::vector<std::atomic<std::size_t>> readings_ =
      std::vector<std::atomic<std::size_t>>(static_cast<std::size_t>(CrowdSize()));
  std::atomic<bool> enough_{false};
};

// The first byte is awaited for 2.5 s: some of the others, so that a busy machine has time for
// them.
TEST_F(SlowBox, HoldsUpNoneOfTheOthersWhileItIsSilent) {
  ExpectReadingsWithinOneWait(3, {"silence", 1, "send 21 85 A6 00 00 00 4C"});
}

TEST_F(SlowBox, HoldsUpNoneOfTheOthersWithinItsReply) {
  ExpectReadingsWithinOneWait(CrowdSize() - 1, {"truncate 1 1", 2, "send 85 A6 00 00 00 4C"});
}

TEST_F(Crowd, EveryCountDownEndsInItsOwnApartment) {
  std::atomic<int> ended{0};
  StartApartments(0, CrowdSize(), [&](int place) {
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
