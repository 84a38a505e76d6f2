// What the component adds to an exchange with the box: Box Status through the DLL, and by a raw
// program on the same port with the same virtual box behind it.
#include "bench/box_link.h"
#include "bench/box_status.h"
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
  const OpenedDevice device(zentrel, BoxPort());
  TimeBlock(samples, [&] { MustSucceed(zentrel, &_Zentrel::BoxStatus, "Box Status"); });
}

void Raw(Samples& samples, void (*exchange)(RawPort& port)) {
  RawPort port(BoxPort());
  TimeBlock(samples, [&] { exchange(port); });
}

void MeasureAtPace(const char* title, _Zentrel* zentrel) {
  Measure({.title = title,
           .unit = kMicroseconds,
           .rounds = kBlocks,
           .ways = {{"raw program, same steps",
                     [](Samples& samples) { Raw(samples, BoxStatusInTheSameSteps); }},
                    {"raw program, one write and one read",
                     [](Samples& samples) { Raw(samples, BoxStatusAtItsLeast); }},
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
