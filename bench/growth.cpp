// What a process holds while the component works for long. One table, a line each twentieth of the
// way; fails when a kind of work leaves something behind. Usage: bench_growth [SHARE]   the share
// of the whole run that is wanted, 1 when not given
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>

#include "bench/box_link.h"
#include "bench/holdings.h"
#include "bench/measure.h"
#include "bench/opened_device.h"
#include "platform/win32/simulator_dialog_controls.h"
#include "tests/clients/com_client.h"
#include "tests/clients/other_apartment.h"
#include "tests/clients/running_timers.h"
#include "tests/clients/test_catalog.h"
#include "tools/dialog_driver/dialog_window.h"

namespace {

using namespace qmzentrel;
using namespace qmzentrel::bench;

constexpr int kSamples = 20;
// What the first samples still bring: caches of the system, which fill once.
constexpr int kSettled = 5;
// Less than one byte for each call of the whole run.
constexpr long kAllowedHeap = 16 * 1024;
// Heaps grow by pieces, and Wine keeps the stacks of some threads that have ended.
constexpr long kAllowedCommitted = 16 * 1024 * 1024;
// The tests' error handler keeps the last hundred reports.
constexpr int kReportsKept = 100;
// Each label of a dialog leaves 12 bytes with Wine's common controls, and the dialog has 14.
constexpr long kLeftByWineEachDialog = 14 * 12;
// What the system keeps for drawing fills up in the first dialogs, and by some sixty pieces more in
// the next hundred.
constexpr int kFirstDialogs = 60;
constexpr long kAllowedDrawing = 90;
// What the system opens for itself when it needs it first.
constexpr long kAllowedHandles = 4;
// However small the share: three quarters of them leave more than kAllowedDrawing behind, if each
// leaves one.
constexpr int kLeastTimes = 160;
constexpr short kNoSuchSignature = 5;

bool HasGrown(const Holdings& before, const Holdings& after, long allowed) {
  return after.heap > before.heap + kAllowedHeap + allowed ||
         after.committed > before.committed + kAllowedCommitted + allowed ||
         after.handles > before.handles + kAllowedHandles ||
         after.gdi > before.gdi + kAllowedDrawing || after.windows > before.windows ||
         after.threads > before.threads ||  // each that was begun has been waited for
         after.timers > before.timers;
}

// False when the work leaves something behind.
bool Watch(const clients::RunningTimers& timers, const char* name, int times,
           const std::function<void()>& work, long allowed_each_time = 0) {
  Holdings settled{};
  Holdings held{};
  int done = 0;
  for (int sample = 1; sample <= kSamples; ++sample) {
    for (; done < static_cast<long long>(times) * sample / kSamples; ++done) work();
    held = Held(timers);
    if (sample == kSettled) settled = held;
    std::printf("%s\t%d\t%ld\t%ld\t%ld\t%ld\t%ld\t%ld\t%ld\n", name, done, held.heap / 1024,
                held.committed / 1024, held.handles, held.gdi, held.windows, held.threads,
                held.timers);
    std::fflush(stdout);
  }
  const bool grown = HasGrown(settled, held, times * allowed_each_time);
  if (grown) std::fprintf(stderr, "%s: something is left behind\n", name);
  return !grown;
}

void CallEachWay(_Zentrel* zentrel, DISPID util, DISPID status) {
  LONG value = 0;
  Require(zentrel->put_Util(42) == S_OK && zentrel->get_Util(&value) == S_OK && value == 42,
          "an early-bound call");
  DISPPARAMS none{};
  VARIANT result;
  VariantInit(&result);
  Require(zentrel->Invoke(util, IID_NULL, clients::kEnglish, DISPATCH_PROPERTYGET, &none, &result,
                          nullptr, nullptr) == S_OK,
          "a late-bound get");
  VARIANTARG code;
  V_VT(&code) = VT_I2;
  V_I2(&code) = 1;
  DISPPARAMS one{&code, nullptr, 1, 0};
  Require(zentrel->Invoke(status, IID_NULL, clients::kEnglish, DISPATCH_METHOD, &one, &result,
                          nullptr, nullptr) == S_OK,
          "a late-bound call");
  VariantClear(&result);
}

// Its count-down begins, and goes with it.
void UseNewObject() {
  const auto object = clients::NewZentrel();
  const OpenedDevice device(object.Get(), BoxPort());
  Require(object->put_PowerManagement(VARIANT_TRUE) == S_OK, "a new object");
}

void ShowDialog(_Zentrel* object) {
  clients::OtherApartment user(COINIT_APARTMENTTHREADED, [] {
    const auto dialog = dialog_driver::DialogWindow::WaitFor(L"Zentrel Simulator - Read", 20000);
    Require(dialog.has_value(), "no dialog");
    dialog->Click(IDC_cmdNoZentrel);
  });
  ZentrelStatus status = S_OKAY;
  Require(object->ReadXpdr(&status) == S_OK && status == S_TIMEOUT, "a simulated read");
  user.Join();
}

// An error of the component, and faults of the processor: an answer to where no memory is, and a
// text from there.
void Fail(_Zentrel* object) {
  constexpr std::uintptr_t kNowhere = 0x10;
  LONG signature = 0;
  Require(FAILED(object->get_ZentrelSignature(kNoSuchSignature, &signature)), "a fault");
  Require(FAILED(object->get_Util(reinterpret_cast<LONG*>(kNowhere))), "a wild place");
  Require(FAILED(object->put_TELIC2Device(reinterpret_cast<BSTR>(kNowhere))), "a wild text");
}

}  // namespace

int main(int count, char** arguments) {
  const double share = count > 1 ? std::atof(arguments[1]) : 1;
  Require(share > 0 && share <= 10, "the share is a number above 0");
  const auto times = [share](int whole) {
    return std::max(kLeastTimes, static_cast<int>(whole * share));
  };
  std::printf("work\tdone\theap kB\tcommitted kB\thandles\tGDI\twindows\tthreads\ttimers\n");

  bool clean = true;
  const clients::RunningTimers timers(clients::LoadedLibrary().module);
  clients::TestCatalog catalog;
  catalog.Fill();
  BoxLink box;
  box.Do("set pace 0");
  {
    const auto object = clients::NewZentrel();
    const DISPID util = clients::IdOf(object.Get(), L"Util");
    const DISPID status = clients::IdOf(object.Get(), L"Status");
    clean &=
        Watch(timers, "calls", times(1'000'000), [&] { CallEachWay(object.Get(), util, status); });
    for (int i = 0; i < kReportsKept; ++i) Fail(object.Get());
    clean &= Watch(timers, "faults", times(10'000), [&] { Fail(object.Get()); });
    const OpenedDevice device(object.Get(), BoxPort());
    clean &= Watch(timers, "exchanges", times(100'000),
                   [&] { MustSucceed(object.Get(), &_Zentrel::BoxStatus, "Box Status"); });
  }
  clean &= Watch(timers, "objects", times(10'000), UseNewObject);
  catalog.Simulator(true);
  const auto object = clients::NewZentrel();
  for (int i = 0; i < kFirstDialogs; ++i) ShowDialog(object.Get());
  clean &= Watch(
      timers, "dialogs", times(1'000), [&] { ShowDialog(object.Get()); }, kLeftByWineEachDialog);
  return clean ? 0 : 1;
}
