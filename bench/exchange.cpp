// What the component adds to an exchange with the box: Box Status through the DLL, and by a raw
// program on the same port with the same virtual box behind it.
#include <array>
#include <cstdint>
#include <span>

#include "bench/box_link.h"
#include "bench/measure.h"
#include "bench/opened_device.h"
#include "bench/raw_port.h"
#include "tests/clients/com_client.h"

namespace {

using namespace qmzentrel::bench;

// Each block opens the port, which belongs to one program at a time.
// Short blocks: all ways meet the same moods of the machine.
constexpr int kBlocks = 40;
constexpr int kExchangesPerBlock = 5;

constexpr std::array<std::uint8_t, 1> kBoxStatus = {0x80};
constexpr DWORD kFirstByteMs = 500;
constexpr DWORD kRemainderMs = 12500;

template <class Exchange>
void TimeBlock(Samples& samples, Exchange exchange) {
  exchange();  // the first one after opening is not like the others
  for (int i = 0; i < kExchangesPerBlock; ++i) {
    const double start = NowNanoseconds();
    exchange();
    samples.push_back(NowNanoseconds() - start);
  }
}

void ThroughTheDll(Samples& samples, _Zentrel* zentrel) {
  const OpenedDevice device(zentrel);
  TimeBlock(samples, [&] { MustSucceed(zentrel, &_Zentrel::BoxStatus, "Box Status"); });
}

// Step by step what the component does: only then can a reply be told from leftovers, and a silent
// box from a slow one.
void RawInTheSameSteps(Samples& samples) {
  RawPort port(BoxPort());
  TimeBlock(samples, [&] {
    std::array<std::uint8_t, 7> reply{};
    port.Purge();
    port.Write(kBoxStatus);
    const bool answered = port.Read(std::span(reply).first(1), kFirstByteMs) &&
                          port.Read(std::span(reply).subspan(1), kRemainderMs);
    Require(answered && HasRightSum(reply), "raw Box Status");
  });
}

void RawAtItsLeast(Samples& samples) {
  RawPort port(BoxPort());
  TimeBlock(samples, [&] {
    std::array<std::uint8_t, 7> reply{};
    port.Write(kBoxStatus);
    Require(port.Read(reply, kFirstByteMs) && HasRightSum(reply), "raw Box Status");
  });
}

void MeasureAtPace(const char* title, _Zentrel* zentrel) {
  Measure({.title = title,
           .unit = kMicroseconds,
           .rounds = kBlocks,
           .ways = {{"raw program, same steps", RawInTheSameSteps},
                    {"raw program, one write and one read", RawAtItsLeast},
                    {"BoxStatus of the component, early bound",
                     [&](Samples& samples) { ThroughTheDll(samples, zentrel); }}}});
}

}  // namespace

int main() {
  const auto zentrel = qmzentrel::clients::NewZentrel();
  BoxLink box;
  box.Do("set pace 0");
  MeasureAtPace("An exchange, the box answers at once (200 each)", zentrel.Get());
  box.Do("set pace 1");
  MeasureAtPace("An exchange, bytes take their time at 9600 baud (200 each)", zentrel.Get());
}
