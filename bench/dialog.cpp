// The simulator: how long a command takes to show its dialog, and what the switch costs the first
// object of a process.
#include <string>

#include "bench/measure.h"
#include "platform/win32/simulator_dialog_controls.h"
#include "tests/clients/com_client.h"
#include "tests/clients/other_apartment.h"
#include "tests/clients/test_catalog.h"
#include "tools/dialog_driver/dialog_window.h"

namespace {

using namespace qmzentrel;
using namespace qmzentrel::bench;

constexpr Unit kMilliseconds{"ms", 1'000'000};

// From the call of a read to the moment at which another thread sees the dialog.
void ShowDialog(_Zentrel* object, Samples& samples) {
  double seen = 0;
  clients::OtherApartment user(COINIT_APARTMENTTHREADED, [&seen] {
    const auto dialog = dialog_driver::DialogWindow::WaitFor(L"Zentrel Simulator - Read", 10000);
    Require(dialog.has_value(), "no dialog");
    seen = NowNanoseconds();
    dialog->Click(IDC_cmdNoZentrel);
  });
  const double start = NowNanoseconds();
  ZentrelStatus status = S_OKAY;
  Require(object->ReadXpdr(&status) == S_OK && status == S_TIMEOUT, "no simulated read");
  user.Join();
  samples.push_back(seen - start);
}

}  // namespace

int main() {
  clients::TestCatalog catalog;
  catalog.Fill();
  const auto make_first = [&catalog](bool on) {
    return [&catalog, on](Samples& samples) {
      catalog.Simulator(on);
      const double start = NowNanoseconds();
      clients::NewZentrel();
      samples.push_back(NowNanoseconds() - start);
    };
  };
  Measure({.title = "First object of a process, with a catalog of 7 interfaces",
           .unit = kMicroseconds,
           .rounds = 101,
           .ways = {{"simulator switched off", make_first(false)},
                    {"simulator switched on", make_first(true)}}});

  catalog.Simulator(true);
  const auto object = clients::NewZentrel();
  Measure(
      {.title = "From the command to its dialog",
       .unit = kMilliseconds,
       .rounds = 31,
       .ways = {{"simulated read", [&](Samples& samples) { ShowDialog(object.Get(), samples); }}}});
}
